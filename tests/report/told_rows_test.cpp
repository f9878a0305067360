#include "report/told_rows.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "support/account_logs.h"

namespace {

class ToldRows : public AccountLogs {
 protected:
  // What is printed while a log is looked for and read.
  std::string Run() {
    Analysis analysis;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis, PageEvents(settings_)));
    CountLogs(settings_, analysis);
    EndAnalysis(analysis);
    return testing::internal::GetCapturedStdout();
  }

  std::string PathOf(const std::string& name) { return folder_ + "/" + name; }
};

// What one event prints in a debug run.
template <typename Tell>
std::string Printed(const Tell& tell) {
  Settings settings{};
  settings.debug = 1;
  const LogEvents events = PageEvents(settings).logs;
  testing::internal::CaptureStdout();
  tell(events);
  return testing::internal::GetCapturedStdout();
}

std::string Times(int count, const std::string& text) {
  std::string all;
  for (; count > 0; --count) {
    all += text;
  }
  return all;
}

std::string UserAndGroup(const char* kind, const char* user, const char* group) {
  return std::string("<b>") + kind + "User:</b> " + user + " / <b>" + kind + "Group:</b> " + group + "<br>";
}

std::string OwnUserAndGroup() {
  const passwd* const user = getpwuid(getuid());
  const group* const group = getgrgid(getgid());
  return UserAndGroup("", user != nullptr ? user->pw_name : "unknown",
                      group != nullptr ? group->gr_name : "unknown");
}

constexpr const char* kTitle =
    "<center><table border=1 cellspacing=0>\n"
    "<tr><td colspan=6 align=center><font size=\"+1\"><b>Debugging Information</b></font></td></tr>\n";

constexpr const char* kHeads =
    "<tr><td colspan=6 align=center><b>Log Files Found</b></td></tr>\n"
    "<tr><td align=center><b>Filename</b></td><td align=center><b>Size</b></td>"
    "<td align=center><b>start</b></td><td align=center><b>end</b></td>"
    "<td align=center><b>In Range</b></td><td align=center><b>Format</b></td></tr>\n";

}  // namespace

TEST_F(ToldRows, DebugTableOfARun) {
  settings_.debug = 1;
  CopyText(settings_.AccessLog, PathOf("current"));
  AddLog("a1.log", {{.time = "02/Mar/2000:00:00:00"}, {.time = "03/Mar/2000:00:00:00"}});
  AddLog("a2.log", "no dates\n");
  AddLog("a3.log", {{.time = "20/Apr/2000:00:00:00"}});
  AddLog("a4.log", "#Software: Dolphin Speedstar\n#Fields: date time c-ip\n2000-03-04 00:00:00 192.0.2.1\n");
  EXPECT_EQ(Run(), std::string(kTitle) + "<tr><td colspan=6>" + OwnUserAndGroup() +
                       "<b>Range start:</b> Wed Mar  1 00:00:00 2000\n<br>"
                       "<b>Range end:</b>   Fri Mar 31 23:59:59 2000\n<br>"
                       "<b>Log File Pattern:</b> " +
                       PathOf("*.log") + "<br><b>AccessLog File Pattern:</b> " + PathOf("current") +
                       "<br></td></tr>\n" + kHeads + "<tr><td>" + PathOf("a1.log") + "</td><td align=right>" +
                       std::to_string(ToText({}).size() * 2) +
                       "</td><td>Thu Mar  2 00:00:00 2000\n</td><td>Fri Mar  3 00:00:00 2000\n</td>"
                       "<td align=center>YES</td><td>\n"
                       "CLF/ELF<br></td></tr>\n"
                       "<tr><td>" +
                       PathOf("a2.log") +
                       "</td><td align=right>9</td>"
                       "<td colspan=2 align=center>invalid size or dates. probably not a log file</td><td>"
                       "<tr><td>" +
                       PathOf("a3.log") + "</td><td align=right>" + std::to_string(ToText({}).size()) +
                       "</td><td>Thu Apr 20 00:00:00 2000\n</td><td>Thu Apr 20 00:00:00 2000\n</td>"
                       "<td align=center>No</td><td>\n"
                       "<tr><td>" +
                       PathOf("a4.log") +
                       "</td><td align=right>83</td>"
                       "<td>Sat Mar  4 00:00:00 2000\n</td><td>Sat Mar  4 00:00:00 2000\n</td>"
                       "<td align=center>YES</td><td>\n"
                       "W3C: IIS4<br></td></tr>\n");
}

