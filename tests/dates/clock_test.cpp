#include "dates/clock.h"

#include <gtest/gtest.h>

TEST(CurrentTime, StandsStillWhereATestSetIt) {
  SetCurrentTimeForTest(86400);
  EXPECT_EQ(CurrentTime(), 86400);
  SetCurrentTimeForTest(0);
  EXPECT_EQ(CurrentTime(), 0);
  SetCurrentTimeForTest(-1);
}

TEST(CurrentTime, IsTheSystemClockOtherwise) {
  SetCurrentTimeForTest(86400);
  SetCurrentTimeForTest(-1);
  const time_t before = time(nullptr);
  const time_t now = CurrentTime();
  EXPECT_GE(now, before);
  EXPECT_LE(now, time(nullptr));
}
