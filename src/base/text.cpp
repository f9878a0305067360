#include "base/text.h"

#include <cstdlib>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

size_t CopyText(char* dst, size_t capacity, std::string_view text) {
  const std::string_view kept = CutText(text, capacity - 1);
  if (!kept.empty()) {
    memcpy(dst, kept.data(), kept.size());
  }
  dst[kept.size()] = '\0';
  return kept.size();
}

std::string_view CutText(std::string_view text, size_t max) {
  text = text.substr(0, max);
  return text.substr(0, text.find('\0'));
}

int CompareIgnoreCase(std::string_view a, std::string_view b) {
  const size_t common = a.size() < b.size() ? a.size() : b.size();
  for (size_t i = 0; i < common; ++i) {
    const int difference =
        static_cast<unsigned char>(ToLowerAscii(a[i])) - static_cast<unsigned char>(ToLowerAscii(b[i]));
    if (difference != 0) {
      return difference;
    }
  }
  return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

bool EqualIgnoreCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && CompareIgnoreCase(a, b) == 0;
}

bool BeginsWithIgnoreCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && CompareIgnoreCase(text.substr(0, prefix.size()), prefix) == 0;
}

#if defined(__SSE2__)

// Whether part begins at one of the sixteen places from at on. Only where its
// first and last characters stand is it compared (Mula, "SIMD-friendly
// algorithms for substring searching").
static bool BeginsInBlock(const char* at, std::string_view part) {
  const auto matches = [at](size_t offset, char c) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + offset));
    return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c));
  };
  const size_t last = part.size() - 1;
  int mask = _mm_movemask_epi8(_mm_and_si128(matches(0, part[0]), matches(last, part[last])));
  for (; mask != 0; mask &= mask - 1) {
    if (memcmp(at + __builtin_ctz(static_cast<unsigned>(mask)), part.data(), part.size()) == 0) {
      return true;
    }
  }
  return false;
}

bool ContainsText(std::string_view text, std::string_view part) {
  constexpr size_t kBlock = 16;
  const size_t reach = kBlock + part.size() - 1;
  if (text.size() < reach) {
    return text.find(part) != std::string_view::npos;
  }
  const size_t last_block = text.size() - reach;
  for (size_t at = 0; at < last_block; at += kBlock) {
    if (BeginsInBlock(text.data() + at, part)) {
      return true;
    }
  }
  return BeginsInBlock(text.data() + last_block, part);
}

#else

bool ContainsText(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

#endif

void MakePrintable(char* text) {
  for (; *text != '\0'; ++text) {
    *text = *text >= ' ' && *text <= '~' ? *text : '?';
  }
}

int ToInt(const char* text) {
  return text == nullptr ? 0 : static_cast<int>(strtol(text, nullptr, 10));
}
