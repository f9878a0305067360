// Visits as the counts of a part.
#include <algorithm>
#include <numeric>
#include <span>
#include <vector>

#include "analysis/visitor_table.h"
#include "analysis/visits.h"
#include "base/limits.h"

// A longer visit is written as several, which are one again when they are added: so no few bytes can stand
// for more days than they are.
static constexpr int64_t kLongestWritten = 86400;

static constexpr int64_t kLatestTime = int64_t{1} << 40;  // seconds, far behind the last year of a date

// ---- Writing ----

struct VisitWriter {
  PartWriter& part;
  const UrlTable& urls;
  std::vector<uint32_t> numbers;  // of URLs that were written, from 1; 0: not yet
  uint32_t written = 0;
};

static void PutUrl(VisitWriter& writer, uint32_t url) {
  uint32_t& number = writer.numbers[url];
  PutFigure(writer.part, number);
  if (number == 0) {
    PutText(writer.part, UrlOf(writer.urls, url));
    number = ++writer.written;
  }
}

static int64_t StretchesOf(const Visit& visit) {
  return 1 + (visit.last - visit.first) / (kLongestWritten + 1);
}

static void PutStretch(PartWriter& part, int64_t first, int64_t last) {
  PutSigned(part, first);
  PutFigure(part, static_cast<uint64_t>(last - first));
}

static void PutPages(VisitWriter& writer, const Visit& visit) {
  PutFigure(writer.part, visit.pages);
  if (visit.pages > 0) {
    PutSigned(writer.part, visit.entry_time - visit.first);
    PutUrl(writer, visit.entry);
  }
  if (visit.pages > 1) {
    PutSigned(writer.part, visit.exit_time - visit.entry_time);
    PutUrl(writer, visit.exit);
  }
}

// All but the last stretch are as long as can be, and begin a second behind the one before; its pages are
// with the first.
static void PutVisit(VisitWriter& writer, const Visit& visit) {
  int64_t first = visit.first;
  PutStretch(writer.part, first, std::min(visit.last, first + kLongestWritten));
  PutPages(writer, visit);
  while ((first += kLongestWritten + 1) <= visit.last) {
    PutStretch(writer.part, first, std::min(visit.last, first + kLongestWritten));
    PutFigure(writer.part, 0);
  }
}

static void PutHash(PartWriter& part, uint64_t hash) {
  char bytes[sizeof hash];
  for (size_t i = 0; i < sizeof bytes; ++i) {
    bytes[i] = static_cast<char>(hash >> i * 8);
  }
  PutText(part, {bytes, sizeof bytes});
}

// Visitors by number, in the order of the first places of their visits, so that the same counts are written
// as the same bytes.
struct Visitors {
  std::vector<uint32_t> of_visits;  // whose the visit of each place is, but for the free ones
  uint32_t count = 0;
};

static constexpr uint32_t kUnknown = UINT32_MAX;

// Goes back from a visit to one whose visitor is known, or to a first one, and from there numbers all of
// them.
static void NumberVisitor(Visitors& visitors, const VisitRoom& room, uint32_t last) {
  uint32_t known = last;
  while (known != 0 && visitors.of_visits[known - 1] == kUnknown) {
    known = KeptAt(room, known).before;
  }
  const uint32_t visitor = known != 0 ? visitors.of_visits[known - 1] : visitors.count++;
  for (uint32_t place = last; place != known; place = KeptAt(room, place).before) {
    visitors.of_visits[place - 1] = visitor;
  }
}

static Visitors NumberVisitors(const VisitRoom& room) {
  Visitors visitors{std::vector<uint32_t>(room.kept.length, kUnknown)};
  for (uint32_t place = 1; place <= room.kept.length; ++place) {
    if (KeptAt(room, place).length != kOfNobody) {
      NumberVisitor(visitors, room, place);
    }
  }
  return visitors;
}

static std::vector<uint64_t> HashesOf(const VisitCounts& visits, const Visitors& visitors) {
  std::vector<uint64_t> hashes(visitors.count);
  ForEachVisitor(visits, [&](const KnownVisitor& visitor) {
    hashes[visitors.of_visits[visitor.times.latest - 1]] = visitor.hash;
  });
  return hashes;
}

// The places of those of each, and where these begin. They are looked for in the order in which they stand in
// memory: from one to the next by their places would be one wait for each.
struct SortedVisits {
  std::vector<uint32_t> begin;
  std::vector<uint32_t> places;
};

static SortedVisits SortByVisitor(const VisitRoom& room, const Visitors& visitors) {
  SortedVisits sorted{std::vector<uint32_t>(visitors.count + 1), {}};
  for (const uint32_t visitor : visitors.of_visits) {
    if (visitor != kUnknown) {
      ++sorted.begin[visitor];
    }
  }
  std::inclusive_scan(sorted.begin.begin(), sorted.begin.end(), sorted.begin.begin());
  sorted.places.resize(sorted.begin.back());
  for (uint32_t place = static_cast<uint32_t>(room.kept.length); place > 0; --place) {
    const uint32_t visitor = visitors.of_visits[place - 1];
    if (visitor != kUnknown) {
      sorted.places[--sorted.begin[visitor]] = place;
    }
  }
  return sorted;
}

