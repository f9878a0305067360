#include "base/byte_size.h"

#include <gtest/gtest.h>

TEST(ByteSize, IsANumberWithOrWithoutAUnit) {
  EXPECT_EQ(ByteSize("0"), 0U);
  EXPECT_EQ(ByteSize("500000"), 500000U);
  EXPECT_EQ(ByteSize("64K"), 65536U);
  EXPECT_EQ(ByteSize("64k"), 65536U);
  EXPECT_EQ(ByteSize("3m"), 3145728U);
  EXPECT_EQ(ByteSize("1G"), 1073741824U);
  EXPECT_EQ(ByteSize("2T"), 2199023255552U);
}

TEST(ByteSize, OfMoreThan64BitsIsTheMostThatTheyHold) {
  EXPECT_EQ(ByteSize("18446744073709551615"), UINT64_MAX);
  EXPECT_EQ(ByteSize("18446744073709551616"), UINT64_MAX);
  EXPECT_EQ(ByteSize("18014398509481983K"), UINT64_MAX - 1023);
  EXPECT_EQ(ByteSize("18014398509481984K"), UINT64_MAX);
  EXPECT_EQ(ByteSize("99999999999999999999999G"), UINT64_MAX);
}

TEST(ByteSize, OfAnythingElseIsNone) {
  for (const char* text : {"", "K", "-1", "+1", " 1", "1 ", "1 K", "1KB", "1P", "1.5M", "0x10", "64\n"}) {
    EXPECT_EQ(ByteSize(text), std::nullopt) << text;
  }
}
