// The visits of one visitor: stretches of time with a request at least every half an hour.
//
// They are what the requests are, whatever the order in which these come: two visits that come close to each
// other are one, and of one visit each figure is a sum, a least or a greatest one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/url_table.h"

// Seconds without a request behind which the next one begins another visit.
inline constexpr int64_t kVisitEnds = 1800;

// Pages of a visit beyond that are not counted: no log holds so many, but a part may say so.
inline constexpr uint64_t kMostPages = uint64_t{1} << 48;

// A request, or several. Without pages, the last four mean nothing.
struct Visit {
  int64_t first;  // seconds since 1970-01-01, of the first request and of the last one, whether these are
  int64_t last;   // pages or not
  uint64_t pages;
  int64_t entry_time;  // of the first page; of several in the same second, that of the least URL
  int64_t exit_time;   // and of the last one, of the greatest URL
  uint32_t entry;      // numbers of their URLs
  uint32_t exit;
};

// Those of a visitor, of whom one request was at least.
struct VisitTimes {
  Visit latest;               // the one that something was added to
  std::vector<Visit> others;  // in any order, and perhaps parts of one visit
  size_t most_others = 8;     // before those that are one are joined
};

// Adds a visit, or a request as one, in any order. Visits may be numbered by the same table alone. Tells how
// many more others are kept than before. What adding one costs does not grow with how many there are, but by
// the logarithm of that.
int64_t AddVisit(VisitTimes& times, const Visit& more, const UrlTable& urls);

// Has the others be whole visits, in order of time, and the latest one the last of all. Tells the same.
int64_t JoinVisits(VisitTimes& times, const UrlTable& urls);
