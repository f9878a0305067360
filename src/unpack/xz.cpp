#include <lzma.h>

#include <cstdlib>

#include "unpack/codec.h"

static decltype(&lzma_stream_decoder) mInit;
static decltype(&lzma_code) mCode;
static decltype(&lzma_end) mEnd;

static bool Load() {
  const LibraryFunction functions[] = {
      {"lzma_stream_decoder", reinterpret_cast<void**>(&mInit)},
      {"lzma_code", reinterpret_cast<void**>(&mCode)},
      {"lzma_end", reinterpret_cast<void**>(&mEnd)},
  };
  return LoadLibrary(kXz.library, functions);
}

// What a decoder needs beside the bytes that it looks back to.
static constexpr size_t kBeside = size_t{4} << 20;

static bool Next(void* opened) {
  return mInit(static_cast<lzma_stream*>(opened), kMostWindow + kBeside, 0) == LZMA_OK;
}

static void* Open() {
  auto* const stream = static_cast<lzma_stream*>(calloc(1, sizeof(lzma_stream)));
  if (stream != nullptr && !Next(stream)) {
    free(stream);
    return nullptr;
  }
  return stream;
}

static Step Unpack(void* opened, Piece& piece) {
  auto& stream = *static_cast<lzma_stream*>(opened);
  stream.next_in = piece.in;
  stream.avail_in = piece.in_left;
  stream.next_out = piece.out;
  stream.avail_out = piece.out_left;
  const lzma_ret result = mCode(&stream, LZMA_RUN);
  piece = {stream.next_in, stream.avail_in, stream.next_out, stream.avail_out};
  switch (result) {
    case LZMA_OK:
    case LZMA_BUF_ERROR:  // more is wanted
      return Step::kGoOn;
    case LZMA_STREAM_END:
      return Step::kMemberEnd;
    case LZMA_MEM_ERROR:
    case LZMA_MEMLIMIT_ERROR:
      return Step::kNoMemory;
    default:
      return Step::kDamaged;
  }
}

static void Close(void* opened) {
  mEnd(static_cast<lzma_stream*>(opened));
  free(opened);
}

const Codec kXz = {PackFormat::kXz, "liblzma.so.5", Load, Open, Unpack, Next, Close};
