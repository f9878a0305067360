#include "base/text_hash.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>

static constexpr TextSeed kSeed = {0x243f6a8885a308d3, 0x13198a2e03707344};  // digits of pi

// Of long texts or not.
class TextHash : public testing::TestWithParam<bool> {
 protected:
  uint64_t hash_of(std::string_view text, const TextSeed& seed = kSeed) const {
    return GetParam() ? HashOfLongText(text, seed) : HashOfText(text, seed);
  }
};
INSTANTIATE_TEST_SUITE_P(Both, TextHash, testing::Bool());

TEST_P(TextHash, DependsOnEachByteAndOnTheirNumber) {
  for (size_t length = 0; length < 110; ++length) {
    std::set<uint64_t> hashes;
    std::string text(length, 'a');
    hashes.insert(hash_of(text));
    for (char& byte : text) {
      byte = 'b';
      hashes.insert(hash_of(text));
      byte = '\0';
      hashes.insert(hash_of(text));
      byte = 'a';
    }
    EXPECT_EQ(hashes.size(), 1 + 2 * length) << length;
    EXPECT_NE(hash_of(text), hash_of(text + '\0')) << length;
  }
}

TEST_P(TextHash, DependsOnTheSeed) {
  EXPECT_NE(hash_of("/index.html"), hash_of("/index.html", {3, kSeed.mask}));
  EXPECT_NE(hash_of("/index.html"), hash_of("/index.html", {kSeed.start, 3}));
}

TEST_P(TextHash, ReadsNothingBesideTheText) {
  for (size_t length = 0; length < 80; ++length) {
    const std::string whole = "<" + std::string(length, 'x') + ">";
    const std::string other = "(" + std::string(length, 'x') + ")";
    const auto inner = [length](const std::string& text) { return std::string_view(text).substr(1, length); };
    EXPECT_EQ(hash_of(inner(whole)), hash_of(inner(other))) << length;
  }
}