static void PutVisitsOf(VisitWriter& writer, const VisitRoom& room, std::span<const uint32_t> places) {
  int64_t stretches = 0;
  for (const uint32_t place : places) {
    stretches += StretchesOf(VisitAt(room, place));
  }
  PutFigure(writer.part, static_cast<uint64_t>(stretches));
  for (const uint32_t place : places) {
    PutVisit(writer, VisitAt(room, place));
  }
}

void SaveVisits(PartWriter& part, VisitCounts& visits) {
  static constexpr size_t kAhead = 16;  // visits that come from memory meanwhile
  CountWaitingVisits(visits);
  JoinAllVisits(visits);
  const Visitors visitors = NumberVisitors(visits.room);
  const std::vector<uint64_t> hashes = HashesOf(visits, visitors);
  const SortedVisits sorted = SortByVisitor(visits.room, visitors);
  VisitWriter writer{part, visits.urls, std::vector<uint32_t>(visits.urls.texts.size())};
  PutFigure(part, visitors.count);
  for (size_t visitor = 0; visitor < visitors.count; ++visitor) {
    const std::span<const uint32_t> places(sorted.places.data() + sorted.begin[visitor],
                                           sorted.places.data() + sorted.begin[visitor + 1]);
    for (size_t i = sorted.begin[visitor]; i < sorted.begin[visitor + 1]; ++i) {
      FetchVisit(visits.room, sorted.places[std::min(i + kAhead, sorted.places.size() - 1)]);
    }
    PutHash(part, hashes[visitor]);
    PutVisitsOf(writer, visits.room, places);
  }
}

// ---- Reading ----

struct VisitReader {
  PartReader& part;
  std::vector<uint32_t> numbers;  // of the URLs that came
};

static int64_t TakeTime(PartReader& part) {
  const int64_t time = TakeSigned(part);
  if (time > kLatestTime || time < -kLatestTime) {
    MarkDamaged(part);
    return 0;
  }
  return time;
}

static uint32_t TakeUrl(VisitReader& reader, UrlTable& urls) {
  const uint64_t number = TakeFigureUpTo(reader.part, reader.numbers.size());
  if (number > 0) {
    return reader.numbers[number - 1];
  }
  const std::string_view text = TakeText(reader.part, kLongestItem);
  if (text.empty() || text.find('\0') != std::string_view::npos) {
    MarkDamaged(reader.part);
    return 0;
  }
  reader.numbers.push_back(NumberOfUrl(urls, text));
  return reader.numbers.back();
}

static int64_t TakeTimeBehind(PartReader& part, int64_t other) {
  const int64_t distance = TakeSigned(part);
  if (distance > 2 * kLatestTime || distance < -2 * kLatestTime || other + distance > kLatestTime ||
      other + distance < -kLatestTime) {
    MarkDamaged(part);
    return 0;
  }
  return other + distance;
}

// Nothing of it may be used when the part is damaged.
static Visit TakeVisit(VisitReader& reader, UrlTable& urls) {
  PartReader& part = reader.part;
  Visit visit = VisitOfNoPage(TakeTime(part));
  const int64_t longest = std::min(kLongestWritten, kLatestTime - visit.first);
  visit.last = visit.first + static_cast<int64_t>(TakeFigureUpTo(part, static_cast<uint64_t>(longest)));
  visit.pages = TakeFigureUpTo(part, kMostPages);
  if (visit.pages > 0) {
    visit.entry_time = TakeTimeBehind(part, visit.first);
    visit.entry = TakeUrl(reader, urls);
    visit.exit_time = visit.pages > 1 ? TakeTimeBehind(part, visit.entry_time) : visit.entry_time;
    visit.exit = visit.pages > 1 ? TakeUrl(reader, urls) : visit.entry;
  }
  return visit;
}

static uint64_t TakeHash(PartReader& part) {
  uint64_t hash = 0;
  const std::string_view bytes = TakeText(part, sizeof hash);
  if (bytes.size() != sizeof hash) {
    MarkDamaged(part);
    return hash;
  }
  for (size_t i = 0; i < bytes.size(); ++i) {
    hash |= uint64_t{static_cast<unsigned char>(bytes[i])} << i * 8;
  }
  return hash;
}

// Those of visitors whom a sample leaves out are read, and go.
static void TakeVisitor(VisitReader& reader, VisitCounts& visits) {
  const uint64_t hash = TakeHash(reader.part);
  uint64_t left = TakeFigure(reader.part);
  if (left == 0) {
    MarkDamaged(reader.part);
  }
  for (; left > 0 && !reader.part.damaged; --left) {
    const Visit visit = TakeVisit(reader, visits.urls);
    if (!reader.part.damaged && IsKept(visits, hash)) {
      AddVisitOf(visits, hash, visit);
    }
  }
}

// URLs keep their numbers while a part is read: what has to go for memory goes behind it.
bool AddSavedVisits(PartReader& part, VisitCounts& visits) {
  CountWaitingVisits(visits);
  VisitReader reader{part, {}};
  for (uint64_t left = TakeFigure(part); left > 0 && !part.damaged; --left) {
    TakeVisitor(reader, visits);
  }
  FitVisitsInTime(visits);
  return !part.damaged;
}

bool PassSavedVisits(PartReader& part) {
  VisitCounts nobody{};
  VisitReader reader{part, {}};
  for (uint64_t left = TakeFigure(part); left > 0 && !part.damaged; --left) {
    TakeHash(part);
    for (uint64_t visits = TakeFigure(part); visits > 0 && !part.damaged; --visits) {
      TakeVisit(reader, nobody.urls);
    }
  }
  return !part.damaged;
}
