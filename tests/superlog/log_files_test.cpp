#include "superlog/log_files.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "dates/clock.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"
#include "support/text_file.h"

namespace {

constexpr time_t kMarch1 = 951868800;  // 2000-03-01
constexpr time_t kDay = 86400;

time_t March(int day) {
  return kMarch1 + (day - 1) * kDay;
}

// A line that is dated the given day of March 2000; lines of different length
// make files of different size.
std::string Line(int day, int length = 1) {
  char line[100];
  snprintf(line, sizeof line, "192.0.2.1 - - [%02d/Mar/2000:00:00:00 +0000] \"GET /%0*d HTTP/1.0\" 200 1\n",
           day, length, 0);
  return line;
}

TEST(FileIsntDots, RefusesEmptyAndDots) {
  EXPECT_FALSE(FileIsntDots(""));
  EXPECT_FALSE(FileIsntDots("."));
  EXPECT_FALSE(FileIsntDots(".."));
  EXPECT_TRUE(FileIsntDots("..."));
  EXPECT_TRUE(FileIsntDots(".x"));
  EXPECT_TRUE(FileIsntDots("access.log"));
}

class LogFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    SetCurrentTimeForTest(971186136);
    ResetSuperLog();
    directory = NewPath("logs");
    ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
    CopyText(settings.logs, directory + "/a*.log");
  }

  void TearDown() override {
    ResetSuperLog();
    SetCurrentTimeForTest(-1);
    std::filesystem::remove_all(directory);
  }

  std::string PathOf(const std::string& name) { return directory + "/" + name; }
  void Write(const std::string& name, const std::string& content) {
    std::ofstream(PathOf(name), std::ios::binary) << content;
  }
  std::string SummaryPath() { return PathOf("as_log.ORV"); }

  // The entries of the summary file, with the folder left out.
  std::string SummaryEntries() {
    std::string text = ReadFile(SummaryPath());
    text.erase(0, text.find("!Year0=1970\n") + 12);
    for (size_t at; (at = text.find(directory + "/")) != std::string::npos;) {
      text.erase(at, directory.size() + 1);
    }
    return text;
  }

  void Init(int first_day = 1, int last_day = 31) {
    SuperLog_Init(settings, kClassicLimits, March(first_day), March(last_day));
  }

  // A new run of the program.
  void InitAgain() {
    ResetSuperLog();
    Init();
  }

  std::vector<std::string> ListNames() {
    std::vector<std::string> names;
    for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
      names.emplace_back(log->name + directory.size() + 1);
    }
    return names;
  }

  // First lines of the files that are opened, as days.
  std::vector<int> OpenedDays() {
    std::vector<int> days;
    while (SuperLog_NextLogFile()) {
      ReadLineFromBigBuf();
      tm when = {};
      ParseDateTime1(mpLine + strlen("192.0.2.1 - - ["), when);
      days.push_back(when.tm_mday);
    }
    EXPECT_FALSE(IsLogOpen());
    return days;
  }

  Settings settings = {};
  std::string directory;
};

using Names = std::vector<std::string>;
using Days = std::vector<int>;

TEST_F(LogFilesTest, FindsProbesAndOpensInNameOrder) {
  Write("a2.log", Line(2, 2) + Line(3));
  Write("a1.log", Line(5) + Line(6));
  Write("b.log", Line(5));
  Init();
  EXPECT_TRUE(SuperLog_LogFilesFound());
  EXPECT_EQ(ListNames(), (Names{"a1.log", "a2.log"}));
  EXPECT_EQ(OpenedDays(), (Days{5, 2}));
  EXPECT_TRUE(SuperLog_LogsInRange());
}

TEST_F(LogFilesTest, NoFilesAtAll) {
  Init();
  EXPECT_FALSE(SuperLog_LogFilesFound());
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_FALSE(SuperLog_LogsInRange());
  EXPECT_EQ(access(SummaryPath().c_str(), F_OK), -1);
}

TEST_F(LogFilesTest, EmptyLogsPatternMatchesNothing) {
  CopyText(settings.logs, "");
  CopyText(settings.summary, "none");
  Init();
  EXPECT_FALSE(SuperLog_LogFilesFound());
}

TEST_F(LogFilesTest, AccessLogAloneYieldsItsFiles) {
  Write("current", Line(2) + Line(3));
  CopyText(settings.AccessLog, PathOf("curr*"));
  Init();
  EXPECT_EQ(ListNames(), Names{"current"});
  EXPECT_EQ(OpenedDays(), Days{2});
  EXPECT_EQ(SummaryEntries(), std::to_string(Line(2).size() * 2) + "," + std::to_string(March(2)) + "," +
                                  std::to_string(March(3)) + ",current\n");
}

