#include "analysis/item_key.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <cstdlib>
#include <memory>
#include <set>
#include <string>

#include "analysis/paired_tables.h"

static const KeySeed kSeed = {0x0123456789abcdef, 0xfedcba9876543210};

static std::unique_ptr<ListItem, void (*)(void*)> MakeItem(const std::string& key) {
  ListItem* item = static_cast<ListItem*>(calloc(1, offsetof(ListItem, name) + PaddedKeySize(key.size())));
  item->length = static_cast<uint8_t>(key.size());
  memcpy(item->name, key.data(), key.size());
  return {item, free};
}

// Keys that have much in common, of all lengths and bytes.
static std::string RandomKey(Random& random) {
  static const char kLetters[] = "aAbBzZ@[`{/.0\x80\xc1\xe1\xff\x1f";
  std::string key(1 + random.Below(random.Below(4) == 0 ? 243 : 20), 'k');
  for (uint32_t i = random.Below(4); i > 0; --i) {
    key[random.Below(static_cast<uint32_t>(key.size()))] = kLetters[random.Below(sizeof kLetters - 1)];
  }
  return key;
}

static std::string SwapCase(std::string key) {
  for (char& c : key) {
    c = IsLetterAscii(c) ? static_cast<char>(c ^ 0x20) : c;
  }
  return key;
}

TEST(FoldWord, FoldsEachByteOnItsOwn) {
  for (size_t place = 0; place < kKeyWord; ++place) {
    for (int c = 0; c < 256; ++c) {
      char text[kKeyWord];
      memset(text, c == 'Q' ? 'R' : 'Q', sizeof text);
      text[place] = static_cast<char>(c);
      const uint64_t folded = FoldWord(LoadWord(text));
      for (char& byte : text) {
        byte = ToLowerAscii(byte);
      }
      ASSERT_EQ(folded, LoadWord(text)) << c << " at " << place;
    }
  }
}

TEST(KeyBefore, IsStrcmpAndStrcasecmpOrder) {
  Random random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::string a = RandomKey(random);
    const std::string b = random.Below(3) == 0 ? SwapCase(a) : RandomKey(random);
    const auto item_a = MakeItem(a);
    const auto item_b = MakeItem(b);
    ASSERT_EQ(KeyBefore(*item_a, *item_b, false), strcmp(a.c_str(), b.c_str()) < 0) << a << " " << b;
    ASSERT_EQ(KeyBefore(*item_a, *item_b, true), strcasecmp(a.c_str(), b.c_str()) < 0) << a << " " << b;
  }
}

TEST(SameKey, IsEqualityWithAndWithoutCase) {
  Random random(2);
  for (int i = 0; i < 20000; ++i) {
    const std::string a = RandomKey(random);
    const std::string b = random.Below(2) == 0 ? SwapCase(a) : RandomKey(random);
    const auto item = MakeItem(a);
    ASSERT_EQ(SameKey(*item, b, false), a == b) << a << " " << b;
    ASSERT_EQ(SameKey(*item, b, true), strcasecmp(a.c_str(), b.c_str()) == 0) << a << " " << b;
  }
}

TEST(HashKey, IgnoresCaseOnlyWhenToldTo) {
  Random random(3);
  for (size_t length = 1; length <= kTextMax; ++length) {
    std::string key(length, 'x');
    for (char& c : key) {
      c = static_cast<char>('A' + random.Below(58));
    }
    const std::string swapped = SwapCase(key);
    EXPECT_EQ(HashKey(key, true, kSeed), HashKey(swapped, true, kSeed));
    if (swapped != key) {
      EXPECT_NE(HashKey(key, false, kSeed), HashKey(swapped, false, kSeed));
    }
  }
}

TEST(HashKey, EveryByteOfEveryLengthCounts) {
  for (size_t length = 1; length <= kTextMax; ++length) {
    std::set<uint32_t> hashes;
    hashes.insert(HashKey(std::string(length, 'x'), true, kSeed));
    for (size_t i = 0; i < length; ++i) {
      std::string key(length, 'x');
      key[i] = 'y';
      hashes.insert(HashKey(key, true, kSeed));
    }
    EXPECT_EQ(hashes.size(), length + 1) << length;
  }
}

TEST(HashKey, BytesThatDifferInTheCaseBitAloneStayApart) {
  std::set<uint32_t> hashes;
  for (const char* key : {"/@", "/`", "/[", "/{", "/0", "/\x10", "/\xc1", "/\xe1"}) {
    hashes.insert(HashKey(key, true, kSeed));
  }
  EXPECT_EQ(hashes.size(), 8U);
}

TEST(HashKey, DependsOnTheSeed) {
  EXPECT_NE(HashKey("/index.html", false, kSeed), HashKey("/index.html", false, {1, 2}));
}

TEST(HashKey, SpreadsNumberedKeysOverTheLowBits) {
  constexpr int kKeys = 1 << 14;
  std::set<uint32_t> homes;
  for (int i = 0; i < kKeys; ++i) {
    homes.insert(HashKey("/page" + std::to_string(i) + ".html", false, kSeed) % kKeys);
  }
  EXPECT_NEAR(static_cast<double>(homes.size()), kKeys * 0.632,
              kKeys * 0.02);  // 1 - 1/e, as random ones would
}
TEST(CopyKey, CopiesEveryLengthAndNothingBeyond) {
  char from[kTextMax];
  for (size_t i = 0; i < sizeof from; ++i) {
    from[i] = static_cast<char>(i + 1);
  }
  for (size_t length = 0; length <= kTextMax; ++length) {
    std::string to(kTextMax + 1, '#');
    CopyKey(to.data(), from, length);
    EXPECT_EQ(to, std::string(from, length) + std::string(kTextMax + 1 - length, '#')) << length;
  }
}
