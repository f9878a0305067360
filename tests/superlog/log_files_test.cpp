#include "superlog/log_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dates/clock.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/march_logs.h"
#include "superlog/superlog.h"
#include "support/text_file.h"
#include "unpack/packed.h"
#include "unpack/unpacking.h"

namespace {

time_t March(int day) {
  return kMarch + (day - 1) * kDay;
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
  if (when < 0 || when > 2 * kMarch) {
    return "never";
  }
  return std::to_string((when - kMarch) / kDay + 1);
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
  // A hole between two lines, so that the search for the last date ends where it begins.
  Write("a.log", Line(2));
  std::filesystem::resize_file(PathOf("a.log"), (int64_t{1} << 32) + 70 - 1 - ssize(Line(2)));
  std::ofstream(PathOf("a.log"), std::ios::app) << "\n" + Line(2);
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
  InitAgain();
  EXPECT_EQ(Told(), "search: 1 to 31, a*.log, , found\nlooked at: a1.log, 0, no log\n");
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

}  // namespace

// ---- Logs that are read whole ----

class WholeLogsTest : public LogFilesTest {
 protected:
  WholeLogsTest() { settings.rules.whole_logs = true; }

  // Reads all logs as a report does; returns the days in range, in the order in which they stand.
  Days ReadAll(int first_day = 1, int last_day = 31) {
    Init(first_day, last_day);
    SuperLogRecord record;
    Days days;
    while (SuperLog_NextLogFile()) {
      LogRecords records;
      while (SuperLog_ParseNextLine(record)) {
        AddTime(records, record.time);
        if (record.time >= March(first_day) && record.time < March(last_day + 1)) {
          ++records.in_range;
          days.push_back(static_cast<int>((record.time - kMarch) / kDay + 1));
        }
      }
      SuperLog_LogRead(records);
    }
    return days;
  }

  // What is known of each log, an entry a line.
  static std::string States() {
    std::string all;
    const void* place = nullptr;
    for (LogState log; SuperLog_NextState(place, log);) {
      all += NameOf(log.path) + ": " + std::to_string(log.records.count) + ", " +
             std::to_string(log.records.in_range) + (log.unopened ? ", unopened" : "") +
             (log.copy_of != nullptr ? ", as " + NameOf(log.copy_of) : "") + ", " +
             std::to_string(log.lines_not_understood) + " from " + std::to_string(log.first_not_understood) +
             " " + log.line + "\n";
    }
    return all;
  }
};

TEST_F(WholeLogsTest, RecordsCountWhereverTheyStand) {
  Write("a1.log", Line(5) + Line(9) + Line(2) + Line(6) + Line(1));
  Write("a2.log", Line(9, 2) + Line(5, 2) + Line(9, 2));
  EXPECT_EQ(ReadAll(5, 6), (Days{5, 6, 5}));
  EXPECT_EQ(Told(), "search: 5 to 6, a*.log, , found\nformat: CLF/ELF\nlooked at: a1.log, " +
                        Bytes(Line(5) + Line(9) + Line(2) + Line(6) + Line(1)) +
                        ", 1 to 9, in range\nread\nformat: CLF/ELF\nlooked at: a2.log, " +
                        Bytes(Line(9, 2) + Line(5, 2) + Line(9, 2)) + ", 5 to 9, in range\nread\n");
  EXPECT_TRUE(SuperLog_LogsInRange());
}

TEST_F(WholeLogsTest, NoSummaryIsReadOrWritten) {
  Write("a1.log", Line(2));
  std::ofstream(SummaryPath()) << Bytes(Line(2)) << "," << March(20) << "," << March(21) << ","
                               << PathOf("a1.log") << "\n";
  EXPECT_EQ(ReadAll(2, 3), Days{2});
  EXPECT_EQ(ReadFile(SummaryPath()), Bytes(Line(2)) + "," + std::to_string(March(20)) + "," +
                                         std::to_string(March(21)) + "," + PathOf("a1.log") + "\n");
  remove(SummaryPath().c_str());
  EXPECT_EQ(ReadAll(2, 3), Days{2});
  EXPECT_EQ(access(SummaryPath().c_str(), F_OK), -1);
}

TEST_F(WholeLogsTest, FiguresAreOfLogsThatHoldRecordsInRange) {
  Write("a1.log", Line(2) + "junk\n");
  Write("a2.log", Line(9) + "other junk\n" + Line(9));
  EXPECT_EQ(ReadAll(9, 9), (Days{9, 9}));
  EXPECT_EQ(SuperLongToBytes(SuperLog_GetTotalLogBytesRead()), 2 * Line(9).size() + 11);
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood(), 1);
  EXPECT_EQ(ReadAll(4, 4), Days{});
  EXPECT_EQ(SuperLongToBytes(SuperLog_GetTotalLogBytesRead()), 0U);
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood(), 0);
  EXPECT_FALSE(SuperLog_LogsInRange());
}

