#include "dates/local_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "dates/plain_time.h"

namespace {

tm Parts(int year, int month, int day, int hour, int minute, int second, int dst = -1) {
  tm parts = {};
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  parts.tm_hour = hour;
  parts.tm_min = minute;
  parts.tm_sec = second;
  parts.tm_isdst = dst;
  return parts;
}

void ExpectParts(const tm& cached, const tm& plain, time_t when) {
  ASSERT_EQ(cached.tm_sec, plain.tm_sec) << when;
  ASSERT_EQ(cached.tm_min, plain.tm_min) << when;
  ASSERT_EQ(cached.tm_hour, plain.tm_hour) << when;
  ASSERT_EQ(cached.tm_mday, plain.tm_mday) << when;
  ASSERT_EQ(cached.tm_mon, plain.tm_mon) << when;
  ASSERT_EQ(cached.tm_year, plain.tm_year) << when;
  ASSERT_EQ(cached.tm_wday, plain.tm_wday) << when;
  ASSERT_EQ(cached.tm_yday, plain.tm_yday) << when;
  ASSERT_EQ(cached.tm_isdst, plain.tm_isdst) << when;
  ASSERT_EQ(cached.tm_gmtoff, plain.tm_gmtoff) << when;
  ASSERT_STREQ(cached.tm_zone, plain.tm_zone) << when;
}

void ExpectSameLocal(time_t when) {
  tm plain = {};
  tm cached = {};
  const bool known = localtime_r(&when, &plain) != nullptr;
  ASSERT_EQ(TimeToLocal(when, cached), known) << when;
  if (known) {
    ExpectParts(cached, plain, when);
  }
}

// With both steps at once where that can be done.
time_t CompleteOrConvert(const tm& record) {
  tm parts = record;
  time_t when = 0;
  if (!CompleteInLastHour(parts, when)) {
    return LocalToTime(record);
  }
  tm plain = {};
  localtime_r(&when, &plain);
  ExpectParts(parts, plain, when);
  return when;
}

enum class Way { kThere, kThereAndBack, kAtOnce };

// Converts all records with LocalToTime, and back with TimeToLocal where asked to;
// returns how many differ from what plain calls from the same start gave.
int CountDifferences(const std::vector<tm>& records, const std::vector<time_t>& plain, Way way) {
  int differences = 0;
  PrimeMktime();
  for (size_t i = 0; i < records.size(); ++i) {
    const time_t when = way == Way::kAtOnce ? CompleteOrConvert(records[i]) : LocalToTime(records[i]);
    if (when != plain[i] && ++differences == 1) {
      ADD_FAILURE() << "record " << i << ": " << asctime(&records[i]) << "plain " << plain[i] << " cached "
                    << when;
    }
    if (way != Way::kThere) {
      ExpectSameLocal(when);
    }
  }
  return differences;
}

int CountDifferences(const std::vector<tm>& records) {
  std::vector<time_t> plain;
  PrimeMktime();
  for (const tm& record : records) {
    plain.push_back(PlainLocalToTime(record));
  }
  return CountDifferences(records, plain, Way::kThere) +
         CountDifferences(records, plain, Way::kThereAndBack) +
         CountDifferences(records, plain, Way::kAtOnce);
}

class LocalTimeTest : public testing::TestWithParam<Zone> {
 protected:
  void SetUp() override {
    if (!HasZone(GetParam().tz)) {
      GTEST_SKIP() << "no zone file for " << GetParam().tz;
    }
    UseRules(GetParam().tz);
  }

  void TearDown() override { UseRules("UTC0"); }

  std::mt19937_64 random{20001010};

  int64_t Random(int64_t low, int64_t high) {
    return std::uniform_int_distribution<int64_t>(low, high)(random);
  }

