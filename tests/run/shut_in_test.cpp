#include "run/shut_in.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>

#include "analysis/look_ups.h"
#include "report/error_page.h"
#include "sandbox/landlock.h"
#include "superlog/superlog.h"
#include "support/attempts.h"
#include "support/text_file.h"

namespace {

// A process that shut itself in by these settings, and one that did not, try the same.
class ShutInTest : public testing::Test {
 protected:
  void SetUp() override {
    Landlock landlock;
    if (!kShutsIn || !BeginLandlock(landlock)) {
      GTEST_SKIP() << "nothing to give up, or no kernel for it";
    }
    close(landlock.rules);
    folder = NewPath("folder");
    for (const char* name : {"", "/logs", "/errors", "/other"}) {
      ASSERT_EQ(mkdir((folder + name).c_str(), 0700), 0);
    }
    ASSERT_EQ(chdir(folder.c_str()), 0);
    for (const char* name : {"logs/a.log", "logs/b.log", "logs/secret", "other/file", "networks"}) {
      std::ofstream(name) << "192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] \"GET /a HTTP/1.0\" 200 10\n";
    }
    CopyText(settings.logs, "logs/*.log");
    CopyText(settings.ErrorLog, "errors/log");
    CopyText(settings.Networks, "networks");
  }

  int Inside(const Attempt& attempt) {
    return InChild([&] {
      ShutIn(settings);
      return attempt();
    });
  }
  void Allows(const char* what, const Attempt& attempt) { EXPECT_EQ(Inside(attempt), 0) << what; }
  void Refuses(const char* what, const Attempt& attempt) {
    EXPECT_EQ(InChild(attempt), 0) << what << ", outside";
    const int error = Inside(attempt);
    EXPECT_TRUE(error == EACCES || error == EPERM) << what << ": " << error;
  }
  void AllowsReading(const char* path) {
    Allows(path, [path] { return TryOpen(path, O_RDONLY); });
  }
  void RefusesReading(const char* path) {
    Refuses(path, [path] { return TryOpen(path, O_RDONLY); });
  }
  void RefusesWriting(const char* path) {
    Refuses(path, [path] { return TryOpen(path, O_WRONLY); });
  }

  Settings settings{};
  std::string folder;
};

// The logs that a report would find, a size and a name each.
int CountLogs(Settings& settings) {
  SuperLog_Init(settings, kModernLimits, 0, INT32_MAX);
  int logs = 0;
  while (SuperLog_NextLogFile()) {
    SuperLogRecord record;
    logs += SuperLog_ParseNextLine(record) ? 1 : 0;
  }
  return logs;
}

TEST_F(ShutInTest, KeepsCountsAndListsThem) {
  ASSERT_EQ(mkdir("counts", 0700), 0);
  std::ofstream("counts/entry") << "counted";
  CopyText(settings.part_cache, "counts");
  AllowsReading("counts/entry");
  AllowsReading("counts");
  Allows("a new entry", [] { return TryOpen("counts/new", O_WRONLY | O_CREAT); });
  Allows("its name", [] { return rename("counts/entry", "counts/other"); });
  Allows("its end", [] { return unlink("counts/other"); });
  RefusesWriting("other/file");
}

TEST_F(ShutInTest, KeepsWhatIsKnownOfLogs) {
  ASSERT_EQ(mkdir("store", 0700), 0);
  ASSERT_EQ(mkdir("store/folder", 0700), 0);
  std::ofstream("store/entry") << "known";
  CopyText(settings.store, "store");
  AllowsReading("store/entry");
  Allows("a new entry", [] { return TryOpen("store/new", O_WRONLY | O_CREAT); });
  Allows("its name", [] { return rename("store/entry", "store/other"); });
  Refuses("a new folder", [] { return mkdir("store/made", 0700) == 0 ? rmdir("store/made") : errno; });
  RefusesWriting("other/file");
}

TEST_F(ShutInTest, ReadsWhatTheSettingsName) {
  AllowsReading("logs/a.log");
  AllowsReading("networks");
  RefusesReading("logs/secret");
  RefusesReading("other/file");
  RefusesReading("/etc/passwd");
  RefusesReading("/proc/self/environ");
  RefusesReading("logs");
  RefusesReading("/");
}

TEST_F(ShutInTest, FindsEveryLogOfAnyPattern) {
  ASSERT_EQ(symlink("../other/file", "logs/link.log"), 0);
  ASSERT_EQ(mkdir("logs/folder.log", 0700), 0);
  std::ofstream("logs/folder.log/inner") << "text";
  CopyText(settings.AccessLog, "other/file");
  EXPECT_EQ(Inside([&] { return CountLogs(settings); }), InChild([&] { return CountLogs(settings); }));
  AllowsReading("logs/link.log");
  AllowsReading("logs/folder.log");
  RefusesReading("logs/folder.log/inner");
  RefusesReading("logs/secret");
}

TEST_F(ShutInTest, WritesSummaryAndErrorLogOnly) {
  EXPECT_EQ(Inside([&] { return CountLogs(settings); }), 1) << "the other one is a copy";
  EXPECT_NE(ReadFile("logs/s_log.ORV").find("logs/a.log"), std::string::npos);
  Allows("a message", [&] {
    LogError(settings, "first");
    return 0;
  });
  Allows("another", [&] {
    LogError(settings, "second");
    return 0;
  });
  const std::string errors = ReadFile("errors/log");
  EXPECT_NE(errors.find("first"), std::string::npos);
  EXPECT_NE(errors.find("second"), std::string::npos);
  RefusesReading("errors/log");
  RefusesWriting("networks");
  RefusesWriting("other/file");
  Refuses("a new file", [] { return TryOpen("other/new" + std::to_string(getpid()), O_WRONLY | O_CREAT); });
  std::ofstream("other/gone outside");
  std::ofstream("other/kept");
  Refuses("removing", [] { return unlink("other/gone outside") == 0 ? 0 : ErrorOf(unlink("other/kept")); });
  Refuses("a new name", [] { return ErrorOf(rename("other/file", "other/file")); });
}

// Without a folder to make a summary file in, the logs cannot be changed either.
TEST_F(ShutInTest, FolderThatMayNotBeWrittenStaysAsItIs) {
  if (geteuid() == 0) {
    ASSERT_EQ(chown("logs", 0, 0), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0711), 0);
    ASSERT_EQ(chmod("logs", 0555), 0);
    ASSERT_EQ(chmod("logs/a.log", 0666), 0);
  } else {
    ASSERT_EQ(chmod("logs", 0500), 0);
  }
  const auto as_other_user = [](const Attempt& attempt) {
    return geteuid() == 0 && seteuid(65534) != 0 ? 254 : attempt();
  };
  const Attempt write = [] { return TryOpen("logs/a.log", O_WRONLY); };
  EXPECT_EQ(InChild([&] { return as_other_user(write); }), 0) << "outside";
  EXPECT_EQ(InChild([&] {
              return as_other_user([&] {
                ShutIn(settings);
                return write();
              });
            }),
            EACCES);
  chmod("logs", 0700);
}