TEST_F(LogFilesTest, AccessLogMatchingNothingChangesNothing) {
  Write("a1.log", Line(2));
  Init();
  remove(SummaryPath().c_str());
  std::ofstream(SummaryPath()) << Line(2).size() << ",7,8," << PathOf("a1.log") << "\n";
  CopyText(settings.AccessLog, PathOf("nothing*"));
  InitAgain();
  EXPECT_EQ(ReadFile(SummaryPath()), std::to_string(Line(2).size()) + ",7,8," + PathOf("a1.log") + "\n");
}

TEST_F(LogFilesTest, SummaryThatKnowsOneDateOnlyMakesNoLog) {
  for (const char* dates : {",7,0,", ",0,7,"}) {
    SCOPED_TRACE(dates);
    Write("a1.log", Line(2));
    std::ofstream(SummaryPath()) << Line(2).size() << dates << PathOf("a1.log") << "\n";
    ResetSuperLog();
    SuperLog_Init(settings, kClassicLimits, 0, March(31));
    EXPECT_EQ(OpenedDays(), std::vector<int>{});
  }
}

TEST_F(LogFilesTest, DefaultSummaryNameIsStoredInTheSetting) {
  Write("a1.log", Line(2));
  Init();
  EXPECT_STREQ(settings.summary, "as_log");
  EXPECT_EQ(access(SummaryPath().c_str(), F_OK), 0);
}

TEST_F(LogFilesTest, SummarySettingNamesTheFile) {
  Write("a1.log", Line(2));
  CopyText(settings.summary, "mine");
  Init();
  EXPECT_STREQ(settings.summary, "mine");
  EXPECT_EQ(access(PathOf("mine.ORV").c_str(), F_OK), 0);
  EXPECT_EQ(access(SummaryPath().c_str(), F_OK), -1);
}

TEST_F(LogFilesTest, PatternWithoutSlashKeepsItsSummaryInTheCurrentFolder) {
  const std::string before = std::filesystem::current_path();
  std::filesystem::current_path(directory);
  Write("a1.log", Line(2));
  CopyText(settings.logs, "a*.log");
  Init();
  std::filesystem::current_path(before);
  EXPECT_STREQ(settings.summary, "summary");
  EXPECT_STREQ(mpLogsRoot->name, "a1.log");
  EXPECT_EQ(access(PathOf("summary.ORV").c_str(), F_OK), 0);
}

TEST_F(LogFilesTest, UnchangedLogIsNotOpenedForProbing) {
  Write("a1.log", Line(2));
  Init();
  Write("a1.log", Line(9));  // the same size
  const std::string summary = ReadFile(SummaryPath());
  SetCurrentTimeForTest(0);
  InitAgain();
  EXPECT_EQ(mpLogsRoot->first, March(2));
  EXPECT_EQ(mpLogsRoot->state, kSeenOnDisk);
  EXPECT_EQ(ReadFile(SummaryPath()), summary);
}

TEST_F(LogFilesTest, LogOfAnotherSizeIsProbedAgain) {
  Write("a1.log", Line(2));
  Init();
  Write("a1.log", Line(9) + Line(10));
  InitAgain();
  EXPECT_EQ(mpLogsRoot->first, March(9));
  EXPECT_EQ(mpLogsRoot->last, March(10));
}

TEST_F(LogFilesTest, AccessLogIsAlwaysProbed) {
  Write("a1.log", Line(2));
  CopyText(settings.AccessLog, settings.logs);
  Init();
  Write("a1.log", Line(9));  // the same size
  InitAgain();
  EXPECT_EQ(mpLogsRoot->first, March(9));
  EXPECT_EQ(ListNames(), Names{"a1.log"});
}

TEST_F(LogFilesTest, EntriesOfFilesThatAreGoneAreDropped) {
  Write("a1.log", Line(2));
  Write("a2.log", Line(3, 2));
  Init();
  remove(PathOf("a1.log").c_str());
  InitAgain();
  EXPECT_EQ(ListNames(), Names{"a2.log"});
  EXPECT_EQ(SummaryEntries().find("a1.log"), std::string::npos);
  remove(PathOf("a2.log").c_str());
  InitAgain();
  EXPECT_FALSE(SuperLog_LogFilesFound());
  EXPECT_EQ(SummaryEntries(), "");
}

