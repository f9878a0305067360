#include "dates/written_zone.h"

#include <gtest/gtest.h>

#include <climits>
#include <ctime>
#include <string>

namespace {

struct Taken {
  bool taken;
  int seconds;
  std::string rest;

  bool operator==(const Taken&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Taken& taken) {
  return out << taken.taken << " " << taken.seconds << " \"" << taken.rest << "\"";
}

Taken Take(std::string_view text) {
  int seconds = 7;
  const bool taken = TakeZone(text, seconds);
  return {taken, seconds, std::string(text)};
}

TEST(TakeZoneTest, TakesOffsets) {
  EXPECT_EQ(Take("+0200"), (Taken{true, 7200, ""}));
  EXPECT_EQ(Take("-0700"), (Taken{true, -25200, ""}));
  EXPECT_EQ(Take("+05:30]"), (Taken{true, 19800, "]"}));
  EXPECT_EQ(Take("-0330 x"), (Taken{true, -12600, " x"}));
  EXPECT_EQ(Take("+02"), (Taken{true, 7200, ""}));
  EXPECT_EQ(Take("-02 00"), (Taken{true, -7200, " 00"}));
  EXPECT_EQ(Take("+0000"), (Taken{true, 0, ""}));
  EXPECT_EQ(Take("-0000"), (Taken{true, 0, ""}));
  EXPECT_EQ(Take("+2359"), (Taken{true, 86340, ""}));
}

TEST(TakeZoneTest, TakesNamesOfGreenwich) {
  EXPECT_EQ(Take("Z"), (Taken{true, 0, ""}));
  EXPECT_EQ(Take("UTC, 5"), (Taken{true, 0, ", 5"}));
  EXPECT_EQ(Take("GMT"), (Taken{true, 0, ""}));
}

TEST(TakeZoneTest, TakesMinutesOnlyWhereThereAreSome) {
  EXPECT_EQ(Take("+02:"), (Taken{true, 7200, ":"}));
  EXPECT_EQ(Take("+02:3"), (Taken{true, 7200, ":3"}));
  EXPECT_EQ(Take("+0260"), (Taken{true, 7200, "60"}));
}

TEST(TakeZoneTest, LeavesEverythingElse) {
  for (const char* text :
       {"", "+", "-", "+2", "+2400", "+99", "0200", " +0200", "CET", "z", "gmt", "+ 200", "+-200"}) {
    EXPECT_EQ(Take(text), (Taken{false, 7, text}));
  }
}

tm Written(int year, int month, int day, int hour, int minute, int second, int offset) {
  tm parts = {};
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  parts.tm_hour = hour;
  parts.tm_min = minute;
  parts.tm_sec = second;
  parts.tm_gmtoff = offset;
  return parts;
}

TEST(InstantOfTest, IsThatOfTheZone) {
  EXPECT_EQ(InstantOf(Written(2000, 10, 10, 13, 55, 36, -25200)), 971211336);
  EXPECT_EQ(InstantOf(Written(2000, 10, 10, 20, 55, 36, 0)), 971211336);
  EXPECT_EQ(InstantOf(Written(2000, 10, 11, 2, 25, 36, 19800)), 971211336);
  EXPECT_EQ(InstantOf(Written(1970, 1, 1, 0, 0, 0, 0)), 0);
}

// As the C library has it.
TEST(InstantOfTest, PartsNeedNotBeNormalised) {
  for (const tm& written : {Written(2000, 2, 31, 25, 61, 99, 0), Written(2000, 14, 1, 0, 0, 0, 0),
                            Written(2000, -5, 1, 0, 0, 0, 0), Written(1, 1, 1, 0, 0, 0, 0)}) {
    tm copy = written;
    EXPECT_EQ(InstantOf(written), timegm(&copy));
  }
}

TEST(InstantOfTest, AnyPartsGiveSomeNumber) {
  for (const int part : {INT_MIN, -1, INT_MAX}) {
    tm written = Written(2000, 1, 1, 0, 0, 0, 0);
    written.tm_year = written.tm_mday = written.tm_hour = written.tm_min = written.tm_sec = part;
    written.tm_mon = 11;
    InstantOf(written);
    written.tm_mon = part;
    InstantOf(written);
  }
}

}  // namespace
