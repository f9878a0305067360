#include "analysis/visit_times.h"

#include <algorithm>
#include <vector>

static constexpr uint32_t kFewVisits = 8;  // are not worth being joined
static constexpr size_t kMostUntilJoined = kUnknownEnd;

static uint32_t StepsUpTo(int64_t time) {
  const int64_t steps = (time + kEndStep - 1) / kEndStep;
  return time < 0 || steps > kUnknownEnd ? kUnknownEnd : static_cast<uint32_t>(steps);
}

static VisitTimes InOrder(uint32_t place, const Visit& latest, bool has_pages) {
  return {.latest = place,
          .in_order = 1,
          .has_pages = has_pages || latest.pages > 0 ? 1U : 0U,
          .end = StepsUpTo(latest.last) & kUnknownEnd};
}

VisitTimes FirstVisit(VisitRoom& room, const Visit& visit) {
  return InOrder(KeepVisit(room, visit), visit, false);
}

// The latest visit ended at that time, at the latest.
static void AddBehind(VisitTimes& times, VisitRoom& room, int64_t end, const Visit& more) {
  const PagesBefore pages_before = times.has_pages == 0              ? PagesBefore::kNone
                                   : more.first - end >= kLongestDay ? PagesBefore::kDaysBefore
                                                                     : PagesBefore::kUnknown;
  times = InOrder(KeepVisitBehind(room, more, times.latest, pages_before), more, times.has_pages != 0);
}

static size_t CountVisits(const VisitTimes& times, const VisitRoom& room) {
  size_t count = 0;
  for (uint32_t place = times.latest; place != 0; place = KeptAt(room, place).before) {
    ++count;
  }
  return count;
}

void DropVisits(VisitTimes& times, VisitRoom& room) {
  while (times.latest != 0) {
    times.latest = DropVisit(room, times.latest);
  }
}

static void JoinNow(VisitTimes& times, VisitRoom& room, const UrlTable& urls) {
  std::vector<Visit> all;
  all.reserve(CountVisits(times, room));  // there may be very many
  for (uint32_t place = times.latest; place != 0; place = KeptAt(room, place).before) {
    all.push_back(VisitAt(room, place));
  }
  DropVisits(times, room);
  MakeWhole(all, urls);
  times = FirstVisit(room, all.front());
  for (size_t i = 1; i < all.size(); ++i) {
    AddVisit(times, room, all[i], urls);
  }
}

void JoinVisits(VisitTimes& times, VisitRoom& room, const UrlTable& urls) {
  if (times.in_order == 0) {
    JoinNow(times, room, urls);
  }
}

// Whether both are one, which the latest visit is then.
static bool JoinToLatest(const VisitTimes& times, VisitRoom& room, Visit& latest, const Visit& more,
                         const UrlTable& urls) {
  if (!AreOneVisit(latest, more)) {
    return false;
  }
  JoinTo(latest, more, urls);
  SetVisit(room, times.latest, latest);
  return true;
}

static void AddInOrder(VisitTimes& times, VisitRoom& room, Visit& latest, const Visit& more,
                       const UrlTable& urls) {
  if (JoinToLatest(times, room, latest, more, urls)) {
    times = InOrder(times.latest, latest, times.has_pages != 0);
  } else {
    AddBehind(times, room, latest.last, more);
  }
}

static void AddInAnyOrder(VisitTimes& times, VisitRoom& room, Visit& latest, const Visit& more,
                          const UrlTable& urls) {
  if (JoinToLatest(times, room, latest, more, urls)) {
    return;
  }
  times.latest = KeepVisitBehind(room, more, times.latest, PagesBefore::kUnknown);
  times.end = (times.end - 1U) & kUnknownEnd;
  if (times.end == 0) {
    JoinNow(times, room, urls);
    // What joining costs is spread over as many additions as there are visits.
    const size_t visits = CountVisits(times, room);
    times.in_order = 0;
    times.end = static_cast<uint32_t>(std::clamp<size_t>(visits, kFewVisits, kMostUntilJoined)) & kUnknownEnd;
  }
}

void AddVisit(VisitTimes& times, VisitRoom& room, const Visit& more, const UrlTable& urls) {
  if (IsFarBehind(times, more.first)) {
    AddBehind(times, room, times.end * kEndStep, more);
    return;
  }
  Visit latest = VisitAt(room, times.latest);
  if (times.in_order != 0 && more.first >= latest.first) {
    AddInOrder(times, room, latest, more, urls);
    return;
  }
  if (times.in_order != 0) {
    room.all_in_order = false;
    times.in_order = 0;
    times.end = kFewVisits;
  }
  AddInAnyOrder(times, room, latest, more, urls);
}
