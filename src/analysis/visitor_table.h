// Visitors by their hashes, and the visits of each. Inner header of the visits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "analysis/url_table.h"
#include "analysis/visit_times.h"
#include "analysis/visits.h"
#include "base/sip_hash.h"

struct KnownVisitor {
  WideSipHash hash;
  VisitTimes times;
};

struct VisitCounts {
  std::deque<KnownVisitor> visitors;  // in the order in which they came
  std::vector<uint32_t> slots;        // by hash: numbers of visitors, each 1 more; 0 is free
  int64_t others;                     // visits beyond the latest ones
  unsigned halvings;                  // so often the upper half of all hashes was dropped
  UrlTable urls;
  std::vector<bool> page_urls;  // which of them are pages, as far as that was asked
};

// The visitor of that hash; null: there is none yet.
KnownVisitor* VisitorOf(VisitCounts& visits, const WideSipHash& hash);

// A new one, of that hash, whose visits are yet to be told.
KnownVisitor& AddVisitor(VisitCounts& visits, const WideSipHash& hash);

// Whether the hash is among those that are kept.
bool IsKept(const VisitCounts& visits, const WideSipHash& hash);

// Has all visits be whole.
void JoinAllVisits(VisitCounts& visits);

// FitVisits, but only when all that the budget lets them have is taken.
void FitVisitsInTime(VisitCounts& visits);
