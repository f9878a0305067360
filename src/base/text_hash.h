// A fast hash of texts. For tables whose keys come from outside it is seeded by RandomSeed, so that from run
// to run the same text has another one; with a seed of one's own it is the same on all machines. Two words at
// a time are folded into it by a multiplication, as wyhash does (Wang Yi, "wyhash", 2019).
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/hash_seed.h"

struct TextSeed {
  uint64_t start;
  uint64_t mask;
};

// The bytes of a short text as two words; of a longer one, its first or last sixteen.
struct TwoWords {
  uint64_t first;
  uint64_t last;
};

// The first byte is the lowest.
template <typename Word>
inline uint64_t WordFrom(const char* bytes) {
  Word word = 0;
  memcpy(&word, bytes, sizeof word);
  if constexpr (std::endian::native == std::endian::big) {
    return __builtin_bswap64(word) >> (64 - 8 * sizeof word);
  }
  return word;
}

// Of at most 16 bytes. Together with its size, they are those of no other text.
inline TwoWords WordsOfShort(std::string_view text) {
  const char* const bytes = text.data();
  const size_t size = text.size();
  if (size >= sizeof(uint64_t)) {
    return {WordFrom<uint64_t>(bytes), WordFrom<uint64_t>(bytes + size - sizeof(uint64_t))};
  }
  if (size >= sizeof(uint32_t)) {
    return {WordFrom<uint32_t>(bytes), WordFrom<uint32_t>(bytes + size - sizeof(uint32_t))};
  }
  if (size > 0) {
    return {WordFrom<uint8_t>(bytes),
            WordFrom<uint8_t>(bytes + size / 2) << 8U | WordFrom<uint8_t>(bytes + size - 1)};
  }
  return {0, 0};
}

inline uint64_t HashOfText(std::string_view text, const TextSeed& seed) {
  constexpr size_t kBoth = sizeof(TwoWords);
  uint64_t hash = seed.start ^ text.size();
  const char* bytes = text.data();
  size_t left = text.size();
  for (; left > kBoth; bytes += kBoth, left -= kBoth) {
    hash = MultiplyFold(WordFrom<uint64_t>(bytes) ^ seed.mask,
                        WordFrom<uint64_t>(bytes + sizeof(uint64_t)) ^ hash);
  }
  const TwoWords words = WordsOfShort({bytes, left});
  return MultiplyFold(MultiplyFold(words.first ^ seed.mask, words.last ^ hash), seed.mask | 1);
}

// Another one, which is faster where texts are long: two hashes, each of every other sixteen bytes.
inline uint64_t HashOfLongText(std::string_view text, const TextSeed& seed) {
  constexpr size_t kBoth = sizeof(TwoWords);
  uint64_t other = ~seed.start;
  uint64_t hash = seed.start ^ uint64_t{text.size()} << 32;  // that of what is left at the end follows
  while (text.size() > 2 * kBoth) {
    const char* const bytes = text.data();
    hash = MultiplyFold(WordFrom<uint64_t>(bytes) ^ seed.mask,
                        WordFrom<uint64_t>(bytes + sizeof(uint64_t)) ^ hash);
    other = MultiplyFold(WordFrom<uint64_t>(bytes + kBoth) ^ seed.mask,
                         WordFrom<uint64_t>(bytes + kBoth + sizeof(uint64_t)) ^ other);
    text.remove_prefix(2 * kBoth);
  }
  return HashOfText(text, {.start = hash ^ std::rotl(other, 32), .mask = seed.mask});
}
