#include "analysis/comparison.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dates/days.h"
#include "support/part_text.h"

static DayRange Days(const CalendarDate& first, const CalendarDate& last) {
  return {first, last};
}

static DayRange Compared(const char* with, const DayRange& days) {
  DayRange compared{};
  EXPECT_TRUE(FindComparedDays(with, days, compared)) << with;
  return compared;
}

TEST(FindComparedDays, DaysBeforeEndWhereTheOthersBegin) {
  const DayRange week = Days({11, 16, 2026}, {11, 22, 2026});
  EXPECT_EQ(Compared("previous", week), Days({11, 9, 2026}, {11, 15, 2026}));
  const DayRange day = Days({3, 1, 2004}, {3, 1, 2004});
  EXPECT_EQ(Compared("Previous", day), Days({2, 29, 2004}, {2, 29, 2004}));
}

TEST(FindComparedDays, WeekdaysAreTheSame) {
  const DayRange day = Days({11, 17, 2026}, {11, 17, 2026});
  EXPECT_EQ(Compared("weekdays", day), Days({11, 10, 2026}, {11, 10, 2026}));
  const DayRange nine = Days({11, 14, 2026}, {11, 22, 2026});
  EXPECT_EQ(Compared("weekdays", nine), Days({10, 31, 2026}, {11, 8, 2026}));
}

TEST(FindComparedDays, YearsKeepTheirDates) {
  const DayRange march = Days({3, 1, 2026}, {3, 31, 2026});
  EXPECT_EQ(Compared("year", march), Days({3, 1, 2025}, {3, 31, 2025}));
  const DayRange leap = Days({2, 29, 2004}, {2, 29, 2004});
  EXPECT_EQ(Compared("YEAR", leap), Days({2, 28, 2003}, {2, 28, 2003}));
}

TEST(FindComparedDays, NoDayIsOfBoth) {
  const DayRange turn = Days({12, 20, 2025}, {1, 10, 2026});
  EXPECT_EQ(Compared("year", turn), Days({12, 20, 2024}, {1, 10, 2025}));
  const DayRange whole = Days({1, 1, 2026}, {12, 31, 2026});
  EXPECT_EQ(Compared("year", whole), Days({1, 1, 2025}, {12, 31, 2025}));
  const DayRange more = Days({1, 1, 2025}, {1, 1, 2026});
  EXPECT_EQ(Compared("year", more), Days({1, 1, 2023}, {1, 1, 2024}));
}

TEST(FindComparedDays, OtherWordsNameNone) {
  for (const char* const word : {"", "0", "previously", "month"}) {
    DayRange compared{};
    EXPECT_FALSE(FindComparedDays(word, Days({3, 1, 2026}, {3, 1, 2026}), compared)) << word;
    EXPECT_FALSE(IsComparison(word));
  }
  EXPECT_TRUE(IsComparison("Weekdays"));
}

class ComparisonOfSettings : public testing::Test {
 protected:
  ComparisonOfSettings() {
    SetDays(settings_, Days({3, 6, 2000}, {3, 7, 2000}));
    CopyText(settings_.compare, "previous");
  }

  Settings settings_{};
};

TEST_F(ComparisonOfSettings, HoldsWholeDays) {
  const Comparison comparison = ComparisonOf(settings_);
  ASSERT_TRUE(comparison.asked);
  EXPECT_EQ(comparison.days, Days({3, 4, 2000}, {3, 5, 2000}));
  EXPECT_EQ(comparison.first, 952128000);  // 2000-03-04, 00:00
  EXPECT_EQ(comparison.last, 952300799);   // 2000-03-05, 23:59:59
}

TEST_F(ComparisonOfSettings, DaysThatLogsDecideAreComparedWithNone) {
  for (bool Settings::*const open : {&Settings::from_first, &Settings::to_last, &Settings::first_alone}) {
    settings_.*open = true;
    EXPECT_FALSE(ComparisonOf(settings_).asked);
    settings_.*open = false;
  }
  EXPECT_TRUE(ComparisonOf(settings_).asked);
  SetDays(settings_, Days({2, 30, 2000}, {3, 7, 2000}));
  EXPECT_FALSE(ComparisonOf(settings_).asked);
}

static SuperLogRecord Record(int day_of_year, int64_t status, int64_t bytes) {
  SuperLogRecord record{};
  record.local.tm_year = 100;
  record.local.tm_yday = day_of_year;
  record.status = status;
  record.bytes = bytes;
  return record;
}

static const std::vector<SuperLogRecord> kRecords = {Record(63, 200, 5),  Record(64, 404, 7),
                                                     Record(63, 599, -1), Record(64, 0, 1000),
                                                     Record(64, 600, 10), Record(63, -5, INT64_MAX)};

static void ExpectAll(Comparison& comparison) {
  OrderDays(comparison.dates);
  EXPECT_EQ(comparison.requests, 6);
  EXPECT_EQ(comparison.with_status, 3);
  EXPECT_EQ(comparison.errors, 2);
  EXPECT_EQ(comparison.bytes, INT64_MAX);
  constexpr int64_t kFirst = 10957 + 63;  // 2000-03-04
  EXPECT_EQ(CountOfDay(comparison.dates, kFirst), 3);
  EXPECT_EQ(CountOfDay(comparison.dates, kFirst + 1), 3);
  ReleaseDays(comparison.dates);
}

TEST(CountCompared, CountsRequestsStatusesBytesAndDays) {
  Comparison comparison;
  for (const SuperLogRecord& record : kRecords) {
    CountCompared(record, comparison);
  }
  ExpectAll(comparison);
}

TEST(SavedComparison, AddsUpHoweverItIsDivided) {
  for (size_t cut = 0; cut <= kRecords.size(); ++cut) {
    std::string parts[2];
    for (size_t half = 0; half < 2; ++half) {
      Comparison comparison;
      for (size_t i = half == 0 ? 0 : cut; i < (half == 0 ? cut : kRecords.size()); ++i) {
        CountCompared(kRecords[i], comparison);
      }
      parts[half] = WrittenPart([&](PartWriter& part) { SaveComparison(part, comparison); });
      ReleaseDays(comparison.dates);
    }
    Comparison sum;
    for (const std::string& part : parts) {
      PartReader added = {part.data(), part.data() + part.size()};
      PartReader passed = added;
      EXPECT_TRUE(AddSavedComparison(added, sum));
      EXPECT_TRUE(PassSavedComparison(passed));
      EXPECT_EQ(passed.next, passed.end);
    }
    ExpectAll(sum);
  }
}
