#include "sections/time_rows.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <string>
#include <vector>

#include "dates/local_time.h"

namespace {

class TimeRowsTest : public testing::Test {
 protected:
  TimeRowsTest() { SetZone("UTC"); }
  ~TimeRowsTest() override { SetZone("UTC"); }

  static void SetZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
    ResetLocalTime();
  }

  static time_t LocalTime(const CalendarDate& date, int hour, int minute, int second) {
    tm parts{};
    parts.tm_year = date.year - 1900;
    parts.tm_mon = date.month - 1;
    parts.tm_mday = date.day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    return mktime(&parts);
  }

  // Whole days, both included.
  void SetRange(const CalendarDate& first, const CalendarDate& last) {
    analysis_.range_first = LocalTime(first, 0, 0, 0);
    analysis_.range_last = LocalTime(last, 23, 59, 59);
  }

  static std::vector<TimeRow> All(TimeRows rows) {
    std::vector<TimeRow> all;
    for (TimeRow row; NextTime(rows, row);) {
      all.push_back(row);
    }
    return all;
  }

  // "weekday year-month-day=count " for each day.
  std::string Days() {
    std::string text;
    for (const TimeRow& row : All(OpenDays(analysis_))) {
      char label[80];
      snprintf(label, sizeof label, "%d %04d-%02d-%02d=%lld ", row.weekday, row.date.year, row.date.month,
               row.date.day, static_cast<long long>(row.count));
      text += label;
      EXPECT_EQ(row.hour, -1);
    }
    return text;
  }

  Analysis analysis_{};
};

// ---- Days ----

TEST_F(TimeRowsTest, OneRowForEachDayOfTheRange) {
  SetRange({2, 28, 2024}, {3, 2, 2024});
  analysis_.days.counts[58] = 1;
  analysis_.days.counts[59] = 2;
  analysis_.days.counts[60] = 3;
  analysis_.days.counts[61] = 4;
  EXPECT_EQ(Days(), "3 2024-02-28=1 4 2024-02-29=2 5 2024-03-01=3 6 2024-03-02=4 ");
}

TEST_F(TimeRowsTest, SharesAreOfTheTotalAndBarsOfTheLargestDay) {
  SetRange({3, 5, 2024}, {3, 6, 2024});
  analysis_.days.counts[64] = 5;
  analysis_.days.counts[65] = 10;
  analysis_.days.counts[365] = 25;  // outside the range
  analysis_.days.total = 40;
  const TimeRows rows = OpenDays(analysis_);
  EXPECT_EQ(rows.total, 40);
  EXPECT_EQ(rows.largest, 25);
  const std::vector<TimeRow> all = All(rows);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_DOUBLE_EQ(all[0].share, 0.125);
  EXPECT_DOUBLE_EQ(all[0].bar, 0.2);
  EXPECT_DOUBLE_EQ(all[1].share, 0.25);
  EXPECT_DOUBLE_EQ(all[1].bar, 0.4);
}

TEST_F(TimeRowsTest, DeliberateNewYearBehindALeapYearIsReachedADayEarly) {
  SetRange({12, 30, 2024}, {1, 1, 2025});
  analysis_.days.counts[364] = 3;  // 30 December
  analysis_.days.counts[365] = 1;  // 31 December: never shown
  analysis_.days.counts[0] = 2;    // 1 January
  EXPECT_EQ(Days(), "1 2024-12-30=3 2 2024-12-31=2 3 2025-01-01=0 ");
}

TEST_F(TimeRowsTest, DeliberateRangeFromALeapYearsLastDayWrapsToTheSecondOfJanuary) {
  SetRange({12, 31, 2024}, {1, 1, 2025});
  analysis_.days.counts[365] = 4;
  analysis_.days.counts[0] = 2;
  analysis_.days.counts[1] = 1;
  EXPECT_EQ(Days(), "2 2024-12-31=4 3 2025-01-01=1 ");
}

TEST_F(TimeRowsTest, DeliberateDateRepeatsWhenClocksGoBack) {
  SetZone("EST5EDT,M3.2.0,M11.1.0");
  SetRange({11, 2, 2024}, {11, 4, 2024});  // clocks go back on the 3rd
  for (int day = 306; day <= 309; ++day) {
    analysis_.days.counts[day] = day;
  }
  EXPECT_EQ(Days(), "6 2024-11-02=306 0 2024-11-03=307 1 2024-11-03=308 2 2024-11-04=309 ");
}

TEST_F(TimeRowsTest, DaysLieInTheYears0To9999AndOneMoreForTheZones) {
  SetRange({12, 30, 9999}, {12, 31, 2000000000});
  EXPECT_EQ(All(OpenDays(analysis_)).size(), 3U);
  EXPECT_EQ(All(OpenDays(analysis_)).front().date.year, 9999);
  SetRange({1, 1, -2000000000}, {1, 2, 0});
  const std::vector<TimeRow> all = All(OpenDays(analysis_));
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].date.year, -1);
  EXPECT_EQ(all[0].weekday, 5);
  EXPECT_EQ(all[1].date.year, 0);
  EXPECT_EQ(all[1].weekday, 6);
}

TEST_F(TimeRowsTest, EmptyAndReversedRangesHaveNoRows) {
  analysis_.range_first = analysis_.range_last = LocalTime({3, 5, 2024}, 0, 0, 0);
  EXPECT_EQ(Days(), "");
  SetRange({3, 5, 2024}, {3, 1, 2024});
  EXPECT_EQ(Days(), "");
  SetRange({1, 1, 2000000000}, {1, 1, -2000000000});
  EXPECT_EQ(Days(), "");
}

