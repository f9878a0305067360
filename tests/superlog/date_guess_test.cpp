#include "superlog/date_guess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "superlog/byte_scan.h"
#include "superlog/log_dates.h"
#include "superlog/log_limits.h"
#include "superlog/march_logs.h"
#include "superlog/superlog.h"

namespace {

constexpr time_t kNewYear2000 = 946684800;
constexpr time_t kEpochOf1904 = 2082844800;  // seconds from 1904 to 1970

// Fields need not be normalised.
time_t Utc(int year, int month, int day) {
  tm when = {};
  when.tm_year = year - 1900;
  when.tm_mon = month - 1;
  when.tm_mday = day;
  return timegm(&when);
}

// The time of a line in a buffer of just the length that is asked for.
time_t Guess(std::string_view line) {
  std::vector<char> buffer(line.begin(), line.end());
  buffer.resize(line.size() + 1 + kScanOverread);
  return GuessDateTimeFromText(buffer.data());
}

class DateGuessTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    ResetLogDates();
    InitLogDates();
  }
  void TearDown() override { mLogLimits = kClassicLimits; }
};

TEST_F(DateGuessTest, CommonLogLine) {
  EXPECT_EQ(Guess("192.0.2.7 - - [10/Oct/2000:13:55:36 -0700] \"GET /a.html HTTP/1.0\" 200 23"), 971186136);
  EXPECT_EQ(Guess("192.0.2.7 - - [10/Oct/2000:13:55:36 +0200] \"GET / HTTP/1.0\" 200 23"), 971186136);
  EXPECT_EQ(Guess("192.0.2.7 - - [10/Oct/2000:13:55:36 0200] \"GET / HTTP/1.0\" 200 23"), 971186136);
}

TEST_F(DateGuessTest, CommonLogDateWithoutZoneIsNone) {
  EXPECT_EQ(Guess("192.0.2.7 - - [10/Oct/2000:13:55:36] x"), 0);
  EXPECT_EQ(Guess("192.0.2.7 - - [10/Oct/2000:13:55:36 GMT] x"), 0);
}

TEST_F(DateGuessTest, IisLine) {
  EXPECT_EQ(
      Guess("192.0.2.7, -, 01/02/00, 00:00:10, W3SVC1, WEB, 192.0.2.1, 1, 2, 3, 200, 0, GET, /a.html, -,"),
      kNewYear2000 + kDay + 10);
}

TEST_F(DateGuessTest, FifteenCommasMakeACommaLine) {
  EXPECT_EQ(Guess("a\t1999-12-31\t" + std::string(13, ',') + ", 2000-01-01, "), kNewYear2000);
  EXPECT_EQ(Guess("a\t1999-12-31\t" + std::string(12, ',') + ", 2000-01-01, "), kNewYear2000 - kDay);
}

TEST_F(DateGuessTest, W3cLine) {
  EXPECT_EQ(Guess("2000-01-02 00:00:10 192.0.2.7 GET /a.html 200"), kNewYear2000 + kDay + 10);
}

TEST_F(DateGuessTest, WebSiteLine) {
  EXPECT_EQ(Guess("01/02/00 00:00:10\t192.0.2.7\tserver"), kNewYear2000 + kDay + 10);
}

TEST_F(DateGuessTest, WebStarLine) {
  EXPECT_EQ(Guess("Sun, 2 Jan 2000\t00:00:10\tOK\thost.example\t/a"), kNewYear2000 + kDay + 10);
  EXPECT_EQ(Guess("01/02/00\t00:00:10\tOK\thost.example\t:a\t10"), kNewYear2000 + kDay + 10);
}

TEST_F(DateGuessTest, DayNameOfAnotherLengthGivesNoDate) {
  EXPECT_EQ(Guess("Sunday, 2 Jan 2000\tx"), -1);
}

TEST_F(DateGuessTest, EpochBoundsAreInclusive) {
  const struct {
    const char* number;
    bool is_time;
  } rows[] = {{"631151999", false},  {"631152000", true},  {"1577923200", true},  {"1577923201", false},
              {"2713996799", false}, {"2713996800", true}, {"3660768000", true},  {"3660768001", false},
              {"12", false},         {"4926119296", true}, {"-971186136", false}, {"971186136x", false},
              {"x971186136", false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.number);
    EXPECT_EQ(Guess(std::string("host.example ") + row.number + " /a") != 0, row.is_time);
  }
  EXPECT_EQ(Guess("host.example 971186136 /a"), 971186136);
  EXPECT_EQ(Guess("host.example 3054030936 /a"), 971186136 + kEpochOf1904 - 2085978496);
}

TEST_F(DateGuessTest, FirstFullDateEndsTheSearch) {
  EXPECT_EQ(Guess("971186136 631152000 2001-01-01"), 971186136);
  EXPECT_EQ(Guess("[01/Jan/2000:00:00:00 +0000] 971186136"), kNewYear2000);
  EXPECT_EQ(Guess("\"01/01/00 00:00:00\" 971186136"), kNewYear2000);
}