TEST_F(WholeLogsTest, LinesNotUnderstoodAreToldByLog) {
  Write("a1.log", "#comment\n\n" + Line(2) + "a \x1b[31m line\n" + Line(3) + "b\n");
  Write("a2.log", "\r\nc\r\nd\r\n");
  Write("a3.log", "\r\re");
  ReadAll();
  EXPECT_EQ(States(),
            "a1.log: 2, 2, 2 from 4 a ?[31m line\na2.log: 0, 0, 2 from 2 c\na3.log: 0, 0, 1 from 3 e\n");
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood(), 5);
}

TEST_F(WholeLogsTest, LineNumbersGoOnOverWindows) {
  std::string text;
  while (text.size() < 3 * kBigBufSize) {
    text += Line(2);
  }
  const size_t lines = text.size() / Line(2).size();
  Write("a1.log", text + "junk\n" + Line(3));
  ReadAll();
  EXPECT_EQ(States(), "a1.log: " + std::to_string(lines + 1) + ", " + std::to_string(lines + 1) +
                          ", 1 from " + std::to_string(lines + 1) + " junk\n");
}

TEST_F(WholeLogsTest, EqualContentsCountOnce) {
  Write("a1.log", Line(2) + Line(3));
  Write("a2.log", Line(3) + Line(2));
  Write("a3.log", Line(2) + Line(3));
  Write("a4.log", Line(2) + Line(3));
  Write("a5.log", "");
  Write("a6.log", "");
  EXPECT_EQ(ReadAll(), (Days{2, 3, 3, 2}));
  EXPECT_EQ(States(),
            "a1.log: 2, 2, 0 from 0 \na2.log: 2, 2, 0 from 0 \na3.log: 2, 2, as a1.log, 0 from 0 \n"
            "a4.log: 2, 2, as a1.log, 0 from 0 \na5.log: 0, 0, 0 from 0 \na6.log: 0, 0, 0 from 0 \n");
}

TEST_F(WholeLogsTest, LogsThatDifferInOneByteBothCount) {
  std::string text;
  while (text.size() < 200000) {
    text += Line(2);
  }
  Write("a1.log", text);
  for (const size_t place : {size_t{10}, size_t{70000}, text.size() - 1}) {
    std::string other = text;
    other[place] ^= 1;
    Write("a2.log", other);
    EXPECT_GT(ReadAll().size(), 2 * text.size() / Line(2).size() - 2) << place;
  }
}

TEST_F(WholeLogsTest, LogThatCannotBeOpenedIsTold) {
  ASSERT_EQ(symlink("nowhere", PathOf("a1.log").c_str()), 0);
  ASSERT_EQ(mkdir(PathOf("a2.log").c_str(), 0700), 0);
  ASSERT_EQ(mkfifo(PathOf("a3.log").c_str(), 0600), 0);
  Write("a4.log", Line(4));
  EXPECT_EQ(ReadAll(), Days{4});
  EXPECT_EQ(States(),
            "a1.log: 0, 0, unopened, 0 from 0 \na2.log: 0, 0, 0 from 0 \na3.log: 0, 0, 0 from 0 \n"
            "a4.log: 1, 1, 0 from 0 \n");
}

