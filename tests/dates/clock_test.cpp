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

TEST(MomentMade, IsTheEpochThatIsAskedFor) {
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_EQ(MomentMade(7), 7);
  setenv("SOURCE_DATE_EPOCH", "952300800", 1);
  EXPECT_EQ(MomentMade(7), 952300800);
  for (const char* const none : {"", "x", "1x", " 1", "99999999999999999999"}) {
    setenv("SOURCE_DATE_EPOCH", none, 1);
    EXPECT_EQ(MomentMade(7), 7) << none;
  }
  unsetenv("SOURCE_DATE_EPOCH");
}
