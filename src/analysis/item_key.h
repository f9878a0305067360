// Keys of the counting tables: padding, hashing, equality and order, many bytes
// at a time. Inner header of the counting tables and smart memory.
//
// Folding is ASCII only: A to Z count as a to z, every other byte as itself.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "analysis/counting_table.h"
#include "base/hash_seed.h"
#include "base/text.h"
#include "superlog/byte_scan.h"

// Nearly all keys fit into one chunk: what treats a chunk without asking for the
// length is faster than loops whose turns the processor cannot foresee.
inline constexpr size_t kKeyChunk = 64;
static_assert(kKeyChunk <= kScanOverread);

// A key that waits to be counted, where it lies.
struct WaitingKey {
  const char* text;  // goes on for kScanOverread bytes beyond it
  List* list;
  ListInfo* info;
  ListItem* item;  // the record that it will very likely be counted in; null: a new one, or unknown
  uint32_t hash;
  uint16_t length;
  bool ignore_case;
  bool is_subkey;      // of the key before it
  int64_t amount = 0;  // for lists that add amounts up

  std::string_view key() const { return {text, length}; }
};
static_assert(sizeof(WaitingKey) == 48);  // so that all of them stay in the fastest cache

// Keeps people from choosing keys that collide; no result depends on it.
struct KeySeed {
  char chunk[kKeyChunk];
  uint64_t length;
  uint64_t chain;  // odd
};

// Sixteen bytes, signed, and the same as words of 32 and of 64 bits.
inline constexpr size_t kKeyBlock = 16;
using KeyBlock [[gnu::vector_size(kKeyBlock)]] = signed char;
using BlockWords [[gnu::vector_size(kKeyBlock)]] = uint32_t;
using BlockProducts [[gnu::vector_size(kKeyBlock)]] = uint64_t;

inline KeyBlock LoadBlock(const char* bytes) {
  KeyBlock block;
  memcpy(&block, bytes, sizeof block);
  return block;
}

inline uint64_t LoadWord(const char* bytes) {
  uint64_t word = 0;
  memcpy(&word, bytes, sizeof word);
  return word;
}

// Each byte's top bit tells, after the additions, whether its low seven bits are
// at least 'A', and beyond 'Z'.
inline uint64_t FoldWord(uint64_t word) {
  constexpr uint64_t kOnes = 0x0101010101010101;
  const uint64_t low = word & (0x7f * kOnes);
  const uint64_t from_a = low + (0x80 - 'A') * kOnes;
  const uint64_t beyond_z = low + (0x80 - 'Z' - 1) * kOnes;
  const uint64_t upper = from_a & ~beyond_z & ~word & (0x80 * kOnes);
  return word | upper >> 2;  // 0x80 becomes 0x20, the case bit
}

inline constexpr size_t kIndexLine = 64;

// Sends for the line of the list's index where the search for a key of this hash begins; without an index,
// for what is nowhere, which costs nothing.
inline void FetchSlot(const List& list, uint32_t hash) {
  const auto lines = reinterpret_cast<uintptr_t>(list.lines);
  __builtin_prefetch(reinterpret_cast<const void*>(lines + (hash >> list.spare_bits) * kIndexLine));
}

// What is done with many keys, in one form for any processor and in one for those with
// wider registers; both give the same. Keys, and names of records, are read up to the end
// of their last chunk.
struct KeyForm {
  uint32_t (*hash)(std::string_view key, bool fold, const KeySeed& seed);
  void (*hash_all)(WaitingKey* keys, size_t count, const KeySeed& seed);  // and sends for their slots
  // Counts keys in their records, up to the first that has none, or one that is watched or of another key;
  // letters of the other case count as others. Returns how many.
  size_t (*count_known)(const WaitingKey* keys, size_t count);
};
extern const KeyForm kPlainForm;
extern const KeyForm& mKeyFormHere;  // of this processor
extern const KeyForm* mpKeyForm;     // the one in use: that one, unless a test puts another in

inline bool SameKey(const ListItem& item, std::string_view key, bool fold) {
  return item.length == key.size() && (item.key() == key || (fold && EqualIgnoreCase(item.key(), key)));
}

inline uint64_t BigEndian(uint64_t word) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

// Ascending key order: bytes unsigned, folded or not. The shorter key's padding
// ends the comparison, as strcmp's NUL would.
inline bool KeyBefore(const ListItem& a, const ListItem& b, bool fold) {
  const size_t shorter = a.length < b.length ? a.length : b.length;
  for (size_t i = 0; i <= shorter; i += kKeyWord) {
    uint64_t in_a = LoadWord(a.name + i);
    uint64_t in_b = LoadWord(b.name + i);
    if (in_a != in_b && fold) {
      in_a = FoldWord(in_a);
      in_b = FoldWord(in_b);
    }
    if (in_a != in_b) {
      return BigEndian(in_a) < BigEndian(in_b);
    }
  }
  return false;
}
