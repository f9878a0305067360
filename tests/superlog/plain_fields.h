// The field splitter's rules in their plain form: one character after the other,
// counting quotes. The tests hold the fast form against it.
#pragma once

#include <string>
#include <vector>

using Values = std::vector<std::string>;

inline Values SplitPlainly(const std::string& line, char separator) {
  Values values;
  size_t at = 0;
  while (at < line.size()) {
    char terminator = separator == 'S' ? ' ' : separator == 'T' ? '\t' : ',';
    if (separator == 'S' && (line[at] == '"' || line[at] == '\'' || line[at] == '[')) {
      terminator = line[at] == '[' ? ']' : line[at];
      ++at;
    }
    while (at < line.size() &&
           ((separator != 'S' && line[at] == ' ') || (separator == 'C' && line[at] == '\t'))) {
      ++at;
    }
    const size_t start = at;
    int quotes = 0;
    for (; at < line.size(); ++at) {
      const bool ends = line[at] == terminator && quotes % 2 == 0;
      if (ends && (separator != 'C' || (at + 1 < line.size() && line[at + 1] == ' '))) {
        break;
      }
      quotes += line[at] == '"';
    }
    std::string value = line.substr(start, at - start);
    if (separator == 'T' && value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    values.push_back(value);
    if (at < line.size()) {
      ++at;
      if (separator == 'S' && terminator != ' ' && at < line.size() && line[at] == ' ') {
        ++at;
      }
    }
  }
  return values;
}
