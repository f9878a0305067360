// The names file read plainly: one character at a time, from its start for every
// item.
#pragma once

#include <cctype>
#include <cstring>
#include <string>

class PlainNames {
 public:
  explicit PlainNames(const std::string& content) : rest_(content) {}

  std::string Resolve(std::string item) {
    for (char& c : item) {
      c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    }
    while (true) {
      SkipBlanks();
      std::string code;
      while (at_ < rest_.size() && code.size() < 19 && !IsBlank(rest_[at_])) {
        code += rest_[at_++];
      }
      SkipBlanks();
      std::string description;
      while (description.size() < 99 && (description.empty() || description.back() != '\n')) {
        if (at_ == rest_.size()) {
          return item;
        }
        description += rest_[at_++];
      }
      if (code == item) {
        item = WithoutLineEnd(description);
      }
    }
  }

 private:
  static bool IsBlank(char c) { return memchr(" \t\n\v\f\r", c, 6) != nullptr; }
  void SkipBlanks() {
    while (at_ < rest_.size() && IsBlank(rest_[at_])) {
      ++at_;
    }
  }
  static std::string WithoutLineEnd(std::string text) {
    for (const char unwanted : {'\n', '\r'}) {
      if (!text.empty() && text.back() == unwanted) {
        text.pop_back();
      }
    }
    return text;
  }

  std::string rest_;
  size_t at_ = 0;
};
