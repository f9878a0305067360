// gzip by zlib, which is everywhere.
#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "unpack/codec.h"

static decltype(&inflateInit2_) mInit;
static decltype(&inflateReset) mReset;
static decltype(&inflate) mInflate;
static decltype(&inflateEnd) mEnd;

static constexpr int kGzipOnly = 16;

static bool Load() {
  const LibraryFunction functions[] = {
      {"inflateInit2_", reinterpret_cast<void**>(&mInit)},
      {"inflateReset", reinterpret_cast<void**>(&mReset)},
      {"inflate", reinterpret_cast<void**>(&mInflate)},
      {"inflateEnd", reinterpret_cast<void**>(&mEnd)},
  };
  return LoadLibrary(kGzipByZlib.library, functions);
}

static void* Open() {
  auto* const stream = static_cast<z_stream*>(calloc(1, sizeof(z_stream)));
  if (stream != nullptr && mInit(stream, MAX_WBITS + kGzipOnly, ZLIB_VERSION, sizeof(z_stream)) != Z_OK) {
    free(stream);
    return nullptr;
  }
  return stream;
}

static uInt Narrow(size_t size) {
  return static_cast<uInt>(std::min<size_t>(size, UINT_MAX));
}

static Step Unpack(void* opened, Piece& piece) {
  auto& stream = *static_cast<z_stream*>(opened);
  stream.next_in = const_cast<Bytef*>(piece.in);
  stream.avail_in = Narrow(piece.in_left);
  stream.next_out = piece.out;
  stream.avail_out = Narrow(piece.out_left);
  const int result = mInflate(&stream, Z_NO_FLUSH);
  piece.in_left -= static_cast<size_t>(stream.next_in - piece.in);
  piece.in = stream.next_in;
  piece.out_left -= static_cast<size_t>(stream.next_out - piece.out);
  piece.out = stream.next_out;
  switch (result) {
    case Z_OK:
    case Z_BUF_ERROR:  // more is wanted
      return Step::kGoOn;
    case Z_STREAM_END:
      return Step::kMemberEnd;
    case Z_MEM_ERROR:
      return Step::kNoMemory;
    default:
      return Step::kDamaged;
  }
}

static bool Next(void* opened) {
  return mReset(static_cast<z_stream*>(opened)) == Z_OK;
}

static void Close(void* opened) {
  mEnd(static_cast<z_stream*>(opened));
  free(opened);
}

const Codec kGzipByZlib = {PackFormat::kGzip, "libz.so.1", Load, Open, Unpack, Next, Close};
