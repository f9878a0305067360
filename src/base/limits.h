// How much of a text is kept, and how wide figures are.
//
// The editions differ here. A module takes the limits once, before a run counts
// anything; its buffers have room for the largest.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/text.h"

struct Limits {
  size_t line;        // characters kept of a log line
  size_t item;        // characters kept of a field of a record, and so of an item
  size_t request;     // of a request line, before its URL is taken from it
  bool wide_figures;  // counts, sizes and times have 64 bits; else they wrap at 32
  int64_t ranked;     // deliberate quirk: greater counts are displayed behind all others
  bool ff_ends_line;  // deliberate quirk: a byte 0xFF does, unless it is the line's first
  bool escapes;  // a double quote behind a backslash is a character of its field, and a user may hold blanks
  bool layouts;  // logs are also told by the layouts that are known by name
  bool all_requests;     // those without a URL are requests, too; else a line without one holds none
  bool whole_addresses;  // a host may be an address of IPv6; else it ends at its first ":"
  bool zones;            // the zone that stands beside a time counts; else times count as written
  bool passes_mark;      // a byte-order mark at the beginning of a log is no part of its first line
  bool whole_lines;      // NULs before a line are passed over, and what a NUL or the end of the file cuts off
                         // in its midst is no record
  bool least_spelling;   // of keys that differ in case alone, the least is shown; else the first one
};

inline constexpr Limits kClassicLimits{kLineMax, kTextMax, kTextMax, false, 999999, true, false,
                                       false,    false,    false,    false, false,  false, false};
inline constexpr Limits kModernLimits{64 * 1024, 2048, 64 * 1024, true, INT64_MAX, false, true,
                                      true,      true, true,      true, true,      true, true};

inline constexpr size_t kLongestLine = kModernLimits.line;
inline constexpr size_t kLongestItem = kModernLimits.item;

// A count, number or time as wide as the limits let it be.
constexpr int64_t Wrapped(const Limits& limits, int64_t figure) {
  return limits.wide_figures ? figure : static_cast<int32_t>(figure);
}

// The same of a size, which is never below 0.
constexpr uint64_t WrappedSize(const Limits& limits, uint64_t size) {
  return limits.wide_figures ? size : static_cast<uint32_t>(size);
}