TEST_F(LogFilesTest, ListKeepsTheOrderOfTheSummaryThenOfNewNames) {
  Write("a5.log", Line(5, 5));
  Write("a3.log", Line(3, 3));
  Init();
  std::ofstream(SummaryPath()) << Line(5, 5).size() << ",1,2," << PathOf("a5.log") << "\n"
                               << Line(3, 3).size() << ",1,2," << PathOf("a3.log") << "\n";
  Write("a4.log", Line(4, 4));
  Write("a1.log", Line(1, 1));
  InitAgain();
  EXPECT_EQ(ListNames(), (Names{"a5.log", "a3.log", "a1.log", "a4.log"}));
}

TEST_F(LogFilesTest, CopiesAreIgnored) {
  Write("a1.log", Line(2));
  Write("a2.log", Line(2));
  Init();
  EXPECT_EQ(ListNames(), Names{"a1.log"});
}

TEST_F(LogFilesTest, FileWithoutDatesIsNeverRead) {
  Write("a1.log", "no dates here\n");
  Write("a2.log", "");
  Init();
  EXPECT_TRUE(SuperLog_LogFilesFound());
  EXPECT_EQ(OpenedDays(), Days{});
  EXPECT_FALSE(SuperLog_LogsInRange());
}

TEST_F(LogFilesTest, RangeIncludesBothEnds) {
  Write("a1.log", Line(10) + Line(12));
  const struct {
    time_t first, last;
    bool in_range;
  } rows[] = {
      {March(12), March(20), true},     {March(12) + 1, March(20), false}, {March(1), March(10), true},
      {March(1), March(10) - 1, false}, {March(11), March(11), true},      {March(1), March(31), true},
      {March(31), March(1), false},     {March(12), March(10), true},      {-5000000000, 5000000000, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.first);
    ResetSuperLog();
    SuperLog_Init(settings, kClassicLimits, row.first, row.last);
    EXPECT_EQ(SuperLog_NextLogFile(), row.in_range);
    EXPECT_EQ(SuperLog_LogsInRange(), row.in_range);
  }
}

TEST_F(LogFilesTest, GmtShiftMovesTheListButNotTheSummary) {
  setenv("TZ", "IST-5:30", 1);
  SuperLog_SetFixGmt("1", 2);
  Write("a1.log", Line(10) + Line(12));
  const time_t local_midnight = March(12) - 19800;
  SuperLog_Init(settings, kClassicLimits, local_midnight + 19800, March(31));
  const std::string summary = SummaryEntries();
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_EQ(mpLogsRoot->last, local_midnight + 19800);
  EXPECT_NE(summary.find(std::to_string(local_midnight) + ",a1.log"), std::string::npos);
}

TEST_F(LogFilesTest, FileThatIsGoneMeanwhileIsPassedOverSilently) {
  Write("a1.log", Line(2));
  Write("a2.log", Line(3, 2));
  Init();
  remove(PathOf("a1.log").c_str());
  testing::internal::CaptureStdout();
  EXPECT_EQ(OpenedDays(), Days{3});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(SuperLog_LogsInRange());
}

TEST_F(LogFilesTest, FileInRangeCountsEvenWhenItCannotBeOpened) {
  Write("a1.log", Line(2));
  Init();
  remove(PathOf("a1.log").c_str());
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_TRUE(SuperLog_LogsInRange());
}

TEST_F(LogFilesTest, EmptyFileIsNeverReadWhateverTheSummarySays) {
  Write("a1.log", "");
  std::ofstream(SummaryPath()) << "0," << March(2) << "," << March(3) << "," << PathOf("a1.log") << "\n";
  Init();
  EXPECT_EQ(mpLogsRoot->first, March(2));
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_FALSE(SuperLog_LogsInRange());
}

TEST_F(LogFilesTest, DotsAreNoLogs) {
  Write(".a1.log", Line(2));
  CopyText(settings.logs, PathOf(".*"));
  CopyText(settings.AccessLog, PathOf(".*"));
  Init();
  EXPECT_EQ(ListNames(), Names{".a1.log"});
}

TEST_F(LogFilesTest, FileThatCannotBeOpenedForProbingStaysWithoutDates) {
  ASSERT_EQ(symlink("nowhere", PathOf("a1.log").c_str()), 0);
  testing::internal::CaptureStdout();
  Init();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "ERROR: couldn't open log file " + PathOf("a1.log") + ".<p>\n");
  EXPECT_TRUE(SuperLog_LogFilesFound());
  EXPECT_EQ(SummaryEntries(), "0,0,0,a1.log\n");
  EXPECT_FALSE(SuperLog_NextLogFile());
}

