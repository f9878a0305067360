#include "report/number_format.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Commas(uint64_t value, uint32_t billions, uint32_t units) {
  char text[kFigureSize];
  FormatWithCommas(text, sizeof text, value, billions, units);
  return text;
}

std::string Suffix(uint32_t billions, uint32_t units) {
  testing::internal::CaptureStdout();
  PrintMbGbSuffix(billions, units);
  return testing::internal::GetCapturedStdout();
}

TEST(FormatWithCommas, WideFiguresHaveAllDigits) {
  EXPECT_EQ(Commas(10000000000, 0, 0), "10,000,000,000");
  EXPECT_EQ(Commas(UINT64_MAX, 0, 0), "18,446,744,073,709,551,615");
}

TEST(FormatWithCommas, GroupsDigitsFromTheRight) {
  struct Row {
    uint32_t value;
    const char* text;
  };
  for (const Row& row :
       {Row{1, "1"}, Row{12, "12"}, Row{999, "999"}, Row{1000, "1,000"}, Row{12345, "12,345"},
        Row{123456, "123,456"}, Row{1234567, "1,234,567"}, Row{4294967295, "4,294,967,295"}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Commas(row.value, 0, 0), row.text);
    EXPECT_EQ(Commas(0, 0, row.value), row.text);
  }
}

TEST(FormatWithCommas, ValueMayHave64Bits) {
  EXPECT_EQ(Commas(4294967296, 0, 0), "4,294,967,296");
  EXPECT_EQ(Commas(UINT64_MAX, 0, 0), "18,446,744,073,709,551,615");
}

TEST(FormatWithCommas, ZeroIsOneDigit) {
  EXPECT_EQ(Commas(0, 0, 0), "0");
}

TEST(FormatWithCommas, ValueWinsOverTheWideCounter) {
  EXPECT_EQ(Commas(7, 3, 5), "7");
}

TEST(FormatWithCommas, WideCounterWritesItsPartsOneAfterTheOther) {
  EXPECT_EQ(Commas(0, 1, 234567890), "1,234,567,890");
  EXPECT_EQ(Commas(0, 4294967295, 999999999), "4,294,967,295,999,999,999");
  EXPECT_EQ(Commas(0, 4294967295, 4294967295), "42,949,672,954,294,967,295");
}

TEST(FormatWithCommas, DeliberateUnitsAreNotPadded) {
  EXPECT_EQ(Commas(0, 1, 5), "15");
  EXPECT_EQ(Commas(0, 2, 0), "20");
  EXPECT_EQ(Commas(0, 1, 12345), "112,345");
}

TEST(FormatWithCommas, SmallCapacityCuts) {
  char text[4] = "xyz";
  FormatWithCommas(text, sizeof text, 1234567, 0, 0);
  EXPECT_STREQ(text, "1,2");
}

TEST(PrintMbGbSuffix, NothingBelowHalfAMegabyte) {
  EXPECT_EQ(Suffix(0, 0), "");
  EXPECT_EQ(Suffix(0, 500000), "");
  EXPECT_EQ(Suffix(0, 524287), "");
}

TEST(PrintMbGbSuffix, MegabytesBelowOneGigabyte) {
  EXPECT_EQ(Suffix(0, 524288), " (0.5 MB)");
  EXPECT_EQ(Suffix(0, 600000), " (0.6 MB)");
  EXPECT_EQ(Suffix(0, 1000000000), " (953.7 MB)");
  EXPECT_EQ(Suffix(1, 0), " (953.7 MB)");
  EXPECT_EQ(Suffix(1, 73741823), " (1024.0 MB)");
}

TEST(PrintMbGbSuffix, GigabytesFromOneGigabyteOn) {
  EXPECT_EQ(Suffix(1, 73741824), " (1.0 GB)");
  EXPECT_EQ(Suffix(2, 0), " (1.9 GB)");
  EXPECT_EQ(Suffix(4294967295, 4294967295), " (4000000000.0 GB)");
}

// In double precision these would read 616.9, 604.6 and 3219.3.
TEST(PrintMbGbSuffix, ComputesInSinglePrecision) {
  EXPECT_EQ(Suffix(0, 646918954), " (617.0 MB)");
  EXPECT_EQ(Suffix(0, 633916634), " (604.5 MB)");
  EXPECT_EQ(Suffix(3456, 643419261), " (3219.2 GB)");
}

}  // namespace
