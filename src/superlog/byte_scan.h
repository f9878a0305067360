// Searches of a text for one or two byte values, many bytes at a time where the
// processor can.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The searches may read, but never look at, this many bytes from end on: the
// text must lie in a buffer that goes on that far.
inline constexpr size_t kScanOverread = 32;

// Both search [from, end) and return end when they find nothing. Char is char or
// const char.

#if defined(__SSE2__)

// Bit n is set when byte n of the sixteen equals c.
inline uint32_t MatchMask(__m128i bytes, char c) {
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c))));
}

inline __m128i LoadBytes(const char* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

// First a or b. Serves short fields: one register at a time.
template <typename Char>
Char* FindEither(Char* from, Char* end, char a, char b) {
  for (; from < end; from += 16) {
    const __m128i bytes = LoadBytes(from);
    const uint32_t mask = MatchMask(bytes, a) | MatchMask(bytes, b);
    if (mask != 0) {
      from += std::countr_zero(mask);
      break;
    }
  }
  return from < end ? from : end;
}

// First c. Serves long quoted texts: two registers at a time.
template <typename Char>
Char* FindByte(Char* from, Char* end, char c) {
  for (; from < end; from += 32) {
    const uint32_t mask = MatchMask(LoadBytes(from), c) | MatchMask(LoadBytes(from + 16), c) << 16;
    if (mask != 0) {
      from += std::countr_zero(mask);
      break;
    }
  }
  return from < end ? from : end;
}

#else

template <typename Char>
Char* FindEither(Char* from, Char* end, char a, char b) {
  while (from < end && *from != a && *from != b) {
    ++from;
  }
  return from;
}

template <typename Char>
Char* FindByte(Char* from, Char* end, char c) {
  return FindEither(from, end, c, c);
}

#endif
