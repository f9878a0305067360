#include "dates/years.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "dates/clock.h"

namespace {

constexpr int kFallback = -12345;

class YearsTest : public testing::Test {
 protected:
  void SetUp() override { SetZone("UTC0"); }
  void TearDown() override { SetCurrentTimeForTest(-1); }

  static void SetZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  // Noon of a day, in UTC.
  static void SetToday(int year, int month, int day, int hour = 12) {
    tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    SetCurrentTimeForTest(timegm(&parts));
  }

  static std::string Guess(int current_year, const char* two_digits) {
    SetToday(current_year, 7, 1);
    char out[5] = "....";
    GuessYearFromTwoDigits(two_digits, out);
    return out;
  }

  static std::string Sortable(const char* log_date) {
    char out[9] = "........";
    ConvertLogDateTimeToSortableDate(log_date, out);
    return out;
  }

  static void ExpectDate(const CalendarDate& date, int month, int day, int year) {
    EXPECT_EQ(date.month, month);
    EXPECT_EQ(date.day, day);
    EXPECT_EQ(date.year, year);
  }
};

using GuessYearFromTwoDigitsTest = YearsTest;
using ConvertLogDateTest = YearsTest;
using TodayTest = YearsTest;
using ParseDateTest = YearsTest;

}  // namespace

TEST(StrToYear4, MapsEverySpan) {
  const struct {
    const char* text;
    int year;
  } rows[] = {
      {"0", 2000},   {"00", 2000},  {"38", 2038},   {"39", 1939},   {"99", 1999},
      {"100", 2000}, {"138", 2038}, {"1900", 1900}, {"1999", 1999}, {"2038", 2038},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(StrToYear4(row.text, kFallback), row.year);
  }
}

TEST(StrToYear4, OutOfRangeYieldsFallback) {
  for (const char* text : {"-5", "-1", "139", "1850", "1899", "2039", "99999", "4294967395",
                           "18446744073709551715", "-99999999999999999999"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(StrToYear4(text, kFallback), kFallback);
  }
}

TEST(StrToYear4, LastYearIsTheCallers) {
  EXPECT_EQ(StrToYear4("2039", kFallback, 9999), 2039);
  EXPECT_EQ(StrToYear4("9999", kFallback, 9999), 9999);
  for (const char* text : {"139", "1899", "10000", "4294969335"}) {
    EXPECT_EQ(StrToYear4(text, kFallback, 9999), kFallback) << text;
  }
  EXPECT_EQ(StrToYear4("38", kFallback, 9999), 2038) << "short years stay as they are";
  EXPECT_EQ(StrToYear4("39", kFallback, 9999), 1939);
}

TEST(StrToYear4, NoTextYieldsFallback) {
  EXPECT_EQ(StrToYear4("", kFallback), kFallback);
  EXPECT_EQ(StrToYear4(nullptr, kFallback), kFallback);
}

TEST(StrToYear4, ReadsTheLeadingNumber) {
  EXPECT_EQ(StrToYear4("12abc", kFallback), 2012);
  EXPECT_EQ(StrToYear4(" +99", kFallback), 1999);
  EXPECT_EQ(StrToYear4("abc", kFallback), 2000) << "a non-number reads 0";
}

TEST(IntTotm_year, MapsEverySpan) {
  const struct {
    int year;
    int tm_year;
  } rows[] = {{0, 100}, {38, 138}, {39, 39}, {99, 99}, {138, 138}, {1900, 0}, {1999, 99}, {2038, 138}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.year);
    EXPECT_EQ(IntTotm_year(row.year), row.tm_year);
  }
}

TEST(IntTotm_year, OutOfRangeComesBackUnchanged) {
  for (int year : {-1, -2000, 139, 150, 1899, 2039, 100000}) {
    EXPECT_EQ(IntTotm_year(year), year);
  }
}

TEST_F(ParseDateTest, SplitsBothDates) {
  Settings settings{};
  CopyText(settings.start_date, "12311999");
  CopyText(settings.end_date, "01012000");
  CalendarDate start{};
  CalendarDate end{};
  ParseDate(start, end, settings);
  ExpectDate(start, 12, 31, 1999);
  ExpectDate(end, 1, 1, 2000);
}

