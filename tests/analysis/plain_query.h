// The scan of a query for a variable, character by character.
#pragma once

#include <cstring>
#include <string>

#include "base/text.h"

inline bool PlainQueryValue(const char* text, const char* name, std::string& value) {
  const char* at = strchr(text, '?');
  if (at == nullptr || *++at == '\0') {
    return false;
  }
  std::string candidate;
  for (; *at != '\0'; ++at) {
    if (*at != '=') {
      candidate += *at;
      continue;
    }
    ++at;
    const char* end = strchr(at, '&');
    if (EqualIgnoreCase(candidate, name)) {
      value = end == nullptr ? std::string(at) : std::string(at, end);
      return true;
    }
    if (end == nullptr) {
      return false;
    }
    candidate.clear();
    at = end;
  }
  return false;
}
