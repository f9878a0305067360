// gzip by ISA-L, which unpacks three times as fast as zlib.
#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "unpack/codec.h"

static decltype(&isal_inflate_init) mInit;
static decltype(&isal_inflate_reset) mReset;
static decltype(&isal_inflate) mInflate;

static bool Load() {
  const LibraryFunction functions[] = {
      {"isal_inflate_init", reinterpret_cast<void**>(&mInit)},
      {"isal_inflate_reset", reinterpret_cast<void**>(&mReset)},
      {"isal_inflate", reinterpret_cast<void**>(&mInflate)},
  };
  return LoadLibrary(kGzipByIsal.library, functions);
}

static void* Open() {
  auto* const state = static_cast<inflate_state*>(malloc(sizeof(inflate_state)));
  if (state != nullptr) {
    mInit(state);
    state->crc_flag = ISAL_GZIP;
  }
  return state;
}

static uint32_t Narrow(size_t size) {
  return static_cast<uint32_t>(std::min<size_t>(size, UINT32_MAX));
}

static Step Unpack(void* opened, Piece& piece) {
  auto& state = *static_cast<inflate_state*>(opened);
  state.next_in = const_cast<uint8_t*>(piece.in);
  state.avail_in = Narrow(piece.in_left);
  state.next_out = piece.out;
  state.avail_out = Narrow(piece.out_left);
  const int result = mInflate(&state);
  piece.in_left -= static_cast<size_t>(state.next_in - piece.in);
  piece.in = state.next_in;
  piece.out_left -= static_cast<size_t>(state.next_out - piece.out);
  piece.out = state.next_out;
  if (result < ISAL_DECOMP_OK) {
    return Step::kDamaged;
  }
  return state.block_state == ISAL_BLOCK_FINISH ? Step::kMemberEnd : Step::kGoOn;
}

static bool Next(void* opened) {
  auto& state = *static_cast<inflate_state*>(opened);
  mReset(&state);
  state.crc_flag = ISAL_GZIP;
  return true;
}

const Codec kGzipByIsal = {PackFormat::kGzip, "libisal.so.2", Load, Open, Unpack, Next, free};
