// The visits of one visitor: stretches of time with a request at least every half an hour.
//
// They are what the requests are, whatever the order in which these come: two visits that come close to each
// other are one, and of one visit each figure is a sum, a least or a greatest one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/url_table.h"
#include "base/growing.h"

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

struct OtherVisit {
  Visit visit;
  uint32_t next;     // of the same visitor: its number, 1 more; 0: this is the last
  uint32_t visitor;  // whose it is; kNobody: it is free
};

inline constexpr uint32_t kNobody = UINT32_MAX;

// Room for the visits of all visitors beyond the latest one of each, so that one more is seldom more memory.
struct OtherVisits {
  Growing<OtherVisit> visits;
  uint32_t free = 0;  // the first that is nobody's, 1 more
  int64_t count = 0;  // those that are somebody's
};

// Those of a visitor.
struct VisitTimes {
  Visit latest;           // the one that something was added to
  uint32_t others;        // the first of them, 1 more, and perhaps parts of one visit; 0: there are none
  uint32_t until_joined;  // so many more may come before those that are one are joined; 0: each came behind
                          // those before, and no two are one
};

// Those of a visitor of whom one request, or one visit, is known.
VisitTimes FirstVisit(const Visit& visit);

// Adds a visit, or a request as one, in any order; the visitor is told by a number. Visits may be of the same
// table of URLs alone. What adding one costs does not grow with how many there are, but by the logarithm of
// that.
void AddVisit(VisitTimes& times, OtherVisits& others, uint32_t visitor, const Visit& more,
              const UrlTable& urls);

// Whether they come so close to each other that they are one, and what they are then.
bool AreOneVisit(const Visit& a, const Visit& b);
void JoinTo(Visit& visit, const Visit& more, const UrlTable& urls);

// Of visits in any order, and parts of them, makes those that there are, in order of time.
void MakeWhole(std::vector<Visit>& visits, const UrlTable& urls);

// Has the visits be whole, and the latest one the last of all.
void JoinVisits(VisitTimes& times, OtherVisits& others, uint32_t visitor, const UrlTable& urls);

// Leaves the room of all but the latest.
void DropOthers(VisitTimes& times, OtherVisits& others);
