// Runs a program under control and lets something happen to it, or to the world
// around it, exactly at the N-th system call after its start.
//
//   at_system_call [-l FILE] [-k N[:BYTES]] [-f N:ERROR] [-a N COMMAND]... PROGRAM ARGUMENT...
//
//   -l FILE         lists the calls that matter here: number, name, and what the call is about
//   -k N[:BYTES]    kills the program (SIGKILL) instead of letting it make its N-th call; with
//                   BYTES, when that call writes, this many bytes still go out before
//   -f N:ERROR      lets the N-th call fail with this error number, and does not make it
//   -a N COMMAND    runs a shell command while the program waits for its N-th call to begin
//
// Ends with the program's status, 128 and the signal's number when one killed it.
#include <elf.h>
#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

struct Name {
  unsigned long call;
  const char* name;
};

static constexpr Name kNames[] = {
    {SYS_openat, "open"},     {SYS_read, "read"},      {SYS_pread64, "pread"},   {SYS_pwrite64, "pwrite"},
    {SYS_write, "write"},     {SYS_close, "close"},    {SYS_renameat, "rename"}, {SYS_ftruncate, "truncate"},
    {SYS_flock, "lock"},      {SYS_fchmod, "chmod"},   {SYS_fchown, "chown"},    {SYS_unlinkat, "unlink"},
    {SYS_getdents64, "list"}, {SYS_fdatasync, "sync"},
#ifdef SYS_rename
    {SYS_rename, "rename"},   {SYS_unlink, "unlink"},
#endif
};

struct Action {
  long call;
  const char* command;
};

struct Plan {
  FILE* list = nullptr;
  long kill_at = 0;
  long bytes = -1;
  long fail_at = 0;
  long error = 0;
  Action actions[64];
  size_t action_count = 0;
};

[[noreturn]] static void Fail(const char* what) {
  perror(what);
  exit(125);
}

static const char* NameOf(unsigned long call) {
  for (const Name& known : kNames) {
    if (known.call == call) {
      return known.name;
    }
  }
  return nullptr;
}

static user_regs_struct Registers(pid_t child) {
  user_regs_struct registers;
  iovec place = {&registers, sizeof registers};
  if (ptrace(PTRACE_GETREGSET, child, NT_PRSTATUS, &place) != 0) {
    Fail("reading registers");
  }
  return registers;
}

static void SetRegisters(pid_t child, user_regs_struct registers) {
  iovec place = {&registers, sizeof registers};
  if (ptrace(PTRACE_SETREGSET, child, NT_PRSTATUS, &place) != 0) {
    Fail("writing registers");
  }
}

#if defined(__x86_64__)
static auto& ThirdArgument(user_regs_struct& registers) {
  return registers.rdx;
}
static auto& ResultOf(user_regs_struct& registers) {
  return registers.rax;
}
static void SkipCall(pid_t child) {
  user_regs_struct registers = Registers(child);
  registers.orig_rax = ~0ULL;
  SetRegisters(child, registers);
}
#elif defined(__aarch64__)
static auto& ThirdArgument(user_regs_struct& registers) {
  return registers.regs[2];
}
static auto& ResultOf(user_regs_struct& registers) {
  return registers.regs[0];
}
static void SkipCall(pid_t child) {
  int none = -1;
  iovec place = {&none, sizeof none};
  if (ptrace(PTRACE_SETREGSET, child, NT_ARM_SYSTEM_CALL, &place) != 0) {
    Fail("skipping a call");
  }
}
#else
#error "which registers hold the number, the third argument and the result of a system call?"
#endif

static void List(const Plan& plan, long number, const __ptrace_syscall_info& info) {
  const char* const name = NameOf(info.entry.nr);
  if (plan.list != nullptr) {
    fprintf(plan.list, "%ld %s %llu %llu %llu\n", number, name == nullptr ? "other" : name,
            static_cast<unsigned long long>(info.entry.args[0]),
            static_cast<unsigned long long>(info.entry.args[2]),
            static_cast<unsigned long long>(info.entry.args[3]));
  }
}

static int Continue(pid_t child, int signal) {
  int status = 0;
  // One that was killed cannot go on, only end.
  if ((ptrace(PTRACE_SYSCALL, child, nullptr, signal) != 0 && errno != ESRCH) ||
      waitpid(child, &status, 0) != child) {
    Fail("running the program");
  }
  return status;
}

static bool IsWrite(unsigned long call) {
  return call == SYS_write || call == SYS_pwrite64;
}

static void FailCall(pid_t child, long error) {
  SkipCall(child);
  Continue(child, 0);  // to the end of the call
  user_regs_struct registers = Registers(child);
  ResultOf(registers) = static_cast<unsigned long>(-error);
  SetRegisters(child, registers);
}

static void BeforeCall(const Plan& plan, pid_t child, long number, const __ptrace_syscall_info& info) {
  List(plan, number, info);
  for (size_t i = 0; i < plan.action_count; ++i) {
    if (plan.actions[i].call == number && system(plan.actions[i].command) != 0) {
      Fail(plan.actions[i].command);
    }
  }
  if (number == plan.fail_at) {
    FailCall(child, plan.error);
  }
  if (number != plan.kill_at) {
    return;
  }
  if (plan.bytes >= 0 && IsWrite(info.entry.nr)) {
    user_regs_struct registers = Registers(child);
    if (static_cast<unsigned long>(plan.bytes) < info.entry.args[2]) {
      ThirdArgument(registers) = static_cast<unsigned long>(plan.bytes);
      SetRegisters(child, registers);
    }
    Continue(child, 0);
  }
  kill(child, SIGKILL);
}

static int Run(const Plan& plan, char** command) {
  const pid_t child = fork();
  if (child == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    execv(command[0], command);
    Fail(command[0]);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child ||
      ptrace(PTRACE_SETOPTIONS, child, nullptr,
             PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL) != 0) {
    Fail("control over the program");
  }
  long number = -1;  // none before the program has been started
  int signal = 0;
  for (;;) {
    status = Continue(child, signal);
    signal = 0;
    if (WIFEXITED(status)) {
      return WEXITSTATUS(status);
    }
    if (WIFSIGNALED(status)) {
      return 128 + WTERMSIG(status);
    }
    if (status >> 8 == (SIGTRAP | PTRACE_EVENT_EXEC << 8)) {
      number = 0;
    } else if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
      signal = WSTOPSIG(status);
    } else {
      __ptrace_syscall_info info;
      if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) > 0 &&
          info.op == PTRACE_SYSCALL_INFO_ENTRY && number >= 0) {
        BeforeCall(plan, child, ++number, info);
      }
    }
  }
}

int main(int argc, char** argv) {
  Plan plan;
  int option;
  while ((option = getopt(argc, argv, "+l:k:f:a:")) != -1) {
    if (option == 'l') {
      plan.list = fopen(optarg, "w");
    } else if (option == 'k') {
      const char* const colon = strchr(optarg, ':');
      plan.kill_at = atol(optarg);
      plan.bytes = colon == nullptr ? -1 : atol(colon + 1);
    } else if (option == 'f' && strchr(optarg, ':') != nullptr) {
      plan.fail_at = atol(optarg);
      plan.error = atol(strchr(optarg, ':') + 1);
    } else if (option == 'a' && plan.action_count < 64 && optind < argc) {
      plan.actions[plan.action_count++] = {atol(optarg), argv[optind++]};
    } else {
      return 125;
    }
  }
  const int status = Run(plan, argv + optind);
  if (plan.list != nullptr) {
    fclose(plan.list);
  }
  return status;
}
