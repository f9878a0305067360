// The block reader's rules in their plain form: byte by byte, from blocks. The
// tests hold the fast form against it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "base/text.h"
#include "superlog/line_reader.h"
#include "superlog/log_limits.h"

inline bool IsBetweenLines(int c) {
  return c == '\r' || c == '\n' || (c == '\0' && mLogLimits.whole_lines);
}

class BlockModel {
 public:
  explicit BlockModel(std::string data) : data_(std::move(data)) {
    marked_ = mLogLimits.passes_mark && data_.starts_with("\xEF\xBB\xBF");
  }

  uint64_t counted() const { return counted_; }

  std::string ReadLine() {
    int c = Next();
    while (!failed_ && IsBetweenLines(c)) {
      c = Next();
    }
    std::string line;
    if (failed_) {
      return line;
    }
    line.push_back(static_cast<char>(c));
    for (;;) {
      c = Next();
      if (c == '\r' || c == '\n' || c == -1) {
        return line;
      }
      line.push_back(static_cast<char>(c));
      if (line.size() == mLogLimits.line + 1) {
        line.pop_back();
        ReadRest();
        return line;
      }
    }
  }

 private:
  void ReadRest() {
    int c = Next();
    while (!failed_ && c != '\r' && c != '\n') {
      c = Next();
    }
  }

  // Bytes are signed, so 0xFF is -1 like the end, unless the limits say otherwise.
  int Next() {
    if (at_ == counted_) {
      counted_ += std::min<size_t>(kBlockSize, data_.size() - counted_);
    }
    if (at_ == 0 && marked_) {
      at_ = 3;
      return Next();
    }
    failed_ = at_ == counted_;
    if (failed_) {
      return -1;
    }
    const char c = data_[at_++];
    return mLogLimits.ff_ends_line ? static_cast<signed char>(c) : static_cast<unsigned char>(c);
  }

  std::string data_;
  size_t at_ = 0;
  size_t counted_ = 0;
  bool failed_ = false;
  bool marked_ = false;
};

// Whether the block reader tells the quotes of the current line, found here one by one.
inline bool QuotesAreTold() {
  if (mLineQuotes.begin == nullptr) {
    return mLineLen == 0 || mLineLen == mLogLimits.line || mpLine[0] == '\xFF' || IsLineCut();
  }
  const uint32_t* quote = mLineQuotes.begin;
  for (const char* at = mpLine; at != mpLineEnd; ++at) {
    if (*at == '"' && (quote == mLineQuotes.end || mLineQuotes.buffer + *quote++ != at)) {
      return false;
    }
  }
  return quote == mLineQuotes.end;
}
