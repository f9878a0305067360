#include "analysis/visitor_table.h"

#include <algorithm>
#include <utility>

#include "analysis/smart_memory.h"
#include "base/hash_seed.h"

// Hashes are known to everybody; where they lie is not.
struct VisitorSeed {
  uint64_t first;
  uint64_t second;
};

static const VisitorSeed mVisitorSeed =
    RandomSeed(VisitorSeed{0x452821e638d01377, 0xbe5466cf34e90c6c});  // digits of pi

static size_t SlotOf(const VisitCounts& visits, const WideSipHash& hash) {
  const size_t mask = visits.slots.size() - 1;
  size_t slot = MultiplyFold(hash[0] ^ mVisitorSeed.first, hash[1] ^ mVisitorSeed.second) & mask;
  while (visits.slots[slot] != 0 && visits.visitors[visits.slots[slot] - 1].hash != hash) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

// At most half of the slots are taken.
static void GrowSlots(VisitCounts& visits) {
  static constexpr size_t kFirst = 256;
  size_t size = std::max(kFirst, visits.slots.size());
  while (size <= 2 * visits.visitors.size()) {
    size *= 2;
  }
  visits.slots.assign(size, 0);
  for (uint32_t number = 0; number < visits.visitors.size(); ++number) {
    visits.slots[SlotOf(visits, visits.visitors[number].hash)] = number + 1;
  }
}

KnownVisitor* VisitorOf(VisitCounts& visits, const WideSipHash& hash) {
  if (visits.slots.empty()) {
    return nullptr;
  }
  const uint32_t number = visits.slots[SlotOf(visits, hash)];
  return number == 0 ? nullptr : &visits.visitors[number - 1];
}

KnownVisitor& AddVisitor(VisitCounts& visits, const WideSipHash& hash) {
  if (2 * (visits.visitors.size() + 1) > visits.slots.size()) {
    GrowSlots(visits);
  }
  uint32_t& slot = visits.slots[SlotOf(visits, hash)];
  visits.visitors.push_back({.hash = hash, .times = {}});
  slot = static_cast<uint32_t>(visits.visitors.size());
  return visits.visitors.back();
}

bool IsKept(const VisitCounts& visits, const WideSipHash& hash) {
  return visits.halvings == 0 || hash[0] >> (64 - visits.halvings) == 0;
}

// ---- Memory ----

// What they take, about, so that it is the same everywhere.
static int64_t BytesOf(const VisitCounts& visits) {
  static constexpr int64_t kOfVisitor = 128;
  static constexpr int64_t kOfVisit = 64;
  return static_cast<int64_t>(visits.visitors.size()) * kOfVisitor + visits.others * kOfVisit +
         static_cast<int64_t>(visits.urls.bytes);
}

static void KeepUrl(const UrlTable& from, UrlTable& urls, uint32_t& number) {
  number = NumberOfUrl(urls, UrlOf(from, number));
}

static void KeepUrlsOf(const UrlTable& from, UrlTable& urls, Visit& visit) {
  if (visit.pages > 0) {
    KeepUrl(from, urls, visit.entry);
    KeepUrl(from, urls, visit.exit);
  }
}

static void DropUnusedUrls(VisitCounts& visits) {
  UrlTable urls;
  for (KnownVisitor& visitor : visits.visitors) {
    for (Visit& visit : visitor.times.others) {
      KeepUrlsOf(visits.urls, urls, visit);
    }
    KeepUrlsOf(visits.urls, urls, visitor.times.latest);
  }
  visits.urls = std::move(urls);
  visits.page_urls.clear();
}

void JoinAllVisits(VisitCounts& visits) {
  for (KnownVisitor& visitor : visits.visitors) {
    visits.others += JoinVisits(visitor.times, visits.urls);
  }
}

static void DropUpperHalf(VisitCounts& visits) {
  ++visits.halvings;
  std::erase_if(visits.visitors, [&visits](const KnownVisitor& visitor) {
    const bool dropped = !IsKept(visits, visitor.hash);
    visits.others -= dropped ? static_cast<int64_t>(visitor.times.others.size()) : 0;
    return dropped;
  });
  visits.slots.clear();
  GrowSlots(visits);
}

static int64_t MostBytes() {
  return MemoryBudget() / 2;
}

static bool AreTooMany(const VisitCounts& visits, int64_t most) {
  return most > 0 && BytesOf(visits) > most;
}

void FitVisits(VisitCounts& visits) {
  static constexpr unsigned kMostHalvings = 40;
  JoinAllVisits(visits);
  // A quarter stays free, so that this does not happen again at once.
  const int64_t most = MostBytes() - MostBytes() / 4;
  if (AreTooMany(visits, most)) {
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

void FitVisitsInTime(VisitCounts& visits) {
  if (AreTooMany(visits, MostBytes())) {
    FitVisits(visits);
  }
}
