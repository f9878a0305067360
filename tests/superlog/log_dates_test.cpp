#include "superlog/log_dates.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <tuple>

#include "superlog/log_limits.h"
#include "superlog/superlog.h"

namespace {

void UseZone(const char* zone) {
  setenv("TZ", zone, 1);
  ResetLogDates();
  InitLogDates();
}

// A record none of whose fields any parser would write by chance.
tm Untouched() {
  tm when = {};
  when.tm_sec = when.tm_min = when.tm_hour = when.tm_mday = when.tm_mon = when.tm_year = 77;
  return when;
}

void ExpectDate(const tm& when, int year, int month, int day) {
  EXPECT_EQ(when.tm_year + 1900, year);
  EXPECT_EQ(when.tm_mon + 1, month);
  EXPECT_EQ(when.tm_mday, day);
}

void ExpectTime(const tm& when, int hour, int minute, int second) {
  EXPECT_EQ(when.tm_hour, hour);
  EXPECT_EQ(when.tm_min, minute);
  EXPECT_EQ(when.tm_sec, second);
}

bool IsUntouched(const tm& when) {
  const tm before = Untouched();
  return memcmp(&when, &before, sizeof when) == 0;
}

class LogDatesTest : public testing::Test {
 protected:
  void SetUp() override { UseZone("UTC0"); }
  void TearDown() override { UseZone("UTC0"); }

  tm when = Untouched();
};

using SetDateFormat = LogDatesTest;

TEST_F(SetDateFormat, DefaultIsMonthDayYear) {
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderMdy);
}

TEST_F(SetDateFormat, TakesEachNameInAnyCase) {
  const char* const names[] = {"DMY", "dym", "MdY", "MYD", "ydm", "ymd"};
  for (int order = 1; order <= 6; ++order) {
    SCOPED_TRACE(names[order - 1]);
    SuperLog_SetDateFormat(names[order - 1], 2);
    EXPECT_EQ(SuperLog_GetDateFormat(), order);
  }
}

TEST_F(SetDateFormat, UnknownNameChangesNeitherFormatNorLevel) {
  SuperLog_SetDateFormat("DMY", 2);
  for (const char* name : {"", "DM", "DMYY", "YYY", " YMD", "6"}) {
    SuperLog_SetDateFormat(name, 4);
  }
  SuperLog_SetDateFormat(nullptr, 4);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderDmy);
  SuperLog_SetDateFormat("YMD", 2);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderYmd);
}

TEST_F(SetDateFormat, WeakerSourceIsIgnoredEqualOneIsTaken) {
  SuperLog_SetDateFormat("DMY", 3);
  SuperLog_SetDateFormat("YMD", 2);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderDmy);
  SuperLog_SetDateFormat("YDM", 3);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderYdm);
  SuperLog_SetDateFormat("YMD", 0);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderYdm);
}

TEST_F(SetDateFormat, SourceBelowTheDefaultsIsIgnored) {
  SuperLog_SetDateFormat("YMD", 0);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderMdy);
}

using SetFixGmt = LogDatesTest;

TEST_F(SetFixGmt, AnyNumberButZeroTurnsItOn) {
  for (const char* text : {"1", "-1", " 7x"}) {
    SuperLog_SetFixGmt("0", 2);
    EXPECT_FALSE(mFixGmt);
    SuperLog_SetFixGmt(text, 2);
    EXPECT_TRUE(mFixGmt) << text;
  }
  for (const char* text : {"0", "", "yes"}) {
    SuperLog_SetFixGmt("1", 2);
    SuperLog_SetFixGmt(text, 2);
    EXPECT_FALSE(mFixGmt) << text;
  }
}

TEST_F(SetFixGmt, WeakerSourceAndAbsentTextAreIgnored) {
  SuperLog_SetFixGmt("1", 3);
  SuperLog_SetFixGmt("0", 2);
  SuperLog_SetFixGmt(nullptr, 4);
  EXPECT_TRUE(mFixGmt);
  SuperLog_SetFixGmt("0", 3);
  EXPECT_FALSE(mFixGmt);
}

