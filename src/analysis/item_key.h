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

// Sixteen bytes, signed, and the same as four words of 32 bits.
using KeyBlock [[gnu::vector_size(16)]] = signed char;
using BlockWords [[gnu::vector_size(16)]] = uint32_t;

inline KeyBlock LoadBlock(const char* bytes) {
  KeyBlock block;
  memcpy(&block, bytes, sizeof block);
  return block;
}

// By the builtin: in a hardened build, memcpy calls a function that checks the room for each block.
inline void StoreBlock(char* bytes, KeyBlock block) {
  __builtin_memcpy(bytes, &block, sizeof block);
}

// Takes over a key of at most kLongest characters. Its buffer must go on for
// kScanOverread bytes beyond it.
template <size_t kLongest>
inline void PadKey(KeyRoom<kLongest>& padded, std::string_view key) {
  alignas(kKeyChunk) static constexpr struct Masks {
    char bytes[2 * kKeyChunk] = {};
    constexpr Masks() { std::fill_n(bytes, kKeyChunk, '\xFF'); }
  } kMasks;
  size_t at = 0;
  do {
    const char* const mask = kMasks.bytes + kKeyChunk - std::min(key.size() - at, kKeyChunk);
    for (size_t i = 0; i < kKeyChunk; i += sizeof(KeyBlock)) {
      StoreBlock(padded.bytes + at + i, LoadBlock(key.data() + at + i) & LoadBlock(mask + i));
    }
    at += kKeyChunk;
  } while (at <= key.size());
  padded.length = key.size();
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

inline KeyBlock FoldBlock(KeyBlock block) {
  return block | ((block > 'A' - 1) & (block < 'Z' + 1) & 0x20);
}

// The products of the first and second, and of the third and fourth word.
using BlockProducts [[gnu::vector_size(16)]] = uint64_t;
inline BlockProducts MultiplyPairs(BlockWords words) {
#if defined(__SSE2__)
  const auto pairs = reinterpret_cast<__m128i>(words);
  return reinterpret_cast<BlockProducts>(_mm_mul_epu32(pairs, _mm_srli_epi64(pairs, 32)));
#else
  return {uint64_t{words[0]} * words[1], uint64_t{words[2]} * words[3]};
#endif
}

// The sum of the products of neighbouring words, each word hidden by one of the
// seed: the NH hash of Black, Halevi, Krawczyk, Krovetz and Rogaway, "UMAC: Fast
// and Secure Message Authentication" (1999).
template <bool kFold>
inline uint64_t HashChunk(const char* chunk, const KeySeed& seed) {
  BlockProducts sum = {};
  for (size_t i = 0; i < kKeyChunk; i += sizeof(KeyBlock)) {
    const KeyBlock block = LoadBlock(chunk + i);
    const KeyBlock folded = kFold ? FoldBlock(block) : block;
    const KeyBlock hidden_by = LoadBlock(seed.chunk + i);
    sum += MultiplyPairs(reinterpret_cast<BlockWords>(folded) + reinterpret_cast<BlockWords>(hidden_by));
  }
  return sum[0] + sum[1];
}

template <bool kFold>
inline uint32_t HashChunks(PaddedText key, const KeySeed& seed) {
  uint64_t state = key.length ^ seed.length;
  size_t at = 0;
  do {
    state = MultiplyFold(state + HashChunk<kFold>(key.bytes + at, seed), seed.chain);
    at += kKeyChunk;
  } while (at <= key.length);
  return static_cast<uint32_t>(MultiplyFold(state, seed.chain));
}

inline uint32_t HashKey(PaddedText key, bool fold, const KeySeed& seed) {
  return fold ? HashChunks<true>(key, seed) : HashChunks<false>(key, seed);
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
  return item.length == key.length &&
         (memcmp(item.name, key.bytes, key.length) == 0 || (fold && EqualFolded(item, key)));
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
