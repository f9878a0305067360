// Lines of the common and the combined form as servers write nearly all of them, read without a
// walk along their fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "superlog/line_reader.h"
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
// whose buffer must go on for kScanOverread bytes from end on. The URL is the whole request yet; other texts
// that are empty or "-" are absent. With escapes, no field that is taken ends in a backslash.
template <bool kEscapes>
bool ReadUsualLine(const char* line, const char* end, const LineQuotes& quotes, const UsualLayout& layout,
                   SuperLogRecord& record);