TEST_F(SetFixGmt, OffsetIsThatOfStandardTimeEastOfGmt) {
  const struct {
    const char* zone;
    time_t offset;
  } rows[] = {{"UTC0", 0},
              {"CET-1CEST,M3.5.0,M10.5.0/3", 3600},
              {"EST5EDT,M3.2.0,M11.1.0", -18000},
              {"IST-5:30", 19800},
              {"NST3:30NDT,M3.2.0,M11.1.0", -12600},
              {"<+12>-12<+13>,M9.5.0,M4.1.0", 43200}};  // summer time in January
  for (const auto& row : rows) {
    SCOPED_TRACE(row.zone);
    setenv("TZ", row.zone, 1);
    ResetLogDates();
    SuperLog_SetFixGmt("1", 2);
    InitLogDates();
    EXPECT_EQ(mGmtOffset, row.offset);
  }
}

TEST_F(SetFixGmt, OffsetIsZeroWhenOff) {
  UseZone("IST-5:30");
  EXPECT_EQ(mGmtOffset, 0);
}

TEST_F(SetFixGmt, NothingIsShiftedWhereZonesCount) {
  mLogLimits = kModernLimits;
  SuperLog_SetFixGmt("1", 2);
  setenv("TZ", "IST-5:30", 1);
  InitLogDates();
  EXPECT_EQ(mGmtOffset, 0);
  mLogLimits = kClassicLimits;
}

using GuessDateBestEffortTest = LogDatesTest;

TEST_F(GuessDateBestEffortTest, FollowsTheConfiguredOrder) {
  const struct {
    const char* order;
    int numbers[3];
    int year, month, day;
  } rows[] = {
      {"MDY", {3, 4, 99}, 1999, 3, 4},   {"DMY", {3, 4, 99}, 1999, 4, 3},  {"DYM", {3, 4, 5}, 2004, 5, 3},
      {"MYD", {3, 4, 5}, 2004, 3, 5},    {"YDM", {3, 4, 5}, 2003, 5, 4},   {"YMD", {3, 4, 5}, 2003, 4, 5},
      {"MDY", {3, 4, 1999}, 1999, 3, 4}, {"MDY", {3, 4, 138}, 2038, 3, 4}, {"MDY", {3, 4, 0}, 2000, 3, 4}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.order);
    SuperLog_SetDateFormat(row.order, 2);
    GuessDateBestEffort(row.numbers[0], row.numbers[1], row.numbers[2], when);
    ExpectDate(when, row.year, row.month, row.day);
  }
}

TEST_F(GuessDateBestEffortTest, FirstNumberAbove89IsTheYear) {
  GuessDateBestEffort(99, 12, 31, when);
  ExpectDate(when, 1999, 12, 31);
  GuessDateBestEffort(90, 12, 31, when);
  ExpectDate(when, 1990, 12, 31);
  GuessDateBestEffort(89, 12, 31, when);
  ExpectDate(when, 2031, 89, 12);
}

// deliberate: 31 is taken for a month although only 12 can be one
TEST_F(GuessDateBestEffortTest, DeliberateThirdNumberFrom90OnMakesItMonthDayYear) {
  SuperLog_SetDateFormat("YMD", 2);
  GuessDateBestEffort(31, 12, 99, when);
  ExpectDate(when, 1999, 31, 12);
  GuessDateBestEffort(31, 12, 90, when);
  ExpectDate(when, 1990, 31, 12);
  GuessDateBestEffort(31, 12, 89, when);
  ExpectDate(when, 2031, 12, 89);
}

