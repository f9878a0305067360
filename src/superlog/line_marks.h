// Marks of a line: a bit for each byte at which one of its fields may end, found in one
// scan, and searches for the next of them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/limits.h"
#include "superlog/byte_scan.h"

// A bit for each byte of the line, in words. The line's end is marked, too; what is marked behind it
// means nothing.
struct LineMarks {
  static constexpr size_t kWordBits = 64;
  static constexpr size_t kWords = (kLongestLine + kScanOverread) / kWordBits + 2;

  char* line;
  char* end;
  uint64_t quotes[kWords];  // double quotes
  uint64_t stops[kWords];   // these, and separators
};

// Marks [line, end), at most kLongestLine bytes. The line's buffer must go on for kScanOverread
// bytes from end on.
void MarkLine(LineMarks& marks, char* line, char* end, char separator);

// Marks the bytes only, and some behind them: the form for any processor, and the one for this one. Both
// give the same up to the line's end.
using MarkBytesForm = void (*)(LineMarks& marks, const char* line, const char* end, char separator);
void MarkBytesPlainly(LineMarks& marks, const char* line, const char* end, char separator);
extern const MarkBytesForm mpMarkBytes;

// First of those marks at or behind from, which lies in the marked line or at its end. The end, when
// there is none before it. Words are read as they were written, which the processor can do at once.
inline char* NextMark(const LineMarks& marks, const uint64_t* words, const char* from) {
  auto at = static_cast<size_t>(from - marks.line);
  const size_t passed = at % LineMarks::kWordBits;
  const uint64_t* word = words + at / LineMarks::kWordBits;
  uint64_t bits = word[0] >> passed | word[1] << 1 << (LineMarks::kWordBits - 1 - passed);
  if (bits == 0) [[unlikely]] {
    at -= passed;
    do {
      at += LineMarks::kWordBits;
      bits = *++word;
    } while (bits == 0);
  }
  return marks.line + at + std::countr_zero(bits);
}

inline char* NextQuote(const LineMarks& marks, const char* from) {
  return NextMark(marks, marks.quotes, from);
}

inline char* NextStop(const LineMarks& marks, const char* from) {
  return NextMark(marks, marks.stops, from);
}
