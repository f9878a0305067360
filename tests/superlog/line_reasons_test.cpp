#include "superlog/line_reasons.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "layouts/known_layouts.h"
#include "log_text.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/log_line.h"
#include "superlog/superlog.h"

namespace {

NearLayout Near(uint8_t layout, Field field, uint32_t character, bool given = false) {
  return {{.layout = layout, .field = field, .character = character}, given};
}

TEST(LineReasons, AreWhatANearMissComesTo) {
  EXPECT_EQ(ReasonOf({}), LineReason::kNoLayoutFits);
  EXPECT_EQ(ReasonOf(CutOffAt(12)), LineReason::kCutOff);
  EXPECT_EQ(ReasonOf(Near(2, Field::kIgnored, 0)), LineReason::kTooFewLines);
  EXPECT_EQ(ReasonOf(Near(2, Field::kIgnored, 7)), LineReason::kNoNextField);
  EXPECT_EQ(ReasonOf(Near(2, Field::kMoment, 0)), LineReason::kNoTime);
  EXPECT_EQ(ReasonOf(Near(9, Field::kDate, 7, true)), LineReason::kNoTime);
  EXPECT_EQ(ReasonOf(Near(2, Field::kHost, 1)), LineReason::kNoClient);
  EXPECT_EQ(ReasonOf(Near(2, Field::kRequest, 1)), LineReason::kNoRequest);
  EXPECT_EQ(ReasonOf(Near(2, Field::kQuery, 1)), LineReason::kNoUrl);
  EXPECT_EQ(ReasonOf(Near(2, Field::kStatus, 1)), LineReason::kNoStatus);
  EXPECT_EQ(ReasonOf(Near(2, Field::kBytes, 1)), LineReason::kNoSize);
  EXPECT_EQ(ReasonOf(Near(2, Field::kTakenByForm, 1)), LineReason::kNoNextField);
}

TEST(LineReasons, AddUpBehindEachOther) {
  LinesByReason lines = LinesOfOneReason({3, 5, Near(2, Field::kMoment, 16)});
  LinesByReason more = LinesOfOneReason({4, 20, Near(3, Field::kTime, 17)});
  more[LineReason::kCutOff] = {1, 30, CutOffAt(9)};
  AppendLines(lines, more);
  LinesByReason want;
  want[LineReason::kNoTime] = {7, 5, Near(2, Field::kMoment, 16)};
  want[LineReason::kCutOff] = {1, 30, CutOffAt(9)};
  EXPECT_EQ(lines, want);
  EXPECT_EQ(SumOf(LinesOfEach(lines)), 8);
  EXPECT_EQ(SumOf(Less(LinesOfEach(lines), LinesOfEach(more))), 3);
  EXPECT_EQ(LinesOfOneReason({0, 7, {}}), LinesByReason{});
}

class LineReasonsOfLogs : public testing::Test {
 protected:
  void SetUp() override {
    ResetSuperLog();
    setenv("TZ", "UTC", 1);
    mLogLimits = kModernLimits;
    InitLogDates();
  }
  void TearDown() override { ResetSuperLog(); }

  // Reads the log; tells in which state its end is read.
  static uint64_t Read(const std::string& log) {
    OpenLogText(log);
    ResetFileFormat();
    BeginLinesOfLog();
    for (SuperLogRecord record; SuperLog_ParseNextLine(record);) {
    }
    uint64_t state = 0;
    StateOfLines(state);
    CloseLog();
    return state;
  }

  static ReasonLines Lines(LineReason reason) {
    LinesByReason lines = LinesNotUnderstoodOfLog().reasons;
    return lines[reason];
  }
};

constexpr char kKeys[] = "{\"time\": \"yesterday\", \"request\": \"GET /a HTTP/1.1\", \"status\": 200}\n";
constexpr char kCombined[] =
    "192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] \"GET /b HTTP/1.1\" 200 12 \"-\" \"Lynx\"\n";
constexpr char kTimeless[] =
    "192.0.2.7 - - [99/Foo/2024:07:06:11 +0000] \"GET /b HTTP/1.1\" 200 12 \"-\" \"Lynx\"\n";

// Whoever begins within the log holds its lines against the same layout, or is known to be in another state.
TEST_F(LineReasonsOfLogs, FirstLooksAreAStateOfReading) {
  const uint64_t words = Read("a\nb\n");
  EXPECT_EQ(Read("c\nd\n"), words);
  EXPECT_NE(Read(std::string("a\n") + kKeys), words);
  EXPECT_EQ(Read(std::string("a\n") + kKeys + kCombined), Read(std::string("a\nb\n") + kCombined));
}

TEST_F(LineReasonsOfLogs, WithoutALayoutAreByTheOneNearToAFirstLine) {
  Read(std::string("a\nb\nc\n") + kKeys + "d\n" + kKeys);
  EXPECT_EQ(Lines(LineReason::kNoLayoutFits).lines, 4);
  EXPECT_EQ(Lines(LineReason::kNoTime).lines, 2);
  EXPECT_EQ(Lines(LineReason::kNoTime).first, 4);
  Read(std::string("a\nb\nc\nd\n") + kKeys);
  EXPECT_EQ(Lines(LineReason::kNoLayoutFits).lines, 5);
}

TEST_F(LineReasonsOfLogs, AreByTheLayoutOfTheLogAlone) {
  Read(std::string(kCombined) + kTimeless + "words\n" + kKeys + kTimeless);
  EXPECT_EQ(Lines(LineReason::kNoTime).lines, 2);
  EXPECT_EQ(Lines(LineReason::kNoTime).first, 2);
  EXPECT_EQ(Lines(LineReason::kNoTime).nearest.miss,
            (NearMiss{NumberOf(*FindLayout("combined")), Field::kMoment, 16}));
  EXPECT_EQ(Lines(LineReason::kNoLayoutFits).lines, 2);
  EXPECT_EQ(Lines(LineReason::kNoLayoutFits).first, 3);
}

TEST_F(LineReasonsOfLogs, AreByALayoutThatWasTold) {
  SuperLog_SetLayoutText("combined", 9);
  ASSERT_TRUE(SuperLog_BeginLayout());
  Read(std::string(kCombined) + "words\n" + kTimeless);
  EXPECT_EQ(Lines(LineReason::kNoNextField).first, 2);
  EXPECT_EQ(Lines(LineReason::kNoTime).nearest, Near(1, Field::kMoment, 16, true));
}

}  // namespace
