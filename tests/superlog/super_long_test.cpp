#include "superlog/super_long.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

static void ExpectSuperLong(SuperLong value, uint64_t billions, uint32_t units) {
  EXPECT_EQ(value.billions, billions);
  EXPECT_EQ(value.units, units);
}

TEST(SuperLongAdd, CarriesWholeBillions) {
  SuperLong counter = {};
  SuperLongAdd(counter, 600000000);
  ExpectSuperLong(counter, 0, 600000000);
  SuperLongAdd(counter, 600000000);
  ExpectSuperLong(counter, 1, 200000000);
}

TEST(SuperLongAdd, ExactlyOneBillionStaysAsUnitsDeliberately) {
  SuperLong counter = {};
  SuperLongAdd(counter, 1000000000);
  ExpectSuperLong(counter, 0, 1000000000);
  SuperLongAdd(counter, 0);
  ExpectSuperLong(counter, 0, 1000000000);
  SuperLongAdd(counter, 1);
  ExpectSuperLong(counter, 1, 1);
}

TEST(SuperLongAdd, SumsThatMeetWholeBillionsLeaveNoUnits) {
  SuperLong counter = {};
  SuperLongAdd(counter, 2000000000);
  ExpectSuperLong(counter, 2, 0);
}

TEST(SuperLongAdd, ComputesWiderThan32Bits) {
  SuperLong counter = {0, 1000000000};
  SuperLongAdd(counter, UINT32_MAX);
  ExpectSuperLong(counter, 5, 294967295);
}

TEST(SuperLongAdd, EqualsAWideSum) {
  SuperLong counter = {};
  uint64_t sum = 0;
  uint32_t amount = 1;
  for (int i = 0; i < 10000; ++i) {
    amount = amount * 1664525 + 1013904223;
    SuperLongAdd(counter, amount);
    sum += amount;
    ASSERT_EQ(uint64_t{counter.billions} * 1000000000 + counter.units, sum);
    ASSERT_LE(counter.units, 1000000000u);
  }
}

TEST(SuperLongAdd, BillionsWrap) {
  SuperLong counter = {UINT32_MAX, 999999999};
  SuperLongAdd(counter, 2);
  ExpectSuperLong(counter, 0, 1);
}

TEST(SuperLongAddWide, TakesSizesBeyond4GB) {
  SuperLong counter = {0, 999999999};
  SuperLongAddWide(counter, 5000000000);
  ExpectSuperLong(counter, 5, 999999999);
  SuperLongAddWide(counter, 1);
  ExpectSuperLong(counter, 5, 1000000000);
  SuperLongAddWide(counter, 1);
  ExpectSuperLong(counter, 6, 1);
}

TEST(SuperLongAddWide, NegativeAmountsAddNothing) {
  SuperLong counter = {1, 2};
  SuperLongAddWide(counter, -5);
  SuperLongAddWide(counter, INT64_MIN);
  ExpectSuperLong(counter, 1, 2);
}

TEST(SuperLongAddWide, StaysAtItsGreatestValue) {
  SuperLong counter = {};
  SuperLongAddWide(counter, INT64_MAX);  // 9.2e18
  ExpectSuperLong(counter, 9223372036, 854775807);
  SuperLongAddWide(counter, 1);
  SuperLongAddWide(counter, INT64_MAX);
  ExpectSuperLong(counter, 9223372036, 854775807);
  EXPECT_EQ(SuperLongToBytes(counter), uint64_t{INT64_MAX});
  counter = {9223372036, 854775806};
  SuperLongAddWide(counter, 1);
  ExpectSuperLong(counter, 9223372036, 854775807);
  counter = {9223372035, 999999999};
  SuperLongAddWide(counter, 2);
  ExpectSuperLong(counter, 9223372036, 1);
}

TEST(SuperLongToDouble, WeighsBothWords) {
  EXPECT_EQ(SuperLongToDouble({0, 0}), 0.0);
  EXPECT_EQ(SuperLongToDouble({0, 1000000000}), 1e9);
  EXPECT_EQ(SuperLongToDouble({4, 294967296}), 4294967296.0);
  EXPECT_EQ(SuperLongToDouble({4294967, 5}), 4294967e9 + 5);
}

TEST(SuperLongAddWide, StaysThereWhateverIsAdded) {
  SuperLong counter = {9223372036, 854775807};
  for (const int64_t amount : {int64_t{1}, int64_t{1}, INT64_MAX, int64_t{1000000000}}) {
    SuperLongAddWide(counter, amount);
    ExpectSuperLong(counter, 9223372036, 854775807);
  }
  counter = {9223372036, 0};
  SuperLongAddWide(counter, 1000000000);
  ExpectSuperLong(counter, 9223372036, 854775807);
}

