#include "analysis/item_key.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "analysis/paired_tables.h"
#include "support/room.h"

static const KeySeed kSeed = {"sixty-four characters that are as good as any others for a test",
                              0x0123456789abcdef, 0xfedcba9876543211};

// Both forms must say the same.
static uint32_t Hash(const std::string& key, bool fold, const KeySeed& seed = kSeed) {
  const WithRoom text(key);
  const uint32_t hash = mKeyFormHere.hash(text, fold, seed);
  EXPECT_EQ(hash, kPlainForm.hash(text, fold, seed)) << key.size();
  return hash;
}

// Other bytes follow, as others' records do.
static std::unique_ptr<ListItem, void (*)(void*)> MakeItem(const std::string& key) {
  ListItem* item =
      static_cast<ListItem*>(calloc(1, offsetof(ListItem, name) + PaddedKeySize(key.size()) + kScanOverread));
  memset(item->name + PaddedKeySize(key.size()), '?', kScanOverread);
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

// Whether a form counts the key in this record.
static bool Counts(const KeyForm& form, ListItem& item, const std::string& key) {
  const WithRoom room(key);
  const std::string_view text = room;
  ListInfo info = {};
  const WaitingKey waiting = {text.data(), nullptr, &info, &item, 0, static_cast<uint16_t>(text.size()),
                              false,       false};
  item.count = 0;
  const size_t known = form.count_known(&waiting, 1);
  EXPECT_EQ(static_cast<size_t>(item.count), known);
  EXPECT_EQ(static_cast<size_t>(info.kinds[item.kind]), known);
  return known == 1;
}

TEST(CountKnown, EveryByteOfEveryLengthCounts) {
  for (const KeyForm& form : {mKeyFormHere, kPlainForm}) {
    for (size_t length = 1; length <= 300; ++length) {
      const std::string key(length, 'x');
      const auto item = MakeItem(key);
      ASSERT_TRUE(Counts(form, *item, key));
      ASSERT_FALSE(Counts(form, *item, key + "x"));
      ASSERT_FALSE(Counts(form, *item, key + "?"));
      ASSERT_FALSE(Counts(form, *item, key.substr(1)));
      for (size_t i = 0; i < length; ++i) {
        std::string other = key;
        other[i] = 'y';
        ASSERT_FALSE(Counts(form, *item, other)) << i << " of " << length;
      }
    }
  }
}

TEST(CountKnown, StopsAtTheFirstOther) {
  const auto a = MakeItem("/a");
  const auto b = MakeItem("/b");
  b->kind = 3;
  const WithRoom text("/a/b");
  const char* const at = std::string_view(text).data();
  for (const KeyForm& form : {mKeyFormHere, kPlainForm}) {
    a->count = b->count = 0;
    ListInfo info = {};
    const WaitingKey keys[] = {{at, nullptr, &info, a.get(), 1, 2, false, false},
                               {at + 2, nullptr, &info, b.get(), 2, 2, false, false},
                               {at, nullptr, &info, b.get(), 3, 2, false, false},
                               {at, nullptr, &info, a.get(), 4, 2, false, false},
                               {at, nullptr, &info, nullptr, 5, 2, false, false}};
    EXPECT_EQ(form.count_known(keys, 5), 2U);
    EXPECT_EQ(form.count_known(keys + 3, 2), 1U) << "one without a record";
    EXPECT_EQ(form.count_known(keys, 0), 0U);
    EXPECT_EQ(a->count, 2);
    EXPECT_EQ(b->count, 1);
    EXPECT_EQ(info.kinds[0], 2);
    EXPECT_EQ(info.kinds[3], 1);
  }
}

TEST(CountKnown, StopsAtWatchedRecords) {
  const auto item = MakeItem("/a");
  const WithRoom text("/a");
  for (const KeyForm& form : {mKeyFormHere, kPlainForm}) {
    item->kind = kWatchedKind;
    ASSERT_FALSE(Counts(form, *item, "/a"));
    item->kind = kWatchedKind - 1;
    ASSERT_TRUE(Counts(form, *item, "/a"));
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
    ASSERT_EQ(Counts(mKeyFormHere, *item, b), a == b) << a << " " << b;
    ASSERT_EQ(Counts(kPlainForm, *item, b), a == b) << a << " " << b;
  }
}

TEST(KeyHash, IgnoresCaseOnlyWhenToldTo) {
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

TEST(KeyHash, EveryByteOfEveryLengthCounts) {
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

TEST(KeyHash, BytesThatDifferInTheCaseBitAloneStayApart) {
  std::set<uint32_t> hashes;
  for (const char* key : {"/@", "/`", "/[", "/{", "/0", "/\x10", "/\xc1", "/\xe1"}) {
    hashes.insert(Hash(key, true));
  }
  EXPECT_EQ(hashes.size(), 8U);
}

TEST(KeyHash, DependsOnTheSeed) {
  KeySeed other = kSeed;
  other.chunk[5] ^= 1;
  EXPECT_NE(Hash("/index.html", false), Hash("/index.html", false, other));
}

// As random ones would: 1 - 1/e of the places are taken.
TEST(KeyHash, SpreadsNumberedKeys) {
  constexpr int kBits = 14;
  constexpr int kKeys = 1 << kBits;
  for (const uint64_t length : {kSeed.length, uint64_t{0}, ~uint64_t{0}}) {
    KeySeed seed = kSeed;
    seed.length = length;
    std::set<uint32_t> low;
    std::set<uint32_t> high;
    for (int i = 0; i < kKeys; ++i) {
      const uint32_t hash = Hash("/page" + std::to_string(i) + ".html", false, seed);
      low.insert(hash % kKeys);
      high.insert(hash >> (32 - kBits));
    }
    EXPECT_NEAR(static_cast<double>(low.size()), kKeys * 0.632, kKeys * 0.02);
    EXPECT_NEAR(static_cast<double>(high.size()), kKeys * 0.632, kKeys * 0.02);
  }
}

TEST(KeyHash, FormOfThisProcessorGivesWhatThePlainOneDoes) {
  Random random(4);
  std::vector<WithRoom> texts;
  std::vector<WaitingKey> keys;
  List list = {};
  for (int i = 0; i < 20000; ++i) {
    std::string key(random.Below(random.Below(9) == 0 ? kLongestItem : 200), ' ');
    for (char& c : key) {
      c = static_cast<char>(random.Below(256));
    }
    const std::string_view text = texts.emplace_back(key);
    keys.push_back({text.data(), &list, nullptr, nullptr, 0, static_cast<uint16_t>(text.size()),
                    random.Below(2) == 0, false});
  }
  std::vector<WaitingKey> others = keys;
  mKeyFormHere.hash_all(keys.data(), keys.size(), kSeed);
  kPlainForm.hash_all(others.data(), others.size(), kSeed);
  for (size_t i = 0; i < keys.size(); ++i) {
    ASSERT_EQ(keys[i].hash, others[i].hash) << keys[i].length;
    ASSERT_EQ(keys[i].hash, Hash(std::string(keys[i].key()), keys[i].ignore_case));
  }
}

// A hash in words, one after the other, as it is published.
static uint32_t HashInWords(std::string key, const KeySeed& seed) {
  uint64_t state = key.size() ^ seed.length;
  key.resize(std::max<size_t>(1, (key.size() + kKeyChunk - 1) / kKeyChunk) * kKeyChunk);
  for (size_t at = 0; at < key.size(); at += kKeyChunk) {
    uint32_t words[kKeyChunk / 4];
    uint32_t hidden_by[kKeyChunk / 4];
    memcpy(words, key.data() + at, sizeof words);
    memcpy(hidden_by, seed.chunk, sizeof hidden_by);
    for (size_t i = 0; i < kKeyChunk / 4; i += 2) {
      state += uint64_t{words[i] + hidden_by[i]} * uint32_t{words[i + 1] + hidden_by[i + 1]};
    }
    state = MultiplyFold(state, seed.chain);
  }
  return static_cast<uint32_t>(MultiplyFold(state, seed.chain));
}

TEST(KeyHash, HashesAsPublishedOfTheFoldedKey) {
  Random random(5);
  for (int i = 0; i < 5000; ++i) {
    const std::string key = RandomKey(random);
    std::string folded = key;
    for (char& c : folded) {
      c = ToLowerAscii(c);
    }
    ASSERT_EQ(Hash(key, false), HashInWords(key, kSeed));
    ASSERT_EQ(Hash(key, true), HashInWords(folded, kSeed));
  }
}

// Sums of products hide nothing by themselves: words may trade places, or be
// nothing but padding.
TEST(KeyHash, PlacesOfWordsCount) {
  std::set<uint32_t> hashes;
  std::string key(kTextMax, 'x');
  for (size_t at = 0; at + 4 <= key.size(); at += 4) {
    std::string moved = key;
    moved.replace(at, 4, "word");
    hashes.insert(Hash(moved, false));
  }
  EXPECT_EQ(hashes.size(), kTextMax / 4);
}
