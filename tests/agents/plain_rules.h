// Finding the words of rules in their plain form: one rule after the other, at one place after the other.
#pragma once

#include <string>
#include <string_view>

#include "agents/agent_rules.h"

namespace plain {

inline std::string Folded(std::string_view text) {
  std::string folded;
  for (const char c : text) {
    folded += c == '_' ? '.' : c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return folded;
}

inline bool IsLetter(char c) {
  return c >= 'a' && c <= 'z';
}

inline bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Whether the word, which is at that place of the text, is a word there. Both are folded.
inline bool StandsAt(const AgentRule& rule, const std::string& word, const std::string& text, size_t at) {
  const size_t end = at + word.size();
  const bool first_counts = IsLetter(word.front()) || IsDigit(word.front());
  if (!rule.begins_within && first_counts && at > 0 && (IsLetter(text[at - 1]) || IsDigit(text[at - 1]))) {
    return false;
  }
  const bool more_letters = end < text.size() && IsLetter(word.back()) && IsLetter(text[end]);
  const bool more_digits = end < text.size() && IsDigit(word.back()) && IsDigit(text[end]);
  return rule.goes_on || (!more_letters && !more_digits);
}

inline RuleMatch Find(const AgentRules& rules, RuleKind kind, std::string_view text) {
  const std::string folded = Folded(text);
  for (size_t i = 0; i < rules.count; ++i) {
    const AgentRule& rule = rules.rules[i];
    if (rule.kind != kind) {
      continue;
    }
    const std::string word = Folded(rule.word);
    for (size_t at = folded.find(word); at != std::string::npos; at = folded.find(word, at + 1)) {
      if (StandsAt(rule, word, folded, at)) {
        return {&rule, at, at + word.size()};
      }
    }
  }
  return {};
}

}  // namespace plain