// deliberate: the second test asks for the setting, not for the first's result
TEST_F(GuessDateBestEffortTest, DeliberateThirdNumberWinsOverTheFirst) {
  SuperLog_SetDateFormat("YMD", 2);
  GuessDateBestEffort(99, 12, 95, when);
  ExpectDate(when, 1995, 99, 12);
  SuperLog_SetDateFormat("DMY", 2);
  GuessDateBestEffort(99, 12, 95, when);
  ExpectDate(when, 1999, 12, 95);
}

TEST_F(GuessDateBestEffortTest, ExtremeNumbersWrap) {
  SuperLog_SetDateFormat("DMY", 2);
  GuessDateBestEffort(1, INT32_MIN, 2001, when);
  EXPECT_EQ(when.tm_mon, INT32_MAX);
}

using ParseEpochTest = LogDatesTest;

TEST_F(ParseEpochTest, FillsAllFieldsInsideTheSpan) {
  ParseEpoch("971185536", when);
  ExpectDate(when, 2000, 10, 10);
  ExpectTime(when, 13, 45, 36);
  EXPECT_EQ(when.tm_wday, 2);
  EXPECT_EQ(when.tm_yday, 283);
  EXPECT_EQ(when.tm_isdst, 0);
}

TEST_F(ParseEpochTest, KeepsTheDaylightSavingFlag) {
  UseZone("CET-1CEST,M3.5.0,M10.5.0/3");
  ParseEpoch("972777600", when);  // the first of two 02:00 of that night
  ExpectTime(when, 2, 0, 0);
  EXPECT_EQ(when.tm_isdst, 1);
  ParseEpoch("972781200", when);
  ExpectTime(when, 2, 0, 0);
  EXPECT_EQ(when.tm_isdst, 0);
}

// deliberate: 1904 to 1970 are 2,082,844,800 seconds, 3,133,696 fewer
TEST_F(ParseEpochTest, DeliberateShiftOfTimesCountedFrom1904) {
  ParseEpoch("3054030336", when);  // 971185536 seconds after 1970
  ExpectDate(when, 2000, 9, 4);
  ExpectTime(when, 7, 17, 20);
}

TEST_F(ParseEpochTest, BoundsOfTheSpanAreInclusive) {
  ParseEpoch("1577836800", when);
  ExpectDate(when, 2020, 1, 1);
  ParseEpoch("1577836801", when);  // shifted it would be out of the span as well
  ExpectDate(when, 2020, 1, 1);
  ExpectTime(when, 0, 0, 1);
  ParseEpoch("2100000000", when);  // shifted the other way it would be in it
  ExpectDate(when, 2036, 7, 18);
  ParseEpoch("0", when);
  ExpectDate(when, 1970, 1, 1);
}

TEST_F(ParseEpochTest, ZeroStaysZeroOutsideTheSpan) {
  UseZone("EST5EDT,M3.2.0,M11.1.0");
  ParseEpoch("0", when);
  ExpectDate(when, 1969, 12, 31);
  ExpectTime(when, 19, 0, 0);
}

TEST_F(ParseEpochTest, NegativeTimesWrapBackIntoTheSpan) {
  ParseEpoch("2147483648", when);  // -2^31: 2^31 - 2085978496 after 1970
  ExpectDate(when, 1971, 12, 13);
  ParseEpoch("3663815296", when);  // ends in the last second of the span
  ExpectDate(when, 2020, 1, 1);
  ParseEpoch("3663815297", when);  // does not: taken as it is, before 1970
  ExpectDate(when, 1950, 1, 1);
}

TEST_F(ParseEpochTest, BadTextReadsZeroAndHugeNumbersWrap) {
  for (const char* text : {"", "x", "abc123"}) {
    ParseEpoch(text, when);
    ExpectDate(when, 1970, 1, 1);
  }
  ParseEpoch("4295938632", when);  // 2^32 + 971336
  ExpectDate(when, 1970, 1, 12);
  ParseEpoch("99999999999999999999999999", when);
  EXPECT_EQ(when.tm_isdst, 0);
}

using ParseDateTime1Test = LogDatesTest;

