#include "output/readable.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "output/characters.h"

static std::string Read(const std::string& address) {
  ReadableText room;
  return std::string(Readable(address, room));
}

static void ExpectStays(const std::string& address) {
  EXPECT_EQ(Read(address), address);
}

static std::string Encoded(std::string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return encoded;
}

TEST(Readable, CharactersBeyondAsciiStandAsThemselves) {
  EXPECT_EQ(Read("/caf%C3%A9"), "/café");
  EXPECT_EQ(Read("/caf%c3%a9/%E6%97%A5%e6%9c%ac?q=%F0%9F%8D%B5"), "/café/日本?q=🍵");
  EXPECT_EQ(Read("/e%CC%81"), "/e\u0301");
  EXPECT_EQ(Read("http://r.example/%C3%A9"), "http://r.example/é");
  EXPECT_EQ(Read("*/%C3%A9"), "*/é");
}

TEST(Readable, AllThatIsAsciiStays) {
  ExpectStays("/a%2Fb%20c%00%3Cscript%3E%22%27%26%25%0D%0A%7F%1B");
  EXPECT_EQ(Read("/%25C3%25A9/%C3%A9%2f%25"), "/%25C3%25A9/é%2f%25");
}

TEST(Readable, WhatCannotBeSeenStays) {
  for (const char* const hidden :
       {"\u202E", "\u2066", "\u200B", "\u00A0", "\u0085", "\u009B", "\u00AD", "\uFEFF", "\u2028", "\u3000"}) {
    ExpectStays("/a" + Encoded(hidden) + "b");
  }
}

TEST(Readable, BytesThatAreNoUtf8Stay) {
  ExpectStays("/caf%E9");
  ExpectStays("/%C3");
  ExpectStays("/%C3%28");
  ExpectStays("/%C0%BC%E0%80%BC");     // "<" in too many bytes
  ExpectStays("/%ED%A0%BD%ED%B8%80");  // surrogates
  ExpectStays("/%F4%90%80%80");
  EXPECT_EQ(Read("/%C3%C3%A9%A9"), "/%C3é%A9");
}

TEST(Readable, BytesThatStandAsTheyAreAreNoPartOfACharacter) {
  ExpectStays("/\xC3%A9");
  ExpectStays("/%C3\xA9");
  EXPECT_EQ(Read("/\xC3%C3%A9\xA9"), "/\xC3é\xA9");
}

TEST(Readable, WhatIsNoEncodingStays) {
  for (const char* const address : {"/%", "/%C", "/%C3%", "/%C3%A", "/%C3%Ag", "/%+3%A9", "/% 3%a9", "/%-3",
                                    "", "%", "/%u00e9", "/&#xe9;"}) {
    ExpectStays(address);
  }
}

TEST(Readable, HostsStay) {
  ExpectStays("http://shop%EF%BC%8Fevil.example");
  ExpectStays("HTTPS://%C3%A9.example/");
  EXPECT_EQ(Read("http://%C3%A9.example/%C3%A9"), "http://%C3%A9.example/é");
  EXPECT_EQ(Read("http://%C3%A9.example?%C3%A9"), "http://%C3%A9.example?é");
  EXPECT_EQ(Read("/http://%C3%A9"), "/http://é");
}

TEST(Readable, LongestItemHasRoomAndALongerTextStays) {
  const std::string longest = "/" + std::string(kLongestItem - 7, 'a') + "%C3%A9";
  EXPECT_EQ(Read(longest), "/" + std::string(kLongestItem - 7, 'a') + "é");
  ExpectStays("a" + longest);
}

// Nothing of ASCII is new in what is read, nothing that cannot be seen, and nothing is lost: encoded
// again, character by character, it is the address.
TEST(Readable, RandomAddressesLoseNothingAndGainNoAscii) {
  const std::vector<std::string> parts = {
      "a",    "%", "%C3%A9", "%c3%a9", "%E2%80%AE", "%C3",          "%A9", "\xC3",
      "\xA9", "/", "<",      "%3C",    "%00",       "%F0%9F%8D%B5", "é",   "%E2%82"};
  std::mt19937 random(3);
  for (int i = 0; i < 20000; ++i) {
    std::string address = "/";
    for (size_t left = random() % 12; left > 0; --left) {
      address += parts[random() % parts.size()];
    }
    const std::string read = Read(address);
    size_t at = 0;
    for (std::string_view left = read; !left.empty();) {
      const Character first = FirstCharacter(left);
      const std::string bytes(left.substr(0, first.size));
      left.remove_prefix(first.size);
      if (address.compare(at, bytes.size(), bytes) == 0) {
        at += bytes.size();
        continue;
      }
      ASSERT_TRUE(first.valid && first.code >= 0x80 && IsVisible(first.code)) << address;
      std::string written = address.substr(at, 3 * bytes.size());
      for (char& c : written) {
        c = static_cast<char>(tolower(c));
      }
      ASSERT_EQ(written, Encoded(bytes)) << address;
      at += written.size();
    }
    ASSERT_EQ(at, address.size()) << address;
  }
}
