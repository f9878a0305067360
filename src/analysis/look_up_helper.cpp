#include "analysis/look_up_helper.h"

#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>

#include "analysis/normalise.h"
#include "base/text.h"
#include "sandbox/helper_process.h"
#include "sandbox/landlock.h"
#include "sandbox/name_services.h"
#include "sandbox/syscall_filter.h"

int (*mpGetName)(const sockaddr* address, socklen_t size, char* name, socklen_t name_size, char* service,
                 socklen_t service_size, int flags) = getnameinfo;

// ---- Names ----

static bool IsLetter(char c) {
  return c >= 'a' && c <= 'z';
}

static bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

static bool IsOfName(char c) {
  return IsLetter(c) || IsDigit(c) || c == '-' || c == '_' || c == '.';
}

bool TakeHostName(const char* text, char (&name)[kLongestHostName + 1]) {
  std::string_view wanted = text;
  if (wanted.ends_with('.')) {
    wanted.remove_suffix(1);
  }
  if (wanted.size() > kLongestHostName) {
    return false;
  }
  const char* const end = std::transform(wanted.begin(), wanted.end(), name, ToLowerAscii);
  const std::string_view lowered(name, static_cast<size_t>(end - name));
  name[lowered.size()] = '\0';
  const std::string_view last = lowered.substr(lowered.rfind('.') + 1);
  return std::all_of(lowered.begin(), lowered.end(), IsOfName) &&
         std::any_of(last.begin(), last.end(), IsLetter) && !(IsDigit(lowered[0]) && IPaddress(lowered));
}

// ---- One question ----

union SocketAddress {
  sockaddr any;
  sockaddr_in ipv4;
  sockaddr_in6 ipv6;
};

static socklen_t Fill(SocketAddress& socket, const Address& address) {
  socket = {};
  if (IsIpv4(address)) {
    socket.ipv4.sin_family = AF_INET;
    memcpy(&socket.ipv4.sin_addr, address.bytes.data() + 12, sizeof socket.ipv4.sin_addr);
    return sizeof socket.ipv4;
  }
  socket.ipv6.sin6_family = AF_INET6;
  memcpy(&socket.ipv6.sin6_addr, address.bytes.data(), sizeof socket.ipv6.sin6_addr);
  return sizeof socket.ipv6;
}

static LookUpOutcome LookUp(const Address& address, char (&name)[kLongestHostName + 1]) {
  SocketAddress socket;
  const socklen_t size = Fill(socket, address);
  char said[NI_MAXHOST];
  const int failure = mpGetName(&socket.any, size, said, sizeof said, nullptr, 0, NI_NAMEREQD);
  if (failure != 0) {
    return failure == EAI_NONAME ? LookUpOutcome::kNameless : LookUpOutcome::kUnanswered;
  }
  return TakeHostName(said, name) ? LookUpOutcome::kNamed : LookUpOutcome::kNameless;
}

static bool Serve(int socket) {
  LookUpQuestion question;
  ssize_t got = 0;
  do {
    got = read(socket, &question, sizeof question);
  } while (got < 0 && errno == EINTR);
  if (got != sizeof question) {
    return false;
  }
  LookUpAnswer answer = {};
  answer.number = question.number;
  answer.outcome = LookUp(question.address, answer.name);
  if (answer.outcome != LookUpOutcome::kNamed) {
    answer.name[0] = '\0';
  }
  return write(socket, &answer, sizeof answer) == sizeof answer;
}

// ---- The process ----

static constexpr bool kGivesUp = ORVELLIS_SANDBOX != 0;
static constexpr std::uint16_t kNamePort = 53;
static constexpr size_t kStackSize = size_t{1} << 19;  // name services keep answers there

static bool GiveUpFiles() {
  Landlock landlock;
  if (!BeginLandlock(landlock)) {
    return landlock.failure == 0;
  }
  for (const char* const* path = kNameServiceFiles; *path != nullptr; ++path) {
    AllowPath(landlock, *path, {.file = kReadFile, .folder = 0});
  }
  AllowTcpTo(landlock, kNamePort);
  return EnterLandlock(landlock) == 0;
}

static bool GiveUpSyscalls() {
  return !kGivesUp || EnterSyscallFilter(SyscallSet::kLookUps) == 0;
}

// Every thread gives up system calls by itself: none could be started after the first has.
static void* ServeAll(void* socket) {
  if (!GiveUpSyscalls()) {
    _exit(1);
  }
  while (Serve(*static_cast<const int*>(socket))) {
  }
  return nullptr;
}

// As many as there can be. False when there is none.
static bool StartThreads(int& socket) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackSize);
  size_t started = 0;
  pthread_t thread;
  while (started < kMostAtOnce && pthread_create(&thread, &attributes, ServeAll, &socket) == 0) {
    ++started;
  }
  pthread_attr_destroy(&attributes);
  return started > 0;
}

// No look-up can be broken off; the end of the process is the end of all that are under way.
static void WaitForEnd(int socket) {
  pollfd end{socket, 0, 0};
  while ((end.revents & (POLLHUP | POLLERR)) == 0 && (poll(&end, 1, -1) >= 0 || errno == EINTR)) {
  }
}

void ServeLookUps(int socket, pid_t parent) {
  DieWith(parent);
  CloseAllBut(socket);
  signal(SIGPIPE, SIG_IGN);
  LoadNameServices();
  if ((!kGivesUp || GiveUpFiles()) && StartThreads(socket) && GiveUpSyscalls()) {
    WaitForEnd(socket);
  }
  _exit(0);
}
