#include "unpack/unpacking.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "sandbox/helper_process.h"
#include "unpack/helper.h"

static HelperProcess mHelper;

// As much as an ordinary user's pipe may hold: whoever unpacks and whoever counts seldom wait for each other.
static constexpr int kPipeSize = 1 << 20;

void StartUnpacking() {
  StartHelper(mHelper, ServeUnpacking);
}

int OpenUnpacked(int file, PackFormat format) {
  int ends[2];
  StartUnpacking();
  if (mHelper.process < 0 || pipe2(ends, O_CLOEXEC) != 0) {
    return -1;
  }
  fcntl(ends[0], F_SETPIPE_SZ, kPipeSize);
  const bool sent = SendRequest(mHelper.socket, {format, file, ends[1]});
  close(ends[1]);
  if (!sent) {
    close(ends[0]);
    return -1;
  }
  return ends[0];
}

UnpackEnd CloseUnpacked(int pipe) {
  close(pipe);
  UnpackEnd end = UnpackEnd::kBroken;
  ssize_t got = 0;
  do {
    got = read(mHelper.socket, &end, sizeof end);
  } while (got < 0 && errno == EINTR);
  return got == sizeof end ? end : UnpackEnd::kBroken;
}

void StopUnpacking() {
  StopHelper(mHelper);
}

const char* LibraryFor(PackFormat format) {
  for (const Codec* const codec : Codecs()) {
    if (codec->format == format) {
      return codec->library;
    }
  }
  return nullptr;
}
