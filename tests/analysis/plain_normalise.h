// Normalisers in their plain form. The tests hold the fast forms against them.
#pragma once

#include <cctype>
#include <string>
#include <string_view>

// The scan as a four-state automaton that looks at every character.
inline bool PlainMsie(std::string_view agent) {
  const std::string_view wanted = "MSIE";
  size_t state = 0;
  for (const char c : agent) {
    state = c == wanted[state] ? state + 1 : 0;
    if (state == wanted.size()) {
      return true;
    }
  }
  return false;
}

// The numeric test on a scratch copy that is cut down in place.
inline bool PlainIPaddress(const std::string& host) {
  if (host.empty()) {
    return false;
  }
  std::string copy = host;
  if (copy == "(null)") {
    copy.clear();
  }
  const size_t dot = copy.rfind('.');
  if (dot != std::string::npos) {
    copy.erase(0, dot + 1);
  }
  return copy.empty() || !isalpha(static_cast<unsigned char>(copy.back()));
}