// ---- Days by date ----

class DatesTest : public TimeRowsTest {
 protected:
  DatesTest() { analysis_.counting = kModernCounting; }
  ~DatesTest() override { ReleaseDays(analysis_.dates); }

  void CountDays(std::initializer_list<const char*> dates) {
    for (const char* date : dates) {
      tm local{};
      ASSERT_EQ(sscanf(date, "%d-%d-%d", &local.tm_year, &local.tm_mon, &local.tm_mday), 3);
      local.tm_year -= 1900;
      local.tm_mon -= 1;
      local.tm_hour = 12;
      timegm(&local);
      CountDay(analysis_.dates, local);
    }
    OrderDays(analysis_.dates);
  }
};

TEST_F(DatesTest, TheSameDayOfTwoYearsAndTheEndOfALeapYearStandApart) {
  SetRange({12, 30, 2000}, {1, 2, 2001});
  CountDays({"2000-12-31", "2001-01-01", "2001-01-01", "2002-12-31", "2001-01-01"});
  EXPECT_EQ(Days(), "6 2000-12-30=0 0 2000-12-31=1 1 2001-01-01=3 2 2001-01-02=0 ");
  EXPECT_EQ(OpenDays(analysis_).total, 5);
  EXPECT_EQ(OpenDays(analysis_).largest, 3);
}

TEST_F(DatesTest, NoDateRepeatsOrIsMissingOverClockChanges) {
  SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
  SetRange({10, 28, 2000}, {10, 30, 2000});
  CountDays({"2000-10-29", "2000-10-29"});
  EXPECT_EQ(Days(), "6 2000-10-28=0 0 2000-10-29=2 1 2000-10-30=0 ");
  SetRange({3, 25, 2000}, {3, 27, 2000});
  EXPECT_EQ(Days(), "6 2000-03-25=0 0 2000-03-26=0 1 2000-03-27=0 ");
}

TEST_F(DatesTest, RangesAreCutToTheYearsThatPagesShow) {
  SetRange({12, 31, 9999}, {1, 2, 10001});
  EXPECT_EQ(Days(), "5 9999-12-31=0 ");
  SetRange({1, 1, -5}, {1, 1, 0});
  EXPECT_EQ(Days(), "6 0000-01-01=0 ");
}

// ---- Weekdays and hours ----

TEST_F(TimeRowsTest, WeekdaysGoFromSundayToSaturday) {
  for (int day = 0; day < 7; ++day) {
    analysis_.weekdays.counts[day] = day;
  }
  analysis_.weekdays.total = 21;
  const std::vector<TimeRow> all = All(OpenWeekdays(analysis_));
  ASSERT_EQ(all.size(), 7U);
  for (int day = 0; day < 7; ++day) {
    EXPECT_EQ(all[day].weekday, day);
    EXPECT_EQ(all[day].hour, -1);
    EXPECT_EQ(all[day].count, day);
    EXPECT_DOUBLE_EQ(all[day].share, day / 21.0);
    EXPECT_DOUBLE_EQ(all[day].bar, day / 6.0);
  }
}

TEST_F(TimeRowsTest, HoursGoFrom0To23) {
  analysis_.hours.counts[23] = int64_t{1} << 40;
  analysis_.hours.total = int64_t{1} << 41;
  const std::vector<TimeRow> all = All(OpenHours(analysis_));
  ASSERT_EQ(all.size(), 24U);
  for (int hour = 0; hour < 24; ++hour) {
    EXPECT_EQ(all[hour].hour, hour);
    EXPECT_EQ(all[hour].weekday, -1);
  }
  EXPECT_EQ(all[23].count, int64_t{1} << 40);
  EXPECT_DOUBLE_EQ(all[23].share, 0.5);
  EXPECT_DOUBLE_EQ(all[23].bar, 1.0);
  EXPECT_EQ(all[0].bar, 0.0);
}

TEST_F(TimeRowsTest, HoursOfTheWeekGoDayByDay) {
  analysis_.hours_of_week.counts[0] = 1;
  analysis_.hours_of_week.counts[2 * 24 + 13] = 4;
  analysis_.hours_of_week.total = 5;
  const std::vector<TimeRow> all = All(OpenHoursOfWeek(analysis_));
  ASSERT_EQ(all.size(), 168U);
  for (int row = 0; row < 168; ++row) {
    EXPECT_EQ(all[row].weekday * 24 + all[row].hour, row);
    EXPECT_LT(all[row].hour, 24);
    EXPECT_EQ(all[row].count, row == 0 ? 1 : row == 61 ? 4 : 0);
  }
  EXPECT_DOUBLE_EQ(all[0].share, 0.2);
  EXPECT_DOUBLE_EQ(all[0].bar, 0.25);
}

TEST_F(TimeRowsTest, WithoutHitsTheLargestIsZero) {
  EXPECT_EQ(OpenDays(analysis_).largest, 0);
  EXPECT_EQ(OpenWeekdays(analysis_).largest, 0);
  EXPECT_EQ(OpenHours(analysis_).largest, 0);
}

TEST_F(TimeRowsTest, SharesAreNeverBelowZero) {
  analysis_.weekdays.counts[1] = 5;
  analysis_.weekdays.total = -5;
  for (const TimeRow& row : All(OpenWeekdays(analysis_))) {
    EXPECT_EQ(row.share, 0.0);
  }
  analysis_.weekdays.total = 0;
  EXPECT_EQ(All(OpenWeekdays(analysis_))[1].share, 0.0);
}

}  // namespace