TEST_F(ParseDateTest, TakesWhatIsWritten) {
  const struct {
    const char* text;
    int month, day, year;
  } rows[] = {
      {"01022001", 1, 2, 2001}, {"010201", 1, 2, 1},       {"1900", 19, 0, 0},
      {"1x2y1999", 1, 2, 1999}, {"abcdefgh", 0, 0, 0},     {"", 0, 0, 0},
      {"7", 7, 0, 0},           {"012", 1, 2, 0},          {"99991999", 99, 99, 1999},
      {"-1-2-3", -1, -2, -3},   {"0102 77rest", 1, 2, 77},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    Settings settings;
    memset(settings.start_date, '8', sizeof settings.start_date);  // what lies behind the text must not count
    CopyText(settings.start_date, row.text);
    CopyText(settings.end_date, "");
    CalendarDate start{};
    CalendarDate end{};
    ParseDate(start, end, settings);
    ExpectDate(start, row.month, row.day, row.year);
    ExpectDate(end, 0, 0, 0);
  }
}

TEST_F(GuessYearFromTwoDigitsTest, DeliberatelyRollsForwardOnly) {
  const struct {
    int current_year;
    const char* two_digits;
    const char* year;
  } rows[] = {
      {1995, "05", "2005"}, {1995, "19", "2019"}, {1995, "20", "1920"}, {1995, "94", "1994"},
      {1999, "05", "2005"}, {1979, "05", "1905"}, {1980, "05", "2005"}, {2000, "98", "2098"},
      {2026, "98", "2098"}, {2026, "05", "2005"}, {2079, "19", "2019"}, {2080, "19", "2119"},
      {2095, "05", "2105"}, {2095, "20", "2020"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.two_digits << " read in " << row.current_year);
    EXPECT_EQ(Guess(row.current_year, row.two_digits), row.year);
  }
}

TEST_F(GuessYearFromTwoDigitsTest, WritesFourCharactersAndNoTerminator) {
  SetToday(2026, 7, 1);
  char out[6] = ".....";
  GuessYearFromTwoDigits("05", out);
  EXPECT_STREQ(out, "2005.");
}

TEST_F(GuessYearFromTwoDigitsTest, CenturyIsThatOfTheLocalClock) {
  SetToday(1999, 12, 31, 23);
  SetZone("EAST-2");  // already the year 2000 there
  char out[5] = "....";
  GuessYearFromTwoDigits("98", out);
  EXPECT_STREQ(out, "2098");
}

TEST_F(GuessYearFromTwoDigitsTest, CenturyIsThe20thWhereTheClockShowsNoDate) {
  SetCurrentTimeForTest(INT64_MAX);
  char out[5] = "....";
  GuessYearFromTwoDigits("98", out);
  EXPECT_STREQ(out, "1998");
}

TEST_F(ConvertLogDateTest, FourDigitYear) {
  EXPECT_EQ(Sortable("05/Mar/1999:10:00:00"), "19990305");
  EXPECT_EQ(Sortable("31/Dec/2001:"), "20011231");
}

TEST_F(ConvertLogDateTest, TwoDigitYearTakesTheClocksCentury) {
  SetToday(2026, 7, 1);
  EXPECT_EQ(Sortable("05/Mar/99:10:00:00"), "20990305");
}

TEST_F(ConvertLogDateTest, KnowsEveryMonth) {
  const char* names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int month = 0; month < 12; ++month) {
    SCOPED_TRACE(names[month]);
    char expected[40];
    snprintf(expected, sizeof expected, "1999%02d05", month + 1);
    EXPECT_EQ(Sortable((std::string("05/") + names[month] + "/1999:10").c_str()), expected);
  }
}

TEST_F(ConvertLogDateTest, MalformedDateWritesEmptyText) {
  for (const char* text : {"05/mar/1999:10:00:00", "05/Mar/1999 10:00:00", "05/Mrz/1999:10:00:00",
                           "05/anF/1999:1", "05/Mar/1999", "05/Mar/9", "05/Mar", "05", "", "05/Mar/199:10"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Sortable(text), "");
  }
}

TEST_F(ConvertLogDateTest, DayIsCopiedAsWritten) {
  EXPECT_EQ(Sortable("xy/Mar/1999:10:00:00"), "199903xy");
}

TEST_F(TodayTest, ComparesWithTheLocalDate) {
  SetToday(2005, 3, 9);
  EXPECT_EQ(today("050309"), 1);
  EXPECT_EQ(today("050310"), 0);
  EXPECT_EQ(today("20050309"), 0);
  EXPECT_EQ(today("0503090"), 0);
  EXPECT_EQ(today(""), 0);
}

TEST_F(TodayTest, FollowsTheTimeZone) {
  SetToday(2005, 3, 9, 23);
  SetZone("EAST-2");
  EXPECT_EQ(today("050310"), 1);
  EXPECT_EQ(today("050309"), 0);
}

TEST_F(TodayTest, IsNoDayWhereTheClockShowsNoDate) {
  SetCurrentTimeForTest(INT64_MAX);
  EXPECT_EQ(today("000101"), 0);
  EXPECT_EQ(today("700101"), 0);
}
