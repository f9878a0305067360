#include "base/text_hash.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

static constexpr TextSeed kSeed = {0x243f6a8885a308d3, 0x13198a2e03707344};  // digits of pi

TEST(TextHash, DependsOnEachByteAndOnTheirNumber) {
  for (size_t length = 0; length < 70; ++length) {
    std::set<uint64_t> hashes;
    std::string text(length, 'a');
    hashes.insert(HashOfText(text, kSeed));
    for (char& byte : text) {
      byte = 'b';
      hashes.insert(HashOfText(text, kSeed));
      byte = '\0';
      hashes.insert(HashOfText(text, kSeed));
      byte = 'a';
    }
    EXPECT_EQ(hashes.size(), 1 + 2 * length) << length;
    EXPECT_NE(HashOfText(text, kSeed), HashOfText(text + '\0', kSeed)) << length;
  }
}

TEST(TextHash, DependsOnTheSeed) {
  EXPECT_NE(HashOfText("/index.html", kSeed), HashOfText("/index.html", {3, kSeed.mask}));
  EXPECT_NE(HashOfText("/index.html", kSeed), HashOfText("/index.html", {kSeed.start, 3}));
}

TEST(TextHash, ReadsNothingBesideTheText) {
  for (size_t length = 0; length < 40; ++length) {
    const std::string whole = "<" + std::string(length, 'x') + ">";
    const std::string other = "(" + std::string(length, 'x') + ")";
    const auto inner = [length](const std::string& text) { return std::string_view(text).substr(1, length); };
    EXPECT_EQ(HashOfText(inner(whole), kSeed), HashOfText(inner(other), kSeed)) << length;
  }
}
