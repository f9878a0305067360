#include "superlog/log_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "dates/clock.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"
#include "support/text_file.h"
#include "unpack/packed.h"
#include "unpack/unpacking.h"

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

// What was told, an event a line, without the folder of the logs.
std::string mTold;
std::string mFolder;

std::string NameOf(const std::string& path) {
  return path.starts_with(mFolder) ? path.substr(mFolder.size()) : path;
}

std::string DayOf(time_t when) {
  if (when < 0 || when > 2 * kMarch1) {
    return "never";
  }
  return std::to_string((when - kMarch1) / kDay + 1);
}

const char* NameOf(LogVerdict verdict) {
  switch (verdict) {
    case LogVerdict::kNoLog:
      return "no log";
    case LogVerdict::kOutOfRange:
      return "out of range";
    case LogVerdict::kInRange:
      return "in range";
  }
  return "";
}

std::string Bytes(const std::string& text) {
  return std::to_string(text.size());
}

constexpr LogEvents kRecorder = {
    .log_not_opened = [](const char* path) { mTold += "not opened: " + NameOf(path) + "\n"; },
    .search_done =
        [](const LogSearch& search) {
          mTold += "search: " + DayOf(search.range_first) + " to " + DayOf(search.range_last) + ", " +
                   NameOf(search.logs) + ", " + NameOf(search.access_log) +
                   (search.any_found ? ", found\n" : ", nothing found\n");
        },
    .log_looked_at =
        [](const LogLook& look) {
          const bool is_log = look.verdict != LogVerdict::kNoLog;
          mTold += "looked at: " + NameOf(look.path) + ", " + std::to_string(look.size) +
                   (is_log ? ", " + DayOf(look.first) + " to " + DayOf(look.last) : "") + ", " +
                   NameOf(look.verdict) + (IsLogOpen() ? ", open already\n" : "\n");
        },
    .format_recognised = [](const char* label) { mTold += "format: " + std::string(label) + "\n"; },
    .log_read = [] { mTold += IsLogOpen() ? "read, but open\n" : "read\n"; },
};

