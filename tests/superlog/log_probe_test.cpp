#include "superlog/log_probe.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "superlog/date_guess.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/march_logs.h"
#include "superlog/plain_probe.h"
#include "superlog/superlog.h"
#include "support/text_file.h"

namespace {

// A line that is dated the given day of March 2000.
std::string Line(int day) {
  char line[100];
  snprintf(line, sizeof line, "192.0.2.1 - - [%02d/Mar/2000:00:00:00 +0000] \"GET / HTTP/1.0\" 200 1\n", day);
  return line;
}

time_t March(int day) {
  return kMarch + (day - 1) * kDay;
}

class LogProbeTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    ResetSuperLog();
    InitLogDates();
  }
  void TearDown() override { mLogLimits = kClassicLimits; }

  LogFile ProbePath(const std::string& path, int64_t size) {
    LogFile log = {};
    CopyText(log.name, path);
    log.first = log.last = 99;
    GetLogFileDateRange(log, size);
    EXPECT_FALSE(IsLogOpen());
    return log;
  }

  LogFile Probe(const std::string& content) {
    return ProbePath(WriteFile("probe.log", content), static_cast<int64_t>(content.size()));
  }

  void ExpectDates(const std::string& content, time_t first, time_t last) {
    const LogFile log = Probe(content);
    EXPECT_EQ(log.first, first);
    EXPECT_EQ(log.last, last);
  }
};

TEST_F(LogProbeTest, FirstAndLastDatedLine) {
  ExpectDates(Line(2) + Line(9) + Line(5), March(2), March(5));
}

TEST_F(LogProbeTest, UndatedLinesAreSkippedAtBothEnds) {
  ExpectDates("junk\n\n" + Line(2) + Line(5) + "junk\n\n\n", March(2), March(5));
}

TEST_F(LogProbeTest, OneLineEndsWhereItBegins) {
  ExpectDates(Line(2), March(2), March(2));
}

TEST_F(LogProbeTest, FirstLineIsNeverTheLastDate) {
  ExpectDates(Line(9) + Line(2), March(9), March(2));
  ExpectDates(Line(9) + "junk\n", March(9), March(9));
}

TEST_F(LogProbeTest, LastLineNeedsNoLineEnd) {
  std::string content = Line(2) + Line(5);
  content.pop_back();
  ExpectDates(content, March(2), March(5));
}

TEST_F(LogProbeTest, HeaderLinesAreSkippedForwards) {
  ExpectDates("# " + Line(1) + "! " + Line(1) + "!! " + Line(1) + Line(2) + Line(3), March(2), March(3));
}

// deliberate: forwards "!" is enough, backwards only "!!" marks a header
TEST_F(LogProbeTest, DeliberateSkipRulesDifferBackwards) {
  ExpectDates(Line(2) + Line(3) + "# " + Line(8), March(2), March(3));
  ExpectDates(Line(2) + Line(3) + "!! " + Line(8), March(2), March(3));
  ExpectDates(Line(2) + Line(3) + "! " + Line(8), March(2), March(8));
}

TEST_F(LogProbeTest, FileWithoutDatesHasNone) {
  ExpectDates("", 0, 0);
  ExpectDates("\n\r\n", 0, 0);
  ExpectDates("no date\nin here\n", 0, 0);
  ExpectDates(std::string(5000, '\0'), 0, 0);
}

TEST_F(LogProbeTest, DateThatIsNoneIsSkipped) {
  const std::string year_1900 = "h - - [01/Jan/00:00:00:00 +0000] x\n";
  ExpectDates(year_1900 + Line(2) + Line(3) + year_1900, March(2), March(3));
}

TEST_F(LogProbeTest, StretchWithoutDateLeadsFurtherBack) {
  std::string junk;
  for (int i = 0; i < 1000; ++i) {
    junk += "nothing to see here\n";
  }
  ExpectDates(Line(2) + Line(7) + junk, March(2), March(7));
  ExpectDates(Line(7) + junk, March(7), March(7));
}

TEST_F(LogProbeTest, LastDateOfTheStretchWins) {
  std::string content = Line(1);
  for (int i = 0; i < 200; ++i) {
    content += Line(1 + i % 31);
  }
  ExpectDates(content + Line(12), March(1), March(12));
}

// The last line is a stretch of its own, whose first line is never looked at.
// The stretch before reaches it only over the second half of a CR LF.
TEST_F(LogProbeTest, LineThatBeginsAStretchNeedsAnEmptyLineBefore) {
  std::string long_line = Line(9);
  long_line.back() = ' ';
  long_line.resize(1999, ' ');
  long_line += "\n";
  std::string dos_line = Line(5);
  dos_line.back() = '\r';
  dos_line += '\n';
  ExpectDates(Line(2) + Line(5) + long_line, March(2), March(5));
  ExpectDates(Line(2) + dos_line + long_line, March(2), March(9));
  ExpectDates(Line(2) + Line(5) + "\n" + long_line, March(2), March(9));
}

TEST_F(LogProbeTest, BeginsAtTheSizeFound) {
  const std::string old = Line(2) + Line(5);
  const std::string path = WriteFile("grown.log", old + Line(6) + Line(7));
  EXPECT_EQ(ProbePath(path, static_cast<int64_t>(old.size())).last, March(5));
}

TEST_F(LogProbeTest, SizeBeyondTheEndIsHarmless) {
  const std::string path = WriteFile("shrunk.log", Line(2) + Line(5));
  EXPECT_EQ(ProbePath(path, 9000).last, March(5));
}

