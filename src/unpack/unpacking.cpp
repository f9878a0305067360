#include "unpack/unpacking.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "unpack/helper.h"

struct Helper {
  int socket;
  pid_t process;
};

static constexpr Helper kNoHelper{-1, -1};
static Helper mHelper = kNoHelper;

// As much as an ordinary user's pipe may hold: whoever unpacks and whoever counts seldom wait for each other.
static constexpr int kPipeSize = 1 << 20;

void StartUnpacking() {
  int ends[2];
  if (mHelper.process >= 0 || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    return;
  }
  const pid_t self = getpid();
  const pid_t process = fork();
  if (process == 0) {
    ServeUnpacking(ends[1], self);
  }
  close(ends[1]);
  if (process < 0) {
    close(ends[0]);
  } else {
    mHelper = {ends[0], process};
  }
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
  if (mHelper.process < 0) {
    return;
  }
  close(mHelper.socket);
  while (waitpid(mHelper.process, nullptr, 0) < 0 && errno == EINTR) {
  }
  mHelper = kNoHelper;
}

const char* LibraryFor(PackFormat format) {
  for (const Codec* const codec : Codecs()) {
    if (codec->format == format) {
      return codec->library;
    }
  }
  return nullptr;
}
