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

// A time of day as "07:06:11"; false, and nothing is read, where the text goes on differently. Eight bytes of
// it can be read.
inline bool ReadClock(const char* text, int& hour, int& minute, int& second) {
  constexpr uint64_t kForm = 0x30303A30303A3030;
  constexpr uint64_t kBeyondNine = 0x7676007676007676;
  constexpr uint64_t kNoBits = 0x8080FF8080FF8080;
  uint64_t word;
  memcpy(&word, text, sizeof word);
  if constexpr (std::endian::native == std::endian::big) {
    word = __builtin_bswap64(word);
  }
  word ^= kForm;
  if (((word | (word + kBeyondNine)) & kNoBits) != 0) {
    return false;
  }
  const uint64_t numbers = word * 10 + (word >> 8);  // of two digits each, at the first one's byte
  hour = static_cast<int>(numbers & 0xFF);
  minute = static_cast<int>(numbers >> 24 & 0xFF);
  second = static_cast<int>(numbers >> 48 & 0xFF);
  return true;
}