// Hands back what was told since it was last asked.
std::string Told() {
  return std::exchange(mTold, "");
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
    mFolder = directory + "/";
    mTold = "";
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

  void InitWith(const Limits& limits) {
    ResetSuperLog();
    SuperLog_Init(settings, limits, March(1), March(31));
  }

  void Init(int first_day = 1, int last_day = 31) {
    SuperLog_Init(settings, kClassicLimits, March(first_day), March(last_day), kRecorder);
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

TEST_F(LogFilesTest, SizesBeyond4GBAreWholeInModernAndModulo2To32InClassic) {
  Write("a.log", Line(2));
  std::filesystem::resize_file(PathOf("a.log"), (int64_t{1} << 32) + 70);  // holes behind the line
  InitWith(kClassicLimits);
  EXPECT_TRUE(SummaryEntries().starts_with("70,")) << SummaryEntries();
  InitWith(kModernLimits);
  EXPECT_TRUE(SummaryEntries().starts_with("4294967366,")) << SummaryEntries();
  InitWith(kModernLimits);
  EXPECT_EQ(mpLogsRoot->size, 4294967366U);
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
  time_t first = 0;
  time_t last = 0;
  EXPECT_TRUE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(last, local_midnight + 19800);
  EXPECT_NE(summary.find(std::to_string(local_midnight) + ",a1.log"), std::string::npos);
}

TEST_F(LogFilesTest, FileThatIsGoneMeanwhileIsPassedOverSilently) {
  Write("a1.log", Line(2));
  Write("a2.log", Line(3, 2));
  Init();
  remove(PathOf("a1.log").c_str());
  EXPECT_EQ(OpenedDays(), Days{3});
  EXPECT_EQ(Told(), "search: 1 to 31, a*.log, , found\nlooked at: a1.log, " + Bytes(Line(2)) +
                        ", 2 to 2, in range\nlooked at: a2.log, " + Bytes(Line(3, 2)) +
                        ", 3 to 3, in range\nread\n");
  EXPECT_TRUE(SuperLog_LogsInRange());
}

TEST_F(LogFilesTest, FileInRangeCountsEvenWhenItCannotBeOpened) {
  Write("a1.log", Line(2));
  Init();
  remove(PathOf("a1.log").c_str());
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_TRUE(SuperLog_LogsInRange());
  EXPECT_EQ(SuperLog_GetLogsNotOpened(), 1);
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
  Init();
  EXPECT_EQ(Told(), "not opened: a1.log\n");
  EXPECT_TRUE(SuperLog_LogFilesFound());
  EXPECT_EQ(SummaryEntries(), "0,0,0,a1.log\n");
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_EQ(SuperLog_GetLogsNotOpened(), 1);
  InitAgain();
  EXPECT_EQ(Told(), "search: 1 to 31, a*.log, , found\nlooked at: a1.log, 0, no log\n");
}

TEST_F(LogFilesTest, FileThatCannotBeOpenedIsTriedAgainByARunThatForgetsIt) {
  ASSERT_EQ(symlink("later", PathOf("a1.log").c_str()), 0);
  Write("a2.log", Line(3, 2));
  settings.rules.forgets_unopened = true;
  Init();
  EXPECT_EQ(Told(), "not opened: a1.log\n");
  EXPECT_EQ(SummaryEntries().find("a1.log"), std::string::npos);
  InitAgain();
  EXPECT_EQ(Told(), "not opened: a1.log\n");
  EXPECT_EQ(SuperLog_GetLogsNotOpened(), 1);
  Write("later", Line(2));
  InitAgain();
  EXPECT_EQ(Told(), "");
  EXPECT_EQ(SuperLog_GetLogsNotOpened(), 0);
  EXPECT_EQ(OpenedDays(), (Days{3, 2}));
}

TEST_F(LogFilesTest, FoldersAndNamedPipesAreNeverRead) {
  ASSERT_EQ(mkdir(PathOf("a1.log").c_str(), 0700), 0);
  ASSERT_EQ(mkfifo(PathOf("a2.log").c_str(), 0600), 0);
  Init();
  EXPECT_EQ(ListNames(), (Names{"a1.log", "a2.log"}));
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_EQ(SuperLog_GetLogsNotOpened(), 0);
}

TEST_F(LogFilesTest, DirectoryOfThePatternIsUsedAsItStands) {
  ASSERT_EQ(mkdir(PathOf("d").c_str(), 0700), 0);
  Write("d/a1.log", Line(2));
  CopyText(settings.logs, PathOf("?/a*.log"));
  CopyText(settings.summary, "s");
  Init();
  EXPECT_EQ(Told(), "not opened: ?/a1.log\n");
  EXPECT_EQ(ListNames(), Names{"?/a1.log"});
}

// What SuperLog_FindAhead tells, a line each, without the folder of the logs.
std::string ToldAhead(const Settings& settings) {
  std::string told;
  SuperLog_FindAhead(settings, {.context = &told,
                                .log =
                                    [](void* context, const char* path, bool plain_file) {
                                      *static_cast<std::string*>(context) +=
                                          (plain_file ? "file " : "path ") + NameOf(path) + "\n";
                                    },
                                .summary =
                                    [](void* context, const char* path) {
                                      *static_cast<std::string*>(context) += "summary " + NameOf(path) + "\n";
                                    }});
  return told;
}

TEST_F(LogFilesTest, FindingAheadTellsEveryPathThatIsOpened) {
  Write("a2.log", Line(2));
  Write("current", Line(3));
  ASSERT_EQ(symlink("current", PathOf("a1.log").c_str()), 0);
  CopyText(settings.AccessLog, PathOf("current"));
  EXPECT_EQ(ToldAhead(settings), "summary as_log.ORV\npath a1.log\nfile a2.log\npath current\n");
  EXPECT_STREQ(settings.summary, "");
  CopyText(settings.summary, "mine");
  CopyText(settings.logs, PathOf("none*"));
  CopyText(settings.AccessLog, "");
  EXPECT_EQ(ToldAhead(settings), "summary mine.ORV\n");
}

TEST_F(LogFilesTest, FindingAheadTellsPathsAsTheyAreOpened) {
  ASSERT_EQ(mkdir(PathOf("d").c_str(), 0700), 0);
  Write("d/a1.log", Line(2));
  CopyText(settings.logs, PathOf("?/a*.log"));
  EXPECT_EQ(ToldAhead(settings), "summary ?/as_log.ORV\npath ?/a1.log\n");
}

TEST_F(LogFilesTest, LogsFoundAheadAreTakenAsTheyAreThen) {
  Write("a1.log", Line(2));
  ToldAhead(settings);
  Write("a1.log", Line(4) + Line(5));
  Write("a2.log", Line(6, 7));
  Init();
  EXPECT_EQ(ListNames(), Names{"a1.log"});
  EXPECT_EQ(mpLogsRoot->size, 2 * Line(4).size());
  EXPECT_EQ(OpenedDays(), Days{4});
  Init();
  EXPECT_EQ(ListNames(), (Names{"a1.log", "a2.log"})) << "once only";
  ToldAhead(settings);
  ResetSuperLog();
  Write("a3.log", Line(7, 9));
  Init();
  EXPECT_EQ(ListNames(), (Names{"a1.log", "a2.log", "a3.log"})) << "not behind a reset";
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
  Init();
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_TRUE(Told().ends_with(", never to never, out of range\n"));
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
  Init();
  const std::string cut = (deep + "/" + name).substr(0, kPathSize - 1);
  EXPECT_EQ(Told(), "not opened: " + NameOf(cut) + "\n");
  EXPECT_EQ(mpLogsRoot->name, cut);
}

TEST_F(LogFilesTest, TellsEachStepWhenItHappens) {
  Write("a1.log", Line(2) + Line(3));
  Write("a2.log", "no dates\n");
  Write("a3.log", Line(20));
  Write("a4.log", Line(4, 2));
  CopyText(settings.AccessLog, PathOf("current"));
  Init(1, 10);
  EXPECT_EQ(Told(), "");
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_EQ(Told(), "search: 1 to 10, a*.log, current, found\nlooked at: a1.log, " +
                        Bytes(Line(2) + Line(3)) + ", 2 to 3, in range\n");
  SuperLogRecord record;
  EXPECT_TRUE(SuperLog_ParseNextLine(record));
  EXPECT_EQ(Told(), "format: CLF/ELF\n");
  EXPECT_TRUE(SuperLog_ParseNextLine(record));
  EXPECT_EQ(Told(), "");
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_EQ(Told(), "read\nlooked at: a2.log, 9, no log\nlooked at: a3.log, " + Bytes(Line(20)) +
                        ", 20 to 20, out of range\nlooked at: a4.log, " + Bytes(Line(4, 2)) +
                        ", 4 to 4, in range\n");
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_EQ(Told(), "read\n");
}

TEST_F(LogFilesTest, TellsTimesWithTheShiftFromGmt) {
  setenv("TZ", "EST24", 1);
  SuperLog_SetFixGmt("1", 2);
  Write("a1.log", Line(2));
  Init();
  EXPECT_TRUE(SummaryEntries().find(std::to_string(March(3))) != std::string::npos);
  EXPECT_TRUE(SuperLog_NextLogFile());
  // A day later by the zone, and a day earlier by the shift.
  EXPECT_TRUE(Told().ends_with(", 2 to 2, in range\n"));
}

TEST_F(LogFilesTest, TellsThatNothingWasFound) {
  Init();
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_EQ(Told(), "search: 1 to 31, a*.log, , nothing found\n");
}

TEST_F(LogFilesTest, WithoutAListenerNothingIsToldOrPrinted) {
  Write("a1.log", Line(2));
  Write("a2.log", "no dates\n");
  ASSERT_EQ(symlink("nowhere", PathOf("a3.log").c_str()), 0);
  Init();
  Told();
  testing::internal::CaptureStdout();
  SuperLog_Init(settings, kClassicLimits, March(1), March(31));
  OpenedDays();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(Told(), "");
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
  Told();
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_EQ(Told(), "");
}

// --- Compressed logs --------------------------------------------------------------

class CompressedLogFilesTest : public LogFilesTest {
 protected:
  void SetUp() override {
    LogFilesTest::SetUp();
    if (LibraryFor(PackFormat::kGzip) == nullptr) {
      GTEST_SKIP() << "built without gzip";
    }
    settings.rules.unpacks = true;
    settings.rules.forgets_unopened = true;
  }
  void InitWith(const Limits& limits) {
    ResetSuperLog();
    SuperLog_Init(settings, limits, March(1), March(31), kRecorder);
  }
  void WritePacked(const std::string& name, const std::string& text) {
    Write(name, Pack(PackFormat::kGzip, text));
  }
};

TEST_F(CompressedLogFilesTest, EndIsOpenAndIsFoundWhenItIsAskedFor) {
  WritePacked("a1.log", Line(3) + RecordLines(3000) + Line(20));
  WritePacked("a2.log", Line(7));
  InitWith(kModernLimits);
  EXPECT_EQ(mpLogsRoot->first, March(3));
  EXPECT_GE(mpLogsRoot->last, kOpenEnd);
  time_t first = 0;
  time_t last = 0;
  EXPECT_TRUE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, March(3));
  EXPECT_EQ(last, March(20));
}

TEST_F(CompressedLogFilesTest, IsReadForEveryRangeThatItDoesNotBeginBehind) {
  WritePacked("a1.log", Line(3) + Line(4));
  InitWith(kModernLimits);
  SuperLog_SetRange(March(2), March(2));
  EXPECT_FALSE(SuperLog_NextLogFile());
  InitWith(kModernLimits);
  SuperLog_SetRange(March(25), March(26));
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_NE(Told().find("3 to 3, in range"), std::string::npos);
}

TEST_F(CompressedLogFilesTest, LogsOfOneSizeAndBeginningAreNoCopies) {
  WritePacked("a1.log", Line(3) + Line(4));
  WritePacked("a2.log", Line(3) + Line(5));
  WritePacked("a3.log", Line(3) + Line(4));
  ASSERT_EQ(std::filesystem::file_size(PathOf("a1.log")), std::filesystem::file_size(PathOf("a2.log")));
  InitWith(kModernLimits);
  EXPECT_EQ(ListNames(), (Names{"a1.log", "a2.log"}));
}

TEST_F(CompressedLogFilesTest, DamageIsCountedOnceWhereItIs) {
  Write("a1.log", Pack(PackFormat::kGzip, Line(3)) + "garbage");
  Write("a2.log", Pack(PackFormat::kGzip, Line(4)).substr(0, 20));
  WritePacked("a3.log", Line(5));
  InitWith(kModernLimits);
  EXPECT_EQ(Told(), "not opened: a2.log\n");
  SuperLogRecord record{};
  while (SuperLog_NextLogFile()) {
    while (SuperLog_ParseNextLine(record)) {
    }
  }
  EXPECT_EQ(SuperLog_GetLogsDamaged(), 1);
  EXPECT_EQ(SuperLog_GetLogsNotOpened(), 1);
  EXPECT_FALSE(SuperLog_IsLacking(PackFormat::kGzip));
}

TEST_F(CompressedLogFilesTest, IsNoLogWhereNothingIsUnpacked) {
  settings.rules.unpacks = false;
  WritePacked("a1.log", Line(3));
  InitWith(kClassicLimits);
  EXPECT_EQ(mpLogsRoot->first, 0);
  EXPECT_FALSE(SuperLog_NextLogFile());
  EXPECT_EQ(SuperLog_GetLogsNotOpened(), 0);
}

}  // namespace