// Amounts that end at whole billions far more often than those of logs.
static std::vector<uint32_t> SomeAmounts(std::mt19937& random) {
  static constexpr uint32_t kAmounts[] = {0,          0,          1,          250000000,
                                          500000000,  999999999,  1000000000, 1500000000,
                                          2000000000, 2500000000, 3000000000, 4000000000};
  std::vector<uint32_t> amounts(random() % 6);
  for (uint32_t& amount : amounts) {
    amount = kAmounts[random() % std::size(kAmounts)];
  }
  return amounts;
}

TEST(SuperLongSum, AddsAsItsAmountsInTheirOrder) {
  std::mt19937 random(1);
  int full = 0;
  for (int i = 0; i < 200000; ++i) {
    SuperLong narrow = {UINT32_MAX - static_cast<uint32_t>(random() % 3), 0};
    SuperLong wide = random() % 2 == 0 ? SuperLong{} : SuperLong{9223372036 - random() % 3, 0};
    SuperLong narrow_of_sums = narrow;
    SuperLong wide_of_sums = wide;
    for (int part = 0; part < 3; ++part) {
      SuperLongSum narrow_sum;
      SuperLongSum wide_sum;
      for (const uint32_t amount : SomeAmounts(random)) {
        SuperLongAdd(narrow, amount);
        SuperLongAddWide(wide, amount);
        SuperLongAdd(narrow_sum.sum, amount);
        SuperLongAddWide(wide_sum.sum, amount);
        NoteAmount(narrow_sum, amount);
        NoteAmount(wide_sum, amount);
      }
      AddSumWrapping(narrow_of_sums, narrow_sum);
      AddSumWide(wide_of_sums, wide_sum);
      full += narrow.units == 1000000000;
      ASSERT_EQ(narrow_of_sums.billions, narrow.billions);
      ASSERT_EQ(narrow_of_sums.units, narrow.units);
      ASSERT_EQ(wide_of_sums.billions, wide.billions);
      ASSERT_EQ(wide_of_sums.units, wide.units);
    }
  }
  EXPECT_GT(full, 10000);
}

TEST(SuperLongSum, AppendsAsItsAmountsInTheirOrder) {
  std::mt19937 random(2);
  int full = 0;
  for (int i = 0; i < 200000; ++i) {
    const auto billions = UINT32_MAX - static_cast<uint32_t>(random() % 3);
    SuperLong narrow = {billions, random() % 2 == 0 ? 0 : 1000000000U};
    SuperLong wide = {7, 0};
    SuperLong narrow_of_sums = narrow;
    SuperLong wide_of_sums = wide;
    SuperLongSum narrow_sums[3];
    SuperLongSum wide_sums[3];
    for (int part = 0; part < 3; ++part) {
      for (const uint32_t amount : SomeAmounts(random)) {
        SuperLongAdd(narrow, amount);
        SuperLongAddWide(wide, amount);
        SuperLongAdd(narrow_sums[part].sum, amount);
        SuperLongAddWide(wide_sums[part].sum, amount);
        NoteAmount(narrow_sums[part], amount);
        NoteAmount(wide_sums[part], amount);
      }
    }
    const int first = static_cast<int>(random() % 2);  // which two come together first
    AppendWrapping(narrow_sums[first], narrow_sums[first + 1]);
    AppendWide(wide_sums[first], wide_sums[first + 1]);
    AppendWrapping(narrow_sums[0], narrow_sums[2 - first]);
    AppendWide(wide_sums[0], wide_sums[2 - first]);
    AddSumWrapping(narrow_of_sums, narrow_sums[0]);
    AddSumWide(wide_of_sums, wide_sums[0]);
    full += narrow.units == 1000000000;
    ASSERT_EQ(narrow_of_sums.billions, narrow.billions);
    ASSERT_EQ(narrow_of_sums.units, narrow.units);
    ASSERT_EQ(SuperLongToBytes(wide_of_sums), SuperLongToBytes(wide));
    ASSERT_EQ(wide_of_sums.units, wide.units);
  }
  EXPECT_GT(full, 10000);
}

TEST(SuperLongSum, OfSmallAmountsIsThatOfTheCounter) {
  SuperLong counter{};
  SuperLong other{3, 500000000};
  const SuperLongSum none = SumOfSmall(counter);
  EXPECT_FALSE(none.ends_full[0]);
  EXPECT_TRUE(none.ends_full[1]);
  SuperLongAdd(counter, 400000000);
  SuperLongAdd(counter, 100000000);
  AddSumWrapping(other, SumOfSmall(counter));
  ExpectSuperLong(other, 3, 1000000000);
}
