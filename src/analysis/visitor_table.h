// Visitors by their hashes, and the visits of each. Inner header of the visits.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "analysis/url_table.h"
#include "analysis/visit_times.h"
#include "analysis/visits.h"
#include "base/growing.h"
#include "base/sip_hash.h"

struct KnownVisitor {
  WideSipHash hash;
  VisitTimes times;
};

struct VisitorSlot {
  uint32_t visitor;   // 1 more than the number; 0: free
  uint32_t hash_end;  // the lower half of where its search begins
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
  WideSipHash visitor;
};

struct VisitCounts {
  Growing<KnownVisitor> visitors;  // in the order in which they came
  std::vector<VisitorSlot> slots;
  OtherVisits others;
  unsigned halvings = 0;  // so often the upper half of all hashes was dropped
  UrlTable urls;
  std::vector<bool> page_urls;  // by number: which of them are pages, as far as that was asked
  std::array<WaitingVisit, 32> waiting;
  size_t waiting_count = 0;
};

inline constexpr uint32_t kNoVisitor = UINT32_MAX;

// The number of the visitor of that hash; kNoVisitor: there is none yet.
uint32_t VisitorOf(VisitCounts& visits, const WideSipHash& hash);

// Adds a visit to those of the visitor of that hash, who may be a new one.
void AddVisitOf(VisitCounts& visits, const WideSipHash& hash, const Visit& visit);

// Has what AddVisitOf will look at be brought to the processor: first where the visitor may stand, then, some
// time later, the visitor.
void FetchVisitorSlot(const VisitCounts& visits, const WideSipHash& hash);
void FetchVisitor(const VisitCounts& visits, const WideSipHash& hash);

// Whether the hash is among those that are kept.
bool IsKept(const VisitCounts& visits, const WideSipHash& hash);

// Numbers of the other visits, those of one visitor together. They are looked for in the order in which they
// stand in memory: from one to the next by their numbers would be one wait for each.
std::vector<uint32_t> OthersByVisitor(const VisitCounts& visits);

// Calls use(hash, visits) for all visitors: the visits are whole, and in order of time.
template <typename Use>
void ForEachVisitor(const VisitCounts& visits, Use use) {
  static constexpr size_t kAhead = 16;  // visits that come from memory meanwhile
  const std::vector<uint32_t> others = OthersByVisitor(visits);
  std::vector<Visit> all;
  size_t next = 0;
  for (uint32_t number = 0; number < visits.visitors.length; ++number) {
    const KnownVisitor& visitor = visits.visitors[number];
    all.clear();
    for (; next < others.size() && visits.others.visits[others[next]].visitor == number; ++next) {
      __builtin_prefetch(&visits.others.visits[others[std::min(next + kAhead, others.size() - 1)]]);
      all.push_back(visits.others.visits[others[next]].visit);
    }
    all.push_back(visitor.times.latest);
    MakeWhole(all, visits.urls);
    use(visitor.hash, all);
  }
}

// FitVisits, but only when all that the budget lets them have is taken.
void FitVisitsInTime(VisitCounts& visits);