TEST_F(ToldRows, SearchWithoutAccessLogAndWithoutFiles) {
  const std::string rows = Printed([](const LogEvents& events) {
    events.search_done({0, -1, "logs/*", "", false});
  });
  EXPECT_EQ(rows, std::string(kTitle) + "<tr><td colspan=6>" + OwnUserAndGroup() +
                      "<b>Range start:</b> Thu Jan  1 00:00:00 1970\n<br>"
                      "<b>Range end:</b>   Wed Dec 31 23:59:59 1969\n<br>"
                      "<b>Log File Pattern:</b> logs/*<br></td></tr>\n"
                      "<tr><td colspan=6 align=center><b>No Files Found!</b>");
}

TEST_F(ToldRows, TimesWithoutATextAreLeftEmpty) {
  EXPECT_EQ(Printed([](const LogEvents& events) {
              events.log_looked_at({"a.log", 7, INT64_MAX, INT64_MIN, LogVerdict::kOutOfRange});
            }),
            "<tr><td>a.log</td><td align=right>7</td><td></td><td></td><td align=center>No</td><td>\n");
}

TEST_F(ToldRows, LogThatCannotBeOpenedGetsAnErrorLineAlways) {
  settings_.flushtoserver = 1;
  for (const int debug : {0, 1}) {
    settings_.debug = debug;
    testing::internal::CaptureStdout();
    PageEvents(settings_).logs.log_not_opened("logs/a.log");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR: couldn't open log file logs/a.log.<p>\n");
  }
}

TEST_F(ToldRows, WithoutDebugAndFlushARunPrintsNothing) {
  AddLog("a.log", {{}});
  AddLog("b.log", "no dates\n");
  EXPECT_EQ(Run(), "");
}

TEST_F(ToldRows, NobodyListensToLinesWithoutFlush) {
  settings_.debug = 1;
  EXPECT_EQ(PageEvents(settings_).line_read, nullptr);
}

// ---- Signs of life --------------------------------------------------------------

TEST_F(ToldRows, FlushToServerPrintsASpaceEvery1001Lines) {
  settings_.flushtoserver = 1;
  std::string lines;
  for (int line = 0; line < 1001; ++line) {
    // every second one out of range: all that are delivered count
    lines += ToText({.time = line % 2 == 0 ? "01/Feb/2000:00:00:00" : "05/Mar/2000:10:00:00"});
  }
  AddLog("a.log", lines + ToText({}));
  EXPECT_EQ(Run(), " ");
}

TEST_F(ToldRows, FlushCounterStartsAgainAfterEachSpaceAndRun) {
  settings_.flushtoserver = 1;
  AddLog("a.log", Times(2 * 1001 + 1000, ToText({})));
  EXPECT_EQ(Run(), "  ");
  EXPECT_EQ(Run(), "  ");
}

TEST_F(ToldRows, A1000LinesNeedNoSpace) {
  settings_.flushtoserver = 1;
  AddLog("a.log", Times(1000, ToText({})));
  EXPECT_EQ(Run(), "");
}

TEST_F(ToldRows, SpaceIsSentWithAllThatWasPrintedBefore) {
  settings_.flushtoserver = 1;
  const std::string printed = NewPath("printed");
  const pid_t child = fork();
  if (child == 0) {
    char buffer[4096];
    if (freopen(printed.c_str(), "w", stdout) == nullptr ||
        setvbuf(stdout, buffer, _IOFBF, sizeof buffer) != 0) {
      _exit(1);
    }
    const AnalysisEvents events = PageEvents(settings_);
    fputs("head", stdout);
    for (int line = 0; line < 1001; ++line) {
      events.line_read();
    }
    _exit(ReadFile(printed) == "head " ? 0 : 2);
  }
  int status = 1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

// ---- Users ----------------------------------------------------------------------

// Prints the row of the search in a process of another user.
static std::string SearchRowAs(uid_t real, uid_t effective) {
  return Printed([&](const LogEvents& events) {
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
      const bool changed = setresgid(real, effective, 0) == 0 && setresuid(real, effective, 0) == 0;
      if (changed) {
        events.search_done({0, 0, "", "", true});
      }
      fflush(stdout);
      _exit(changed ? 0 : 1);
    }
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  });
}

TEST_F(ToldRows, ShowsUnknownAndEffectiveUsers) {
  constexpr uid_t kNobodyKnown = 3999999;
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can run as another user";
  }
  const std::string unknown = kTitle + ("<tr><td colspan=6>" + UserAndGroup("", "unknown", "unknown"));
  EXPECT_TRUE(SearchRowAs(kNobodyKnown, kNobodyKnown).starts_with(unknown + "<b>Range"));
  EXPECT_TRUE(SearchRowAs(kNobodyKnown, 0)
                  .starts_with(unknown + UserAndGroup("Effective ", "root", "root") + "<b>Range"));
}
