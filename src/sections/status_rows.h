// What a report says of all status codes of a class.
#pragma once

#include <cstddef>

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "sections/section_rows.h"

// "1xx" to "5xx" with what they mean, as rows: those that have requests, in this order. Shares are of all
// requests with a status; where rows stand by bytes, of all bytes. Codes below 100 are in no class.
inline constexpr size_t kStatusClasses = 5;
struct StatusClasses {
  SectionRow rows[kStatusClasses];
  size_t count;
};
StatusClasses StatusClassesOf(const Settings& settings, const Analysis& analysis);
