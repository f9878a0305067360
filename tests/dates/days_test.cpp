#include "dates/days.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "dates/local_time.h"

// A second way: the C library's calendar, in universal time.
static CalendarDate DateOf(time_t when) {
  tm parts{};
  gmtime_r(&when, &parts);
  return {parts.tm_mon + 1, parts.tm_mday, parts.tm_year + 1900};
}

static constexpr time_t kDay = 86400;

static std::string Written(const CalendarDate& day) {
  char text[40];
  snprintf(text, sizeof text, "%04d-%02d-%02d", day.year, day.month, day.day);
  return text;
}

static std::string Written(const DayRange& days) {
  return Written(days.first) + " " + Written(days.last);
}

TEST(NumberOfDay, IsThatOfTheCLibraryAndBack) {
  for (int64_t number = -25567; number < 200000; number += 1) {  // from 1900-01-01 on
    const CalendarDate date = DateOf(number * kDay);
    ASSERT_EQ(NumberOfDay(date), number) << Written(date);
    ASSERT_EQ(DayOfNumber(number), date) << number;
    ASSERT_TRUE(IsDay(date)) << Written(date);
  }
}

TEST(IsDay, KnowsTheLengthsOfMonths) {
  for (const CalendarDate& date : {CalendarDate{2, 29, 2000}, {2, 29, 2024}, {12, 31, 9999}, {1, 1, 1900}}) {
    EXPECT_TRUE(IsDay(date)) << Written(date);
  }
  for (const CalendarDate& date : {CalendarDate{2, 29, 1900},
                                   {2, 30, 2000},
                                   {4, 31, 2000},
                                   {13, 1, 2000},
                                   {0, 1, 2000},
                                   {1, 0, 2000},
                                   {1, 32, 2000},
                                   {1, -1, 2000},
                                   {-1, 1, 2000},
                                   {1, 256 + 1, 2000},
                                   {256 + 1, 1, 2000},
                                   {12, 31, 1899},
                                   {1, 1, 10000},
                                   {1, 1, 65536 + 2000},
                                   {1, 1, -2000}}) {
    EXPECT_FALSE(IsDay(date)) << Written(date);
  }
}

TEST(CountDays, BothEndsCount) {
  EXPECT_EQ(CountDays({{2, 28, 2000}, {3, 1, 2000}}), 3);
  EXPECT_EQ(CountDays({{3, 1, 2000}, {3, 1, 2000}}), 1);
  EXPECT_LT(CountDays({{3, 1, 2000}, {2, 28, 2000}}), 1);
}

TEST(RangesAround, ADay) {
  EXPECT_EQ(Written(MonthOf({2, 10, 2000})), "2000-02-01 2000-02-29");
  EXPECT_EQ(Written(MonthOf({2, 10, 2001})), "2001-02-01 2001-02-28");
  EXPECT_EQ(Written(MonthOf({12, 31, 1999})), "1999-12-01 1999-12-31");
  EXPECT_EQ(Written(YearOf({6, 1, 2000})), "2000-01-01 2000-12-31");
  // 2000-03-05 was a Sunday.
  EXPECT_EQ(Written(WeekOf({3, 5, 2000})), "2000-02-28 2000-03-05");
  EXPECT_EQ(Written(WeekOf({3, 6, 2000})), "2000-03-06 2000-03-12");
  EXPECT_EQ(Written(WeekOf({3, 12, 2000})), "2000-03-06 2000-03-12");
}

TEST(DayOf, IsLocal) {
  setenv("TZ", "XXX+5", 1);
  tzset();
  ResetLocalTime();
  EXPECT_EQ(Written(DayOf(4 * 3600)), "1969-12-31");
  EXPECT_EQ(Written(DayOf(6 * 3600)), "1970-01-01");
}

TEST(DayOf, BeyondFourDigitsIsTheFirstOrTheLastOne) {
  setenv("TZ", "UTC0", 1);
  tzset();
  ResetLocalTime();
  EXPECT_EQ(Written(DayOf(253402300799)), "9999-12-31");
  EXPECT_EQ(Written(DayOf(253402300800)), "9999-12-31");
  EXPECT_EQ(Written(DayOf(253402300800 + 40 * 86400)), "9999-12-31");
  EXPECT_EQ(Written(DayOf(-62167219200)), "0000-01-01");
  EXPECT_EQ(Written(DayOf(-62167219201)), "0000-01-01");
}

TEST(SetDays, AreReadAgain) {
  Settings settings{};
  const DayRange days{{2, 9, 2000}, {12, 31, 9999}};
  SetDays(settings, days);
  EXPECT_STREQ(settings.start_date, "02092000");
  DayRange read{};
  ParseDate(read.first, read.last, settings);
  EXPECT_EQ(read, days);
}

static std::string Days(std::string_view text, const CalendarDate& today) {
  DayRange days{};
  return ParseDays(text, today, days) ? Written(days) : "";
}

