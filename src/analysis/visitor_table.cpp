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

static size_t HomeOf(const VisitorTable& table, uint64_t hash) {
  return MultiplyFold(hash ^ mVisitorSeed.first, mVisitorSeed.second | 1) & (table.size - 1);
}

// Where the visitor stands, or may stand.
static KnownVisitor& PlaceOf(const VisitorTable& table, uint64_t hash) {
  size_t i = HomeOf(table, hash);
  while (table.places[i].times.latest != 0 && table.places[i].hash != hash) {
    i = (i + 1) & (table.size - 1);
  }
  return table.places[i];
}

// Has a quarter of the places be taken, or more than an eighth; half of that where there are few, who may
// soon be many.
static void Resize(VisitorTable& table) {
  static constexpr size_t kFewest = 256;
  static constexpr size_t kMany = size_t{1} << 18;
  VisitorTable resized;
  resized.size = kFewest;
  while (resized.size < (table.length < kMany ? 8 : 4) * table.length) {
    resized.size *= 2;
  }
  resized.places = NewZeroed<KnownVisitor>(resized.size);
  resized.length = table.length;
  for (size_t i = 0; i < table.size; ++i) {
    if (table.places[i].times.latest != 0) {
      PlaceOf(resized, table.places[i].hash) = table.places[i];
    }
  }
  table = std::move(resized);
}

void AddVisitOf(VisitCounts& visits, uint64_t hash, const Visit& visit) {
  VisitorTable& table = visits.visitors;
  if (2 * table.length >= table.size) {
    Resize(table);
  }
  KnownVisitor& visitor = PlaceOf(table, hash);
  if (visitor.times.latest != 0) {
    AddVisit(visitor.times, visits.room, visit, visits.urls);
  } else {
    visitor = {.hash = hash, .times = FirstVisit(visits.room, visit)};
    ++table.length;
  }
}

void FetchVisitor(const VisitCounts& visits, uint64_t hash) {
  if (visits.visitors.size > 0) {
    __builtin_prefetch(&visits.visitors.places[HomeOf(visits.visitors, hash)]);
  }
}

void FetchLatestVisit(const VisitCounts& visits, uint64_t hash, int64_t time) {
  if (visits.visitors.size > 0) {
    const KnownVisitor& visitor = visits.visitors.places[HomeOf(visits.visitors, hash)];
    if (visitor.times.latest != 0 && !IsFarBehind(visitor.times, time)) {
      FetchVisit(visits.room, visitor.times.latest);
    }
  }
}

bool IsKept(const VisitCounts& visits, uint64_t hash) {
  return visits.halvings == 0 || hash >> (64 - visits.halvings) == 0;
}

void JoinAllVisits(VisitCounts& visits) {
  if (visits.room.all_in_order) {
    return;
  }
  ForEachVisitor(visits, [&](KnownVisitor& visitor) { JoinVisits(visitor.times, visits.room, visits.urls); });
}

// ---- Memory ----

// What they take, about, so that it is the same everywhere.
static int64_t BytesOf(const VisitCounts& visits) {
  static constexpr int64_t kOfVisitor = 3 * sizeof(KnownVisitor);
  return static_cast<int64_t>(visits.visitors.length) * kOfVisitor +
         visits.room.count * static_cast<int64_t>(sizeof(KeptVisit)) +
         visits.room.longer_count * static_cast<int64_t>(sizeof(Visit)) +
         static_cast<int64_t>(visits.urls.bytes);
}

static void DropUnusedUrls(VisitCounts& visits) {
  UrlTable urls;
  ForEachUrl(visits.room, [&](uint32_t& url) { url = NumberOfUrl(urls, UrlOf(visits.urls, url)); });
  visits.urls = std::move(urls);
  visits.page_urls.clear();
}

static void DropUpperHalf(VisitCounts& visits) {
  ++visits.halvings;
  ForEachVisitor(visits, [&](KnownVisitor& visitor) {
    if (!IsKept(visits, visitor.hash)) {
      DropVisits(visitor.times, visits.room);
      --visits.visitors.length;
    }
  });
  Resize(visits.visitors);
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
    JoinAllVisits(visits);
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
