// Texts for functions that read beyond the end of what they are given.
#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

#include "superlog/byte_scan.h"

// A copy of a text in a buffer that goes on for kScanOverread bytes beyond it.
class WithRoom {
 public:
  explicit WithRoom(std::string_view text) : buffer_(text.size() + kScanOverread, '#'), length_(text.size()) {
    std::copy(text.begin(), text.end(), buffer_.begin());
  }
  operator std::string_view() const { return {buffer_.data(), length_}; }

 private:
  std::vector<char> buffer_;
  size_t length_;
};
