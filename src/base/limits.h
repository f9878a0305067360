// How much of a text is kept, and how wide figures are.
//
// The editions differ here. A module takes the limits once, before a run counts
// anything; its buffers have room for the largest.
#pragma once

#include <cstddef>

#include "base/text.h"

struct Limits {
  size_t line;        // characters kept of a log line
  size_t item;        // characters kept of a field of a record, and so of an item
  bool wide_figures;  // counts, sizes and times have 64 bits; else they wrap at 32
};

inline constexpr Limits kClassicLimits{kLineMax, kTextMax, false};
inline constexpr Limits kModernLimits{64 * 1024, 2048, true};

inline constexpr size_t kLongestLine = kModernLimits.line;
inline constexpr size_t kLongestItem = kModernLimits.item;