TEST_F(ParseDateTime1Test, ReadsTheCommonLogForm) {
  ParseDateTime1("10/Oct/2000:13:55:36 -0700", when);
  ExpectDate(when, 2000, 10, 10);
  ExpectTime(when, 13, 55, 36);
}

// Minutes east of Greenwich; 7 where the text has no zone.
static int ZoneOf(const char* text) {
  tm when = {};
  ParseDateTime1(text, when);
  ExpectTime(when, 13, 55, 36);
  return when.tm_zone == nullptr ? 7 : static_cast<int>(when.tm_gmtoff / 60);
}

TEST_F(ParseDateTime1Test, TakesTheZoneWhereZonesCount) {
  mLogLimits = kModernLimits;
  EXPECT_EQ(ZoneOf("10/Oct/2000:13:55:36 -0700"), -420);
  EXPECT_EQ(ZoneOf("10/Oct/2000:13:55:36 +0530"), 330);
  EXPECT_EQ(ZoneOf("10/Oct/2000:13:55:36+05:30"), 330);
  EXPECT_EQ(ZoneOf("10/Oct/2000:13:55:36.123 +0000"), 0);
  EXPECT_EQ(ZoneOf("10/Oct/2000:13:55:36 GMT"), 0);
  for (const char* none : {"10/Oct/2000:13:55:36", "10/Oct/2000:13:55:36 CET", "10/Oct/2000:13:55:36 +9900",
                           "10/Oct/2000:13:55:36.", "10/Oct/2000:13:55:36 x+0100"}) {
    EXPECT_EQ(ZoneOf(none), 7) << none;
  }
  mLogLimits = kClassicLimits;
  EXPECT_EQ(ZoneOf("10/Oct/2000:13:55:36 -0700"), 7);
}

TEST_F(ParseDateTime1Test, KnowsAllMonths) {
  const char* const names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int month = 0; month < 12; ++month) {
    char text[40];
    snprintf(text, sizeof text, "1/%s/1999:0:0:0", names[month]);
    ParseDateTime1(text, when);
    ExpectDate(when, 1999, month + 1, 1);
  }
}

TEST_F(ParseDateTime1Test, TwoDigitYearIsKeptAsItIs) {
  ParseDateTime1("01/Jan/00:00:00:00", when);
  EXPECT_EQ(when.tm_year, 0);
  ParseDateTime1("01/Jan/1899:00:00:00", when);
  EXPECT_EQ(when.tm_year, 1899);
  ParseDateTime1("01/Jan/1900:00:00:00", when);
  EXPECT_EQ(when.tm_year, 0);
}

TEST_F(ParseDateTime1Test, SeparatorBehindTheMonthIsNotLookedAt) {
  ParseDateTime1("01/Jan-2000:01:02:03", when);
  ExpectDate(when, 2000, 1, 1);
}

TEST_F(ParseDateTime1Test, SecondsEndAtTheFirstNonDigit) {
  ParseDateTime1("01/Jan/2000:01:02:3x4", when);
  ExpectTime(when, 1, 2, 3);
  ParseDateTime1("01/Jan/2000:01:02:", when);
  ExpectTime(when, 1, 2, 0);
}

TEST_F(ParseDateTime1Test, EmptyRunsOfDigitsReadZero) {
  ParseDateTime1("/Jan/:::", when);
  ExpectDate(when, 1900, 1, 0);
  ExpectTime(when, 0, 0, 0);
}

TEST_F(ParseDateTime1Test, AnythingElseLeavesAllUntouched) {
  for (const char* text : {"",
                           "1",
                           "10",
                           "10/",
                           "10/O",
                           "10/Oct",
                           "10/Oct/",
                           "10/Oct/2000",
                           "10/Oct/2000:13",
                           "10/Oct/2000:13:55",
                           "10-Oct-2000:13:55:36",
                           "x/Oct/2000:13:55:36",
                           "10/oct/2000:13:55:36",
                           "10/OCT/2000:13:55:36",
                           "10/Okt/2000:13:55:36",
                           "10/Oct/2000 13:55:36",
                           "10/Oct/20x0:13:55:36",
                           "10/Oct/2000:1x:55:36",
                           "10/Oct/2000:13-55:36",
                           "10/Oct/2000:13:5 :36",
                           " 10/Oct/2000:13:55:36",
                           "-1/Oct/2000:13:55:36"}) {
    when = Untouched();
    ParseDateTime1(text, when);
    EXPECT_TRUE(IsUntouched(when)) << text;
  }
}

