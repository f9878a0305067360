// The visits of one visitor, in the order in which they were kept.
#pragma once

#include <cstdint>

#include "analysis/visit.h"
#include "analysis/visit_room.h"

// What is said of the latest visit saves a look at it: it is somewhere in memory.
struct VisitTimes {
  uint32_t latest;         // the place of the one that something was added to; the others are before it
  uint32_t in_order : 1;   // each came behind those before, and no two are one
  uint32_t has_pages : 1;  // in order: one of the visits has
  uint32_t end : 30;  // in order: when the latest visit ended, at the latest, as below; else so many more
                      // may come before those that are one are joined
};

// Ends are in steps of four seconds since 1970-01-01.
inline constexpr int64_t kEndStep = 4;
inline constexpr uint32_t kUnknownEnd = (uint32_t{1} << 30) - 1;

// Whether a visit that begins at that time is another one than the latest, and behind it, without a look at
// that.
inline bool IsFarBehind(const VisitTimes& times, int64_t first) {
  return times.in_order != 0 && times.end != kUnknownEnd && first >= times.end * kEndStep + kVisitEnds;
}

// Those of a visitor of whom one request, or one visit, is known.
VisitTimes FirstVisit(VisitRoom& room, const Visit& visit);

// Adds a visit, or a request as one, in any order. Visits may be of the same table of URLs alone. What adding
// one costs does not grow with how many there are, but by the logarithm of that.
void AddVisit(VisitTimes& times, VisitRoom& room, const Visit& more, const UrlTable& urls);

// Has the visits be whole and in order of time, the latest one the last of all.
void JoinVisits(VisitTimes& times, VisitRoom& room, const UrlTable& urls);

// Leaves the room of all.
void DropVisits(VisitTimes& times, VisitRoom& room);
