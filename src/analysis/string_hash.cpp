#include "analysis/string_hash.h"

#include <cstdlib>
#include <cstring>

// The last 0 to 3 bytes of a word count as if zeros followed.
static uint32_t LittleEndian(const unsigned char* bytes, size_t count) {
  uint32_t word = 0;
  for (size_t i = 0; i < count; ++i) {
    word |= static_cast<uint32_t>(bytes[i]) << (8 * i);
  }
  return word;
}

static void Mix(uint32_t& a, uint32_t& b, uint32_t& c) {
  a = (a - b - c) ^ (c >> 13);
  b = (b - c - a) ^ (a << 8);
  c = (c - a - b) ^ (b >> 13);
  a = (a - b - c) ^ (c >> 12);
  b = (b - c - a) ^ (a << 16);
  c = (c - a - b) ^ (b >> 5);
  a = (a - b - c) ^ (c >> 3);
  b = (b - c - a) ^ (a << 10);
  c = (c - a - b) ^ (b >> 15);
}

uint32_t hash(const void* key, size_t length, uint32_t initial) {
  const unsigned char* bytes = static_cast<const unsigned char*>(key);
  uint32_t a = 0x9e3779b9;  // the golden ratio: an arbitrary start
  uint32_t b = 0x9e3779b9;
  uint32_t c = initial;
  size_t left = length;
  for (; left >= 12; left -= 12, bytes += 12) {
    a += LittleEndian(bytes, 4);
    b += LittleEndian(bytes + 4, 4);
    c += LittleEndian(bytes + 8, 4);
    Mix(a, b, c);
  }
  const size_t in_a = left < 4 ? left : 4;
  const size_t in_b = left < 4 ? 0 : left < 8 ? left - 4 : 4;
  const size_t in_c = left < 8 ? 0 : left - 8;
  a += LittleEndian(bytes, in_a);
  b += LittleEndian(bytes + in_a, in_b);
  // The low byte of c is left to the length.
  c += static_cast<uint32_t>(length) + (LittleEndian(bytes + in_a + in_b, in_c) << 8);
  Mix(a, b, c);
  return c;
}

static bool HoldsRecords(uint32_t flags) {
  return (flags & kHashHoldsRecords) != 0;
}

static HashBucket* BucketAt(const HashTable& table, uint32_t index) {
  return static_cast<HashBucket*>(table.buckets) + index;
}

HashTable* hash_createtable(uint32_t log2_buckets, uint32_t flags) {
  HashTable* table = static_cast<HashTable*>(calloc(1, sizeof(HashTable)));
  if (table == nullptr) {
    return nullptr;
  }
  const size_t count = size_t{1} << (log2_buckets % 32);
  table->buckets = calloc(count, HoldsRecords(flags) ? sizeof(HashBucket) : sizeof(void*));
  if (table->buckets == nullptr) {
    free(table);
    return nullptr;
  }
  table->log2_buckets = log2_buckets % 32;
  table->mask = static_cast<uint32_t>(count - 1);
  table->flags = flags;
  return table;
}

bool hash_find(HashTable* table, const void* key, uint32_t length) {
  if (table == nullptr || !HoldsRecords(table->flags)) {
    return false;
  }
  table->cursor_hash = hash(key, length, 0);
  table->cursor_index = table->cursor_hash & table->mask;
  table->cursor = BucketAt(*table, table->cursor_index);
  const HashBucket& bucket = *table->cursor;
  return bucket.key != nullptr && bucket.hash == table->cursor_hash && bucket.length == length &&
         (length == 0 || memcmp(bucket.key, key, length) == 0);
}

bool hash_add(HashTable* table, void* key, uint32_t length, void* value) {
  if (table == nullptr) {
    return false;
  }
  if (!HoldsRecords(table->flags)) {
    return true;
  }
  HashBucket* bucket = table->cursor;
  if (bucket == nullptr) {
    bucket = BucketAt(*table, hash(key, length, 0) & table->mask);
  }
  free(bucket->key);
  free(bucket->value);
  // deliberate: the hash is the one of the last hash_find, not of this key
  *bucket = {key, length, value, table->cursor_hash, 0};
  return true;
}