TEST_F(ParseDateTime1Test, NumbersBeyond32BitsWrap) {
  ParseDateTime1("4294967297/Jan/4294969296:0:0:99999999999999999999", when);
  ExpectDate(when, 2000, 1, 1);
}

// Texts with much in common, each read after the one before.
TEST_F(ParseDateTime1Test, NextDatesAreReadAsSingleOnes) {
  const std::string_view kParts[][6] = {
      {"10", "11", "1", "1x", "", "010"},          {"/Oct/", "/Nov/", "/Oct-", "/Okt/", "/OCT/", "-Oct/"},
      {"2000", "1999", "20x0", "99", "02000", ""}, {":13:", ":14:", ":3:", ":1x:", ":13-", ":013:"},
      {"55", "07", "5", "5x", "99", "055"},        {":36", ":00", "-36", ":3", ":3x", ":036"},
      {" -0700", "", "x", "7", ":", "	"}};
  std::mt19937 random(1);
  for (int i = 0; i < 200000; ++i) {
    std::string text;
    for (const auto& parts : kParts) {
      const unsigned choice = random() % 64;
      text += parts[choice < 6 ? choice : choice % 8 == 0];
    }
    tm plain = Untouched();
    ParseDateTime1(text.c_str(), plain);
    when = Untouched();
    ParseNextDateTime1(text, when);
    ASSERT_EQ(std::tie(when.tm_year, when.tm_mon, when.tm_mday, when.tm_hour, when.tm_min, when.tm_sec),
              std::tie(plain.tm_year, plain.tm_mon, plain.tm_mday, plain.tm_hour, plain.tm_min, plain.tm_sec))
        << text;
  }
}

// The same for days in digits and times of six digits, in every order and in both widths of years.
class NextDatesTest : public ParseDateTime1Test, public testing::WithParamInterface<DateOrder> {
 protected:
  using Parser = void (*)(const char* text, tm& when);
  using NextParser = void (*)(std::string_view text, tm& when);

  void ExpectSame(const std::string& text, Parser parse, NextParser parse_next) {
    tm plain = Untouched();
    parse(text.c_str(), plain);
    when = Untouched();
    parse_next(text, when);
    ASSERT_EQ(std::tie(when.tm_year, when.tm_mon, when.tm_mday, when.tm_hour, when.tm_min, when.tm_sec),
              std::tie(plain.tm_year, plain.tm_mon, plain.tm_mday, plain.tm_hour, plain.tm_min, plain.tm_sec))
        << text;
  }

  std::string Some(std::initializer_list<const char*> parts) {
    const size_t choice = random_() % 32;
    return parts.begin()[choice < parts.size() ? choice : 0];
  }

  std::string Day() {
    return Some({"03", "04", "2000", "3", "", "0x"}) + Some({"/", "-", "x", "", "0"}) +
           Some({"05", "06", "5", ""}) + Some({"/", "-", " ", ""}) +
           Some({"2000", "3999", "1999", "00", "99", "02000", ""});
  }
  std::string Time() {
    return Some({"13", "14", "1", "1x"}) + Some({":", ".", "0", ""}) + Some({"06", "07", "6"}) +
           Some({":", "-", "1", ""}) + Some({"11", "12", "1", "111", ""});
  }

  void TearDown() override {
    mLogLimits = kClassicLimits;
    ParseDateTime1Test::TearDown();
  }

 private:
  std::mt19937 random_{7};
};

