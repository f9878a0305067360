#include "output/durations.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "output/written.h"

static std::string Duration(int64_t microseconds) {
  return Written([&](Sink& sink) { PutDuration(sink, microseconds); });
}

TEST(PutDuration, HasThreeDigits) {
  EXPECT_EQ(Duration(0), "0.000 ms");
  EXPECT_EQ(Duration(7), "0.007 ms");
  EXPECT_EQ(Duration(999), "0.999 ms");
  EXPECT_EQ(Duration(1000), "1.00 ms");
  EXPECT_EQ(Duration(12345), "12.3 ms");
  EXPECT_EQ(Duration(123456), "123 ms");
  EXPECT_EQ(Duration(1234567), "1.23 s");
  EXPECT_EQ(Duration(98765432), "98.8 s");
  EXPECT_EQ(Duration(987654321), "988 s");
  EXPECT_EQ(Duration(1234567890123), "1,234,568 s");
}

TEST(PutDuration, RoundsHalvesUpwards) {
  EXPECT_EQ(Duration(1004), "1.00 ms");
  EXPECT_EQ(Duration(1005), "1.01 ms");
  EXPECT_EQ(Duration(12349), "12.3 ms");
  EXPECT_EQ(Duration(12350), "12.4 ms");
}

TEST(PutDuration, HasNoFourthDigitOfWhatIsRoundedUp) {
  EXPECT_EQ(Duration(9994), "9.99 ms");
  EXPECT_EQ(Duration(9995), "10.0 ms");
  EXPECT_EQ(Duration(99949), "99.9 ms");
  EXPECT_EQ(Duration(99950), "100 ms");
  EXPECT_EQ(Duration(999499), "999 ms");
  EXPECT_EQ(Duration(999500), "1.00 s");
  EXPECT_EQ(Duration(9995000), "10.0 s");
  EXPECT_EQ(Duration(99950000), "100 s");
}

TEST(DurationWidth, IsWhatIsWritten) {
  const int64_t most = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(Duration(most), "9,223,372,036,855 s");
  for (const int64_t microseconds : {int64_t{0}, int64_t{999}, int64_t{9995}, int64_t{99950}, int64_t{123456},
                                     int64_t{999500}, int64_t{98765432}, int64_t{123456789012}, most}) {
    EXPECT_EQ(DurationWidth(microseconds), Duration(microseconds).size()) << microseconds;
  }
}
