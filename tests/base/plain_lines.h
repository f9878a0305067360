// Lines of a text file, ended by 0xFF too, in their plain form: one byte after the other, as
// signed values, -1 being the end.
#pragma once

#include <string>
#include <vector>

#include "base/text.h"

inline std::vector<std::string> PlainLines(const std::string& content) {
  size_t at = 0;
  const auto next = [&] { return at < content.size() ? static_cast<signed char>(content[at++]) : -1; };
  std::vector<std::string> result;
  for (;;) {
    while (at < content.size() && (content[at] == '\r' || content[at] == '\n')) {
      ++at;
    }
    if (at == content.size()) {
      return result;
    }
    std::string line(1, content[at++]);
    for (int c; (c = next()) != '\n' && c != '\r' && c != -1;) {
      if (line.size() == kLineMax) {
        while (at < content.size() && content[at] != '\r' && content[at] != '\n') {
          ++at;
        }
        break;
      }
      line += static_cast<char>(c);
    }
    result.emplace_back(line.c_str());
  }
}
