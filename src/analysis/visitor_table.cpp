#include "analysis/visitor_table.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "analysis/smart_memory.h"
#include "base/hash_seed.h"
#include "base/pages.h"

// Hashes are known to everybody; where they lie is not.
struct VisitorSeed {
  uint64_t first;
  uint64_t second;
};

static const VisitorSeed mVisitorSeed =
    RandomSeed(VisitorSeed{0x452821e638d01377, 0xbe5466cf34e90c6c});  // digits of pi

static uint64_t PlaceOf(const WideSipHash& hash) {
  return MultiplyFold(hash[0] ^ mVisitorSeed.first, hash[1] ^ mVisitorSeed.second);
}

static size_t HomeOf(const VisitCounts& visits, uint64_t place) {
  return static_cast<uint32_t>(place) & (visits.slots.size() - 1);
}

static VisitorSlot& SlotOf(VisitCounts& visits, const WideSipHash& hash) {
  const uint64_t place = PlaceOf(hash);
  for (size_t i = HomeOf(visits, place);; i = (i + 1) & (visits.slots.size() - 1)) {
    VisitorSlot& slot = visits.slots[i];
    if (slot.visitor == 0 ||
        (slot.hash_end == static_cast<uint32_t>(place) && visits.visitors[slot.visitor - 1].hash == hash)) {
      return slot;
    }
  }
}

static void FillSlot(VisitCounts& visits, const VisitorSlot& filled) {
  size_t i = HomeOf(visits, filled.hash_end);
  while (visits.slots[i].visitor != 0) {
    i = (i + 1) & (visits.slots.size() - 1);
  }
  visits.slots[i] = filled;
}

// At most half of the slots are taken, of 2^32 at most.
static void GrowSlots(VisitCounts& visits) {
  static constexpr size_t kFirst = 256;
  const size_t size = std::max(kFirst, 2 * visits.slots.size());
  std::vector<VisitorSlot> before;
  before.swap(visits.slots);
  visits.slots.reserve(size);
  AskForPages(visits.slots.data(), size * sizeof(VisitorSlot));
  visits.slots.resize(size);
  for (const VisitorSlot& slot : before) {
    if (slot.visitor != 0) {
      FillSlot(visits, slot);
    }
  }
}

static constexpr uint32_t kNoVisitor = UINT32_MAX;

// By number; kNoVisitor: there is none yet.
static uint32_t VisitorOf(VisitCounts& visits, const WideSipHash& hash) {
  return visits.slots.empty() ? kNoVisitor : SlotOf(visits, hash).visitor - 1;
}

static void AddVisitor(VisitCounts& visits, const WideSipHash& hash, const Visit& visit) {
  Append(visits.visitors, {.hash = hash, .times = FirstVisit(visit)});
  if (2 * visits.visitors.length > visits.slots.size()) {
    GrowSlots(visits);
  }
  FillSlot(visits, {.visitor = static_cast<uint32_t>(visits.visitors.length),
                    .hash_end = static_cast<uint32_t>(PlaceOf(hash))});
}

void AddVisitOf(VisitCounts& visits, const WideSipHash& hash, const Visit& visit) {
  const uint32_t number = VisitorOf(visits, hash);
  if (number == kNoVisitor) {
    AddVisitor(visits, hash, visit);
  } else {
    AddVisit(visits.visitors[number].times, visits.others, number, visit, visits.urls);
  }
}

void FetchVisitorSlot(const VisitCounts& visits, const WideSipHash& hash) {
  if (!visits.slots.empty()) {
    __builtin_prefetch(&visits.slots[HomeOf(visits, PlaceOf(hash))]);
  }
}

void FetchVisitor(const VisitCounts& visits, const WideSipHash& hash) {
  if (!visits.slots.empty()) {
    const VisitorSlot& slot = visits.slots[HomeOf(visits, PlaceOf(hash))];
    if (slot.visitor != 0) {
      const KnownVisitor* const visitor = &visits.visitors[slot.visitor - 1];
      __builtin_prefetch(visitor);
      __builtin_prefetch(visitor + 1);  // its end lies on another line
    }
  }
}

bool IsKept(const VisitCounts& visits, const WideSipHash& hash) {
  return visits.halvings == 0 || hash[0] >> (64 - visits.halvings) == 0;
}

