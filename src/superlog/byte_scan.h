// Searches of a text for one or two byte values, many bytes at a time where the
// processor can.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#else
#include <algorithm>
#endif

// The searches may read, but never look at, this many bytes from end on: the
// text must lie in a buffer that goes on that far.
inline constexpr size_t kScanOverread = 256;

// How many of the bytes of [from, end) equal c. As many as a byte can count are summed up in bytes, sixteen
// at a time.
inline int64_t CountByte(const char* from, const char* end, char c) {
  constexpr ptrdiff_t kMost = 255;
  int64_t count = 0;
  for (; from != end;) {
    const char* const stop = end - from > kMost ? from + kMost : end;
    uint8_t part = 0;
    for (; from != stop; ++from) {
      part = static_cast<uint8_t>(part + (*from == c));
    }
    count += part;
  }
  return count;
}

// Of both kinds.
struct LineEnds {
  int64_t lfs;
  int64_t crs;
};

inline LineEnds CountLineEnds(const char* from, const char* end) {
  return {CountByte(from, end, '\n'), CountByte(from, end, '\r')};
}

// Both search [from, end) and return end when they find nothing. Char is char or
// const char.

#if defined(__SSE2__)

inline __m128i LoadBytes(const char* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

// Bit n is set when byte n of those from there on equals c.
inline uint32_t MatchMask16(const char* from, char c) {
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(LoadBytes(from), _mm_set1_epi8(c))));
}

inline uint32_t MatchMask32(const char* from, char c) {
  return MatchMask16(from, c) | MatchMask16(from + 16, c) << 16;
}

inline uint64_t MatchMask64(const char* from, char c) {
  return MatchMask32(from, c) | uint64_t{MatchMask32(from + 32, c)} << 32;
}

// Both searches look at as many bytes at a time as nearly all fields have: loops
// that end after a different number of turns for each field cost more, in
// mispredicted branches, than the bytes do.

// First a or b. Serves short fields.
template <typename Char>
Char* FindEither(Char* from, Char* end, char a, char b) {
  for (; from < end; from += 32) {
    const uint32_t mask = MatchMask32(from, a) | MatchMask32(from, b);
    if (mask != 0) {
      from += std::countr_zero(mask);
      break;
    }
  }
  return from < end ? from : end;
}

// First c. Serves long quoted texts.
template <typename Char>
Char* FindByte(Char* from, Char* end, char c) {
  for (; from < end; from += 64) {
    const uint64_t mask = MatchMask64(from, c);
    if (mask != 0) {
      from += std::countr_zero(mask);
      break;
    }
  }
  return from < end ? from : end;
}

#else

inline uint64_t MatchMask64(const char* from, char c) {
  uint64_t mask = 0;
  for (size_t i = 0; i < 64; ++i) {
    mask |= uint64_t{from[i] == c} << i;
  }
  return mask;
}

template <typename Char>
Char* FindEither(Char* from, Char* end, char a, char b) {
  return std::find_if(from, end, [a, b](char c) { return c == a || c == b; });
}

template <typename Char>
Char* FindByte(Char* from, Char* end, char c) {
  return FindEither(from, end, c, c);
}

#endif
