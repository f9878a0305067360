// Runs a program as a kernel would that knows neither Landlock nor filters of system calls.
//
//   without_kernel PROGRAM [ARGUMENT...]
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>

static constexpr unsigned kFirstOfLandlock = 444;
static constexpr unsigned kLastOfLandlock = 446;

int main(int argc, char** argv) {
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_seccomp, 3, 0),
      BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, kFirstOfLandlock, 0, 1),
      BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, kLastOfLandlock, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
  };
  const sock_fprog filter{sizeof steps / sizeof *steps, steps};
  if (argc < 2 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) != 0) {
    perror("without_kernel");
    return 77;
  }
  execvp(argv[1], argv + 1);
  perror(argv[1]);
  return 1;
}
