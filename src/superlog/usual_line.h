// Lines of the common and the combined form as servers write nearly all of them, read without a
// walk along their fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "superlog/superlog.h"

// What a layout takes of such lines. Nothing is usual of other layouts.
struct UsualLayout {
  bool usual;   // host, realm, user, date, request, status and bytes
  bool longer;  // and referrer, agent
  bool host;    // texts that are asked for
  bool realm;
  bool user;
  bool referrer;
  bool agent;
};

// Of the letters of a layout (superlog/log_format.h) whose fields are parted by blanks.
UsualLayout UsualLayoutOf(std::string_view letters);

// Fills the record's texts, status, bytes and date, as its time or with a time of 0 as written, from [line,
// end), and returns true, when the line has the usual form and its date lies in the hour of the last date
// that was read. Else false, with anything in these fields: it must be split. Nothing is written to the line,
// whose buffer must go on for kScanOverread bytes from end on. The URL is the whole request yet. With
// escapes, no field that is taken ends in a backslash.
template <bool kEscapes>
bool ReadUsualLine(const char* line, const char* end, const UsualLayout& layout, SuperLogRecord& record);

// Where the line's first blanks and all of its double quotes are, and places behind its end.
struct UsualMarks {
  static constexpr size_t kLongest = 1024;  // bytes; longer lines are split
  static constexpr size_t kNone = 8;        // places behind the last quote that lie behind the end, too

  uint64_t blanks;  // a bit for each of the first 64 bytes
  uint32_t quotes[kLongest + 256 + kNone];
};

// The form for any processor, and the one for this one; both give the same up to the line's end.
using MarkUsualForm = void (*)(const char* line, size_t length, UsualMarks& marks);
void MarkUsualPlainly(const char* line, size_t length, UsualMarks& marks);
extern const MarkUsualForm mpMarkUsual;
