// Runs while Orvellis is built: writes the filters of syscall_filter.cpp as source.
//
//   make_syscall_filters FILE
//
// They are lists of what is allowed, for the architecture of the machine that builds. A name that libseccomp
// or the architecture does not know is passed over: some C libraries use one call where
// others use its successor, and both stand here.
#include <fcntl.h>
#include <linux/filter.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <span>

// ---- What is allowed ----

static const char* const kReportCalls[] = {
    // Files that may be opened at all are a matter of Landlock.
    "open", "openat", "close", "read", "readv", "pread64", "write", "writev", "pwrite64", "lseek", "stat",
    "lstat", "fstat", "newfstatat", "statx", "access", "faccessat", "faccessat2", "flock",
    // A summary file that takes the place of an older one.
    "ftruncate", "fchmod", "fchown", "rename", "renameat", "renameat2", "unlink", "unlinkat",
    // Memory and time; sysinfo is how a large sort learns how much memory there is.
    "brk", "munmap", "mremap", "madvise", "sysinfo", "futex", "getrandom", "clock_gettime", "clock_getres",
    "gettimeofday", "time",
    // Who one is.
    "getpid", "gettid", "getuid", "geteuid", "getgid", "getegid", "uname",
    // A run that was stopped goes on, one that gives up ends.
    "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "restart_syscall", "exit", "exit_group"};

static const char* const kLookUpCalls[] = {"connect",     "sendto",      "sendmsg",    "sendmmsg",
                                           "recvfrom",    "recvmsg",     "setsockopt", "getsockopt",
                                           "getsockname", "getpeername", "poll",       "ppoll"};

struct Condition {
  unsigned argument;
  scmp_datum_t mask;
  scmp_datum_t value;
};

// The kernel takes these arguments as 32 bits.
static constexpr scmp_datum_t kWholeInt = 0xffffffff;
static constexpr scmp_datum_t kSocketType = 0xf;

struct ConditionalCall {
  const char* name;
  Condition first;
  Condition second;  // the same as the first where there is one only
};

static constexpr ConditionalCall If(const char* name, Condition condition) {
  return {name, condition, condition};
}

static constexpr ConditionalCall kConditionalReportCalls[] = {
    // No memory is made a program.
    If("mmap", {2, PROT_EXEC, 0}),
    If("mprotect", {2, PROT_EXEC, 0}),
    // F_SETOWN would send signals.
    If("fcntl", {1, kWholeInt, F_DUPFD_CLOEXEC}),
    If("fcntl", {1, kWholeInt, F_GETFD}),
    If("fcntl", {1, kWholeInt, F_SETFD}),
    If("fcntl", {1, kWholeInt, F_GETFL}),
    If("fcntl", {1, kWholeInt, F_SETFL}),
    // Whether a file is a terminal.
    If("ioctl", {1, kWholeInt, TCGETS}),
    If("ioctl", {1, kWholeInt, TIOCGWINSZ}),
};

static constexpr ConditionalCall kConditionalLookUpCalls[] = {
    If("ioctl", {1, kWholeInt, FIONREAD}),
    {"socket", {0, kWholeInt, AF_INET}, {1, kSocketType, SOCK_DGRAM}},
    {"socket", {0, kWholeInt, AF_INET}, {1, kSocketType, SOCK_STREAM}},
    {"socket", {0, kWholeInt, AF_INET6}, {1, kSocketType, SOCK_DGRAM}},
    {"socket", {0, kWholeInt, AF_INET6}, {1, kSocketType, SOCK_STREAM}},
};

// ---- Making the filters ----

static void Check(int result, const char* what) {
  if (result < 0) {
    fprintf(stderr, "make_syscall_filters: %s: error %d\n", what, -result);
    exit(1);
  }
}

static void Allow(scmp_filter_ctx filter, const char* name, std::initializer_list<scmp_arg_cmp> conditions) {
  const int number = seccomp_syscall_resolve_name(name);
  if (number != __NR_SCMP_ERROR) {
    Check(seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, number, static_cast<unsigned>(conditions.size()),
                                 conditions.begin()),
          name);
  }
}

static void AllowAll(scmp_filter_ctx filter, std::span<const char* const> calls) {
  for (const char* const name : calls) {
    Allow(filter, name, {});
  }
}

static scmp_arg_cmp Compare(const Condition& condition) {
  return {condition.argument, SCMP_CMP_MASKED_EQ, condition.mask, condition.value};
}

static void AllowAll(scmp_filter_ctx filter, std::span<const ConditionalCall> calls) {
  for (const ConditionalCall& call : calls) {
    if (call.second.argument == call.first.argument) {
      Allow(filter, call.name, {Compare(call.first)});
    } else {
      Allow(filter, call.name, {Compare(call.first), Compare(call.second)});
    }
  }
}

static scmp_filter_ctx NewFilter() {
  scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
  Check(filter == nullptr ? -ENOMEM : 0, "seccomp_init");
  Check(seccomp_attr_set(filter, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS), "another architecture");
  Check(seccomp_attr_set(filter, SCMP_FLTATR_CTL_OPTIMIZE, 2), "a tree of numbers");
  AllowAll(filter, kReportCalls);
  AllowAll(filter, kConditionalReportCalls);
  return filter;
}

static void Write(FILE* source, const char* name, scmp_filter_ctx filter) {
  FILE* const code = tmpfile();
  Check(code == nullptr ? -errno : 0, "tmpfile");
  Check(seccomp_export_bpf(filter, fileno(code)), "seccomp_export_bpf");
  const long size = lseek(fileno(code), 0, SEEK_CUR);
  rewind(code);
  fprintf(source, "static constexpr std::array<sock_filter, %ld> %s{{\n", size / long{sizeof(sock_filter)},
          name);
  for (sock_filter step; fread(&step, sizeof step, 1, code) == 1;) {
    fprintf(source, "    {%#x, %u, %u, %#x},\n", step.code, step.jt, step.jf, step.k);
  }
  fputs("}};\n", source);
  fclose(code);
  seccomp_release(filter);
}

int main(int argc, char** argv) {
  FILE* const source = argc == 2 ? fopen(argv[1], "w") : nullptr;
  if (source == nullptr) {
    perror("make_syscall_filters");
    return 1;
  }
  Write(source, "kReportFilter", NewFilter());
  scmp_filter_ctx look_ups = NewFilter();
  AllowAll(look_ups, kLookUpCalls);
  AllowAll(look_ups, kConditionalLookUpCalls);
  Write(source, "kLookUpFilter", look_ups);
  return fclose(source) == 0 ? 0 : 1;
}
