// Short runs of digits, read at once.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// The first characters of a text, from 1 to 8, at the end of a word whose other bytes are zeros' digits.
// Eight bytes of the text can be read.
inline uint64_t DigitWord(const char* text, size_t length) {
  constexpr uint64_t kZeros = 0x3030303030303030;
  uint64_t word;
  memcpy(&word, text, sizeof word);
  if constexpr (std::endian::native == std::endian::big) {
    word = __builtin_bswap64(word);
  }
  const size_t missing = 8 * (sizeof word - length);
  return word << missing | kZeros >> 1 >> (63 - missing);
}

inline bool AreDigits(uint64_t word) {
  constexpr uint64_t kHighHalves = 0xF0F0F0F0F0F0F0F0;
  constexpr uint64_t kDigits = 0x3030303030303030;
  return (word & kHighHalves) == kDigits && ((word + 0x0606060606060606) & kHighHalves) == kDigits;
}

// Of a word of digits, in three steps that each join neighbours.
inline int64_t NumberOfDigits(uint64_t word) {
  word = (word & 0x0F0F0F0F0F0F0F0F) * 2561 >> 8;
  word = (word & 0x00FF00FF00FF00FF) * 6553601 >> 16;
  return static_cast<int64_t>((word & 0x0000FFFF0000FFFF) * 42949672960001 >> 32);
}
