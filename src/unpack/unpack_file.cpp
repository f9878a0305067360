#include "unpack/unpack_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>

static constexpr size_t kInSize = size_t{64} * 1024;
static constexpr size_t kOutSize = size_t{64} * 1024;

// A library may find only then that a member has ended, or that it needs more. One that goes on like this
// never ends.
static constexpr int kMostIdle = 3;

static unsigned char mIn[kInSize];
static unsigned char mOut[kOutSize];

struct Unpacking {
  int from;
  int to;
  Piece piece;
  bool at_end;   // all of the file is read
  bool between;  // members
  int idle;      // steps that have moved nothing, one after the other
};

// False when the file cannot be read.
static bool Refill(Unpacking& work) {
  if (work.piece.in_left > 0 || work.at_end) {
    return true;
  }
  ssize_t got = 0;
  do {
    got = read(work.from, mIn, sizeof mIn);
  } while (got < 0 && errno == EINTR);
  work.at_end = got <= 0;
  work.piece.in = mIn;
  work.piece.in_left = got > 0 ? static_cast<size_t>(got) : 0;
  return got >= 0;
}

// Writes what is unpacked so far; false when nobody takes it.
static bool Deliver(Unpacking& work) {
  const unsigned char* next = mOut;
  while (next < work.piece.out) {
    const ssize_t put = write(work.to, next, static_cast<size_t>(work.piece.out - next));
    if (put > 0) {
      next += put;
    } else if (put == 0 || errno != EINTR) {
      return false;
    }
  }
  work.piece.out = mOut;
  work.piece.out_left = sizeof mOut;
  return true;
}

// Tapes and disks of old fill a file up with NULs.
static void SkipPadding(Piece& piece) {
  while (piece.in_left > 0 && *piece.in == 0) {
    ++piece.in;
    --piece.in_left;
  }
}

// Takes one step; true while there are more to take, else end tells how it ended.
static bool GoOn(const Codec& codec, void* state, Unpacking& work, UnpackEnd& end) {
  Piece& piece = work.piece;
  end = UnpackEnd::kDamaged;
  if (!Refill(work)) {
    return false;
  }
  if (work.between) {
    SkipPadding(piece);
    if (piece.in_left == 0) {
      end = UnpackEnd::kWhole;
      return !work.at_end;
    }
    work.between = false;
    if (!codec.next(state)) {
      end = UnpackEnd::kNoMemory;
      return false;
    }
  }
  const size_t in_left = piece.in_left;
  const size_t out_left = piece.out_left;
  const Step step = codec.step(state, piece);
  if (step == Step::kDamaged || step == Step::kNoMemory) {
    end = step == Step::kNoMemory ? UnpackEnd::kNoMemory : UnpackEnd::kDamaged;
    return false;
  }
  work.between = step == Step::kMemberEnd;
  const bool moved = piece.in_left != in_left || piece.out_left != out_left;
  work.idle = moved ? 0 : work.idle + 1;
  if (work.idle > kMostIdle || (!moved && !work.between && work.at_end)) {
    return false;  // a library that cannot go on; a file that is cut
  }
  if (piece.out_left == 0 && !Deliver(work)) {
    end = UnpackEnd::kUnwanted;
    return false;
  }
  return true;
}

UnpackEnd UnpackFile(const Codec& codec, int from, int to) {
  void* const state = codec.open();
  if (state == nullptr) {
    return UnpackEnd::kNoMemory;
  }
  Unpacking work{from, to, {mIn, 0, mOut, sizeof mOut}, false, true, 0};
  UnpackEnd end = UnpackEnd::kWhole;
  while (GoOn(codec, state, work, end)) {
  }
  codec.close(state);
  return Deliver(work) ? end : UnpackEnd::kUnwanted;
}
