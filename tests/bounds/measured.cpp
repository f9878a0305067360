// Runs a program and tells what it took: the processor time of its own and its
// largest resident memory, which a shell or an interpreter that starts it itself
// would blur with its own.
//
//   measured FIGURES PROGRAM [ARGUMENT...]
//
// FIGURES is written as "microseconds kibibytes", the exit status is the
// program's, 128 and more that of one that a signal ended.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

static long Microseconds(const timeval& time) {
  return time.tv_sec * 1000000L + time.tv_usec;
}

int main(int argc, char** argv) {
  if (argc < 3) {
    return 125;
  }
  const pid_t child = fork();
  if (child == 0) {
    execv(argv[2], argv + 2);
    _exit(127);
  }
  int status = 0;
  rusage used;
  FILE* const figures = fopen(argv[1], "w");
  if (child < 0 || wait4(child, &status, 0, &used) != child || figures == nullptr) {
    return 125;
  }
  fprintf(figures, "%ld %ld\n", Microseconds(used.ru_utime) + Microseconds(used.ru_stime), used.ru_maxrss);
  fclose(figures);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
