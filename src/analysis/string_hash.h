// Bob Jenkins' 1996 string hash (lookup2) and a small direct-mapped table on it.
#pragma once

#include <cstddef>
#include <cstdint>

// 32-bit hash of length bytes: "lookup2" as published by Bob Jenkins in 1996.
// initial is any value; equal keys under equal initial values hash alike, on
// every machine. Not seeded: not for keys that somebody may choose to collide.
uint32_t hash(const void* key, size_t length, uint32_t initial);

inline constexpr uint32_t kHashHoldsRecords = 2;  // flag: the buckets hold records

struct HashBucket {
  void* key;  // null when the bucket is free
  uint32_t length;
  void* value;
  uint32_t hash;
  uint32_t zero;
};

// The table is for other programs that link the library; tested, not used by
// orvellis.
//
// One key per bucket: no chaining and no probing, so that a new key displaces an
// old one of the same bucket. hash_find leaves a cursor for the hash_add after it.
struct HashTable {
  void* buckets;  // HashBucket records, or null pointers that can never be written
  uint32_t log2_buckets;
  uint32_t mask;  // bucket count - 1
  uint32_t cursor_index;
  HashBucket* cursor;  // null before the first hash_find
  uint32_t cursor_hash;
  uint32_t flags;
};

// A table of 2 to the power of (log2_buckets modulo 32) empty buckets, or null
// when memory is refused. It lives until the process ends.
HashTable* hash_createtable(uint32_t log2_buckets, uint32_t flags);

// True when the table holds the key. Moves the cursor to the key's bucket either
// way. A null table, or one that holds no records, is left alone: false.
bool hash_find(HashTable* table, const void* key, uint32_t length);

// Stores key and value, both from malloc and from now on the table's own, in
// the bucket of the cursor whatever key that was moved for, under the cursor's
// hash; a former key and value are freed. Without a cursor the bucket is that of
// this key. False for a null table only; a table without records stays as it is
// (and does not take the key and value over).
bool hash_add(HashTable* table, void* key, uint32_t length, void* value);
