#include "sandbox/syscall_filter.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <csignal>
#include <cstdlib>

#include "run/shut_in.h"
#include "support/attempts.h"
#include "support/text_file.h"

namespace {

class SyscallFilterTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!kShutsIn || Inside([] { return prctl(PR_GET_SECCOMP) == 0 ? 1 : 0; }) != 0) {
      GTEST_SKIP() << "nothing to enter";
    }
  }

  static int Inside(const Attempt& attempt, SyscallSet set = SyscallSet::kReport) {
    return InChild([&] { return EnterSyscallFilter(set) == 0 ? attempt() : 255; });
  }
  static void Refuses(const char* what, const Attempt& attempt, SyscallSet set = SyscallSet::kReport) {
    SCOPED_TRACE(what);
    EXPECT_EQ(InChild(attempt), 0) << "outside";
    EXPECT_EQ(Inside(attempt, set), EPERM);
  }
};

int TryMap(int protection) {
  return mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED ? errno : 0;
}

int TryClone(unsigned long flags) {
  const long child = syscall(SYS_clone, flags, nullptr, nullptr, nullptr, nullptr);
  if (child == 0) {
    _exit(0);
  }
  return child < 0 ? errno : ErrorOf(waitpid(static_cast<pid_t>(child), nullptr, 0));
}

TEST_F(SyscallFilterTest, FilesMemoryAndTimeGoOn) {
  const std::string path = NewPath("file");
  EXPECT_EQ(Inside([&] {
              std::ofstream(path) << "text";
              char* const block = static_cast<char*>(malloc(10'000'000));
              block[9'999'999] = 'x';
              free(block);
              return ReadFile(path) == "text" && time(nullptr) > 0 && unlink(path.c_str()) == 0 ? 0 : 1;
            }),
            0);
}

TEST_F(SyscallFilterTest, OtherProcessesAreOutOfReach) {
  const OtherProcess other;
  Refuses("fork", TryFork);
  Refuses("execve", [] { return ErrorOf(execl("/bin/true", "true", nullptr)); });
  Refuses("kill", [&] { return ErrorOf(kill(other.id, 0)); });
  Refuses("tgkill", [&] { return ErrorOf(syscall(SYS_tgkill, other.id, other.id, 0)); });
  Refuses("ptrace", [] { return ErrorOf(ptrace(PTRACE_TRACEME, 0, 0, 0)); });
  Refuses("a signal of a file", [&] {
    int ends[2];
    return pipe(ends) != 0 ? errno : ErrorOf(fcntl(ends[0], F_SETOWN, other.id));
  });
}

// What a run with workers may do besides: they are as it is, and end with it.
TEST_F(SyscallFilterTest, WorkersAreProcessesThatMayNoMore) {
  constexpr SyscallSet kWorkers = SyscallSet::kWorkers;
  const OtherProcess other;
  EXPECT_EQ(Inside(TryFork, kWorkers), 0);
  EXPECT_EQ(
      Inside([] { return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() > 0 ? 0 : errno; }, kWorkers), 0);
  Refuses(
      "memory as a file", [] { return ErrorOf(memfd_create("part", MFD_CLOEXEC)); }, kWorkers);
  Refuses(
      "a process that shares files", [] { return TryClone(CLONE_FILES | SIGCHLD); }, kWorkers);
  Refuses(
      "one in a namespace of its own", [] { return TryClone(CLONE_NEWUSER | SIGCHLD); }, kWorkers);
  Refuses(
      "execve", [] { return ErrorOf(execl("/bin/true", "true", nullptr)); }, kWorkers);
  Refuses(
      "another prctl", [] { return ErrorOf(prctl(PR_SET_DUMPABLE, 1)); }, kWorkers);
  Refuses(
      "kill", [&] { return ErrorOf(kill(other.id, 0)); }, kWorkers);
  Refuses(
      "ptrace", [] { return ErrorOf(ptrace(PTRACE_TRACEME, 0, 0, 0)); }, kWorkers);
  Refuses(
      "socket", [] { return ErrorOf(socket(AF_INET, SOCK_STREAM, 0)); }, kWorkers);
  Refuses(
      "mmap", [] { return TryMap(PROT_READ | PROT_EXEC); }, kWorkers);
}

TEST_F(SyscallFilterTest, NoMemoryIsMadeAProgram) {
  Refuses("mmap", [] { return TryMap(PROT_READ | PROT_EXEC); });
  Refuses("mprotect", [] {
    void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return ErrorOf(mprotect(page, 4096, PROT_READ | PROT_EXEC));
  });
  EXPECT_EQ(Inside([] { return TryMap(PROT_READ | PROT_WRITE); }), 0);
}