TEST_F(WholeLogsTest, TimesHeldAreThoseOfAllRecords) {
  Write("a1.log", Line(5) + Line(8) + Line(6));
  Write("a2.log", Line(3, 2) + Line(2) + Line(4));
  Write("a3.log", "no log\n");
  Init(20, 30);
  SuperLog_ReadLogs();
  time_t first = 0;
  time_t last = 0;
  EXPECT_TRUE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, March(2));
  EXPECT_EQ(last, March(8));
}

TEST_F(WholeLogsTest, WithoutARecordNoTimesAreHeld) {
  Write("a.log", "no log\n");
  Init();
  SuperLog_ReadLogs();
  time_t first = 1;
  time_t last = 2;
  EXPECT_FALSE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, 1);
  EXPECT_EQ(last, 2);
}

// ---- What is kept of logs ----

class KeptLogsTest : public WholeLogsTest {
 protected:
  void SetUp() override {
    WholeLogsTest::SetUp();
    store = NewPath("store");
    ASSERT_EQ(mkdir(store.c_str(), 0700), 0);
    CopyText(settings.store, store);
    SetCurrentTimeForTest(4102444800);  // 2100: every file is old
  }

  // The logs that a report of the days opens, of those that were found.
  std::string Opened(int first_day, int last_day) {
    ReadAll(first_day, last_day);
    Init(first_day, last_day);
    std::string names;
    while (SuperLog_NextLogFile()) {
      SuperLogRecord record;
      LogRecords records;
      while (SuperLog_ParseNextLine(record)) {
        AddTime(records, record.time);
      }
      SuperLog_LogRead(records);
      Told();
      names += names.empty() ? "" : " ";
      names += std::to_string(records.count);
    }
    return names;
  }

  std::string store;
};

TEST_F(KeptLogsTest, LogsOutsideTheRangeAreNotReadAgain) {
  Write("a1.log", Line(2) + Line(5));
  Write("a2.log", Line(9) + Line(8) + Line(9));
  EXPECT_EQ(Opened(5, 5), "2");
  EXPECT_EQ(Opened(5, 8), "2 3");
  EXPECT_EQ(Opened(3, 4), "2");  // which may hold them
  EXPECT_EQ(Opened(10, 12), "");
  Init(10, 12);
  SuperLog_ReadLogs();
  time_t first = 0;
  time_t last = 0;
  EXPECT_TRUE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, March(2));
  EXPECT_EQ(last, March(9));
  EXPECT_FALSE(SuperLog_LogsInRange());
}

TEST_F(KeptLogsTest, ChangedLogsAreReadAgain) {
  Write("a1.log", Line(2));
  EXPECT_EQ(Opened(5, 5), "");
  Write("a1.log", Line(5));  // of the same size
  EXPECT_EQ(ReadAll(5, 5), Days{5});
  Write("a1.log", Line(2) + Line(3));
  EXPECT_EQ(Opened(5, 5), "");
  std::ofstream(PathOf("a1.log"), std::ios::app) << Line(5);
  EXPECT_EQ(ReadAll(5, 5), Days{5});
}

TEST_F(KeptLogsTest, NewFilesAreNotKept) {
  SetCurrentTimeForTest(-1);
  Write("a1.log", Line(2));
  EXPECT_EQ(Opened(5, 5), "1");
}

TEST_F(KeptLogsTest, AnotherZoneReadsAnew) {
  Write("a1.log", Line(2));
  EXPECT_EQ(Opened(5, 5), "");
  setenv("TZ", "XXX3", 1);
  Init(5, 5);
  EXPECT_TRUE(SuperLog_NextLogFile());
}

