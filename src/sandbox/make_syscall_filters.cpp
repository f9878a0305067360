// Runs while Orvellis is built: writes the filters of syscall_filter.cpp as source.
//
//   make_syscall_filters FILE
//
// They are lists of what is allowed, for the architecture of the machine that builds. A name that libseccomp
// or the architecture does not know is passed over: some C libraries use one call where
// others use its successor, and both stand here.
#include <fcntl.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <span>

// ---- What is allowed ----

static const char* const kReportCalls[] = {
    // Files that may be opened at all are a matter of Landlock.
    "close", "read", "readv", "pread64", "write", "writev", "pwrite64", "lseek", "stat", "lstat", "fstat",
    "newfstatat", "statx", "readlink", "readlinkat", "access", "faccessat", "faccessat2", "flock",
    // A summary file that takes the place of an older one.
    "ftruncate", "fchown", "rename", "renameat", "renameat2", "unlink", "unlinkat",
    // Counts that are kept, of which the oldest go. Which folders may be listed is a matter of Landlock.
    "getdents64",
    // Memory and time; sysinfo is how a large sort learns how much memory there is.
    "brk", "munmap", "mremap", "madvise", "sysinfo", "futex", "getrandom", "clock_gettime", "clock_getres",
    "gettimeofday", "time",
    // Who one is.
    "getpid", "gettid", "getuid", "geteuid", "getgid", "getegid", "uname",
    // Compressed logs: of their bytes, a pipe tells from a process that another one starts. Names: answers
    // come from another one, which is waited for so long.
    "pipe2", "wait4", "poll", "ppoll",
    // A run that was stopped goes on, one that gives up ends.
    "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "restart_syscall", "exit", "exit_group"};

// What starts workers and takes what they have counted.
static const char* const kWorkerCalls[] = {"getppid", "set_robust_list", "rseq", "set_tid_address"};

// Whoever unpacks a file: any memory, but see below.
static const char* const kUnpackCalls[] = {"read",    "write", "brk",  "munmap",     "mremap",
                                           "madvise", "futex", "exit", "exit_group", "restart_syscall"};

// And whoever starts that process, for one file after the other, and leaves it with less.
static const char* const kUnpackHelperCalls[] = {
    "recvmsg", "close",   "wait4", "getpid",         "gettid",       "getppid",        "set_robust_list",
    "prctl",   "seccomp", "rseq",  "rt_sigprocmask", "rt_sigaction", "set_tid_address"};

// Whoever asks name servers, in threads that are there already.
static const char* const kLookUpCalls[] = {
    // What the system says of name services is read, and nothing is written but answers.
    "close", "read", "readv", "pread64", "write", "lseek", "stat", "lstat", "fstat", "newfstatat", "statx",
    "readlink", "access", "faccessat", "faccessat2",
    // Memory, time and threads.
    "brk", "munmap", "mremap", "madvise", "sysinfo", "futex", "getrandom", "clock_gettime", "clock_getres",
    "clock_nanosleep", "gettimeofday", "time", "sched_yield", "sched_getaffinity", "set_robust_list", "rseq",
    // Who one is.
    "getpid", "gettid", "getuid", "geteuid", "getgid", "getegid", "uname",
    // Name servers.
    "connect", "recvfrom", "recvmsg", "getsockopt", "getsockname", "getpeername", "poll", "ppoll",
    // The end.
    "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "restart_syscall", "exit", "exit_group"};

struct Condition {
  unsigned argument;
  scmp_datum_t mask;
  scmp_datum_t value;
};

// The kernel takes these arguments as 32 bits.
static constexpr scmp_datum_t kWholeInt = 0xffffffff;
static constexpr scmp_datum_t kWholeWord = ~scmp_datum_t{0};
static constexpr scmp_datum_t kSocketType = 0xf;

static constexpr size_t kMostConditions = 3;

// All of the conditions have to hold.
struct ConditionalCall {
  const char* name;
  size_t count;
  Condition conditions[kMostConditions];
};

static constexpr ConditionalCall If(const char* name, Condition condition) {
  return {name, 1, {condition}};
}

// No memory is made a program.
static constexpr ConditionalCall kMemoryCalls[] = {
    If("mmap", {2, PROT_EXEC, 0}),
    If("mprotect", {2, PROT_EXEC, 0}),
};

// A child, and nothing that shares memory with its parent or lives in another namespace.
static constexpr scmp_datum_t kSignalOfEnd = 0xff;
static constexpr scmp_datum_t kOfTheCLibrary = CLONE_CHILD_SETTID | CLONE_CHILD_CLEARTID;
static constexpr ConditionalCall kForkCalls[] = {
    If("clone", {0, ~(kSignalOfEnd | kOfTheCLibrary), 0}),
};

// A process that ends with its parent.
static constexpr ConditionalCall kConditionalWorkerCalls[] = {
    If("prctl", {0, kWholeInt, PR_SET_PDEATHSIG}),
};

static constexpr ConditionalCall kConditionalReportCalls[] = {
    // Files that run with their owner's rights are none of a report's.
    If("open", {2, S_ISUID | S_ISGID, 0}),
    If("openat", {3, S_ISUID | S_ISGID, 0}),
    If("fchmod", {1, S_ISUID | S_ISGID, 0}),
    // That an open file was used now.
    {"utimensat", 2, {{1, kWholeWord, 0}, {2, kWholeWord, 0}}},
    // F_SETOWN would send signals.
    If("fcntl", {1, kWholeInt, F_DUPFD_CLOEXEC}),
    If("fcntl", {1, kWholeInt, F_GETFD}),
    If("fcntl", {1, kWholeInt, F_SETFD}),
    If("fcntl", {1, kWholeInt, F_GETFL}),
    If("fcntl", {1, kWholeInt, F_SETFL}),
    If("fcntl", {1, kWholeInt, F_SETPIPE_SZ}),
    // What goes to the processes that unpack and look up; a first message would connect.
    If("sendmsg", {2, MSG_FASTOPEN, 0}),
    // Whether a file is a terminal.
    If("ioctl", {1, kWholeInt, TCGETS}),
    If("ioctl", {1, kWholeInt, TIOCGWINSZ}),
};

static constexpr ConditionalCall Socket(int family, int type, int protocol) {
  const auto of = [](int number) { return static_cast<scmp_datum_t>(number); };
  return {
      "socket", 3, {{0, kWholeInt, of(family)}, {1, kSocketType, of(type)}, {2, kWholeInt, of(protocol)}}};
}

static constexpr ConditionalCall Option(int level, int option) {
  const auto of = [](int number) { return static_cast<scmp_datum_t>(number); };
  return {"setsockopt", 2, {{1, kWholeInt, of(level)}, {2, kWholeInt, of(option)}}};
}

static constexpr ConditionalCall kConditionalLookUpCalls[] = {
    // Nothing is opened but to be read.
    If("open", {1, O_ACCMODE | O_CREAT | O_TRUNC, O_RDONLY}),
    If("openat", {2, O_ACCMODE | O_CREAT | O_TRUNC, O_RDONLY}),
    If("fcntl", {1, kWholeInt, F_GETFD}),
    If("fcntl", {1, kWholeInt, F_SETFD}),
    If("fcntl", {1, kWholeInt, F_GETFL}),
    If("fcntl", {1, kWholeInt, F_SETFL}),
    If("ioctl", {1, kWholeInt, FIONREAD}),
    // Landlock knows ports of TCP only, and of that only what is connected before it is written to: neither
    // protocols of the same type nor a first message that connects pass it.
    Socket(AF_INET, SOCK_DGRAM, 0),
    Socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP),
    Socket(AF_INET, SOCK_STREAM, 0),
    Socket(AF_INET, SOCK_STREAM, IPPROTO_TCP),
    Socket(AF_INET6, SOCK_DGRAM, 0),
    Socket(AF_INET6, SOCK_DGRAM, IPPROTO_UDP),
    Socket(AF_INET6, SOCK_STREAM, 0),
    Socket(AF_INET6, SOCK_STREAM, IPPROTO_TCP),
    If("sendto", {3, MSG_FASTOPEN, 0}),
    If("sendmsg", {2, MSG_FASTOPEN, 0}),
    If("sendmmsg", {3, MSG_FASTOPEN, 0}),
    Option(IPPROTO_IP, IP_RECVERR),
    Option(IPPROTO_IPV6, IPV6_RECVERR),
    Option(IPPROTO_IPV6, IPV6_V6ONLY),
};

// ---- Making the filters ----

static void Check(int result, const char* what) {
  if (result < 0) {
    fprintf(stderr, "make_syscall_filters: %s: error %d\n", what, -result);
    exit(1);
  }
}

static void Allow(scmp_filter_ctx filter, const char* name, std::span<const scmp_arg_cmp> conditions) {
  const int number = seccomp_syscall_resolve_name(name);
  if (number != __NR_SCMP_ERROR) {
    Check(seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, number, static_cast<unsigned>(conditions.size()),
                                 conditions.data()),
          name);
  }
}

