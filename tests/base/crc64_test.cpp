#include "base/crc64.h"

#include <gtest/gtest.h>

#include <string>

static uint64_t Crc64(const std::string& text) {
  return AddToCrc64(0, text.data(), text.size());
}

// Bit by bit, as the definition has it.
static uint64_t Crc64ByBits(const std::string& text) {
  uint64_t crc = UINT64_MAX;
  for (const char c : text) {
    for (int bit = 0; bit < 8; ++bit) {
      const uint64_t in = (static_cast<unsigned char>(c) >> bit) & 1U;
      crc = crc % 2 == in ? crc >> 1 : crc >> 1 ^ 0xc96c5795d7870f42;
    }
  }
  return ~crc;
}

TEST(Crc64, IsWhatEverybodyComputes) {
  EXPECT_EQ(Crc64(""), 0U);
  EXPECT_EQ(Crc64("123456789"), 0x995dc9bbdf1939faU);
}

TEST(Crc64, IsTheSameOfAnyPieces) {
  std::string text;
  for (int i = 0; i < 400; ++i) {
    text += static_cast<char>(i * 37 + 11);
    ASSERT_EQ(Crc64(text), Crc64ByBits(text));
  }
  for (size_t cut = 0; cut <= text.size(); ++cut) {
    const uint64_t first = AddToCrc64(0, text.data(), cut);
    ASSERT_EQ(AddToCrc64(first, text.data() + cut, text.size() - cut), Crc64(text)) << cut;
  }
}