TEST_F(KeptLogsTest, TimesThatAreGmtReadAnew) {
  Write("a1.log", Line(2));
  EXPECT_EQ(Opened(5, 5), "");
  SuperLog_SetFixGmt("1", 4);
  Init(5, 5);
  EXPECT_TRUE(SuperLog_NextLogFile());
}

// The same zone by its name, but with other rules in its file.
TEST_F(KeptLogsTest, OtherRulesOfAZoneReadAnew) {
  const std::string zones = NewPath("zones");
  ASSERT_EQ(mkdir(zones.c_str(), 0700), 0);
  std::ofstream(zones + "/Here") << "some rules";
  setenv("TZDIR", zones.c_str(), 1);
  setenv("TZ", "Here", 1);
  Write("a1.log", Line(2));
  EXPECT_EQ(Opened(5, 5), "");
  std::ofstream(zones + "/Here") << "other rules";
  Init(5, 5);
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_EQ(Opened(5, 5), "");
  std::ofstream(zones + "/Here") << std::string(100000, 'x');  // too many to be known
  EXPECT_EQ(Opened(5, 5), "1");
  setenv("TZ", "UTC", 1);
}

TEST_F(KeptLogsTest, AnotherLayoutOrOrderReadsAnew) {
  Write("a1.log", Line(2));
  EXPECT_EQ(Opened(5, 5), "");
  SuperLog_SetDateFormat("YMD", 4);
  Init(5, 5);
  EXPECT_TRUE(SuperLog_NextLogFile());
  EXPECT_EQ(Opened(5, 5), "");
  SuperLog_SetLogFormat("Shmw1qrc", 4);
  Init(5, 5);
  EXPECT_TRUE(SuperLog_NextLogFile());
}

// Whatever the order of the lines, the files they stand in and the state of the store.
TEST_F(KeptLogsTest, NothingChangesAFigure) {
  std::minstd_rand random(20000305);
  std::vector<std::string> lines;
  for (int day = 1; day <= 28; ++day) {
    for (int i = 0; i < day; ++i) {
      lines.push_back(Line(day, 1 + i));
    }
  }
  for (int round = 0; round < 30; ++round) {
    std::shuffle(lines.begin(), lines.end(), random);
    const size_t files = 1 + random() % 5;
    for (size_t file = 0; file < 5; ++file) {
      std::string text;
      for (size_t i = lines.size() * file / files; file < files && i < lines.size() * (file + 1) / files;
           ++i) {
        text += lines[i];
      }
      Write("a" + std::to_string(file) + ".log", text);
    }
    for (int state = 0; state < 4; ++state) {
      const int first = 1 + static_cast<int>(random() % 28);
      const int last = first + static_cast<int>(random() % 7);
      int64_t expected = 0;
      for (int day = first; day <= last && day <= 28; ++day) {
        expected += day;
      }
      EXPECT_EQ(static_cast<int64_t>(ReadAll(first, last).size()), expected) << round << " " << state;
      if (state == 2) {
        for (const auto& entry : std::filesystem::directory_iterator(store)) {
          std::filesystem::resize_file(entry.path(), random() % 200);
        }
      }
    }
  }
}

// ---- Compressed logs ----

class CompressedLogsTest : public KeptLogsTest {
 protected:
  void SetUp() override {
    KeptLogsTest::SetUp();
    if (LibraryFor(PackFormat::kGzip) == nullptr) {
      GTEST_SKIP() << "built without gzip";
    }
    settings.rules.unpacks = true;
  }
  void WritePacked(const std::string& name, const std::string& text) {
    Write(name, Pack(PackFormat::kGzip, text));
  }
  // Of each log its records and how it was unpacked.
  static std::vector<std::pair<int64_t, UnpackEnd>> Ends() {
    std::vector<std::pair<int64_t, UnpackEnd>> ends;
    const void* place = nullptr;
    for (LogState log; SuperLog_NextState(place, log);) {
      ends.emplace_back(log.records.count, log.unpacked);
    }
    return ends;
  }
};

using PackedEnds = std::vector<std::pair<int64_t, UnpackEnd>>;

