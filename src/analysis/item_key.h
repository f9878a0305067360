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

// A key to look for is padded with NULs up to a whole chunk beyond it. Nearly all
// keys are one chunk: what treats a chunk without asking for the length is
// faster than loops whose turns the processor cannot foresee.
inline constexpr size_t kKeyChunk = 64;
static_assert(kKeyChunk <= kScanOverread);
struct PaddedText {
  const char* bytes;
  size_t length;

  std::string_view text() const { return {bytes, length}; }
};

template <size_t kLongest>
struct alignas(kKeyChunk) KeyRoom {
  char bytes[(kLongest / kKeyChunk + 1) * kKeyChunk];
  size_t length;

  PaddedText padded() const { return {bytes, length}; }
};

// Those that wait have little room each, so that all of them stay in the fastest cache.
inline constexpr size_t kWaitingKeyMax = 255;
using PaddedKey = KeyRoom<kWaitingKeyMax>;
using LongPaddedKey = KeyRoom<kLongestItem>;
static_assert(kTextMax <= kWaitingKeyMax);

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

// By the builtin: in a hardened build, memcpy calls a function that checks the room for each block.
inline void StoreBlock(char* bytes, KeyBlock block) {
  __builtin_memcpy(bytes, &block, sizeof block);
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

// Takes over a key: copies it to a room, padded, and returns its hash. The key's buffer
// must go on for kScanOverread bytes beyond it, and may be the room.
using TakeKeyForm = uint32_t (*)(char* room, std::string_view key, bool fold, const KeySeed& seed);

// The form for any processor, and the one for this one; both give the same.
uint32_t TakeKeyPlainly(char* room, std::string_view key, bool fold, const KeySeed& seed);
extern const TakeKeyForm mpTakeKey;

template <size_t kLongest>
inline uint32_t TakeKey(KeyRoom<kLongest>& room, std::string_view key, bool fold, const KeySeed& seed) {
  room.length = key.size();
  return mpTakeKey(room.bytes, key, fold, seed);
}

// Of a key, its blocks and then its last words with their padding, which a record
// has, too: the one behind the last whole block, and the one behind that where the
// key goes on.
inline bool EqualExactly(const ListItem& item, PaddedText key) {
  const size_t whole = key.length / kKeyBlock * kKeyBlock;
  const size_t last = whole + key.length % kKeyBlock / kKeyWord * kKeyWord;
  KeyBlock differ = {};
  for (size_t i = 0; i < whole; i += kKeyBlock) {
    differ |= LoadBlock(item.name + i) ^ LoadBlock(key.bytes + i);
  }
  const auto words = reinterpret_cast<BlockProducts>(differ);
  return (words[0] | words[1] | (LoadWord(item.name + whole) ^ LoadWord(key.bytes + whole)) |
          (LoadWord(item.name + last) ^ LoadWord(key.bytes + last))) == 0;
}

inline bool EqualFolded(const ListItem& item, PaddedText key) {
  for (size_t i = 0; i < key.length; i += kKeyWord) {
    if (FoldWord(LoadWord(item.name + i)) != FoldWord(LoadWord(key.bytes + i))) {
      return false;
    }
  }
  return true;
}

inline bool SameKey(const ListItem& item, PaddedText key, bool fold) {
  return item.length == key.length && (EqualExactly(item, key) || (fold && EqualFolded(item, key)));
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
