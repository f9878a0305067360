// What a process may try, and whether it may. An attempt returns 0 when it works, else an error number.
#pragma once

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <string>

using Attempt = std::function<int()>;

inline int ErrorOf(long result) {
  return result < 0 ? errno : 0;
}

inline int TryOpen(const std::string& path, int flags) {
  const int file = open(path.c_str(), flags | O_CLOEXEC, 0600);
  const int error = ErrorOf(file);
  if (file >= 0) {
    close(file);
  }
  return error;
}

inline int TrySocket(int family, int type, int protocol = 0) {
  const int socket_made = socket(family, type, protocol);
  const int error = ErrorOf(socket_made);
  if (socket_made >= 0) {
    close(socket_made);
  }
  return error;
}

inline int TryFork() {
  const pid_t child = fork();
  if (child == 0) {
    _exit(0);
  }
  return child < 0 ? errno : ErrorOf(waitpid(child, nullptr, 0));
}

// The same in a process of its own, which may do as it likes; -1 when a signal ended it.
inline int InChild(const Attempt& attempt) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(attempt());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A process that waits until it is over.
class OtherProcess {
 public:
  OtherProcess() : id(fork()) {
    if (id == 0) {
      pause();
      _exit(0);
    }
  }
  ~OtherProcess() {
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  const pid_t id;
};

// A TCP port of this machine somebody listens at.
class Listener {
 public:
  Listener() : handle(socket(AF_INET, SOCK_STREAM, 0)) {
    socklen_t size = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(handle, reinterpret_cast<sockaddr*>(&address), sizeof address);
    listen(handle, 5);
    getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size);
  }
  ~Listener() { close(handle); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int TryConnect() const {
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    if (client < 0) {
      return errno;
    }
    const int error = ErrorOf(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    close(client);
    return error;
  }
  // By a first message instead of a call that connects; way: 0 to 2, one for each call that sends.
  int TryFirstMessage(int way) const {
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    if (client < 0) {
      return errno;
    }
    char byte = 'x';
    iovec part{&byte, 1};
    mmsghdr message{};
    message.msg_hdr.msg_name = const_cast<sockaddr_in*>(&address);
    message.msg_hdr.msg_namelen = sizeof address;
    message.msg_hdr.msg_iov = &part;
    message.msg_hdr.msg_iovlen = 1;
    const auto* const to = reinterpret_cast<const sockaddr*>(&address);
    const int error = ErrorOf(way == 0   ? sendto(client, &byte, 1, MSG_FASTOPEN, to, sizeof address)
                              : way == 1 ? sendmsg(client, &message.msg_hdr, MSG_FASTOPEN)
                                         : sendmmsg(client, &message, 1, MSG_FASTOPEN));
    close(client);
    return error;
  }
  int Port() const { return ntohs(address.sin_port); }

 private:
  int handle;
  sockaddr_in address{};
};
