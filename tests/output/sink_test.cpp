#include "output/sink.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "output/written.h"

TEST(Sink, HandsOnEverythingInOrder) {
  std::string expected;
  const std::string written = Written([&](Sink& sink) {
    for (int i = 0; i < 20000; ++i) {
      PutNumber(sink, i);
      Put(sink, ";");
      expected += std::to_string(i) + ";";
    }
  });
  EXPECT_EQ(written, expected);
}

TEST(Sink, TakesTextsLongerThanItsPiece) {
  const std::string text(3 * sizeof Sink::piece + 7, 'x');
  EXPECT_EQ(Written([&](Sink& sink) { PutChecked(sink, text); }), text);
}

static std::string Grouped(int64_t number) {
  return Written([&](Sink& sink) { PutGrouped(sink, number); });
}

TEST(Grouped, DividesThousands) {
  EXPECT_EQ(Grouped(0), "0");
  EXPECT_EQ(Grouped(999), "999");
  EXPECT_EQ(Grouped(1000), "1,000");
  EXPECT_EQ(Grouped(123456), "123,456");
  EXPECT_EQ(Grouped(-1234567), "-1,234,567");
  EXPECT_EQ(Grouped(std::numeric_limits<int64_t>::min()), "-9,223,372,036,854,775,808");
}

TEST(Numbers, AreWhole) {
  EXPECT_EQ(Written([](Sink& sink) { PutNumber(sink, std::numeric_limits<int64_t>::min()); }),
            "-9223372036854775808");
  EXPECT_EQ(Written([](Sink& sink) { PutSize(sink, std::numeric_limits<uint64_t>::max()); }),
            "18446744073709551615");
}

static std::string Decimal(double number, int digits) {
  return Written([&](Sink& sink) { PutDecimal(sink, number, digits); });
}

TEST(Decimal, HasSoManyDigits) {
  EXPECT_EQ(Decimal(0.125, 2), "0.12");
  EXPECT_EQ(Decimal(99.999, 2), "100.00");
  EXPECT_EQ(Decimal(-1.5, 0), "-2");
  EXPECT_EQ(Decimal(1e14, 9), "100000000000000.000000000");
}

TEST(Decimal, IsZeroForWhatIsNoNumber) {
  EXPECT_EQ(Decimal(std::nan(""), 1), "0.0");
  EXPECT_EQ(Decimal(std::numeric_limits<double>::infinity(), 1), "0.0");
  EXPECT_EQ(Decimal(1e300, 1), "0.0");
}

TEST(Rounded, IsTheNearestWholeNumber) {
  for (const double number :
       {0.0, 0.4, 0.49999999999999994, 0.5, 1.49, 1.5, 2.5, 1234567.5, 4503599627370495.5, 1e18}) {
    EXPECT_EQ(Rounded(number), std::llround(number)) << number;
  }
}

TEST(Padded, HasZerosInFront) {
  EXPECT_EQ(Written([](Sink& sink) { PutPadded(sink, 7, 2); }), "07");
  EXPECT_EQ(Written([](Sink& sink) { PutPadded(sink, 2026, 4); }), "2026");
  EXPECT_EQ(Written([](Sink& sink) { PutPadded(sink, 12345, 4); }), "12345");
}