std::vector<uint32_t> OthersByVisitor(const VisitCounts& visits) {
  const Growing<OtherVisit>& others = visits.others.visits;
  std::vector<uint32_t> behind(visits.visitors.length + 1);
  for (size_t number = 0; number < others.length; ++number) {
    if (others[number].visitor != kNobody) {
      ++behind[others[number].visitor];
    }
  }
  std::inclusive_scan(behind.begin(), behind.end(), behind.begin());
  std::vector<uint32_t> sorted(behind.back());
  for (size_t number = others.length; number-- > 0;) {
    if (others[number].visitor != kNobody) {
      sorted[--behind[others[number].visitor]] = static_cast<uint32_t>(number);
    }
  }
  return sorted;
}

// ---- Memory ----

// What they take, about, so that it is the same everywhere.
static int64_t BytesOf(const VisitCounts& visits) {
  static constexpr int64_t kOfVisitor = 128;
  static constexpr int64_t kOfVisit = 64;
  return static_cast<int64_t>(visits.visitors.length) * kOfVisitor + visits.others.count * kOfVisit +
         static_cast<int64_t>(visits.urls.bytes);
}

static void KeepUrlsOf(const UrlTable& from, UrlTable& urls, Visit& visit) {
  if (visit.pages > 0) {
    visit.entry = NumberOfUrl(urls, UrlOf(from, visit.entry));
    visit.exit = NumberOfUrl(urls, UrlOf(from, visit.exit));
  }
}

static void DropUnusedUrls(VisitCounts& visits) {
  UrlTable urls;
  for (size_t number = 0; number < visits.visitors.length; ++number) {
    VisitTimes& times = visits.visitors[number].times;
    for (uint32_t other = times.others; other != 0; other = visits.others.visits[other - 1].next) {
      KeepUrlsOf(visits.urls, urls, visits.others.visits[other - 1].visit);
    }
    KeepUrlsOf(visits.urls, urls, times.latest);
  }
  visits.urls = std::move(urls);
  visits.page_urls.clear();
}

static void SetVisitor(const VisitTimes& times, OtherVisits& others, uint32_t visitor) {
  for (uint32_t other = times.others; other != 0; other = others.visits[other - 1].next) {
    others.visits[other - 1].visitor = visitor;
  }
}

static void DropUpperHalf(VisitCounts& visits) {
  ++visits.halvings;
  uint32_t kept = 0;
  for (size_t number = 0; number < visits.visitors.length; ++number) {
    KnownVisitor& visitor = visits.visitors[number];
    if (IsKept(visits, visitor.hash)) {
      SetVisitor(visitor.times, visits.others, kept);
      visits.visitors[kept++] = visitor;
    } else {
      DropOthers(visitor.times, visits.others);
    }
  }
  CutTo(visits.visitors, kept);
  visits.slots.assign(visits.slots.size(), {});
  for (uint32_t number = 0; number < kept; ++number) {
    FillSlot(visits, {.visitor = number + 1,
                      .hash_end = static_cast<uint32_t>(PlaceOf(visits.visitors[number].hash))});
  }
}

static void JoinAll(VisitCounts& visits) {
  for (uint32_t number = 0; number < visits.visitors.length; ++number) {
    JoinVisits(visits.visitors[number].times, visits.others, number, visits.urls);
  }
}

static int64_t MostBytes() {
  return MemoryBudget() / 2;
}

static bool AreTooMany(const VisitCounts& visits, int64_t most) {
  return most > 0 && BytesOf(visits) > most;
}

static void Fit(VisitCounts& visits) {
  static constexpr unsigned kMostHalvings = 40;
  // A quarter stays free, so that this does not happen again at once.
  const int64_t most = MostBytes() - MostBytes() / 4;
  if (AreTooMany(visits, most)) {
    JoinAll(visits);
    DropUnusedUrls(visits);
  }
  while (AreTooMany(visits, most) && visits.halvings < kMostHalvings) {
    const int64_t before = BytesOf(visits);
    BeginToReclaim();
    DropUpperHalf(visits);
    DropUnusedUrls(visits);
    NoteReclaimed(before - BytesOf(visits));
  }
}

void FitVisits(VisitCounts& visits) {
  CountWaitingVisits(visits);
  if (MostBytes() > 0) {
    Fit(visits);
  }
}

void FitVisitsInTime(VisitCounts& visits) {
  if (AreTooMany(visits, MostBytes())) {
    Fit(visits);
  }
}
