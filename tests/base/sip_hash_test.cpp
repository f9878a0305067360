#include "base/sip_hash.h"

#include <gtest/gtest.h>

#include <string>

static SipKey CountingKey() {
  SipKey key;
  for (size_t i = 0; i < key.size(); ++i) {
    key[i] = static_cast<std::uint8_t>(i);
  }
  return key;
}

// Of the bytes 0, 1, 2 and so on.
static std::uint64_t HashOfBytes(int count) {
  SipHash hash = BeginSipHash(CountingKey());
  for (int i = 0; i < count; ++i) {
    AddByte(hash, static_cast<std::uint8_t>(i));
  }
  return EndSipHash(hash);
}

// The first values that its authors give, and the one that their paper works out.
TEST(SipHash, IsWhatItsAuthorsSay) {
  EXPECT_EQ(HashOfBytes(0), 0x726fdb47dd0e0e31u);
  EXPECT_EQ(HashOfBytes(1), 0x74f839c593dc67fdu);
  EXPECT_EQ(HashOfBytes(15), 0xa129ca6149be45e5u);
}

TEST(SipHash, TakesMoreAfterItWasEnded) {
  SipHash hash = BeginSipHash(CountingKey());
  for (int i = 0; i < 15; ++i) {
    AddByte(hash, static_cast<std::uint8_t>(i));
    EXPECT_EQ(EndSipHash(hash), HashOfBytes(i + 1));
  }
}

TEST(SipHash, DependsOnTheKey) {
  SipKey other = CountingKey();
  other[15] ^= 1;
  EXPECT_NE(EndSipHash(BeginSipHash(other)), HashOfBytes(0));
}

// At the beginning, and behind any number of bytes.
TEST(SipHash, TakesManyBytesAsOneByOne) {
  const std::string text = "0123456789abcdefghijklmnopqrstuvwxyz\xff";
  for (size_t cut = 0; cut <= text.size(); ++cut) {
    SipHash parts = BeginSipHash(CountingKey());
    AddBytes(parts, text.substr(0, cut));
    AddBytes(parts, text.substr(cut));
    SipHash bytes = BeginSipHash(CountingKey());
    for (const char byte : text) {
      AddByte(bytes, static_cast<std::uint8_t>(byte));
    }
    EXPECT_EQ(EndSipHash(parts), EndSipHash(bytes)) << cut;
  }
}