// ---- What the logs hold ----

TEST_F(LogFilesTest, TimesHeldAreThoseOfAllLogs) {
  Write("a1.log", Line(5) + Line(6));
  Write("a2.log", Line(2, 2) + Line(3));
  Write("a3.log", "no log\n");
  Init(20, 30);
  time_t first = 0;
  time_t last = 0;
  for (int again = 0; again < 2; ++again) {
    EXPECT_TRUE(SuperLog_TimesHeld(first, last));
    EXPECT_EQ(first, March(2));
    EXPECT_EQ(last, March(6));
    EXPECT_EQ(OpenedDays(), Days{});
  }
}

TEST_F(LogFilesTest, TimesHeldAreInOrderWhateverTheLinesAre) {
  Write("a.log", Line(6) + Line(5));
  Init();
  time_t first = 0;
  time_t last = 0;
  EXPECT_TRUE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, March(5));
  EXPECT_EQ(last, March(6));
}

TEST_F(LogFilesTest, WithoutADatedLogNoTimesAreHeld) {
  Write("a.log", "no log\n");
  Init();
  time_t first = 1;
  time_t last = 2;
  EXPECT_FALSE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, 1);
  EXPECT_EQ(last, 2);
}

TEST_F(LogFilesTest, AnotherRangeIsTakenBeforeTheFirstLog) {
  Write("a1.log", Line(5));
  Write("a2.log", Line(9));
  Init(20, 30);
  SuperLog_SetRange(March(8), March(10));
  EXPECT_EQ(OpenedDays(), Days{9});
}
