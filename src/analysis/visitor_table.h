// Visitors by their hashes, and the visits of each. Inner header of the visits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "analysis/url_table.h"
#include "analysis/visit_room.h"
#include "analysis/visit_times.h"
#include "analysis/visits.h"
#include "base/zeroed.h"

struct KnownVisitor {
  uint64_t hash;
  VisitTimes times;  // without a latest visit: nobody
};

// Open addressing, of a power of two places.
struct VisitorTable {
  Zeroed<KnownVisitor> places;
  size_t size = 0;
  size_t length = 0;  // visitors
};

// A request that is yet to be counted: memory that it will be counted in is on its way.
struct WaitingVisit {
  std::string_view agent;
  std::string_view host;
  std::string_view url;  // empty: nothing that may be a page
  uint64_t agent_hash;
  uint64_t url_hash;
  int64_t time;
  bool of_robot;
  uint64_t visitor;
};

struct VisitCounts {
  VisitorTable visitors;
  VisitRoom room;
  unsigned halvings = 0;  // so often the upper half of all hashes was dropped
  UrlTable urls;
  std::vector<bool> page_urls;  // by number: which of them are pages, as far as that was asked
  std::array<WaitingVisit, 32> waiting;
  size_t waiting_count = 0;
};

// Adds a visit to those of the visitor of that hash, who may be a new one.
void AddVisitOf(VisitCounts& visits, uint64_t hash, const Visit& visit);

// Has what AddVisitOf will look at be brought to the processor: first where the visitor may stand, then, some
// time later, the latest visit, if one of that time is perhaps not another one.
void FetchVisitor(const VisitCounts& visits, uint64_t hash);
void FetchLatestVisit(const VisitCounts& visits, uint64_t hash, int64_t time);

// Whether the hash is among those that are kept.
bool IsKept(const VisitCounts& visits, uint64_t hash);

// Has the visits of all be whole, and in order of time.
void JoinAllVisits(VisitCounts& visits);

// Calls use(visitor) for all of them, in an order that differs from run to run.
template <typename Counts, typename Use>
void ForEachVisitor(Counts& visits, Use use) {
  for (size_t place = 0; place < visits.visitors.size; ++place) {
    if (visits.visitors.places[place].times.latest != 0) {
      use(visits.visitors.places[place]);
    }
  }
}

// FitVisits, but only when all that the budget lets them have is taken.
void FitVisitsInTime(VisitCounts& visits);