  // Local times as a log writes them: in order, without a daylight-saving flag.
  std::vector<tm> RecordsInOrder(time_t from, time_t to, int step) {
    std::vector<tm> records;
    for (time_t when = from; when < to; when += Random(1, step)) {
      tm parts = PartsOf(when);
      parts.tm_isdst = -1;
      records.push_back(parts);
    }
    return records;
  }
};

TEST_P(LocalTimeTest, YearInOrderEqualsPlainCalls) {
  EXPECT_EQ(CountDifferences(RecordsInOrder(946684800, 946684800 + 366 * 86400, 3000)), 0);
}

TEST_P(LocalTimeTest, SameRecordTwiceAndTwoLogsInTurnEqualPlainCalls) {
  std::vector<tm> records;
  const std::vector<tm> first = RecordsInOrder(948000000, 948000000 + 300 * 86400, 6000);
  for (const tm& record : first) {
    tm other = record;
    other.tm_mon = (other.tm_mon + 6) % 12;
    records.insert(records.end(), {record, record, record, other, other, other, record});
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

TEST_P(LocalTimeTest, EveryLocalTimeOfAYearEqualsPlainCalls) {
  std::vector<tm> records;
  for (int day = 1; day <= 366; ++day) {
    for (int minute = 0; minute < 1440; minute += 10) {
      records.push_back(Parts(2000, 1, day, minute / 60, minute % 60, static_cast<int>(Random(0, 59))));
    }
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

// Records from around the zone's clock changes and from the days beside them,
// in random order: the offset that mktime holds changes all the time. Some have the
// seconds of a leap second, which mktime adds after its search.
TEST_P(LocalTimeTest, RandomOrderAroundClockChangesEqualsPlainCalls) {
  std::vector<time_t> changes = {961066800};
  for (time_t when = 946684800; when < 946684800 + 366 * 86400; when += 3600) {
    if (PartsOf(when).tm_gmtoff != PartsOf(when + 3600).tm_gmtoff) {
      changes.push_back(when);
    }
  }
  std::vector<tm> records;
  for (int i = 0; i < 8000; ++i) {
    const time_t change = changes[static_cast<size_t>(Random(0, static_cast<int64_t>(changes.size()) - 1))];
    const int64_t hours = i % 3 == 0 ? 72 : 3;
    tm parts = PartsOf(change + Random(-hours, hours) * 3600);
    parts.tm_min = static_cast<int>(i % 5 == 0 ? 59 : Random(0, 59));
    parts.tm_sec = static_cast<int>(i % 5 == 0 ? Random(59, 61) : parts.tm_sec);
    parts.tm_hour = static_cast<int>(i % 16 == 0 ? Random(0, 4) : parts.tm_hour);
    parts.tm_isdst = -1;
    records.push_back(parts);
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

TEST_P(LocalTimeTest, HistoricAndFutureYearsEqualPlainCalls) {
  std::vector<tm> records;
  for (int i = 0; i < 400; ++i) {
    tm parts = PartsOf(Random(-6000000000, 20000000000));
    parts.tm_isdst = -1;
    for (int repeat = 0; repeat < 20; ++repeat) {
      parts.tm_min = static_cast<int>(Random(0, 59));
      records.push_back(parts);
    }
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

TEST_P(LocalTimeTest, FieldsOutOfRangeEqualPlainCalls) {
  std::vector<tm> records;
  for (int i = 0; i < 1500; ++i) {
    tm parts = Parts(2000, 6, 14, 12, 0, 0, static_cast<int>(Random(-1, 1)));
    int* const fields[] = {&parts.tm_sec, &parts.tm_min, &parts.tm_hour, &parts.tm_mday, &parts.tm_mon};
    const int64_t spans[] = {100, 5000, 100000, INT_MAX};
    const int64_t span = spans[i % 4];
    *fields[Random(0, 4)] = static_cast<int>(Random(-span, span));
    records.push_back(parts);
    records.push_back(Parts(2000, 6, 14, 12, 0, 0));
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

TEST_P(LocalTimeTest, GivenFlagEqualsPlainCalls) {
  std::vector<tm> records;
  for (tm record : RecordsInOrder(951000000, 951000000 + 300 * 86400, 30000)) {
    record.tm_isdst = static_cast<int>(Random(-1, 1));
    records.push_back(record);
    record.tm_isdst = -1;
    records.push_back(record);
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

TEST_P(LocalTimeTest, ExtremeYearsEqualPlainCalls) {
  std::vector<tm> records;
  for (const int year : {INT_MIN, INT_MIN + 1, -1900, 0, 8099, INT_MAX - 1, INT_MAX}) {
    for (int repeat = 0; repeat < 6; ++repeat) {
      tm parts = Parts(2000, 1, 1, 0, 0, repeat);
      parts.tm_year = year;
      records.push_back(parts);
      parts.tm_mday = repeat % 2 == 0 ? INT_MAX : INT_MIN;
      records.push_back(parts);
    }
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

TEST_P(LocalTimeTest, TimesInOrderEqualLocaltime) {
  for (time_t when = 946684800; when < 946684800 + 366 * 86400; when += Random(1, 700)) {
    ASSERT_NO_FATAL_FAILURE(ExpectSameLocal(when));
  }
}

TEST_P(LocalTimeTest, TimesOfAllCenturiesEqualLocaltime) {
  for (int i = 0; i < 500; ++i) {
    const time_t start = Random(-100000000000, 100000000000);
    for (int repeat = 0; repeat < 12; ++repeat) {
      ASSERT_NO_FATAL_FAILURE(ExpectSameLocal(start + Random(0, 7200)));
    }
  }
}

TEST_P(LocalTimeTest, TimeExtremesEqualLocaltime) {
  const time_t extremes[] = {INT64_MIN, INT64_MAX, INT32_MIN,          INT32_MAX,      -1,
                             0,         1,         -(time_t{1} << 36), time_t{1} << 36};
  for (const time_t extreme : extremes) {
    for (int repeat = 0; repeat < 6; ++repeat) {
      ASSERT_NO_FATAL_FAILURE(ExpectSameLocal(extreme));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, LocalTimeTest, testing::ValuesIn(kZones),
                         [](const auto& test) { return std::string(test.param.name); });

// The answer in the hour that a clock change repeats depends on the records
// before it: this is what the sums must not disturb.
TEST(LocalToTime, AmbiguousHourFollowsTheRecordBefore) {
  UseRules("CET-1CEST,M3.5.0,M10.5.0/3");
  std::vector<tm> after_summer(10, Parts(2000, 7, 1, 12, 0, 0));
  after_summer.push_back(Parts(2000, 10, 29, 2, 30, 0));
  std::vector<tm> after_winter(10, Parts(2000, 1, 5, 12, 0, 0));
  after_winter.push_back(Parts(2000, 10, 29, 2, 30, 0));
  EXPECT_EQ(CountDifferences(after_summer), 0);
  EXPECT_EQ(CountDifferences(after_winter), 0);

  time_t answers[2] = {};
  for (const auto* records : {&after_summer, &after_winter}) {
    ResetLocalTime();
    for (const tm& record : *records) {
      answers[records == &after_winter] = LocalToTime(record);
    }
  }
  EXPECT_EQ(answers[1] - answers[0], 3600);
}

// The record before is answered by mktime, not by a sum, and moves the offset
// that mktime holds.
TEST(LocalToTime, RecordNextToAClockChangeMovesTheHeldOffset) {
  UseRules("CET-1CEST,M3.5.0/2:30,M10.5.0/3:30");
  std::vector<tm> records;
  for (int hour = 0; hour < 6; ++hour) {
    for (const tm& other : {Parts(2000, 7, 1, 12, 0, 0), Parts(2000, 12, 1, 12, 0, 0)}) {
      for (int minute = 0; minute < 60; minute += 5) {
        records.insert(records.end(), {other, Parts(2000, 10, 29, hour, minute, 0), other,
                                       Parts(2000, 10, 29, 2, 45, 0), Parts(2000, 10, 29, hour, minute, 0)});
      }
    }
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

TEST(LocalToTime, SkippedHourIsAnsweredAsByMktime) {
  UseRules("CET-1CEST,M3.5.0,M10.5.0/3");
  std::vector<tm> records(8, Parts(2000, 3, 26, 1, 59, 59));
  for (int minute = 0; minute < 60; ++minute) {
    records.push_back(Parts(2000, 3, 26, 2, minute, 0));
    records.push_back(Parts(2000, 3, 26, 3, minute, 0));
  }
  EXPECT_EQ(CountDifferences(records), 0);
}

// Ends of months, years, centuries and eras.
TEST(TimeToLocal, DaysAroundTheEndsOfFebruaryAndOfTheYearEqualLocaltime) {
  UseRules("UTC0");
  for (int year = 1600; year <= 2401; ++year) {
    for (tm day : {Parts(year, 2, 27, 12, 0, 0), Parts(year, 12, 30, 12, 0, 0)}) {
      const time_t noon = timegm(&day);
      for (int later = 0; later < 4; ++later) {
        ASSERT_NO_FATAL_FAILURE(ExpectSameLocal(noon + later * 86400));
      }
    }
  }
}

TEST(LocalToTime, TakesANewZoneAfterReset) {
  const tm noon = Parts(2000, 6, 15, 12, 0, 0);
  UseRules("UTC0");
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(LocalToTime(noon), 961070400);
  }
  UseRules("IST-5:30");
  tm local;
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(LocalToTime(noon), 961070400 - 19800);
    ASSERT_TRUE(TimeToLocal(961070400, local));
    EXPECT_EQ(local.tm_hour * 60 + local.tm_min, 17 * 60 + 30);
  }
  UseRules("UTC0");
  EXPECT_EQ(LocalToTime(noon), 961070400);
}

TEST(CompleteInLastHour, TakesNoTimeOfAnotherHourAndNoneWithAFlag) {
  UseRules("UTC0");
  tm parts = Parts(2000, 3, 5, 7, 6, 11);
  time_t when = 1;
  EXPECT_FALSE(CompleteInLastHour(parts, when));
  ExpectSameLocal(LocalToTime(parts));
  for (const tm& other :
       {Parts(2000, 3, 5, 8, 6, 11), Parts(2000, 3, 6, 7, 6, 11), Parts(2000, 3, 5, 7, 60, 0),
        Parts(2000, 3, 5, 7, 6, -1), Parts(2000, 3, 5, 7, 6, 11, 0)}) {
    tm copy = other;
    EXPECT_FALSE(CompleteInLastHour(copy, when));
    EXPECT_EQ(memcmp(&copy, &other, sizeof copy), 0);
    EXPECT_EQ(when, 1);
  }
  EXPECT_TRUE(CompleteInLastHour(parts, when));
  EXPECT_EQ(when, 952239971);  // date -u -d '2000-03-05 07:06:11' +%s
  EXPECT_EQ(parts.tm_yday, 64);
}

TEST(LocalToTime, LeavesTheRecordUnchanged) {
  UseRules("UTC0");
  const tm odd = Parts(2000, 13, 40, 30, 70, 80);
  tm copy = odd;
  LocalToTime(copy);
  EXPECT_EQ(memcmp(&copy, &odd, sizeof copy), 0);
}

TEST(IsTimeRepeated, HoldsForBothHoursThatShowTheSame) {
  UseRules("CET-1CEST,M3.5.0,M10.5.0/3");
  constexpr time_t kChange = 972781200;  // date -u -d '2000-10-29 01:00:00' +%s
  for (const time_t hour : {kChange - 3600, kChange}) {
    EXPECT_FALSE(IsTimeRepeated(hour - (hour < kChange ? 1 : 3601)));
    EXPECT_TRUE(IsTimeRepeated(hour));
    EXPECT_TRUE(IsTimeRepeated(hour + 3599));
  }
  EXPECT_FALSE(IsTimeRepeated(kChange + 3600));
  EXPECT_FALSE(IsTimeRepeated(954032400));  // in spring an hour is left out
  UseRules("UTC0");
  EXPECT_FALSE(IsTimeRepeated(kChange));
  EXPECT_FALSE(IsTimeRepeated(INT64_MAX));
  EXPECT_FALSE(IsTimeRepeated(INT64_MIN));
}

TEST(TimeToLocal, LeavesPartsUnchangedBeyondTheLastYear) {
  UseRules("UTC0");
  tm parts = Parts(2000, 6, 15, 12, 0, 0);
  const tm before = parts;
  EXPECT_FALSE(TimeToLocal(INT64_MAX, parts));
  EXPECT_EQ(memcmp(&parts, &before, sizeof parts), 0);
}

}  // namespace
