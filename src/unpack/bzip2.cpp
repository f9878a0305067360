#include <bzlib.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "unpack/codec.h"

static decltype(&BZ2_bzDecompressInit) mInit;
static decltype(&BZ2_bzDecompress) mUnpack;
static decltype(&BZ2_bzDecompressEnd) mEnd;

static bool Load() {
  const LibraryFunction functions[] = {
      {"BZ2_bzDecompressInit", reinterpret_cast<void**>(&mInit)},
      {"BZ2_bzDecompress", reinterpret_cast<void**>(&mUnpack)},
      {"BZ2_bzDecompressEnd", reinterpret_cast<void**>(&mEnd)},
  };
  return LoadLibrary(kBzip2.library, functions);
}

static void* Open() {
  auto* const stream = static_cast<bz_stream*>(calloc(1, sizeof(bz_stream)));
  if (stream != nullptr && mInit(stream, 0, 0) != BZ_OK) {
    free(stream);
    return nullptr;
  }
  return stream;
}

static unsigned Narrow(size_t size) {
  return static_cast<unsigned>(std::min<size_t>(size, UINT_MAX));
}

static Step Unpack(void* opened, Piece& piece) {
  auto& stream = *static_cast<bz_stream*>(opened);
  auto* const in = reinterpret_cast<char*>(const_cast<unsigned char*>(piece.in));
  auto* const out = reinterpret_cast<char*>(piece.out);
  stream.next_in = in;
  stream.avail_in = Narrow(piece.in_left);
  stream.next_out = out;
  stream.avail_out = Narrow(piece.out_left);
  const int result = mUnpack(&stream);
  piece.in += stream.next_in - in;
  piece.in_left -= static_cast<size_t>(stream.next_in - in);
  piece.out += stream.next_out - out;
  piece.out_left -= static_cast<size_t>(stream.next_out - out);
  switch (result) {
    case BZ_OK:
      return Step::kGoOn;
    case BZ_STREAM_END:
      return Step::kMemberEnd;
    case BZ_MEM_ERROR:
      return Step::kNoMemory;
    default:
      return Step::kDamaged;
  }
}

static bool Next(void* opened) {
  auto& stream = *static_cast<bz_stream*>(opened);
  return mEnd(&stream) == BZ_OK && mInit(&stream, 0, 0) == BZ_OK;
}

static void Close(void* opened) {
  mEnd(static_cast<bz_stream*>(opened));
  free(opened);
}

const Codec kBzip2 = {PackFormat::kBzip2, "libbz2.so.1.0", Load, Open, Unpack, Next, Close};
