#include "superlog/super_long.h"

#include <gtest/gtest.h>

static void ExpectSuperLong(SuperLong value, uint32_t billions, uint32_t units) {
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
  ExpectSuperLong(counter, UINT32_MAX, 999999999);
  SuperLongAddWide(counter, 1);
  SuperLongAddWide(counter, INT64_MAX);
  ExpectSuperLong(counter, UINT32_MAX, 999999999);
  counter = {};
  SuperLongAddWide(counter, 4294967295999999999);
  ExpectSuperLong(counter, UINT32_MAX, 999999999);
  counter = {UINT32_MAX - 1, 999999999};
  SuperLongAddWide(counter, 2);
  ExpectSuperLong(counter, UINT32_MAX, 1);
}

TEST(SuperLongToDouble, WeighsBothWords) {
  EXPECT_EQ(SuperLongToDouble({0, 0}), 0.0);
  EXPECT_EQ(SuperLongToDouble({0, 1000000000}), 1e9);
  EXPECT_EQ(SuperLongToDouble({4, 294967296}), 4294967296.0);
  EXPECT_EQ(SuperLongToDouble({4294967, 5}), 4294967e9 + 5);
}