TEST_F(DateGuessTest, FullDateReplacesWhatWasCollected) {
  EXPECT_EQ(Guess("2001-05-05 11:11:11 [01/Jan/2000:00:00:00 +0000]"), kNewYear2000);
}

TEST_F(DateGuessTest, LaterDatesReplaceEarlierOnes) {
  EXPECT_EQ(Guess("1999-05-05 2000-01-01 x"), kNewYear2000);
}

TEST_F(DateGuessTest, LatestTimeOfDayIsKept) {
  EXPECT_EQ(Guess("2000-01-01 00:00:10 00:01:00 00:00:59"), kNewYear2000 + 60);
}

TEST_F(DateGuessTest, TimeAloneIsNoDate) {
  EXPECT_EQ(Guess("00:00:10 a b c"), 0);
  EXPECT_EQ(Guess(""), 0);
  EXPECT_EQ(Guess("no numbers here"), 0);
}

TEST_F(DateGuessTest, TripletRules) {
  const struct {
    const char* triplet;
    const char* order;
    time_t when;
  } rows[] = {
      {"2000-01-02", "MDY", Utc(2000, 1, 2)},   // year first, second below 13
      {"2000-12-05", "MDY", Utc(2000, 12, 5)},  // December is the last month
      {"2000-05-12", "MDY", Utc(2000, 5, 12)},
      {"2000-13-01", "MDY", Utc(2000, 1, 13)},   // year first, second not below 13, third a month
      {"2000-14-13", "MDY", Utc(2000, 14, 13)},  // year first, third above 12
      {"2000-14-12", "MDY", Utc(2000, 12, 14)},
      {"2000-12-12", "DMY", Utc(2000, 12, 12)},
      {"92-12-31", "DMY", Utc(1992, 12, 31)},
      {"91-12-31", "MDY", -1},                 // 91 alone is no year: month 91 of 2031, after 2038
      {"01/02/2000", "MDY", Utc(2000, 1, 2)},  // year elsewhere: order of the setting
      {"01/02/2000", "DMY", Utc(2000, 2, 1)},
      {"01/02/03", "YMD", Utc(2001, 2, 3)},  // no year: equal separators make a date
      {"01x02x03", "DYM", Utc(2002, 3, 1)},  // a letter as separator
      {"01.02/00", "MDY", 0},                // different separators make a time
      {"01:02:03", "MDY", 0},                // ":" makes a time
      {"01:02/03", "MDY", 0},
      {"01/02:03", "MDY", 0},
      {"01:02:2000", "MDY", Utc(2000, 1, 2)},  // but not when a number is a year
      {"01:02/2000", "MDY", Utc(2000, 1, 2)},
      {"01ab02ab00", "MDY", 0},  // one character is a separator; 1, 0, 0 with "a" and "b"
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.triplet) + " " + row.order);
    SuperLog_SetDateFormat(row.order, 2);
    EXPECT_EQ(Guess(std::string("host.example ") + row.triplet + " /a"), row.when);
  }
}

TEST_F(DateGuessTest, TripletWithTwoYearsTakesTheLast) {
  SuperLog_SetDateFormat("DMY", 2);
  EXPECT_EQ(Guess("host.example 1995-01-2000 /a"), Utc(2000, 1, 95));
}

// The third number would make it month, day, year elsewhere.
TEST_F(DateGuessTest, TripletIgnoresTheOverridesOfNumericDates) {
  SuperLog_SetDateFormat("YMD", 2);
  EXPECT_EQ(Guess("host.example 01-02-91 /a"), Utc(2001, 2, 91));
  EXPECT_EQ(Guess("host.example 01-02-1999 /a"), Utc(2001, 2, 99));
}

TEST_F(DateGuessTest, TripletYearFirstIgnoresTheSetting) {
  for (const char* order : {"DMY", "MDY", "YDM", "MYD"}) {
    SuperLog_SetDateFormat(order, 2);
    EXPECT_EQ(Guess("2000-01-02 x"), kNewYear2000 + kDay) << order;
  }
}

TEST_F(DateGuessTest, EmptyFieldsAreSkipped) {
  EXPECT_EQ(Guess("   \"\"  2000-01-02  "), kNewYear2000 + kDay);
}

TEST_F(DateGuessTest, TimesOutsideSigned32BitsAreRejected) {
  EXPECT_EQ(Guess("h - - [01/Jan/00:00:00:00 +0000] x"), -1);  // the year 1900
  EXPECT_EQ(Guess("h - - [19/Jan/2038:03:14:07 +0000] x"), 2147483647);
  EXPECT_EQ(Guess("h - - [19/Jan/2038:03:14:08 +0000] x"), -1);
  EXPECT_EQ(Guess("h - - [13/Dec/1901:20:45:52 +0000] x"), -2147483648LL);
  EXPECT_EQ(Guess("h - - [13/Dec/1901:20:45:51 +0000] x"), -1);
}