TEST_F(LogFilesTest, FoldersAndNamedPipesAreNeverRead) {
  ASSERT_EQ(mkdir(PathOf("a1.log").c_str(), 0700), 0);
  ASSERT_EQ(mkfifo(PathOf("a2.log").c_str(), 0600), 0);
  Init();
  EXPECT_EQ(ListNames(), (Names{"a1.log", "a2.log"}));
  EXPECT_FALSE(SuperLog_NextLogFile());
}

TEST_F(LogFilesTest, DirectoryOfThePatternIsUsedAsItStands) {
  ASSERT_EQ(mkdir(PathOf("d").c_str(), 0700), 0);
  Write("d/a1.log", Line(2));
  CopyText(settings.logs, PathOf("?/a*.log"));
  CopyText(settings.summary, "s");
  testing::internal::CaptureStdout();
  Init();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "ERROR: couldn't open log file " + PathOf("?/a1.log") + ".<p>\n");
  EXPECT_EQ(ListNames(), Names{"?/a1.log"});
}

TEST_F(LogFilesTest, DamagedSummaryIsProbedAnew) {
  Write("a1.log", Line(2));
  std::ofstream(SummaryPath()) << "!Version=1.4\n" << Line(2).size() << ",1,1," << PathOf("a1.log") << "\n";
  Init();
  EXPECT_EQ(mpLogsRoot->first, March(2));
  EXPECT_NE(ReadFile(SummaryPath()).find("!Version=1.5\n"), std::string::npos);
}

TEST_F(LogFilesTest, AbsurdDatesOfASummaryAreHarmless) {
  setenv("TZ", "IST-5:30", 1);
  SuperLog_SetFixGmt("1", 2);
  Write("a1.log", Line(2));
  std::ofstream(SummaryPath()) << Line(2).size() << ",9223372036854775807,-9223372036854775807,"
                               << PathOf("a1.log") << "\n";
  settings.debug = 1;
  testing::internal::CaptureStdout();
  Init();
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_NE(testing::internal::GetCapturedStdout().find("<td></td>"), std::string::npos);
}

TEST_F(LogFilesTest, SummaryThatCannotBeWrittenChangesNothing) {
  Write("a1.log", Line(2));
  CopyText(settings.summary, "missing/summary");
  Init();
  EXPECT_EQ(OpenedDays(), Days{2});
}

TEST_F(LogFilesTest, NextFileForgetsTheFormat) {
  Write("a1.log", Line(2));
  Init();
  mFormatKnown = true;
  mCurLogFormat = kFamilyW3cIis;
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_FALSE(mFormatKnown);
  EXPECT_EQ(mCurLogFormat, kFamilyNone);
}

TEST_F(LogFilesTest, DoneClosesTheFileAndUninitReleasesTheList) {
  Write("a1.log", Line(2));
  Init();
  EXPECT_TRUE(SuperLog_NextLogFile());
  SuperLog_NextLogFile_Done();
  EXPECT_FALSE(IsLogOpen());
  EXPECT_EQ(SuperLog_GetTotalLogBytesRead().units, 0u);
  SuperLog_Uninit();
  EXPECT_FALSE(SuperLog_LogFilesFound());
  EXPECT_FALSE(SuperLog_NextLogFile());
}

TEST_F(LogFilesTest, BytesReadAreThoseOfTheBlockReader) {
  Write("a1.log", Line(2));
  Init();
  EXPECT_EQ(OpenedDays(), Days{2});
  EXPECT_EQ(SuperLog_GetTotalLogBytesRead().units, Line(2).size());
}

