#include <zstd.h>
#include <zstd_errors.h>

#include <bit>

#include "unpack/codec.h"

static decltype(&ZSTD_createDStream) mCreate;
static decltype(&ZSTD_freeDStream) mFree;
static decltype(&ZSTD_DCtx_setParameter) mSet;
static decltype(&ZSTD_decompressStream) mUnpack;
static decltype(&ZSTD_isError) mIsError;
static decltype(&ZSTD_getErrorCode) mErrorOf;

static bool Load() {
  const LibraryFunction functions[] = {
      {"ZSTD_createDStream", reinterpret_cast<void**>(&mCreate)},
      {"ZSTD_freeDStream", reinterpret_cast<void**>(&mFree)},
      {"ZSTD_DCtx_setParameter", reinterpret_cast<void**>(&mSet)},
      {"ZSTD_decompressStream", reinterpret_cast<void**>(&mUnpack)},
      {"ZSTD_isError", reinterpret_cast<void**>(&mIsError)},
      {"ZSTD_getErrorCode", reinterpret_cast<void**>(&mErrorOf)},
  };
  return LoadLibrary(kZstd.library, functions);
}

static void* Open() {
  ZSTD_DStream* const stream = mCreate();
  if (stream != nullptr) {
    mSet(stream, ZSTD_d_windowLogMax, std::countr_zero(kMostWindow));
  }
  return stream;
}

static Step StepOfError(size_t result) {
  const ZSTD_ErrorCode error = mErrorOf(result);
  return error == ZSTD_error_memory_allocation || error == ZSTD_error_frameParameter_windowTooLarge
             ? Step::kNoMemory
             : Step::kDamaged;
}

static Step Unpack(void* opened, Piece& piece) {
  ZSTD_inBuffer in{piece.in, piece.in_left, 0};
  ZSTD_outBuffer out{piece.out, piece.out_left, 0};
  const size_t result = mUnpack(static_cast<ZSTD_DStream*>(opened), &out, &in);
  piece.in += in.pos;
  piece.in_left -= in.pos;
  piece.out += out.pos;
  piece.out_left -= out.pos;
  if (mIsError(result) != 0) {
    return StepOfError(result);
  }
  return result == 0 ? Step::kMemberEnd : Step::kGoOn;
}

static bool Next(void* /*opened*/) {
  return true;  // the library does so by itself
}

static void Close(void* opened) {
  mFree(static_cast<ZSTD_DStream*>(opened));
}

const Codec kZstd = {PackFormat::kZstd, "libzstd.so.1", Load, Open, Unpack, Next, Close};
