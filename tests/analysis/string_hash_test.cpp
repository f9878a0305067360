#include "analysis/string_hash.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

TEST(Hash, EmptyKeyIsTheFinalMixAlone) {
  uint32_t a = 0x9e3779b9;
  uint32_t b = 0x9e3779b9;
  uint32_t c = 0;
  a -= b;
  a -= c;
  a ^= c >> 13;  // clang-format off
  b -= c; b -= a; b ^= a << 8;
  c -= a; c -= b; c ^= b >> 13;
  a -= b; a -= c; a ^= c >> 12;
  b -= c; b -= a; b ^= a << 16;
  c -= a; c -= b; c ^= b >> 5;
  a -= b; a -= c; a ^= c >> 3;
  b -= c; b -= a; b ^= a << 10;
  c -= a; c -= b; c ^= b >> 15;  // clang-format on
  EXPECT_EQ(hash("", 0, 0), c);
}

TEST(Hash, KnownValuesForEveryTailLength) {
  const char* const text = "The quick brown fox jumps over the lazy dog";
  const struct {
    size_t length;
    uint32_t initial;
    uint32_t value;
  } rows[] = {
      {0, 0, 0xbd49d10d},  {1, 0, 0x312c4181},  {2, 0, 0x8ab85a7d},           {3, 0, 0x61f32837},
      {4, 0, 0x41963a2a},  {5, 0, 0x4bf9fa9b},  {6, 0, 0x3e4cbcde},           {7, 0, 0x9a00b688},
      {8, 0, 0x286fa134},  {9, 0, 0x4c0fd80c},  {10, 0, 0x44069373},          {11, 0, 0x9335dea3},
      {12, 0, 0xe0695d67}, {13, 0, 0x0c6ac005}, {23, 0, 0x8f489aa1},          {24, 0, 0xd5a21ff2},
      {25, 0, 0x728393b1}, {43, 0, 0xfc1558de}, {43, 0x12345678, 0x853faba2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.length);
    EXPECT_EQ(hash(text, row.length, row.initial), row.value);
  }
}

TEST(Hash, TakesBytesAsUnsigned) {
  EXPECT_EQ(hash("\xff\x80\x81\xfe\xff", 5, 0), 0x24839245U);
}

class HashTableTest : public testing::Test {
 protected:
  void TearDown() override {
    if (table_ == nullptr) {
      return;
    }
    if (table_->flags & kHashHoldsRecords) {
      for (uint32_t i = 0; i <= table_->mask; ++i) {
        free(Bucket(i).key);
        free(Bucket(i).value);
      }
    }
    free(table_->buckets);
    free(table_);
  }

  HashBucket& Bucket(uint32_t index) { return static_cast<HashBucket*>(table_->buckets)[index]; }
  uint32_t Home(const char* key) { return hash(key, strlen(key), 0) & table_->mask; }
  bool Find(const char* key) { return hash_find(table_, key, static_cast<uint32_t>(strlen(key))); }
  bool Add(const char* key, const char* value) {
    return hash_add(table_, strdup(key), static_cast<uint32_t>(strlen(key)), strdup(value));
  }
  const char* Value() { return static_cast<const char*>(table_->cursor->value); }

  // Another key of the same bucket.
  std::string Rival(const char* key) {
    int i = 0;
    while (Home(std::to_string(i).c_str()) != Home(key) || std::to_string(i) == key) {
      ++i;
    }
    return std::to_string(i);
  }

  HashTable* table_ = nullptr;
};

TEST_F(HashTableTest, StartsEmpty) {
  table_ = hash_createtable(3, kHashHoldsRecords);
  EXPECT_EQ(table_->log2_buckets, 3U);
  EXPECT_EQ(table_->mask, 7U);
  EXPECT_EQ(table_->cursor_index, 0U);
  EXPECT_EQ(table_->cursor, nullptr);
  EXPECT_EQ(table_->cursor_hash, 0U);
  EXPECT_EQ(table_->flags, kHashHoldsRecords);
  for (uint32_t i = 0; i < 8; ++i) {
    EXPECT_EQ(Bucket(i).key, nullptr);
  }
  EXPECT_FALSE(Find("key"));
}

TEST_F(HashTableTest, BucketCountIsTakenModulo32) {
  table_ = hash_createtable(34, kHashHoldsRecords);
  EXPECT_EQ(table_->mask, 3U);
}

TEST_F(HashTableTest, FindsWhatWasAdded) {
  table_ = hash_createtable(4, kHashHoldsRecords);
  EXPECT_FALSE(Find("host"));
  EXPECT_TRUE(Add("host", "192.0.2.1"));
  ASSERT_TRUE(Find("host"));
  EXPECT_STREQ(Value(), "192.0.2.1");
  EXPECT_EQ(table_->cursor_index, Home("host"));
  EXPECT_EQ(table_->cursor_hash, hash("host", 4, 0));
  EXPECT_EQ(table_->cursor->zero, 0U);
}

TEST_F(HashTableTest, ComparesHashLengthAndBytes) {
  table_ = hash_createtable(0, kHashHoldsRecords);
  Find("host");
  Add("host", "value");
  EXPECT_FALSE(Find("hosts"));
  EXPECT_FALSE(Find("HOST"));
  EXPECT_TRUE(Find("host"));
  Bucket(0).hash ^= 1;
  EXPECT_FALSE(Find("host"));
}

TEST_F(HashTableTest, CollidingKeyReplacesTheOldOne) {
  table_ = hash_createtable(2, kHashHoldsRecords);
  Find("host");
  Add("host", "old");
  const std::string rival = Rival("host");
  EXPECT_FALSE(Find(rival.c_str()));
  EXPECT_TRUE(Add(rival.c_str(), "new"));
  EXPECT_FALSE(Find("host"));
  ASSERT_TRUE(Find(rival.c_str()));
  EXPECT_STREQ(Value(), "new");
}

TEST_F(HashTableTest, AddUsesTheHashOfTheLastFindDeliberately) {
  table_ = hash_createtable(4, kHashHoldsRecords);
  Find("asked");
  Add("added", "value");
  EXPECT_EQ(Bucket(Home("asked")).hash, hash("asked", 5, 0));
  EXPECT_FALSE(Find("added"));
  EXPECT_FALSE(Find("asked"));
}

TEST_F(HashTableTest, AddWithoutFindTakesTheKeysBucketAndAnEmptyHash) {
  table_ = hash_createtable(4, kHashHoldsRecords);
  EXPECT_TRUE(Add("host", "value"));
  EXPECT_STREQ(static_cast<char*>(Bucket(Home("host")).key), "host");
  EXPECT_EQ(Bucket(Home("host")).hash, 0U);
  EXPECT_EQ(table_->cursor, nullptr);
  EXPECT_FALSE(Find("host"));
}

TEST_F(HashTableTest, WithoutRecordsItCannotBeWritten) {
  table_ = hash_createtable(2, 0);
  for (uint32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(static_cast<void**>(table_->buckets)[i], nullptr);
  }
  char key[] = "host";
  EXPECT_TRUE(hash_add(table_, key, 4, key));
  EXPECT_FALSE(Find("host"));
  EXPECT_EQ(table_->cursor, nullptr);
}

TEST_F(HashTableTest, NullTableFindsAndAddsNothing) {
  char key[] = "host";
  EXPECT_FALSE(hash_find(nullptr, key, 4));
  EXPECT_FALSE(hash_add(nullptr, key, 4, key));
}