std::string mNotOpened;

void NoteNotOpened(const char* path) {
  mNotOpened += path;
}

TEST_F(LogProbeTest, MissingFileIsTold) {
  mLogEvents.log_not_opened = NoteNotOpened;
  const LogFile log = ProbePath("/nowhere/access.log", 100);
  EXPECT_EQ(mNotOpened, "/nowhere/access.log");
  EXPECT_EQ(log.first, 0);
  EXPECT_EQ(log.last, 0);
}

TEST_F(LogProbeTest, FolderAndNamedPipeHaveNoDatesAndAreNotTold) {
  const std::string folder = NewPath("folder");
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  const std::string pipe = NewPath("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  mLogEvents.log_not_opened = NoteNotOpened;
  mNotOpened = "";
  EXPECT_EQ(ProbePath(folder, 4096).first, 0);
  EXPECT_EQ(ProbePath(pipe, 0).first, 0);
  EXPECT_EQ(mNotOpened, "");
}

TEST_F(LogProbeTest, ForgetsTheKnownFormat) {
  mFormatKnown = true;
  mCurLogFormat = kFamilyW3cIis;
  Probe(Line(2));
  EXPECT_FALSE(mFormatKnown);
  EXPECT_EQ(mCurLogFormat, kFamilyNone);
}

TEST_F(LogProbeTest, StretchesGiveTheSameAsPlainReading) {
  std::mt19937 random(5);
  const auto below = [&random](unsigned limit) { return static_cast<int>(random() % limit); };
  int found = 0;
  for (int round = 0; round < 600; ++round) {
    std::string content = Line(1);
    const int lines = below(40);
    for (int i = 0; i < lines; ++i) {
      switch (below(8)) {
        case 0:
          content += Line(1 + below(31));
          break;
        case 1:
          content += std::string(static_cast<size_t>(below(3000)), below(2) == 0 ? '\n' : '\r');
          break;
        case 2:
          content += "\r\n";
          break;
        case 3:
          content += std::string(static_cast<size_t>(below(4000)), 'x') + (below(2) == 0 ? "\n" : "");
          break;
        case 4:
          content += below(2) == 0 ? "!!" : below(2) == 0 ? "#" : "!";
          break;
        case 5:
          content += std::string(static_cast<size_t>(below(3)), '\0');
          break;
        case 6:
          content += std::string(static_cast<size_t>(1400 + below(140)), ' ') + Line(1 + below(31));
          break;
        default:
          content += std::string(static_cast<size_t>(below(90)), 'y') + "\n";
      }
    }
    const std::string path = WriteFile("random.log", content);
    const auto size = static_cast<int64_t>(content.size());
    const time_t plain = PlainLastDate(path, size);
    const LogFile log = ProbePath(path, size);
    ASSERT_EQ(log.last, plain != 0 ? plain : log.first) << "round " << round;
    found += plain != 0;
    remove(path.c_str());
  }
  EXPECT_GT(found, 200);
  EXPECT_LT(found, 600);
}

// Where a stretch is longer, so are the lines that lie across its end.
TEST_F(LogProbeTest, StretchesOfLongLinesGiveTheSameAsPlainReading) {
  mLogLimits = kModernLimits;
  std::mt19937 random(6);
  int found = 0;
  for (int round = 0; round < 60; ++round) {
    std::string content = Line(1);
    for (auto i = random() % 12; i > 0; --i) {
      const size_t length = random() % 2 == 0 ? random() % 200000 : 65400 + random() % 200;
      switch (random() % 4) {
        case 0:
          content += std::string(length, ' ') + Line(2 + static_cast<int>(random() % 29));
          break;
        case 1:
          content += std::string(length, '\n');
          break;
        case 2:
          content += std::string(length, 'x') + "\r\n";
          break;
        default:
          content += Line(2 + static_cast<int>(random() % 29));
      }
    }
    const std::string path = WriteFile("random.log", content);
    const auto size = static_cast<int64_t>(content.size());
    const time_t plain = PlainLastDate(path, size);
    const LogFile log = ProbePath(path, size);
    ASSERT_EQ(log.last, plain != 0 ? plain : log.first) << "round " << round;
    found += plain != 0;
    remove(path.c_str());
  }
  EXPECT_GT(found, 20);
  EXPECT_LT(found, 60);
}

TEST_F(LogProbeTest, LinesAreLookedAtAsFarAsTheLimitsSay) {
  const std::string late = std::string(60000, ' ') + Line(7);
  ExpectDates(Line(2) + late, March(2), March(2));
  mLogLimits = kModernLimits;
  ExpectDates(Line(2) + late, March(2), March(7));
  ExpectDates(late + late, March(7), March(7));
}

// As the reader of records sees them.
TEST_F(LogProbeTest, Byte0xFFEndsNoLine) {
  for (const Limits& limits : {kClassicLimits, kModernLimits}) {
    mLogLimits = limits;
    ExpectDates("x\xFF" + Line(2) + Line(3) + "#\xFF" + Line(9), March(2), March(3));
  }
}

// Reading each stretch to the end of its line would take hours, and no test has so long.
TEST_F(LogProbeTest, EndlessLineAndEndlessEmptyLinesTakeNoTime) {
  for (const char filler : {'x', '\n', '\0'}) {
    for (const Limits& limits : {kClassicLimits, kModernLimits}) {
      mLogLimits = limits;
      ExpectDates(Line(2) + Line(3) + std::string(30000000, filler) + "end\n", March(2), March(3));
    }
  }
}

}  // namespace
