// URL decoding in its plain form, from one text to another.
#pragma once

#include <cctype>
#include <cstdlib>
#include <string>

inline bool IsHexAt(const std::string& text, size_t at) {
  return at < text.size() && isxdigit(static_cast<unsigned char>(text[at])) != 0;
}

inline std::string PlainDecode(const std::string& text) {
  std::string decoded;
  for (size_t i = 0; i < text.size();) {
    if (text[i] == '%' && IsHexAt(text, i + 1) && IsHexAt(text, i + 2)) {
      decoded += static_cast<char>(strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
      i += 3;
    } else {
      decoded += text[i] == '+' ? ' ' : text[i];
      i += text.compare(i, 2, "%%") == 0 ? 2 : 1;
    }
  }
  return decoded.substr(0, decoded.find('\0'));
}
