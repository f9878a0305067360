#include "analysis/item_key.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <cstdlib>
#include <memory>
#include <set>
#include <string>

#include "analysis/paired_tables.h"
#include "support/room.h"

static const KeySeed kSeed = {"sixty-four characters that are as good as any others for a test",
                              0x0123456789abcdef, 0xfedcba9876543211};

static LongPaddedKey Padded(const std::string& key) {
  LongPaddedKey padded;
  memset(padded.bytes, '#', sizeof padded.bytes);
  PadKey(padded, WithRoom(key));
  return padded;
}

static uint32_t Hash(const std::string& key, bool fold) {
  return HashKey(Padded(key).padded(), fold, kSeed);
}

static std::unique_ptr<ListItem, void (*)(void*)> MakeItem(const std::string& key) {
  ListItem* item = static_cast<ListItem*>(calloc(1, offsetof(ListItem, name) + PaddedKeySize(key.size())));
  item->length = static_cast<uint16_t>(key.size());
  memcpy(item->name, key.data(), key.size());
  return {item, free};
}

// Keys that have much in common, of all lengths and bytes.
static std::string RandomKey(Random& random) {
  static const char kLetters[] = "aAbBzZ@[`{/.0\x80\xc1\xe1\xff\x1f";
  std::string key(1 + random.Below(random.Below(4) == 0 ? kLongestItem : 20), 'k');
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
    ASSERT_EQ(SameKey(*item, Padded(b).padded(), false), a == b) << a << " " << b;
    ASSERT_EQ(SameKey(*item, Padded(b).padded(), true), strcasecmp(a.c_str(), b.c_str()) == 0)
        << a << " " << b;
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
    EXPECT_EQ(Hash(key, true), Hash(swapped, true));
    if (swapped != key) {
      EXPECT_NE(Hash(key, false), Hash(swapped, false));
    }
  }
}

TEST(HashKey, EveryByteOfEveryLengthCounts) {
  for (size_t length = 1; length <= kTextMax; ++length) {
    std::set<uint32_t> hashes;
    hashes.insert(Hash(std::string(length, 'x'), true));
    for (size_t i = 0; i < length; ++i) {
      std::string key(length, 'x');
      key[i] = 'y';
      hashes.insert(Hash(key, true));
    }
    EXPECT_EQ(hashes.size(), length + 1) << length;
  }
}

TEST(HashKey, BytesThatDifferInTheCaseBitAloneStayApart) {
  std::set<uint32_t> hashes;
  for (const char* key : {"/@", "/`", "/[", "/{", "/0", "/\x10", "/\xc1", "/\xe1"}) {
    hashes.insert(Hash(key, true));
  }
  EXPECT_EQ(hashes.size(), 8U);
}

TEST(HashKey, DependsOnTheSeed) {
  KeySeed other = kSeed;
  other.chunk[5] ^= 1;
  EXPECT_NE(Hash("/index.html", false), HashKey(Padded("/index.html").padded(), false, other));
}

TEST(HashKey, SpreadsNumberedKeysOverTheLowBits) {
  constexpr int kKeys = 1 << 14;
  std::set<uint32_t> homes;
  for (int i = 0; i < kKeys; ++i) {
    homes.insert(Hash("/page" + std::to_string(i) + ".html", false) % kKeys);
  }
  EXPECT_NEAR(static_cast<double>(homes.size()), kKeys * 0.632,
              kKeys * 0.02);  // 1 - 1/e, as random ones would
}

TEST(PadKey, TakesEveryLengthAndPadsItWithNuls) {
  const std::string text(kWaitingKeyMax + kScanOverread, 'x');
  for (size_t length = 0; length <= kWaitingKeyMax; ++length) {
    PaddedKey padded;
    memset(padded.bytes, '#', sizeof padded.bytes);
    PadKey(padded, {text.data(), length});
    std::string expected(text, 0, length);
    expected.resize((length / kKeyChunk + 1) * kKeyChunk);
    EXPECT_EQ(std::string_view(padded.bytes, expected.size()), expected);
    EXPECT_EQ(padded.length, length);
  }
}

TEST(FoldBlock, FoldsAsFoldWordDoes) {
  for (int c = 0; c < 256; ++c) {
    char text[sizeof(KeyBlock)];
    memset(text, c, sizeof text);
    const KeyBlock block = FoldBlock(LoadBlock(text));
    memcpy(text, &block, sizeof text);
    EXPECT_EQ(text[7], ToLowerAscii(static_cast<char>(c)));
    EXPECT_EQ(std::string(text, sizeof text), std::string(sizeof text, text[7]));
  }
}

// Sums of products hide nothing by themselves: words may trade places, or be
// nothing but padding.
TEST(HashKey, PlacesOfWordsCount) {
  std::set<uint32_t> hashes;
  std::string key(kTextMax, 'x');
  for (size_t at = 0; at + 4 <= key.size(); at += 4) {
    std::string moved = key;
    moved.replace(at, 4, "word");
    hashes.insert(Hash(moved, false));
  }
  EXPECT_EQ(hashes.size(), kTextMax / 4);
}