TEST(ParseDays, Words) {
  const CalendarDate today{3, 5, 2000};
  EXPECT_EQ(Days("today", today), "2000-03-05 2000-03-05");
  EXPECT_EQ(Days("Yesterday", today), "2000-03-04 2000-03-04");
  EXPECT_EQ(Days("THIS-MONTH", today), "2000-03-01 2000-03-05");
  EXPECT_EQ(Days("last-month", today), "2000-02-01 2000-02-29");
  EXPECT_EQ(Days("this-year", today), "2000-01-01 2000-03-05");
  EXPECT_EQ(Days("1d", today), "2000-03-05 2000-03-05");
  EXPECT_EQ(Days("7D", today), "2000-02-28 2000-03-05");
  EXPECT_EQ(Days("007d", today), "2000-02-28 2000-03-05");
  EXPECT_EQ(Days("999d", today), Written(DateOf((11021 - 998) * kDay)) + " 2000-03-05");
}

TEST(ParseDays, AtTheEndsOfMonthsAndYears) {
  EXPECT_EQ(Days("yesterday", {3, 1, 2000}), "2000-02-29 2000-02-29");
  EXPECT_EQ(Days("last-month", {3, 31, 2001}), "2001-02-01 2001-02-28");
  EXPECT_EQ(Days("last-month", {1, 1, 2000}), "1999-12-01 1999-12-31");
  EXPECT_EQ(Days("yesterday", {1, 1, 2000}), "1999-12-31 1999-12-31");
  EXPECT_EQ(Days("this-month", {12, 31, 1999}), "1999-12-01 1999-12-31");
  EXPECT_EQ(Days("this-year", {1, 1, 2000}), "2000-01-01 2000-01-01");
}

TEST(ParseDays, NothingElse) {
  for (const char* text : {"", "d", "0d", "000d", "1000d", "-7d", "+7d", " 7d", "7 d", "7d ", "7", "today ",
                           "all", "2000-03-05", "this month", "last-year", "7\xc3\xa4"}) {
    EXPECT_EQ(Days(text, {3, 5, 2000}), "") << text;
  }
}

static std::string Day(std::string_view text) {
  CalendarDate day{};
  return ParseDay(text, {3, 5, 2000}, day) ? Written(day) : "";
}

TEST(ParseDay, IsoAndWords) {
  EXPECT_EQ(Day("2000-02-29"), "2000-02-29");
  EXPECT_EQ(Day("9999-12-31"), "9999-12-31");
  EXPECT_EQ(Day("today"), "2000-03-05");
  EXPECT_EQ(Day("yesterday"), "2000-03-04");
  EXPECT_EQ(Day("7d"), "2000-02-28");
}

TEST(ParseDay, NothingElse) {
  for (const char* text : {"", "2000-02-30", "2001-02-29", "2000-2-29", "2000/02/29", "20000229",
                           "2000-02-29 ", "2000-02-2a", "-000-02-29", "1899-12-31", "0000-00-00", "02292000",
                           "this-month", "last-month", "all", "tomorrow"}) {
    EXPECT_EQ(Day(text), "") << text;
  }
}

TEST(ParseDay, LeavesTheDayAlone) {
  CalendarDate day{1, 2, 2003};
  EXPECT_FALSE(ParseDay("2000-02-30", {3, 5, 2000}, day));
  EXPECT_EQ(Written(day), "2003-01-02");
}

static std::string BeginIn(const char* zone, const CalendarDate& day) {
  setenv("TZ", zone, 1);
  ResetLocalTime();
  const time_t begin = BeginOfDay(day);
  setenv("TZ", "UTC", 1);
  ResetLocalTime();
  char text[32];
  tm universal{};
  gmtime_r(&begin, &universal);
  strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &universal);
  return text;
}

TEST(BeginOfDay, IsMidnightOfTheZone) {
  EXPECT_EQ(BeginIn("UTC0", {3, 5, 2000}), "2000-03-05 00:00:00");
  EXPECT_EQ(BeginIn("EST5EDT,M4.1.0,M10.5.0", {3, 5, 2000}), "2000-03-05 05:00:00");
  EXPECT_EQ(BeginIn("EST5EDT,M4.1.0,M10.5.0", {7, 5, 2000}), "2000-07-05 04:00:00");
  EXPECT_EQ(BeginIn("<+14>-14", {1, 1, 2000}), "1999-12-31 10:00:00");
  EXPECT_EQ(BeginIn("<-12>12", {1, 1, 2000}), "2000-01-01 12:00:00");
  EXPECT_EQ(BeginIn("IST-5:30", {1, 1, 1900}), "1899-12-31 18:30:00");
  EXPECT_EQ(BeginIn("UTC0", {1, 1, 10000}), "10000-01-01 00:00:00");
}

// In some zones clocks go forward or back at midnight.
TEST(BeginOfDay, IsTheFirstSecondWhereClocksChangeAtMidnight) {
  constexpr const char* kForward =
      "AAA3BBB,M10.3.0/0,M2.3.0/0";  // from 00:00 to 01:00, and from 00:00 to 23:00
  EXPECT_EQ(BeginIn(kForward, {10, 15, 2017}), "2017-10-15 03:00:00");
  EXPECT_EQ(BeginIn(kForward, {2, 18, 2018}), "2018-02-18 03:00:00");
  constexpr const char* kBack = "AAA5BBB,M3.2.0/0,M11.1.0/1";  // from 01:00 to 00:00
  EXPECT_EQ(BeginIn(kBack, {11, 5, 2017}), "2017-11-05 04:00:00");
}
