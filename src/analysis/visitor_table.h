// Visitors by their hashes, and the visits of each. Inner header of the visits.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
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

// Those of a visitor, perhaps in parts.
struct VisitsOfOne {
  const WideSipHash& hash;
  const Visit& latest;
  std::span<const uint32_t> others;  // numbers, in order of time
};

// Calls use(visit) for all of them, whole and in order of time.
template <typename Use>
void ForEachVisit(const VisitCounts& visits, const VisitsOfOne& of_one, Use use) {
  Visit whole = of_one.latest;
  bool begun = false;
  bool latest_left = true;
  const auto take = [&](const Visit& visit) {
    if (begun && AreOneVisit(whole, visit)) {
      JoinTo(whole, visit, visits.urls);
      return;
    }
    if (begun) {
      use(whole);
    }
    whole = visit;
    begun = true;
  };
  for (const uint32_t number : of_one.others) {
    const Visit& other = visits.others.visits[number].visit;
    if (latest_left && of_one.latest.first < other.first) {
      take(of_one.latest);
      latest_left = false;
    }
    take(other);
  }
  if (latest_left) {
    take(of_one.latest);
  }
  use(whole);
}

// Calls use(visits of one) for all visitors.
template <typename Use>
void ForEachVisitor(const VisitCounts& visits, Use use) {
  static constexpr size_t kAhead = 16;  // visits that come from memory meanwhile
  std::vector<uint32_t> others = OthersByVisitor(visits);
  const auto first_of = [&visits](uint32_t other) { return visits.others.visits[other].visit.first; };
  size_t next = 0;
  for (uint32_t number = 0; number < visits.visitors.length; ++number) {
    const size_t first = next;
    while (next < others.size() && visits.others.visits[others[next]].visitor == number) {
      __builtin_prefetch(&visits.others.visits[others[std::min(next + kAhead, others.size() - 1)]]);
      ++next;
    }
    const std::span<uint32_t> of_one(others.data() + first, next - first);
    if (!std::ranges::is_sorted(of_one, {}, first_of)) {
      std::ranges::sort(of_one, {}, first_of);
    }
    const KnownVisitor& visitor = visits.visitors[number];
    use(VisitsOfOne{visitor.hash, visitor.times.latest, of_one});
  }
}

// FitVisits, but only when all that the budget lets them have is taken.
void FitVisitsInTime(VisitCounts& visits);
