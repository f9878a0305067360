#include "base/text.h"

#include <cstdlib>
#include <cstring>

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

int ToInt(const char* text) {
  return text == nullptr ? 0 : static_cast<int>(strtol(text, nullptr, 10));
}