TEST_F(DateGuessTest, WideTimesAreTaken) {
  mLogLimits = kModernLimits;
  EXPECT_EQ(Guess("h - - [01/Jan/1900:00:00:00 +0000] \"GET / HTTP/1.0\" 200 1"), Utc(1900, 1, 1));
  EXPECT_EQ(Guess("h - - [01/Jan/2039:00:00:00 +0000] \"GET / HTTP/1.0\" 200 1"), Utc(2039, 1, 1));
  EXPECT_EQ(Guess("2100-03-01 00:00:00 /"), Utc(2100, 3, 1));
  EXPECT_EQ(Guess("4107542400 /"), Utc(2100, 3, 1));
  EXPECT_EQ(Guess("1700000000 /"), 1700000000);
  EXPECT_EQ(Guess("631151999 /"), 0) << "before 1990";
  EXPECT_EQ(Guess("253402300799 /"), 253402300799);
  EXPECT_EQ(Guess("253402300800 /"), 0);
  EXPECT_EQ(Guess("h [01/Foo/2039:00:00:00 +0000]"), -1);
}

TEST_F(DateGuessTest, LargeSizeBehindADateIsNoWideTime) {
  EXPECT_EQ(Guess("2000-03-01 00:00:00 /film 700000000"), 700000000);
  mLogLimits = kModernLimits;
  EXPECT_EQ(Guess("2000-03-01 00:00:00 /film 700000000"), Utc(2000, 3, 1));
  EXPECT_EQ(Guess("2000-03-01 00:00:00 /film 5000000000"), Utc(2000, 3, 1));
}

TEST_F(DateGuessTest, NumberBeforeADateIsNoWideTime) {
  const std::string line = " [05/Mar/2000:10:00:00 +0000] \"GET /x HTTP/1.0\" 200 5";
  EXPECT_EQ(Guess("h - 1200000000" + line), 1200000000);
  mLogLimits = kModernLimits;
  for (const char* login : {"1200000000", "1700000000", "2025550123", "4100000000", "49151123456"}) {
    EXPECT_EQ(Guess("h - " + std::string(login) + line), Utc(2000, 3, 5) + 36000) << login;
  }
  EXPECT_EQ(Guess("1700000000 h 2025550123 /"), 1700000000) << "the first of several";
  EXPECT_EQ(Guess("10:20:30 1700000000 /"), 1700000000) << "a time of day alone is no date";
}

TEST_F(DateGuessTest, FullDateThatCannotBeReadEndsTheSearch) {
  EXPECT_EQ(Guess("h - - [01/Foo/2000:00:00:00 +0000] 971186136"), -1);
}

TEST_F(DateGuessTest, GmtShiftIsNotAdded) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  SuperLog_SetFixGmt("1", 2);
  InitLogDates();
  EXPECT_EQ(Guess("[01/Jan/2000:01:00:00 +0000] x"), kNewYear2000);
}

TEST_F(DateGuessTest, DaylightSavingIsLeftToTheZone) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  InitLogDates();
  EXPECT_EQ(Guess("[01/Jul/2000:02:00:00 +0000] x"), 962409600);
}

TEST_F(DateGuessTest, ModernDateIsThatBeforeTheRequest) {
  for (const char* user : {"-", "a b", "'", "[x", "a [01/Jan/2000:00:00:00 +0000]", R"(\" x)",
                           R"(a [01/Jan/2000:00:00:00 +0000] \"GET)", "a,,,,,,,,,,,,,,,,b"}) {
    const std::string line = std::string("192.0.2.7 - ") + user +
                             " [10/Oct/2000:13:55:36 +0000] \"GET / HTTP/1.0\" 200 1 \"-\" \"x\"";
    mLogLimits = kModernLimits;
    EXPECT_EQ(Guess(line), 971186136) << line;
  }
  mLogLimits = kClassicLimits;
  EXPECT_EQ(Guess("192.0.2.7 - a [01/Jan/2000:00:00:00 +0000] [10/Oct/2000:13:55:36 +0000] \"GET /"),
            kNewYear2000);
}

TEST_F(DateGuessTest, ModernEscapedQuotesHideNothing) {
  mLogLimits = kModernLimits;
  EXPECT_EQ(Guess(R"("a\" [01/Jan/2000:00:00:00 +0000] b" [10/Oct/2000:13:55:36 +0000] x)"), 971186136);
}

TEST_F(DateGuessTest, LongFieldsAndLongLinesAreNoDates) {
  EXPECT_EQ(Guess(std::string(1535, '-')), 0);
  EXPECT_EQ(Guess(std::string("1/1/1") + std::string(1530, '/')), 0);
  EXPECT_EQ(Guess(std::string(1535, '7')), 0);
  EXPECT_EQ(Guess("n/a/n:n:n:n -n"), 0);
}

TEST_F(DateGuessTest, JunkIsHarmless) {
  std::mt19937 random(7);
  const std::string_view alphabet = "0123456789/:- ,\"'[]\tan+.\x80\xFF#";
  for (int i = 0; i < 20000; ++i) {
    std::string line;
    for (auto length = random() % 60; length > 0; --length) {
      line += alphabet[random() % alphabet.size()];
    }
    Guess(line);
  }
}

}  // namespace
