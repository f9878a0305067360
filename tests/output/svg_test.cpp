#include "output/svg.h"

#include <gtest/gtest.h>

#include <string>

#include "output/written.h"

static std::string Parts(int64_t parts, int digits) {
  return Written([&](Sink& sink) { PutParts(sink, parts, digits); });
}

TEST(PutParts, LeavesNeedlessZerosOut) {
  EXPECT_EQ(Parts(0, 2), "0");
  EXPECT_EQ(Parts(1200, 2), "12");
  EXPECT_EQ(Parts(1250, 2), "12.5");
  EXPECT_EQ(Parts(1205, 2), "12.05");
  EXPECT_EQ(Parts(5, 2), "0.05");
  EXPECT_EQ(Parts(2000, 1), "200");
}

TEST(PutRequests, KnowsOneFromMany) {
  const auto requests = [](int64_t count) { return Written([&](Sink& sink) { PutRequests(sink, count); }); };
  EXPECT_EQ(requests(0), "0 requests");
  EXPECT_EQ(requests(1), "1 request");
  EXPECT_EQ(requests(12345), "12,345 requests");
}

TEST(DateOfDay, CountsFrom1970) {
  EXPECT_EQ(DateOfDay(0).year, 1970);
  EXPECT_EQ(WeekdayOfDay(0), 4);
  const CalendarDate leap = DateOfDay(-719528 + 59);
  EXPECT_EQ(leap.year, 0);
  EXPECT_EQ(leap.month, 2);
  EXPECT_EQ(leap.day, 29);
}
