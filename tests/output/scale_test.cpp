#include "output/scale.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "output/written.h"

static std::string Steps(const Scale& scale) {
  std::string all;
  for (uint64_t steps = 0; steps <= scale.steps; ++steps) {
    all += Written([&](Sink& sink) { PutStep(sink, scale, steps); }) + ";";
  }
  return all;
}

TEST(AxisScale, IsRound) {
  EXPECT_EQ(Steps(AxisScale(0, 5)), "0;");
  EXPECT_EQ(Steps(AxisScale(-7, 5)), "0;");
  EXPECT_EQ(Steps(AxisScale(1, 5)), "0;1;");
  EXPECT_EQ(Steps(AxisScale(5, 5)), "0;1;2;3;4;5;");
  EXPECT_EQ(Steps(AxisScale(6, 5)), "0;2;4;6;");
  EXPECT_EQ(Steps(AxisScale(25001, 5)), "0;10,000;20,000;30,000;");
  EXPECT_EQ(Steps(AxisScale(900000, 5)), "0;0.2 M;0.4 M;0.6 M;0.8 M;1 M;");
}

TEST(AxisScale, ShortensMillionsAndMore) {
  EXPECT_EQ(Steps(AxisScale(2400000, 5)), "0;0.5 M;1 M;1.5 M;2 M;2.5 M;");
  EXPECT_EQ(Steps(AxisScale(4000000000, 5)), "0;1 G;2 G;3 G;4 G;");
  EXPECT_EQ(Steps(AxisScale(std::numeric_limits<int64_t>::max(), 5)), "0;2 E;4 E;6 E;8 E;10 E;");
}

TEST(ClassScale, HasNeverFewSteps) {
  for (int64_t largest = 4; largest < 100000; ++largest) {
    const Scale scale = ClassScale(largest, 6);
    ASSERT_LE(scale.steps, 6U) << largest;
    ASSERT_GE(scale.steps, 4U) << largest;
    ASSERT_GE(scale.steps * scale.step, static_cast<uint64_t>(largest));
    ASSERT_LT((scale.steps - 1) * scale.step, static_cast<uint64_t>(largest));
  }
  EXPECT_EQ(Steps(ClassScale(3, 6)), "0;1;2;3;");
  EXPECT_EQ(Steps(ClassScale(80, 6)), "0;15;30;45;60;75;90;");
}

TEST(TopOf, IsNeverZero) {
  EXPECT_EQ(TopOf(AxisScale(0, 5)), 1U);
  EXPECT_EQ(TopOf(AxisScale(7, 5)), 8U);
  EXPECT_EQ(TopOf(AxisScale(std::numeric_limits<int64_t>::max(), 5)), 10'000'000'000'000'000'000U);
}
