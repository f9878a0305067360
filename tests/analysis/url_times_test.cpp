#include "analysis/url_times.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/limits.h"
#include "layouts/taken.h"

TEST(BucketOf, RisesWithTheTimeAndHasNoGaps) {
  size_t last = 0;
  for (int64_t taken = 1; taken <= 100000; ++taken) {
    const size_t bucket = BucketOf(taken);
    ASSERT_TRUE(bucket == last || bucket == last + 1) << taken;
    last = bucket;
  }
  for (unsigned power = 17; power < 40; ++power) {
    const int64_t taken = int64_t{1} << power;
    EXPECT_EQ(BucketOf(taken - 1) + 1, BucketOf(taken)) << taken;
  }
}

TEST(MiddleOf, IsLessThanOnePerCentOff) {
  std::vector<int64_t> times;
  for (int64_t taken = 0; taken <= 100000; ++taken) {
    times.push_back(taken);
  }
  for (int64_t taken = 100000; taken < kMostTaken; taken += taken / 333 + 1) {
    times.push_back(taken);
  }
  times.push_back(kMostTaken);
  for (const int64_t taken : times) {
    const int64_t middle = MiddleOf(BucketOf(taken));
    EXPECT_EQ(BucketOf(middle), BucketOf(taken)) << taken;
    ASSERT_TRUE(middle == taken || taken >= 128) << taken;
    ASSERT_LE(std::abs(middle - taken) * 100, taken) << taken;
  }
}

TEST(NameOfBucket, IsItsNumberOfFourDigits) {
  EXPECT_EQ(NameOfBucket(0), "0000");
  EXPECT_EQ(NameOfBucket(127), "0127");
  EXPECT_EQ(NameOfBucket(BucketOf(kMostTaken)).size(), 4U);
}

namespace {

class TimesOfTest : public testing::Test {
 protected:
  TimesOfTest() {
    SetCountingLimits(kModernLimits);
    init_list(list_, info_, "Times", SubLists::kAny, Amounts::kSummed);
  }
  ~TimesOfTest() override {
    destroy(list_);
    destroyListInfo();
  }

  void Count(int64_t taken) {
    count_amounts(taken);
    add_item(list_, info_, "/a", NameOfBucket(BucketOf(taken)), nullptr, false);
  }

  List list_{};
  ListInfo* info_ = nullptr;
};

TEST_F(TimesOfTest, OfOneTimeIsThatTime) {
  Count(100);
  const TimesTaken times = TimesOf(*list_.first);
  EXPECT_EQ(times.median, 100);
  EXPECT_EQ(times.of_95, 100);
  EXPECT_EQ(times.of_99, 100);
  EXPECT_EQ(times.sum, 100);
}

TEST_F(TimesOfTest, OfASingleTimeIsExact) {
  Count(1000001);
  EXPECT_NE(MiddleOf(BucketOf(1000001)), 1000001);
  EXPECT_EQ(TimesOf(*list_.first).median, 1000001);
  EXPECT_EQ(TimesOf(*list_.first).of_99, 1000001);
}

TEST_F(TimesOfTest, IsNeverAboveTheSum) {
  Count(0);
  Count(1000000);
  ASSERT_GT(MiddleOf(BucketOf(1000000)), 1000000);
  EXPECT_EQ(TimesOf(*list_.first).median, 0);
  EXPECT_EQ(TimesOf(*list_.first).of_95, 1000000);
}

// The times are 1 to n, so that the one at a rank is the rank.
TEST_F(TimesOfTest, TakesTheFirstTimeThatEnoughAreNotAbove) {
  for (int64_t n = 1; n <= 120; ++n) {
    Count(n);
    const TimesTaken times = TimesOf(*list_.first);
    EXPECT_EQ(times.median, (n + 1) / 2) << n;
    EXPECT_EQ(times.of_95, (n * 95 + 99) / 100) << n;
    EXPECT_EQ(times.of_99, (n * 99 + 99) / 100) << n;
    EXPECT_EQ(times.sum, n * (n + 1) / 2) << n;
  }
}

TEST_F(TimesOfTest, PassesOverWhatIsNoBucket) {
  for (const char* name : {"2240", "9999", "00001", "12", "x", "00 1"}) {
    add_item(list_, info_, "/a", name, nullptr, false);
  }
  EXPECT_EQ(TimesOf(*list_.first).of_99, 0);
  Count(77);
  Count(77);
  EXPECT_EQ(TimesOf(*list_.first).median, 77);
}

TEST_F(TimesOfTest, OfTheLongestTimesHasAnEnd) {
  for (int i = 0; i < 1000; ++i) {
    Count(kMostTaken);
  }
  const TimesTaken times = TimesOf(*list_.first);
  EXPECT_EQ(times.sum, 1000 * kMostTaken);
  EXPECT_EQ(times.median, MiddleOf(BucketOf(kMostTaken)));
  count_amounts(INT64_MAX);
  add_item(list_, info_, "/a", {}, nullptr, false);
  EXPECT_EQ(TimesOf(*list_.first).sum, INT64_MAX);
}

}  // namespace
