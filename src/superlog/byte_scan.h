// Searches of a text for one or two byte values, sixteen bytes at a time where
// the processor can.
#pragma once

#include <bit>
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The searches may read, but never look at, this many bytes from end on: the
// text must lie in a buffer that goes on that far.
inline constexpr size_t kScanOverread = 16;

// First a or b in [from, end); end when there is none. Char is char or const
// char.
template <typename Char>
Char* FindEither(Char* from, Char* end, char a, char b) {
#if defined(__SSE2__)
  const __m128i all_a = _mm_set1_epi8(a);
  const __m128i all_b = _mm_set1_epi8(b);
  for (; from < end; from += sizeof(__m128i)) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i found = _mm_or_si128(_mm_cmpeq_epi8(bytes, all_a), _mm_cmpeq_epi8(bytes, all_b));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
    if (mask != 0) {
      from += std::countr_zero(mask);
      break;
    }
  }
  return from < end ? from : end;
#else
  while (from < end && *from != a && *from != b) {
    ++from;
  }
  return from;
#endif
}

// First c in [from, end); end when there is none.
template <typename Char>
Char* FindByte(Char* from, Char* end, char c) {
  return FindEither(from, end, c, c);
}
