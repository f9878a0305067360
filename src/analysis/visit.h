// A visit: a stretch of time in which a visitor makes a request at least every half an hour.
//
// Visits are what the requests are, whatever the order in which these come: two that come close to each other
// are one, and each figure of one is a sum, a least or a greatest one.
#pragma once

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

// A request for no page, and one for a page.
inline Visit VisitOfNoPage(int64_t time) {
  return {.first = time, .last = time, .pages = 0, .entry_time = 0, .exit_time = 0, .entry = 0, .exit = 0};
}

inline Visit VisitOfPage(int64_t time, uint32_t url) {
  return {.first = time,
          .last = time,
          .pages = 1,
          .entry_time = time,
          .exit_time = time,
          .entry = url,
          .exit = url};
}

// Whether they come so close to each other that they are one.
inline bool AreOneVisit(const Visit& a, const Visit& b) {
  return a.first - b.last < kVisitEnds && b.first - a.last < kVisitEnds;
}

// Seconds behind which it is another day, whatever clocks are changed: a zone that moves to the other side of
// the date line has a day twice.
inline constexpr int64_t kLongestDay = 50 * 3600;

// Makes them one. Both are of the same table of URLs.
void JoinTo(Visit& visit, const Visit& more, const UrlTable& urls);

// Of visits in any order, and parts of them, makes those that there are, in order of time. There is one at
// least.
void MakeWhole(std::vector<Visit>& visits, const UrlTable& urls);
