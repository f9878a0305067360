#include "analysis/visit_times.h"

#include <algorithm>
#include <utility>

bool AreOneVisit(const Visit& a, const Visit& b) {
  return a.first - b.last < kVisitEnds && b.first - a.last < kVisitEnds;
}

static bool IsEarlier(const Visit& a, const Visit& b, const UrlTable& urls) {
  return a.entry_time != b.entry_time ? a.entry_time < b.entry_time
                                      : UrlOf(urls, a.entry) < UrlOf(urls, b.entry);
}

static bool IsLater(const Visit& a, const Visit& b, const UrlTable& urls) {
  return a.exit_time != b.exit_time ? a.exit_time > b.exit_time : UrlOf(urls, a.exit) > UrlOf(urls, b.exit);
}

void JoinTo(Visit& visit, const Visit& more, const UrlTable& urls) {
  visit.first = std::min(visit.first, more.first);
  visit.last = std::max(visit.last, more.last);
  if (more.pages == 0) {
    return;
  }
  if (visit.pages == 0 || IsEarlier(more, visit, urls)) {
    visit.entry_time = more.entry_time;
    visit.entry = more.entry;
  }
  if (visit.pages == 0 || IsLater(more, visit, urls)) {
    visit.exit_time = more.exit_time;
    visit.exit = more.exit;
  }
  visit.pages = std::min(visit.pages + more.pages, kMostPages);
}

// ---- Those beyond the latest ----

static constexpr uint32_t kFewOthers = 8;  // are not worth being joined

VisitTimes FirstVisit(const Visit& visit) {
  return {.latest = visit, .others = 0, .until_joined = 0};
}

static void KeepOther(VisitTimes& times, OtherVisits& others, uint32_t visitor, const Visit& visit) {
  const OtherVisit other = {.visit = visit, .next = times.others, .visitor = visitor};
  if (others.free == 0) {
    Append(others.visits, other);
    times.others = static_cast<uint32_t>(others.visits.length);
  } else {
    times.others = others.free;
    OtherVisit& room = others.visits[others.free - 1];
    others.free = room.next;
    room = other;
  }
  ++others.count;
}

static Visit TakeOther(VisitTimes& times, OtherVisits& others) {
  OtherVisit& other = others.visits[times.others - 1];
  const uint32_t next = std::exchange(other.next, others.free);
  other.visitor = kNobody;
  others.free = std::exchange(times.others, next);
  --others.count;
  return other.visit;
}

void DropOthers(VisitTimes& times, OtherVisits& others) {
  while (times.others != 0) {
    TakeOther(times, others);
  }
}

void MakeWhole(std::vector<Visit>& visits, const UrlTable& urls) {
  if (!std::ranges::is_sorted(visits, {}, &Visit::first)) {
    std::ranges::sort(visits, {}, &Visit::first);
  }
  size_t whole = 0;
  for (size_t next = 1; next < visits.size(); ++next) {
    if (AreOneVisit(visits[whole], visits[next])) {
      JoinTo(visits[whole], visits[next], urls);
    } else {
      visits[++whole] = visits[next];
    }
  }
  visits.resize(whole + 1);
}

static size_t CountOthers(const VisitTimes& times, const OtherVisits& others) {
  size_t count = 0;
  for (uint32_t other = times.others; other != 0; other = others.visits[other - 1].next) {
    ++count;
  }
  return count;
}

static void JoinNow(VisitTimes& times, OtherVisits& others, uint32_t visitor, const UrlTable& urls) {
  std::vector<Visit> all;
  all.reserve(1 + CountOthers(times, others));  // there may be very many
  all.push_back(times.latest);
  while (times.others != 0) {
    all.push_back(TakeOther(times, others));
  }
  MakeWhole(all, urls);
  times.latest = all.back();
  all.pop_back();
  for (const Visit& visit : all) {
    KeepOther(times, others, visitor, visit);
  }
  // What joining costs is spread over as many additions as there are visits.
  times.until_joined = std::max(kFewOthers, static_cast<uint32_t>(all.size()));
}

void JoinVisits(VisitTimes& times, OtherVisits& others, uint32_t visitor, const UrlTable& urls) {
  if (times.until_joined != 0) {
    JoinNow(times, others, visitor, urls);
  }
}

void AddVisit(VisitTimes& times, OtherVisits& others, uint32_t visitor, const Visit& more,
              const UrlTable& urls) {
  const bool in_order = times.until_joined == 0 && more.first >= times.latest.first;
  if (!in_order && times.until_joined == 0) {
    times.until_joined = kFewOthers;
  }
  if (AreOneVisit(times.latest, more)) {
    JoinTo(times.latest, more, urls);
    return;
  }
  KeepOther(times, others, visitor, times.latest);
  times.latest = more;
  if (!in_order && --times.until_joined == 0) {
    JoinNow(times, others, visitor, urls);
  }
}