TEST_F(ShutInTest, HasNoWayOut) {
  const OtherProcess other;
  const Listener listener;
  Refuses("fork", TryFork);
  Refuses("execve", [] { return ErrorOf(execl("/bin/true", "true", nullptr)); });
  Refuses("kill", [&] { return ErrorOf(kill(other.id, 0)); });
  Refuses("ptrace", [] { return ErrorOf(ptrace(PTRACE_TRACEME, 0, 0, 0)); });
  Refuses("TCP", [&] { return listener.TryConnect(); });
  Refuses("UDP", [] { return TrySocket(AF_INET, SOCK_DGRAM); });
  Refuses("a socket of this machine", [] { return TrySocket(AF_UNIX, SOCK_STREAM); });
}

// What the helper tries in place of looking a name up, and the error that it told.
Attempt mTried;

int TryInstead(const sockaddr*, socklen_t, char* name, socklen_t size, char*, socklen_t, int) {
  snprintf(name, size, "error-%d.test", mTried());
  return 0;
}

// 255: it did not answer.
int InHelper(const Settings& settings, const Attempt& attempt) {
  mTried = attempt;
  mpGetName = TryInstead;
  ShutIn(settings);
  LimitLookUps(20);
  LookUpAnswer answer{};
  const bool answered = AskForName({1, {}}) && NextAnswer(answer);
  StopLookUps();
  return answered ? atoi(answer.name + sizeof "error") : 255;
}

TEST_F(ShutInTest, LookUpsTakeNothingMoreOfTheRun) {
  settings.dnslookupenabled = 1;
  settings.domains.on = 1;
  RefusesReading("/etc/nsswitch.conf");
  Refuses("UDP", [] { return TrySocket(AF_INET, SOCK_DGRAM); });
  Refuses("fork", TryFork);
}

TEST_F(ShutInTest, WhoLooksUpReachesNameServersOnly) {
  settings.dnslookupenabled = 1;
  settings.domains.on = 1;
  const auto inside = [this](const Attempt& attempt) {
    return InChild([&] { return InHelper(settings, attempt); });
  };
  EXPECT_EQ(inside([] { return TryOpen("/etc/nsswitch.conf", O_RDONLY); }), 0);
  EXPECT_EQ(inside([] { return TryOpen("/etc/passwd", O_RDONLY); }), EACCES);
  EXPECT_EQ(inside([this] { return TryOpen(folder + "/logs/a.log", O_RDONLY); }), EACCES);
  EXPECT_EQ(inside([this] { return TryOpen(folder + "/errors/log", O_WRONLY | O_CREAT); }), EPERM);
  EXPECT_EQ(inside([] { return TrySocket(AF_INET, SOCK_DGRAM); }), 0);
  EXPECT_EQ(inside([] { return TrySocket(AF_INET6, SOCK_STREAM); }), 0);
  EXPECT_EQ(inside([] { return TrySocket(AF_UNIX, SOCK_STREAM); }), EPERM);
  EXPECT_EQ(inside([] { return ErrorOf(execl("/bin/true", "true", nullptr)); }), EPERM);
  EXPECT_EQ(inside(TryFork), EPERM);
  const Listener listener;
  Landlock landlock;
  BeginLandlock(landlock);
  close(landlock.rules);
  if (landlock.network_rights != 0) {
    EXPECT_EQ(inside([&] { return listener.TryConnect(); }), EACCES);
  }
}

TEST_F(ShutInTest, WhatGoesWrongIsALineInTheErrorLog) {
  // The handle of the rules is the last one there is.
  EXPECT_EQ(InChild([&] {
              const int next = open("/", O_PATH | O_CLOEXEC);
              close(next);
              const rlimit limit{static_cast<rlim_t>(next) + 1, static_cast<rlim_t>(next) + 1};
              setrlimit(RLIMIT_NOFILE, &limit);
              ShutIn(settings);
              return TryOpen("other/file", O_RDONLY);
            }),
            0);
  EXPECT_NE(ReadFile("errors/log").find("The run could not give up files: Too many open files\n"),
            std::string::npos);
}

}  // namespace
