#include "unpack/helper.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "sandbox/helper_process.h"
#include "sandbox/landlock.h"
#include "sandbox/syscall_filter.h"
#include "unpack/chunks.h"
#include "unpack/unpack_file.h"

// ---- Requests ----

static constexpr size_t kDescriptors = 2;

// Room for the descriptors that go with a message.
union Descriptors {
  char room[CMSG_SPACE(kDescriptors * sizeof(int))];
  cmsghdr align;
};

static msghdr MessageOf(iovec& text, char* descriptors) {
  msghdr message{};
  message.msg_iov = &text;
  message.msg_iovlen = 1;
  message.msg_control = descriptors;
  message.msg_controllen = sizeof(Descriptors::room);
  return message;
}

bool SendRequest(int socket, const UnpackRequest& request) {
  auto format = static_cast<unsigned char>(request.format);
  iovec text{&format, sizeof format};
  Descriptors descriptors{};
  msghdr message = MessageOf(text, descriptors.room);
  cmsghdr* const head = CMSG_FIRSTHDR(&message);
  *head = {
      .cmsg_len = CMSG_LEN(kDescriptors * sizeof(int)), .cmsg_level = SOL_SOCKET, .cmsg_type = SCM_RIGHTS};
  const int numbers[kDescriptors] = {request.from, request.to};
  memcpy(CMSG_DATA(head), numbers, sizeof numbers);
  ssize_t sent = 0;
  do {
    sent = sendmsg(socket, &message, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent == sizeof format;
}

// False when nobody sends requests any more.
static bool ReceiveRequest(int socket, UnpackRequest& request) {
  unsigned char format = 0;
  iovec text{&format, sizeof format};
  Descriptors descriptors{};
  msghdr message = MessageOf(text, descriptors.room);
  ssize_t got = 0;
  do {
    got = recvmsg(socket, &message, 0);
  } while (got < 0 && errno == EINTR);
  const cmsghdr* const head = CMSG_FIRSTHDR(&message);
  int numbers[kDescriptors];
  if (got != sizeof format || format >= kPackFormats || head == nullptr || head->cmsg_type != SCM_RIGHTS ||
      head->cmsg_len != CMSG_LEN(sizeof numbers)) {
    return false;
  }
  memcpy(numbers, CMSG_DATA(head), sizeof numbers);
  request = {static_cast<PackFormat>(format), numbers[0], numbers[1]};
  return true;
}

// ---- The libraries ----

// The codec of each format, once they are loaded; null where there is none.
struct LoadedCodecs {
  bool looked_for;
  const Codec* of[kPackFormats];
};

static void Load(LoadedCodecs& codecs) {
  for (const Codec* const codec : Codecs()) {
    const Codec*& loaded = codecs.of[static_cast<size_t>(codec->format)];
    if (loaded == nullptr && codec->load()) {
      loaded = codec;
    }
  }
}

// ---- Giving up ----

static constexpr bool kGivesUp = ORVELLIS_SANDBOX != 0;

static bool GiveUpFiles() {
  Landlock landlock;
  return !BeginLandlock(landlock) || EnterLandlock(landlock) == 0;
}

// The libraries are loaded first, as this takes files and makes memory a program.
static bool GetReady(LoadedCodecs& codecs) {
  codecs.looked_for = true;
  Load(codecs);
  return !kGivesUp || (GiveUpFiles() && EnterSyscallFilter(SyscallSet::kUnpackHelper) == 0);
}

// ---- A child for each file ----

struct Server {
  int socket;
  unsigned char* chunks;
  LoadedCodecs codecs;
};

static UnpackEnd UnpackIntoChunks(const Codec& codec, int from, ChunkWriter writer) {
  const auto room = [](void* chunks) { return RoomOf(*static_cast<ChunkWriter*>(chunks)); };
  const auto take = [](void* chunks, size_t filled) {
    return Tell(*static_cast<ChunkWriter*>(chunks), filled);
  };
  return UnpackFile(codec, from, {&writer, room, take});
}

[[noreturn]] static void UnpackAndExit(const Codec& codec, const UnpackRequest& request, const Server& server,
                                       pid_t parent) {
  DieWith(parent);
  close(server.socket);
  UnpackEnd end = UnpackEnd::kBroken;
  if (!kGivesUp || EnterSyscallFilter(SyscallSet::kUnpack) == 0) {
    end = UnpackIntoChunks(codec, request.from, {server.chunks, request.to, 0});
  }
  _exit(static_cast<int>(end));
}

static UnpackEnd WaitFor(pid_t child) {
  int status = 0;
  pid_t ended = 0;
  do {
    ended = waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  const bool left =
      ended == child && WIFEXITED(status) && WEXITSTATUS(status) <= static_cast<int>(UnpackEnd::kBroken);
  return left ? static_cast<UnpackEnd>(WEXITSTATUS(status)) : UnpackEnd::kBroken;
}

static UnpackEnd UnpackInChild(const Server& server, const UnpackRequest& request) {
  const Codec* const codec = server.codecs.of[static_cast<size_t>(request.format)];
  if (codec == nullptr) {
    return UnpackEnd::kNoLibrary;
  }
  const pid_t self = getpid();
  const pid_t child = fork();
  if (child == 0) {
    UnpackAndExit(*codec, request, server, self);
  }
  close(request.to);  // so that the child is the only one that writes
  return child < 0 ? UnpackEnd::kBroken : WaitFor(child);
}

static bool Serve(Server& server) {
  UnpackRequest request{};
  if (!ReceiveRequest(server.socket, request)) {
    return false;
  }
  UnpackEnd end = UnpackEnd::kBroken;
  if (server.codecs.looked_for || GetReady(server.codecs)) {
    end = UnpackInChild(server, request);
  }
  close(request.from);
  close(request.to);
  return write(server.socket, &end, sizeof end) == sizeof end;
}

void ServeUnpacking(int socket, pid_t parent, unsigned char* chunks) {
  DieWith(parent);
  CloseAllBut(socket);
  signal(SIGCHLD, SIG_DFL);  // who starts a program may have it ignored, and then no child can be waited for
  signal(SIGPIPE, SIG_IGN);
  Server server{socket, chunks, {}};
  while (Serve(server)) {
  }
  _exit(0);
}
