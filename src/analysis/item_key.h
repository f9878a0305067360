// Keys of the counting tables: hashing, equality and order, eight bytes at a
// time. Inner header of the counting tables and smart memory.
//
// Folding is ASCII only: A to Z count as a to z, every other byte as itself.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "analysis/counting_table.h"

// Keeps people from choosing keys that collide; no result depends on it.
struct KeySeed {
  uint64_t first;
  uint64_t second;
};

// A record's name is padded with NULs up to a whole word beyond its key.
inline constexpr size_t kKeyWord = 8;
inline size_t PaddedKeySize(size_t length) {
  return (length / kKeyWord + 1) * kKeyWord;
}

inline uint64_t LoadWord(const char* bytes, size_t count = kKeyWord) {
  uint64_t word = 0;
  memcpy(&word, bytes, count);
  return word;
}

// Copies a key to a buffer of at least its length. Keys are short: a copy of any
// length takes longer to start than these few words take to move, and so would the
// library's copy that checks the room of each word. The last words may overlap
// those before.
inline void CopyKey(char* to, const char* from, size_t length) {
  if (length < kKeyWord) {
    for (size_t i = 0; i < length; ++i) {
      to[i] = from[i];
    }
    return;
  }
  for (size_t i = 0; i + kKeyWord <= length; i += kKeyWord) {
    __builtin_memcpy(to + i, from + i, kKeyWord);
  }
  __builtin_memcpy(to + length - kKeyWord, from + length - kKeyWord, kKeyWord);
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

// Both halves of the product, folded together: every bit of a and b counts.
inline uint64_t MultiplyFold(uint64_t a, uint64_t b) {
  const auto product = static_cast<unsigned __int128>(a) * b;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

template <bool kFold>
inline uint64_t KeyWord(const char* bytes) {
  return kFold ? FoldWord(LoadWord(bytes)) : LoadWord(bytes);
}

// The last one to 16 bytes of a key, as two words that may overlap.
template <bool kFold>
inline uint64_t HashTail(const char* end, size_t length, uint64_t state, const KeySeed& seed) {
  uint64_t low = 0;
  uint64_t high = 0;
  if (length >= 16) {
    low = KeyWord<kFold>(end - 16);
    high = KeyWord<kFold>(end - 8);
  } else if (length >= 8) {
    low = KeyWord<kFold>(end - length);
    high = KeyWord<kFold>(end - 8);
  } else if (length >= 4) {
    low = LoadWord(end - length, 4) | LoadWord(end - 4, 4) << 32;
    low = kFold ? FoldWord(low) : low;
  } else {
    low =
        LoadWord(end - length, 1) | LoadWord(end - length + length / 2, 1) << 8 | LoadWord(end - 1, 1) << 16;
    low = kFold ? FoldWord(low) : low;
  }
  return MultiplyFold(low ^ seed.second, high ^ state);
}

template <bool kFold>
inline uint32_t HashWords(std::string_view key, const KeySeed& seed) {
  const char* bytes = key.data();
  const char* const end = bytes + key.size();
  uint64_t state = seed.first + key.size();
  for (; end - bytes > 16; bytes += 16) {
    state = MultiplyFold(KeyWord<kFold>(bytes) ^ seed.second, KeyWord<kFold>(bytes + 8) ^ state);
  }
  state = HashTail<kFold>(end, key.size(), state, seed);
  return static_cast<uint32_t>(MultiplyFold(state ^ seed.first, seed.second | 1));
}

// Hash of a key of at least one character.
inline uint32_t HashKey(std::string_view key, bool fold, const KeySeed& seed) {
  return fold ? HashWords<true>(key, seed) : HashWords<false>(key, seed);
}

inline bool EqualFolded(const ListItem& item, std::string_view key) {
  size_t i = 0;
  for (; i + kKeyWord <= key.size(); i += kKeyWord) {
    if (KeyWord<true>(item.name + i) != KeyWord<true>(key.data() + i)) {
      return false;
    }
  }
  const size_t rest = key.size() - i;
  return FoldWord(LoadWord(item.name + i, rest)) == FoldWord(LoadWord(key.data() + i, rest));
}

inline bool SameKey(const ListItem& item, std::string_view key, bool fold) {
  return item.length == key.size() &&
         (memcmp(item.name, key.data(), key.size()) == 0 || (fold && EqualFolded(item, key)));
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
