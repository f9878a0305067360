#include "sandbox/helper_process.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

bool StartHelper(HelperProcess& helper, ServeHelper* serve) {
  int ends[2];
  if (helper.process >= 0) {
    return true;
  }
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    return false;
  }
  const pid_t self = getpid();
  const pid_t process = fork();
  if (process == 0) {
    serve(ends[1], self);
  }
  close(ends[1]);
  if (process < 0) {
    close(ends[0]);
    return false;
  }
  helper = {ends[0], process};
  return true;
}

void StopHelper(HelperProcess& helper) {
  if (helper.process < 0) {
    return;
  }
  close(helper.socket);
  while (waitpid(helper.process, nullptr, 0) < 0 && errno == EINTR) {
  }
  helper = {};
}

void DieWith(pid_t parent) {
  if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent) {
    _exit(0);
  }
}

void CloseAllBut(int file) {
  constexpr unsigned last = ~0U;
  if (file > 0) {
    syscall(SYS_close_range, 0U, static_cast<unsigned>(file) - 1, 0U);
  }
  syscall(SYS_close_range, static_cast<unsigned>(file) + 1, last, 0U);
}