TEST_F(SyscallFilterTest, FilesChangeInNoOtherWay) {
  const std::string path = WriteFile("file", "text");
  Refuses("chmod", [&] { return ErrorOf(chmod(path.c_str(), 0600)); });
  Refuses("chown", [&] { return ErrorOf(chown(path.c_str(), getuid(), getgid())); });
  Refuses("truncate", [&] { return ErrorOf(truncate(path.c_str(), 4)); });
  Refuses("link", [&] { return ErrorOf(link(path.c_str(), NewPath("link").c_str())); });
  Refuses("mkdir", [&] { return ErrorOf(mkdir((path + "." + std::to_string(getpid())).c_str(), 0700)); });
}

TEST_F(SyscallFilterTest, NoNetworkWithoutLookUps) {
  Refuses("TCP", [] { return TrySocket(AF_INET, SOCK_STREAM); });
  Refuses("UDP", [] { return TrySocket(AF_INET, SOCK_DGRAM); });
  Refuses("UDP of IPv6", [] { return TrySocket(AF_INET6, SOCK_DGRAM); });
  Refuses("a socket of this machine", [] { return TrySocket(AF_UNIX, SOCK_STREAM); });
}

TEST_F(SyscallFilterTest, LookUpsHaveTheInternetOnly) {
  constexpr SyscallSet kLookUps = SyscallSet::kLookUps;
  EXPECT_EQ(Inside([] { return TrySocket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK); }, kLookUps),
            0);
  EXPECT_EQ(Inside([] { return TrySocket(AF_INET6, SOCK_STREAM); }, kLookUps), 0);
  Refuses(
      "a socket of this machine", [] { return TrySocket(AF_UNIX, SOCK_STREAM); }, kLookUps);
  Refuses(
      "netlink", [] { return TrySocket(AF_NETLINK, SOCK_RAW); }, kLookUps);
  Refuses("fork", TryFork, kLookUps);
}

// What would pass by the ports that Landlock watches.
TEST_F(SyscallFilterTest, LookUpsConnectInOneWayOnly) {
  constexpr SyscallSet kLookUps = SyscallSet::kLookUps;
  EXPECT_EQ(Inside([] { return TrySocket(AF_INET, SOCK_STREAM, IPPROTO_TCP); }, kLookUps), 0);
  EXPECT_EQ(Inside([] { return TrySocket(AF_INET6, SOCK_DGRAM, IPPROTO_UDP); }, kLookUps), 0);
  for (const int protocol : {IPPROTO_MPTCP, IPPROTO_SCTP, IPPROTO_UDPLITE, IPPROTO_ICMP}) {
    for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
      EXPECT_EQ(Inside([=] { return TrySocket(AF_INET, type, protocol); }, kLookUps), EPERM) << protocol;
    }
  }
  const Listener listener;
  for (const int way : {0, 1, 2}) {
    EXPECT_EQ(Inside([&] { return listener.TryFirstMessage(way); }, kLookUps), EPERM) << way;
  }
  EXPECT_EQ(Inside([&] { return listener.TryConnect(); }, kLookUps), 0);
}

TEST_F(SyscallFilterTest, NoFileRunsWithItsOwnersRights) {
  const std::string path = WriteFile("file", "text");
  for (const mode_t bit : {S_ISUID, S_ISGID}) {
    Refuses("fchmod", [&] { return ErrorOf(fchmod(open(path.c_str(), O_WRONLY), bit | 0700)); });
    Refuses("a new file", [&] {
      return ErrorOf(open((path + std::to_string(getpid())).c_str(), O_WRONLY | O_CREAT, bit | 0700));
    });
  }
  EXPECT_EQ(Inside([&] { return ErrorOf(fchmod(open(path.c_str(), O_WRONLY), 0640)); }), 0);
}

TEST_F(SyscallFilterTest, FilterStaysAndMoreRightsStayAway) {
  EXPECT_EQ(Inside([] { return ErrorOf(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0)); }), EPERM);
  EXPECT_EQ(Inside([] { return ErrorOf(setuid(getuid())); }), EPERM);
  EXPECT_EQ(Inside([] { return ErrorOf(syscall(SYS_io_uring_setup, 1, nullptr)); }), EPERM);
}

TEST_F(SyscallFilterTest, ProcessThatAbortsEnds) {
  EXPECT_EQ(Inside([] {
              abort();
              return 0;
            }),
            -1);
}

#if defined(__x86_64__)
TEST_F(SyscallFilterTest, OtherArchitectureIsTheEnd) {
  const auto old_getpid = [] {
    long result = 20;
    asm volatile("int $0x80" : "+a"(result) : : "memory", "r8", "r9", "r10", "r11");
    return result > 0 ? 0 : static_cast<int>(-result);
  };
  if (InChild(old_getpid) != 0) {
    GTEST_SKIP() << "the kernel has no calls of 32 bits";
  }
  EXPECT_EQ(Inside(old_getpid), -1);
}
#endif

}  // namespace
