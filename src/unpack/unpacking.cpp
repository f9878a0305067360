#include "unpack/unpacking.h"

#include <unistd.h>

#include <cerrno>

#include "sandbox/helper_process.h"
#include "unpack/chunks.h"
#include "unpack/helper.h"

static HelperProcess mHelper;
static unsigned char* mChunks;
static ChunkReader mReader;

static void Serve(int socket, pid_t parent) {
  ServeUnpacking(socket, parent, mChunks);
}

static void DropChunks() {
  if (mChunks != nullptr) {
    UnmapChunks(mChunks);
  }
  mChunks = nullptr;
}

void StartUnpacking() {
  if (mHelper.process >= 0) {
    return;
  }
  mChunks = MapChunks();
  if (mChunks != nullptr && StartHelper(mHelper, Serve)) {
    KeepChunks(mChunks);
  } else {
    DropChunks();
  }
}

bool OpenUnpacked(int file, PackFormat format) {
  int ends[2];
  StartUnpacking();
  if (mHelper.process < 0 || !OpenNotes(ends)) {
    return false;
  }
  const bool sent = SendRequest(mHelper.socket, {format, file, ends[1]});
  close(ends[1]);
  if (!sent) {
    close(ends[0]);
    return false;
  }
  mReader = {.memory = mChunks, .notes = ends[0]};
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
    got = read(mHelper.socket, &end, sizeof end);
  } while (got < 0 && errno == EINTR);
  return got == sizeof end && !mReader.broken ? end : UnpackEnd::kBroken;
}

void StopUnpacking() {
  StopHelper(mHelper);
  DropChunks();
}

const char* LibraryFor(PackFormat format) {
  for (const Codec* const codec : Codecs()) {
    if (codec->format == format) {
      return codec->library;
    }
  }
  return nullptr;
}
