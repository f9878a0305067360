#include "unpack/unpack_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>

static constexpr size_t kInSize = size_t{64} * 1024;

// A library may find only then that a member has ended, or that it needs more. One that goes on like this
// never ends.
static constexpr int kMostIdle = 3;

static unsigned char mIn[kInSize];

struct Unpacking {
  int from;
  const Taker& taker;
  std::span<unsigned char> room;  // of which the piece has what is left
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

static void TakeRoom(Unpacking& work) {
  work.room = work.taker.room(work.taker.context);
  work.piece.out = work.room.data();
  work.piece.out_left = work.room.size();
}

// Hands over what is unpacked so far; false when nobody takes it.
static bool Deliver(const Unpacking& work) {
  return work.taker.take(work.taker.context, work.room.size() - work.piece.out_left);
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
  if (piece.out_left > 0) {
    return true;
  }
  end = UnpackEnd::kUnwanted;
  const bool taken = Deliver(work);
  TakeRoom(work);
  return taken;
}

UnpackEnd UnpackFile(const Codec& codec, int from, const Taker& taker) {
  void* const state = codec.open();
  if (state == nullptr) {
    return UnpackEnd::kNoMemory;
  }
  Unpacking work{
      .from = from, .taker = taker, .room = {}, .piece = {}, .at_end = false, .between = true, .idle = 0};
  TakeRoom(work);
  UnpackEnd end = UnpackEnd::kWhole;
  while (GoOn(codec, state, work, end)) {
  }
  codec.close(state);
  return Deliver(work) ? end : UnpackEnd::kUnwanted;
}