TEST_P(NextDatesTest, AreReadAsSingleOnes) {
  for (int i = 0; i < 60000; ++i) {
    mDateFormat = i / 100 % 2 == 0 ? GetParam() : kOrderMdy;
    mLogLimits = i / 70 % 2 == 0 ? kClassicLimits : kModernLimits;
    const std::string day = Day();
    ExpectSame(day, ParseDate3, ParseNextDate3);
    ExpectSame(day + Some({" ", "x", "", "  "}) + Time(), ParseDateTime4, ParseNextDateTime4);
    ExpectSame(Time(), ParseTime9, ParseNextTime9);
  }
}

TEST_P(NextDatesTest, AreNotTakenOverFromYearsOfAnotherWidth) {
  mDateFormat = GetParam();
  for (const Limits& limits : {kClassicLimits, kModernLimits, kClassicLimits}) {
    mLogLimits = limits;
    ExpectSame("03/05/3999 13:06:11", ParseDateTime4, ParseNextDateTime4);
  }
}

INSTANTIATE_TEST_SUITE_P(Orders, NextDatesTest,
                         testing::Values(kOrderDmy, kOrderDym, kOrderMdy, kOrderMyd, kOrderYdm, kOrderYmd));

using ParseDate2Test = LogDatesTest;

TEST_F(ParseDate2Test, ReadsThreeNumbersWithAnySeparators) {
  for (const char* text : {"03/04/99", "03-04-99", "3.4.99", "3 4x99", "3/4/99 13:55"}) {
    when = Untouched();
    ParseDate2(text, when);
    ExpectDate(when, 1999, 3, 4);
    ExpectTime(when, 77, 77, 77);
  }
}

TEST_F(ParseDate2Test, MissingNumbersReadZero) {
  ParseDate2("3/4", when);
  ExpectDate(when, 2000, 3, 4);
  ParseDate2("", when);
  ExpectDate(when, 2000, 0, 0);
  ParseDate2("3//99", when);
  ExpectDate(when, 1999, 3, 0);
}

using ParseDate3Test = LogDatesTest;

TEST_F(ParseDate3Test, ReadsYearMonthDay) {
  ParseDate3("2000-10-11", when);
  ExpectDate(when, 2000, 10, 11);
  ParseDate3("  99/1/2", when);
  ExpectDate(when, 1999, 1, 2);
}

TEST_F(ParseDate3Test, OrderIsNotThatOfTheSetting) {
  SuperLog_SetDateFormat("DMY", 2);
  ParseDate3("01-02-03", when);
  ExpectDate(when, 1901, 2, 3);
}

using ParseDateTime4Test = LogDatesTest;

TEST_F(ParseDateTime4Test, ReadsDateAndTime) {
  ParseDateTime4("03/04/99 13:55:36", when);
  ExpectDate(when, 1999, 3, 4);
  ExpectTime(when, 13, 55, 36);
  ParseDateTime4("03/04/99   1:2", when);
  ExpectTime(when, 1, 2, 0);
}

TEST_F(ParseDateTime4Test, WithoutRemainingTextTheTimeStays) {
  for (const char* text : {"03/04/99", "03/04/99 ", "03/04"}) {
    when = Untouched();
    ParseDateTime4(text, when);
    ExpectTime(when, 77, 77, 77);
    EXPECT_EQ(when.tm_mon, 2);
  }
}

using ParseDate5Test = LogDatesTest;

TEST_F(ParseDate5Test, ReadsDayNameForm) {
  ParseDate5("Sun, 5 Mar 2000", when);
  ExpectDate(when, 2000, 3, 5);
  ExpectTime(when, 77, 77, 77);
  ParseDate5("Fri, 31 dEC 99", when);
  ExpectDate(when, 1999, 12, 31);
  ParseDate5("Fri, 31    Dec 01", when);
  ExpectDate(when, 2001, 12, 31);
}

