#include "unpack/unpacking.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "sandbox/helper_process.h"
#include "unpack/chunks.h"
#include "unpack/helper.h"

struct Unpacker {
  HelperProcess helper;
  unsigned char* chunks = nullptr;
};
static Unpacker mUnpackers[kMostUnpackers];
static Unpacker* mpUnpacker = mUnpackers;
static ChunkReader mReader;

static unsigned char* mStartedChunks;  // of the helper that is being started

static void Serve(int socket, pid_t parent) {
  ServeUnpacking(socket, parent, mStartedChunks);
}

static void DropChunks(Unpacker& unpacker) {
  if (unpacker.chunks != nullptr) {
    UnmapChunks(unpacker.chunks);
  }
  unpacker.chunks = nullptr;
}

static void Start(Unpacker& unpacker) {
  if (unpacker.helper.process >= 0) {
    return;
  }
  unpacker.chunks = mStartedChunks = MapChunks();
  if (unpacker.chunks != nullptr && StartHelper(unpacker.helper, Serve)) {
    KeepChunks(unpacker.chunks);
  } else {
    DropChunks(unpacker);
  }
}

void StartUnpacking(size_t count) {
  for (size_t i = 0; i < std::min(count, kMostUnpackers); ++i) {
    Start(mUnpackers[i]);
  }
}

void LendUnpackers() {
  for (const Unpacker& unpacker : mUnpackers) {
    if (unpacker.chunks != nullptr) {
      LendChunks(unpacker.chunks);
    }
  }
}

void UseUnpacker(size_t number) {
  mpUnpacker = &mUnpackers[std::min(number, kMostUnpackers - 1)];
}

bool OpenUnpacked(int file, PackFormat format) {
  int ends[2];
  Start(*mpUnpacker);
  if (mpUnpacker->helper.process < 0 || !OpenNotes(ends)) {
    return false;
  }
  const bool sent = SendRequest(mpUnpacker->helper.socket, {format, file, ends[1]});
  close(ends[1]);
  if (!sent) {
    close(ends[0]);
    return false;
  }
  mReader = {.memory = mpUnpacker->chunks, .notes = ends[0]};
  return true;
}

size_t ReadUnpacked(char* dst, size_t size) {
  return ReadChunks(mReader, dst, size);
}

UnpackEnd CloseUnpacked() {
  close(mReader.notes);
  UnpackEnd end = UnpackEnd::kBroken;
  ssize_t got = 0;
  do {
    got = read(mpUnpacker->helper.socket, &end, sizeof end);
  } while (got < 0 && errno == EINTR);
  return got == sizeof end && !mReader.broken ? end : UnpackEnd::kBroken;
}

void StopUnpacking() {
  for (Unpacker& unpacker : mUnpackers) {
    StopHelper(unpacker.helper);
    DropChunks(unpacker);
  }
}

const char* LibraryFor(PackFormat format) {
  for (const Codec* const codec : Codecs()) {
    if (codec->format == format) {
      return codec->library;
    }
  }
  return nullptr;
}
