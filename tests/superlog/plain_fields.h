// The field splitter's rules in their plain form: one character after the other,
// counting quotes. The tests hold the fast form against it.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

using Values = std::vector<std::string>;

// The line with each quote that has an odd number of backslashes before it, from at on,
// replaced by a letter.
inline std::string WithoutEscapedQuotes(std::string line, size_t at) {
  bool escaped = false;
  for (; at < line.size(); ++at) {
    if (line[at] == '"' && escaped) {
      line[at] = 'Q';
    }
    escaped = line[at] == '\\' && !escaped;
  }
  return line;
}

// Where the quoted field whose text begins there ends, in a line of a server that escapes
// quotes, or of one that does not.
inline size_t EndOfQuoted(const std::string& line, size_t start, bool cut) {
  const auto ends = [&](size_t at) { return at + 1 >= line.size() || line[at + 1] == ' '; };
  const size_t closing = std::min(WithoutEscapedQuotes(line, start).find('"', start), line.size());
  const size_t first = std::min(line.find('"', start), line.size());
  if (closing == first || (closing == line.size() ? cut : ends(closing))) {
    return closing;
  }
  size_t at = first;
  while (at < line.size() && (line[at] != '"' || !ends(at))) {
    ++at;
  }
  return at;
}

// The same for lines between spaces with escapes.
inline Values SplitEscapedPlainly(const std::string& line, bool cut) {
  Values values;
  size_t at = 0;
  while (at < line.size()) {
    const char opening = line[at];
    const bool bracketed = opening == '"' || opening == '\'' || opening == '[';
    const char terminator = opening == '[' ? ']' : bracketed ? opening : ' ';
    const size_t start = at + (bracketed ? 1 : 0);
    size_t stop = start;
    if (opening == '"') {
      stop = EndOfQuoted(line, start, cut);
    } else {
      const std::string seen = WithoutEscapedQuotes(line, start);
      for (int quotes = 0; stop < line.size() && (seen[stop] != terminator || quotes % 2 != 0); ++stop) {
        quotes += seen[stop] == '"';
      }
    }
    values.push_back(line.substr(start, stop - start));
    at = stop + 1;
    if (opening == '[' && at < line.size() && line[at] == ':') {
      at = std::min(line.find(' ', at), line.size());
    }
    if (bracketed && at < line.size() && line[at] == ' ') {
      ++at;
    }
  }
  return values;
}

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