TEST_F(LogFilesTest, NamesAreCutToTheirCapacity) {
  std::string deep = directory;
  while (deep.size() < 200) {
    deep += "/" + std::string(40, 'd');
  }
  std::filesystem::create_directories(deep);
  const std::string name = "a" + std::string(100, 'x') + ".log";
  std::ofstream(deep + "/" + name) << Line(2);
  CopyText(settings.logs, deep + "/a*");
  testing::internal::CaptureStdout();
  Init();
  const std::string cut = (deep + "/" + name).substr(0, kPathSize - 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR: couldn't open log file " + cut + ".<p>\n");
  EXPECT_EQ(mpLogsRoot->name, cut);
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

TEST_F(LogFilesTest, DebugRows) {
  Write("a1.log", Line(2) + Line(3));
  Write("a2.log", "no dates\n");
  Write("a3.log", Line(20));
  Write("a4.log", Line(4, 2));
  CopyText(settings.AccessLog, PathOf("current"));
  settings.debug = 1;
  Init(1, 10);
  testing::internal::CaptureStdout();
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "<tr><td colspan=6>" + OwnUserAndGroup() +
                "<b>Range start:</b> Wed Mar  1 00:00:00 2000\n<br>"
                "<b>Range end:</b>   Fri Mar 10 00:00:00 2000\n<br>"
                "<b>Log File Pattern:</b> " +
                PathOf("a*.log") +
                "<br>"
                "<b>AccessLog File Pattern:</b> " +
                PathOf("current") +
                "<br>"
                "</td></tr>\n"
                "<tr><td colspan=6 align=center><b>Log Files Found</b></td></tr>\n"
                "<tr><td align=center><b>Filename</b></td><td align=center><b>Size</b></td>"
                "<td align=center><b>start</b></td><td align=center><b>end</b></td>"
                "<td align=center><b>In Range</b></td><td align=center><b>Format</b></td></tr>\n"
                "<tr><td>" +
                PathOf("a1.log") + "</td><td align=right>" + std::to_string(Line(2).size() * 2) +
                "</td>"
                "<td>Thu Mar  2 00:00:00 2000\n</td><td>Fri Mar  3 00:00:00 2000\n</td>"
                "<td align=center>YES</td><td>\n");
  testing::internal::CaptureStdout();
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "</td></tr>\n"
            "<tr><td>" +
                PathOf("a2.log") +
                "</td><td align=right>9</td>"
                "<td colspan=2 align=center>invalid size or dates. probably not a log file</td><td>"
                "<tr><td>" +
                PathOf("a3.log") + "</td><td align=right>" + std::to_string(Line(20).size()) +
                "</td>"
                "<td>Mon Mar 20 00:00:00 2000\n</td><td>Mon Mar 20 00:00:00 2000\n</td>"
                "<td align=center>No</td><td>\n"
                "<tr><td>" +
                PathOf("a4.log") + "</td><td align=right>" + std::to_string(Line(4, 2).size()) +
                "</td>"
                "<td>Sat Mar  4 00:00:00 2000\n</td><td>Sat Mar  4 00:00:00 2000\n</td>"
                "<td align=center>YES</td><td>\n");
  testing::internal::CaptureStdout();
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "</td></tr>\n");
}

TEST_F(LogFilesTest, DebugRowsWithoutFiles) {
  settings.debug = 1;
  Init();
  testing::internal::CaptureStdout();
  EXPECT_FALSE(SuperLog_NextLogFile());
  const std::string output = testing::internal::GetCapturedStdout();
  const std::string end =
      PathOf("a*.log") + "<br></td></tr>\n<tr><td colspan=6 align=center><b>No Files Found!</b>";
  EXPECT_EQ(output.substr(output.size() - end.size()), end);
}

TEST_F(LogFilesTest, WithoutDebugNothingIsPrinted) {
  Write("a1.log", Line(2));
  Write("a2.log", "no dates\n");
  testing::internal::CaptureStdout();
  Init();
  OpenedDays();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// Runs the debug rows in a process of another user.
std::string DebugRowsAs(uid_t real, uid_t effective) {
  testing::internal::CaptureStdout();
  fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const bool changed = setresgid(real, effective, 0) == 0 && setresuid(real, effective, 0) == 0;
    if (changed) {
      SuperLog_NextLogFile();
    }
    fflush(stdout);
    _exit(changed ? 0 : 1);
  }
  int status = 1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return testing::internal::GetCapturedStdout();
}

TEST_F(LogFilesTest, DebugShowsUnknownAndEffectiveUsers) {
  constexpr uid_t kNobodyKnown = 3999999;
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can run as another user";
  }
  settings.debug = 1;
  Init();
  EXPECT_TRUE(DebugRowsAs(kNobodyKnown, kNobodyKnown)
                  .starts_with("<tr><td colspan=6>" + UserAndGroup("", "unknown", "unknown") + "<b>Range"));
  EXPECT_TRUE(DebugRowsAs(kNobodyKnown, 0)
                  .starts_with("<tr><td colspan=6>" + UserAndGroup("", "unknown", "unknown") +
                               UserAndGroup("Effective ", "root", "root") + "<b>Range"));
}

TEST_F(LogFilesTest, ResetForgetsEverything) {
  Write("a1.log", Line(2));
  SuperLog_SetDateFormat("DMY", 4);
  SuperLog_SetLogFormat("Sh1", 4);
  SuperLog_SetFixGmt("1", 4);
  Init();
  EXPECT_TRUE(SuperLog_NextLogFile());
  ResetSuperLog();
  EXPECT_FALSE(SuperLog_LogFilesFound());
  EXPECT_FALSE(SuperLog_LogsInRange());
  EXPECT_FALSE(IsLogOpen());
  EXPECT_FALSE(mFixGmt);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderMdy);
  SuperLog_SetDateFormat("DMY", 2);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderDmy);
}

}  // namespace
