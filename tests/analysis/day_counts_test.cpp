#include "analysis/day_counts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "dates/local_time.h"

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

// The local date of a day, by the calendar of the standard library.
static tm DateOf(int64_t number) {
  const sys_days day{days{number}};
  const int in_year = static_cast<int>(year_month_day{day}.year());
  tm date = {};
  date.tm_year = in_year - 1900;
  date.tm_yday = static_cast<int>((day - sys_days{year{in_year} / 1 / 1}).count());
  return date;
}

class DayCountsTest : public testing::Test {
 protected:
  void TearDown() override { ReleaseDays(days_); }

  void Count(int64_t day) {
    CountDay(days_, DateOf(day));
    ++expected_[day];
  }

  void ExpectSame() {
    OrderDays(days_);
    std::map<int64_t, int64_t> counts;
    int64_t before = INT64_MIN;
    int64_t largest = 0;
    int64_t total = 0;
    for (const DayCount& day : DaysInOrder(days_)) {
      ASSERT_LT(before, day.day);
      before = day.day;
      counts[day.day] = day.count;
      total += day.count;
    }
    EXPECT_EQ(counts, expected_);
    EXPECT_EQ(days_.total, total);
    for (const auto& [day, count] : expected_) {
      ASSERT_EQ(CountOfDay(days_, day), count);
      ASSERT_EQ(CountOfDay(days_, day + 1), expected_.contains(day + 1) ? expected_[day + 1] : 0);
      largest = std::max(largest, count);
    }
    EXPECT_EQ(LargestDayCount(days_), largest);
  }

  DayCounts days_ = {};
  std::map<int64_t, int64_t> expected_;
};

TEST_F(DayCountsTest, EmptyHasNoDays) {
  EXPECT_TRUE(OrderDays(days_).empty());
  EXPECT_EQ(CountOfDay(days_, 0), 0);
  EXPECT_EQ(LargestDayCount(days_), 0);
}

TEST_F(DayCountsTest, TheSameDayOfTwoYearsIsTwoDays) {
  for (const int64_t day : {10957, 11323, 10957, 11322, 11323, 10957}) {  // 2000-01-01 and around 2001-01-01
    Count(day);
  }
  ExpectSame();
  EXPECT_EQ(CountOfDay(days_, 10957), 3);
}

TEST_F(DayCountsTest, AThousandYearsOfDays) {
  for (int64_t day = -25567; day < -25567 + 365243; ++day) {  // 1900 to 2899
    Count(day);
  }
  Count(-25567);
  ExpectSame();
  EXPECT_EQ(days_.length, 365243U);
}

// A plain list, or a table without a seed, would take minutes.
TEST_F(DayCountsTest, HostileOrdersCostNoMoreThanOthers) {
  constexpr int64_t kDays = 200000;
  for (int64_t i = 0; i < kDays; ++i) {
    Count(i % 2 == 0 ? i : -i);  // away from the middle, never the day before
  }
  for (int64_t i = 0; i < kDays; ++i) {
    Count(i * 4096 % 2900000);  // steps of a power of two, which share their low bits
  }
  ExpectSame();
}

TEST_F(DayCountsTest, RandomDays) {
  std::mt19937 random(1);
  for (int i = 0; i < 50000; ++i) {
    Count(static_cast<int64_t>(random() % (i % 2 == 0 ? 40 : 4000)) - 2000);
  }
  ExpectSame();
}

TEST_F(DayCountsTest, CountsPass32Bits) {
  Count(5);
  days_.latest->count = UINT32_MAX;
  CountDay(days_, DateOf(5));
  OrderDays(days_);
  EXPECT_EQ(CountOfDay(days_, 5), int64_t{1} << 32);
}

TEST_F(DayCountsTest, ReleasedIsEmptyAgain) {
  Count(1);
  ReleaseDays(days_);
  expected_.clear();
  Count(2);
  ExpectSame();
}

TEST(DayNumber, IsTheCalendars) {
  for (int64_t day = -700000; day < 3000000; day += 61) {
    ASSERT_EQ(DayNumber(DateOf(day)), day);
  }
  EXPECT_EQ(DayNumber(DateOf(0)), 0);
}

static std::string Saved(const DayCounts& counts) {
  std::string bytes;
  PartWriter part;
  part.sink = {&bytes, [](void* context, const char* text, size_t size) {
                 static_cast<std::string*>(context)->append(text, size);
               }};
  SaveDays(part, counts);
  FlushPart(part);
  return bytes;
}

static bool AddSaved(const std::string& bytes, DayCounts& counts) {
  PartReader part{bytes.data(), bytes.data() + bytes.size()};
  return AddSavedDays(part, counts) && part.next == part.end;
}

TEST_F(DayCountsTest, WrittenDownAddUp) {
  std::mt19937 random(1);
  for (int piece = 0; piece < 20; ++piece) {
    DayCounts counted = {};
    for (int i = 0; i < 300; ++i) {
      const int64_t day = static_cast<int64_t>(random() % 4000) - 1000;
      CountDay(counted, DateOf(day));
      ++expected_[day];
    }
    ASSERT_TRUE(AddSaved(Saved(counted), days_));
    ReleaseDays(counted);
    Count(20000 + piece);  // a part between records
  }
  ASSERT_TRUE(AddSaved(Saved({}), days_));
  ExpectSame();
}

TEST_F(DayCountsTest, WrittenDownByNobodyAreDamaged) {
  using namespace std::string_literals;
  EXPECT_TRUE(AddSaved("\1\4\1"s, days_));
  const std::string far = "\xff\xff\xff\xff\xff\xff\xff\xff\x7f";
  for (const std::string& bytes : {""s, "\1"s, "\1\4"s, "\2\4\1"s, "\1\4\0"s, "\1"s + far + "\1"s,
                                   "\1\4\x81\x80\x80\x80\x80\x80\x80\x80\1"s}) {
    EXPECT_FALSE(AddSaved(bytes, days_)) << testing::PrintToString(bytes);
  }
  EXPECT_EQ(days_.total, 1 + 1);  // the first of two days came whole
}
