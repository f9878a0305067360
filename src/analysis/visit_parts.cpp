// Visits as the counts of a part.
#include <algorithm>

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

// All but the last stretch are as long as can be, and begin a second behind the one before; its pages are
// with the first.
static void PutVisit(VisitWriter& writer, const Visit& visit) {
  int64_t first = visit.first;
  PutStretch(writer.part, first, std::min(visit.last, first + kLongestWritten));
  PutFigure(writer.part, visit.pages);
  if (visit.pages > 0) {
    PutSigned(writer.part, visit.entry_time);
    PutUrl(writer, visit.entry);
    PutSigned(writer.part, visit.exit_time);
    PutUrl(writer, visit.exit);
  }
  while ((first += kLongestWritten + 1) <= visit.last) {
    PutStretch(writer.part, first, std::min(visit.last, first + kLongestWritten));
    PutFigure(writer.part, 0);
  }
}

static void PutHash(PartWriter& part, const WideSipHash& hash) {
  char bytes[sizeof hash];
  for (size_t i = 0; i < sizeof bytes; ++i) {
    bytes[i] = static_cast<char>(hash[i / 8] >> i % 8 * 8);
  }
  PutText(part, {bytes, sizeof bytes});
}

void SaveVisits(PartWriter& part, VisitCounts& visits) {
  CountWaitingVisits(visits);
  PutFigure(part, visits.visitors.length);
  VisitWriter writer{part, visits.urls, std::vector<uint32_t>(visits.urls.places.size())};
  ForEachVisitor(visits, [&](const VisitsOfOne& of_one) {
    PutHash(part, of_one.hash);
    int64_t stretches = 0;
    ForEachVisit(visits, of_one, [&](const Visit& visit) { stretches += StretchesOf(visit); });
    PutFigure(part, static_cast<uint64_t>(stretches));
    ForEachVisit(visits, of_one, [&](const Visit& visit) { PutVisit(writer, visit); });
  });
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

// Nothing of it may be used when the part is damaged.
static Visit TakeVisit(VisitReader& reader, UrlTable& urls) {
  PartReader& part = reader.part;
  Visit visit{};
  visit.first = TakeTime(part);
  const int64_t longest = std::min(kLongestWritten, kLatestTime - visit.first);
  visit.last = visit.first + static_cast<int64_t>(TakeFigureUpTo(part, static_cast<uint64_t>(longest)));
  visit.pages = TakeFigureUpTo(part, kMostPages);
  if (visit.pages > 0) {
    visit.entry_time = TakeTime(part);
    visit.entry = TakeUrl(reader, urls);
    visit.exit_time = TakeTime(part);
    visit.exit = TakeUrl(reader, urls);
  }
  return visit;
}

static WideSipHash TakeHash(PartReader& part) {
  WideSipHash hash{};
  const std::string_view bytes = TakeText(part, sizeof hash);
  if (bytes.size() != sizeof hash) {
    MarkDamaged(part);
    return hash;
  }
  for (size_t i = 0; i < bytes.size(); ++i) {
    hash[i / 8] |= uint64_t{static_cast<unsigned char>(bytes[i])} << i % 8 * 8;
  }
  return hash;
}

// Those of visitors whom a sample leaves out are read, and go.
static void TakeVisitor(VisitReader& reader, VisitCounts& visits) {
  const WideSipHash hash = TakeHash(reader.part);
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
    const WideSipHash hash = TakeHash(part);
    static_cast<void>(hash);
    for (uint64_t visits = TakeFigure(part); visits > 0 && !part.damaged; --visits) {
      TakeVisit(reader, nobody.urls);
    }
  }
  return !part.damaged;
}