TEST_F(CompressedLogsTest, AreReadAsWhatIsInThem) {
  WritePacked("a1.log", Line(9) + Line(3));
  Write("a2.log", Line(7));
  EXPECT_EQ(ReadAll(3, 9), (Days{9, 3, 7}));
  EXPECT_EQ(SuperLongToBytes(SuperLog_GetTotalLogBytesRead()), 3 * Line(3).size());
  EXPECT_EQ(Ends(), (PackedEnds{{2, UnpackEnd::kWhole}, {1, UnpackEnd::kWhole}}));
}

TEST_F(CompressedLogsTest, LinesNotUnderstoodHaveTheNumbersOfThePlainLog) {
  std::string many;
  while (many.size() < 3 * kBigBufSize) {
    many += Line(2);
  }
  const std::string ends[] = {"\n", "\r\n", "\r"};
  for (const std::string& end : ends) {
    for (const std::string& junk : {"junk" + end, "junk" + std::string(200000, 'x') + end + Line(3),
                                    std::string("junk"), "junk" + end + many, end + end + "junk" + end}) {
      for (const std::string& before : {std::string(), Line(2) + Line(2), many}) {
        std::string text;
        for (const char c : before + junk) {
          text += c == '\n' ? end : std::string(1, c);
        }
        Write("a1.log", text);
        ReadAll();
        const std::string plain = States();
        WritePacked("a1.log", text);
        ReadAll();
        EXPECT_EQ(States(), plain);
      }
    }
  }
}

TEST_F(CompressedLogsTest, ThoseOutsideTheRangeAreNotReadAgain) {
  WritePacked("a1.log", Line(2) + Line(5));
  EXPECT_EQ(Opened(5, 5), "2");
  EXPECT_EQ(Opened(10, 12), "");
  Init(10, 12);
  SuperLog_ReadLogs();
  time_t first = 0;
  time_t last = 0;
  EXPECT_TRUE(SuperLog_TimesHeld(first, last));
  EXPECT_EQ(first, March(2));
  EXPECT_EQ(last, March(5));
}

TEST_F(CompressedLogsTest, DamagedOnesAreReadEachTime) {
  Write("a1.log", Pack(PackFormat::kGzip, Line(3)) + "garbage");
  Write("a2.log", Pack(PackFormat::kGzip, Line(4)).substr(0, 12));
  WritePacked("a3.log", Line(5));
  EXPECT_EQ(ReadAll(3, 5), (Days{3, 5}));
  EXPECT_EQ(Ends(), (PackedEnds{{1, UnpackEnd::kDamaged}, {0, UnpackEnd::kDamaged}, {1, UnpackEnd::kWhole}}));
  EXPECT_EQ(Opened(10, 12), "1 0");
}

TEST_F(CompressedLogsTest, CopiesCountOnceAndOthersOfTheirSizeDoNot) {
  WritePacked("a1.log", Line(3) + Line(4));
  WritePacked("a2.log", Line(3) + Line(5));
  WritePacked("a3.log", Line(3) + Line(4));
  ASSERT_EQ(std::filesystem::file_size(PathOf("a1.log")), std::filesystem::file_size(PathOf("a2.log")));
  EXPECT_EQ(ReadAll(), (Days{3, 4, 3, 5}));
}

// The names that are read in the place of others, by these.
static std::string Copies() {
  std::string copies;
  const void* place = nullptr;
  for (LogState log; SuperLog_NextState(place, log);) {
    copies += log.copy_of == nullptr ? "" : NameOf(log.path) + " as " + NameOf(log.copy_of) + "\n";
  }
  return copies;
}