static void AllowAll(scmp_filter_ctx filter, std::span<const char* const> calls) {
  for (const char* const name : calls) {
    Allow(filter, name, {});
  }
}

static void AllowAll(scmp_filter_ctx filter, std::span<const ConditionalCall> calls) {
  for (const ConditionalCall& call : calls) {
    scmp_arg_cmp conditions[kMostConditions];
    for (size_t i = 0; i < call.count; ++i) {
      const Condition& condition = call.conditions[i];
      conditions[i] = {condition.argument, SCMP_CMP_MASKED_EQ, condition.mask, condition.value};
    }
    Allow(filter, call.name, {conditions, call.count});
  }
}

static scmp_filter_ctx EmptyFilter() {
  scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
  Check(filter == nullptr ? -ENOMEM : 0, "seccomp_init");
  Check(seccomp_attr_set(filter, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS), "another architecture");
  Check(seccomp_attr_set(filter, SCMP_FLTATR_CTL_OPTIMIZE, 2), "a tree of numbers");
  AllowAll(filter, kMemoryCalls);
  return filter;
}

static scmp_filter_ctx ReportFilter() {
  scmp_filter_ctx filter = EmptyFilter();
  AllowAll(filter, kReportCalls);
  AllowAll(filter, kConditionalReportCalls);
  return filter;
}

static scmp_filter_ctx UnpackFilter() {
  scmp_filter_ctx filter = EmptyFilter();
  AllowAll(filter, kUnpackCalls);
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
  Write(source, "kReportFilter", ReportFilter());
  scmp_filter_ctx workers = ReportFilter();
  AllowAll(workers, kWorkerCalls);
  AllowAll(workers, kConditionalWorkerCalls);
  AllowAll(workers, kForkCalls);
  Write(source, "kWorkersFilter", workers);
  scmp_filter_ctx look_ups = EmptyFilter();
  AllowAll(look_ups, kLookUpCalls);
  AllowAll(look_ups, kConditionalLookUpCalls);
  Write(source, "kLookUpFilter", look_ups);
  Write(source, "kUnpackFilter", UnpackFilter());
  scmp_filter_ctx helper = UnpackFilter();
  AllowAll(helper, kUnpackHelperCalls);
  AllowAll(helper, kForkCalls);
  Write(source, "kUnpackHelperFilter", helper);
  return fclose(source) == 0 ? 0 : 1;
}