TEST_F(ParseDate5Test, UnknownMonthIsJanuary) {
  ParseDate5("Sun, 5 Mrz 2000", when);
  ExpectDate(when, 2000, 1, 5);
}

TEST_F(ParseDate5Test, BlankAtTheSixthCharacterReadsDayZero) {
  ParseDate5("Sun,  Mar 2000", when);
  ExpectDate(when, 2000, 3, 0);
}

TEST_F(ParseDate5Test, ShortTextsReadZeros) {
  for (const char* text : {"Sun,", "Sun, ", "Sun, 5", "Sun, 5 ", "Sun, 5 M", "Sun, 5 Mar", "Sun, 5 Mar "}) {
    SCOPED_TRACE(text);
    ParseDate5(text, when);
    EXPECT_EQ(when.tm_mday, strlen(text) > 5 ? 5 : 0);
    EXPECT_EQ(when.tm_mon, strlen(text) > 9 ? 2 : 0);
    EXPECT_EQ(when.tm_year, 100);
  }
}

TEST_F(ParseDate5Test, LettersWithoutCommaAtFourthPlaceLeaveAllUntouched) {
  for (const char* text : {"S", "Sun", "Sun 5 Mar 2000", "Sunday, 5 Mar 2000", "Su, 5 Mar 2000"}) {
    when = Untouched();
    ParseDate5(text, when);
    EXPECT_TRUE(IsUntouched(when)) << text;
  }
}

TEST_F(ParseDate5Test, OtherTextsAreThreeNumbers) {
  ParseDate5("03/04/99", when);
  ExpectDate(when, 1999, 3, 4);
  ParseDate5("", when);
  ExpectDate(when, 2000, 0, 0);
}

using ParseTime9Test = LogDatesTest;

TEST_F(ParseTime9Test, ReadsTimes) {
  ParseTime9("13:55:36", when);
  ExpectTime(when, 13, 55, 36);
  ParseTime9("1:2:3 PM", when);
  ExpectTime(when, 1, 2, 3);
  ParseTime9("23:59", when);
  ExpectTime(when, 23, 59, 0);
  ParseTime9(":", when);
  ExpectTime(when, 0, 0, 0);
  ParseTime9("12:", when);
  ExpectTime(when, 12, 0, 0);
  EXPECT_EQ(when.tm_mday, 77);
}

TEST_F(ParseTime9Test, DoesNotLookPastTheEndOfTheField) {
  const char field_and_more[] = "23:59\0:42";
  ParseTime9(field_and_more, when);
  ExpectTime(when, 23, 59, 0);
}

TEST_F(ParseTime9Test, AnythingElseLeavesAllUntouched) {
  for (const char* text : {"", "13", "13.55", "1x:55", "13:55.36", "13:55 36", " 13:55"}) {
    when = Untouched();
    ParseTime9(text, when);
    EXPECT_TRUE(IsUntouched(when)) << text;
  }
}

TEST(ParseDateOrTimeTriplet, ReadsUpToThreeRunsOfDigits) {
  const struct {
    const char* text;
    int numbers[3];
  } rows[] = {{"2000-10-11", {100, 10, 11}},
              {"  1899:1900:1901x9", {1899, 0, 1}},
              {"", {0, 0, 0}},
              {"7", {7, 0, 0}},
              {"7::8", {7, 0, 8}},
              {"x7y8", {0, 7, 8}},
              {"\t7 8", {0, 7, 8}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    int numbers[3] = {-1, -1, -1};
    ParseDateOrTimeTriplet(row.text, numbers);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(numbers[i], row.numbers[i]);
    }
  }
}

TEST(ReadThreeNumbers, StopsBehindTheThirdSeparator) {
  int numbers[3];
  EXPECT_STREQ(ReadThreeNumbers("1/2/3 rest", numbers), "rest");
  EXPECT_STREQ(ReadThreeNumbers("1/2/3", numbers), "");
  EXPECT_STREQ(ReadThreeNumbers("1", numbers), "");
}

}  // namespace