TEST_F(CompressedLogsTest, WhatStandsUncompressedBesideThemCountsOnce) {
  Write("a1.log", Line(3) + Line(4));
  WritePacked("a1.log.gz.log", Line(3) + Line(4));
  Write("a2.log.1.log", Pack(PackFormat::kGzip, Line(5)) + Pack(PackFormat::kGzip, Line(6)));
  Write("a2.log.2.log", Line(5) + Line(6));
  EXPECT_EQ(ReadAll(), (Days{3, 4, 5, 6}));
  EXPECT_EQ(Copies(), "a1.log.gz.log as a1.log\na2.log.1.log as a2.log.2.log\n");
  EXPECT_EQ(ReadAll(), (Days{3, 4, 5, 6}));
  std::filesystem::remove(PathOf("a1.log"));
  EXPECT_EQ(ReadAll(), (Days{3, 4, 5, 6}));
}

TEST_F(CompressedLogsTest, WhatIsKnownOfThemChangesNothingThatIsSaidOfCopies) {
  for (const std::string& text : {std::string("junk\nand more\n"), Line(3) + Line(4)}) {
    std::filesystem::remove(PathOf("a1.log"));
    Write("a0.log", Line(9));
    WritePacked("a2.log", text);
    ReadAll(5, 9);  // alone
    Write("a1.log", text);
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(ReadAll(5, 9), Days{9});
      EXPECT_EQ(Copies(), "a2.log as a1.log\n");
      EXPECT_EQ(SuperLog_GetLinesNotUnderstood(), text[0] == 'j' ? 2 : 0);
    }
  }
}

TEST_F(CompressedLogsTest, TheSameByTwoPackersCountsOnce) {
  if (LibraryFor(PackFormat::kXz) == nullptr || !HasTool(PackFormat::kXz)) {
    GTEST_SKIP() << "built without xz";
  }
  WritePacked("a1.log", Line(3) + Line(4));
  Write("a2.log", Pack(PackFormat::kXz, Line(3) + Line(4)));
  Write("a3.log", Pack(PackFormat::kGzip, Line(3) + Line(4), "-1"));
  EXPECT_EQ(ReadAll(), (Days{3, 4}));
  EXPECT_EQ(Copies(), "a2.log as a1.log\na3.log as a1.log\n");
  Write("a0.log", Line(3) + Line(4));
  Write("a4.log", Line(3) + Line(4));
  EXPECT_EQ(ReadAll(), (Days{3, 4}));
  EXPECT_EQ(Copies(), "a1.log as a0.log\na2.log as a0.log\na3.log as a0.log\na4.log as a0.log\n");
}

TEST_F(CompressedLogsTest, WhatDiffersSomewhereCounts) {
  std::string text;
  while (text.size() < 2 * kBigBufSize) {
    text += Line(2);
  }
  const Days once(text.size() / Line(2).size(), 2);
  const Days both(2 * once.size(), 2);
  for (const size_t place : {size_t{5}, size_t{4096}, kBigBufSize + 5, text.size() - 2}) {
    std::string other = text;
    other[place] = other[place] == '1' ? '2' : other[place];
    other[place] = other[place] == text[place] ? '1' : other[place];
    Write("a1.log", text);
    WritePacked("a2.log", other);
    ReadAll();
    EXPECT_EQ(Copies(), "") << place;
  }
  WritePacked("a2.log", text + Line(2));
  EXPECT_EQ(ReadAll().size(), both.size() + 1);
  WritePacked("a2.log", text.substr(0, text.size() - Line(2).size()));
  EXPECT_EQ(ReadAll().size(), both.size() - 1);
  Write("a2.log", Pack(PackFormat::kGzip, text) + "garbage");
  EXPECT_EQ(ReadAll(), both);
  WritePacked("a2.log", text);
  EXPECT_EQ(ReadAll(), once);
  WritePacked("a1.log", "");
  EXPECT_EQ(ReadAll(), once);
}

TEST_F(CompressedLogsTest, AreNoLogsWhereNothingIsUnpacked) {
  settings.rules.unpacks = false;
  WritePacked("a1.log", Line(3));
  EXPECT_EQ(ReadAll(), Days{});
  EXPECT_EQ(Ends(), (PackedEnds{{0, UnpackEnd::kWhole}}));
}
