#include "superlog/byte_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

// A text in a buffer that goes on with bytes that must not be found.
static std::string WithTail(const std::string& text) {
  return text + std::string(kScanOverread, 'x');
}

TEST(FindByte, FindsAtEveryDistanceAndStopsAtTheEnd) {
  for (size_t length = 0; length < 100; ++length) {
    for (size_t at = 0; at <= length; ++at) {
      std::string text = WithTail(std::string(length, '-'));
      text[at] = 'x';  // at == length: the first byte behind the end
      char* const begin = text.data();
      ASSERT_EQ(FindByte(begin, begin + length, 'x'), begin + at);
      ASSERT_EQ(FindEither(begin, begin + length, 'x', 'y'), begin + at);
      ASSERT_EQ(FindEither(begin, begin + length, 'y', 'x'), begin + at);
    }
  }
}

TEST(FindByte, EmptyRangeYieldsItsEnd) {
  std::string text = WithTail("");
  EXPECT_EQ(FindByte(text.data(), text.data(), 'x'), text.data());
  EXPECT_EQ(FindEither(text.data(), text.data(), 'x', 'y'), text.data());
}

TEST(FindByte, EqualsAPlainSearchOverRandomBytes) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 120, '\0');
    for (char& c : text) {
      c = static_cast<char>(random());
    }
    const auto a = static_cast<char>(random());
    const auto b = static_cast<char>(random());
    const size_t plain_a = std::min(text.find(a), text.size());
    const size_t plain_b = std::min(text.find(b), text.size());
    const std::string buffer = WithTail(text);
    const char* const begin = buffer.data();
    ASSERT_EQ(FindByte(begin, begin + text.size(), a), begin + plain_a);
    ASSERT_EQ(FindEither(begin, begin + text.size(), a, b), begin + std::min(plain_a, plain_b));
  }
}

TEST(CountByte, CountsMoreThanAByteHolds) {
  for (const size_t before : {0, 1, 100, 255, 256, 1000}) {
    for (const size_t matches : {0, 1, 254, 255, 256, 511, 70000}) {
      const std::string text = std::string(before, 'x') + std::string(matches, 'y') + "x";
      EXPECT_EQ(CountByte(text.data(), text.data() + text.size(), 'y'), static_cast<int64_t>(matches));
    }
  }
}
