#include "analysis/visits.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "analysis/known_agents.h"
#include "analysis/page_requests.h"
#include "analysis/visitor_table.h"
#include "dates/days.h"

VisitCounts* NewVisits() {
  return new VisitCounts{};
}

void ReleaseVisits(VisitCounts* visits) {
  delete visits;
}

void EmptyVisits(VisitCounts& visits) {
  visits = {};
}

// ---- Counting ----

static WideSipHash HashOfVisitor(const WideSipHash& agent, std::string_view host) {
  SipHash hash = BeginWideSipHash(kVisitorKey);
  AddWord(hash, agent[0]);
  AddWord(hash, agent[1]);
  AddBytes(hash, host);
  return EndWideSipHash(hash);
}

// Told once for each URL.
static bool IsPage(VisitCounts& visits, uint32_t url) {
  std::vector<bool>& pages = visits.page_urls;
  while (pages.size() <= url) {
    pages.push_back(IsPageUrl(UrlOf(visits.urls, static_cast<uint32_t>(pages.size()))));
  }
  return pages[url];
}

static Visit VisitOf(VisitCounts& visits, const SuperLogRecord& record, std::string_view url) {
  const int64_t time = record.time;
  if (IsPageAnswer(record.status)) {
    const uint32_t number = NumberOfUrl(visits.urls, url);
    if (IsPage(visits, number)) {
      return {.first = time,
              .last = time,
              .pages = 1,
              .entry_time = time,
              .exit_time = time,
              .entry = number,
              .exit = number};
    }
  }
  return {.first = time, .last = time, .pages = 0, .entry_time = 0, .exit_time = 0, .entry = 0, .exit = 0};
}

void CountVisitOf(VisitCounts& visits, const SuperLogRecord& record, std::string_view url) {
  const KnownAgent agent = TellKnownAgent(record.agent);
  if (record.host.empty() || agent.purpose != Purpose::kNone) {
    return;
  }
  const WideSipHash hash = HashOfVisitor(agent.hash, record.host);
  if (!IsKept(visits, hash)) {
    return;
  }
  KnownVisitor* const visitor = VisitorOf(visits, hash);
  const Visit visit = VisitOf(visits, record, url);
  if (visitor == nullptr) {
    AddVisitor(visits, hash).times.latest = visit;
  } else {
    visits.others += AddVisit(visitor->times, visit, visits.urls);
  }
  FitVisitsInTime(visits);
}

// ---- Sums ----

struct FoundDay {
  int64_t end;  // of its seconds
  int64_t day;
};

// The local days that were asked for, by their first seconds: there are many visits on each.
using DayFinder = std::map<int64_t, FoundDay>;

static int64_t DayAt(DayFinder& found, int64_t time) {
  // Of all that a part may say, days that stand well within the calendar's.
  static constexpr int64_t kFirst = -62'167'046'400;  // 0000-01-03
  static constexpr int64_t kLast = 253'402'041'600;   // 9999-12-29
  time = std::clamp(time, kFirst, kLast);
  const auto behind = found.upper_bound(time);
  if (behind != found.begin()) {
    const FoundDay& before = std::prev(behind)->second;
    if (time < before.end) {
      return before.day;
    }
  }
  int64_t day = NumberOfDay(DayOf(time));
  // Where clocks go back to the day before, that is over nonetheless.
  day += time >= BeginOfDay(DayOfNumber(day + 1)) ? 1 : 0;
  found[BeginOfDay(DayOfNumber(day))] = FoundDay{.end = BeginOfDay(DayOfNumber(day + 1)), .day = day};
  return day;
}

// What changes with a day.
struct DayChange {
  int64_t visitors = 0;  // more than on the day before
  int64_t visits = 0;
};

using DayChanges = std::map<int64_t, DayChange>;

// Whoever has a request at least every half an hour has one on each day of a visit.
static void AddDays(DayChanges& days, DayFinder& finder, const Visit& visit, int64_t& next_day) {
  const int64_t first = DayAt(finder, visit.first);
  const int64_t last = DayAt(finder, visit.last);
  ++days[first].visits;
  const int64_t from = std::max(first, next_day);
  if (from <= last) {
    ++days[from].visitors;
    --days[last + 1].visitors;
    next_day = last + 1;
  }
}

static void AddPages(std::vector<PageVisits>& pages, const Visit& visit) {
  ++pages[visit.entry].entries;
  pages[visit.entry].single_page += visit.pages == 1 ? 1 : 0;
  ++pages[visit.exit].exits;
}

// Of what a part says, which may be anything.
static int64_t Sum(int64_t figure, uint64_t more) {
  return static_cast<int64_t>(static_cast<uint64_t>(figure) + more);
}

static void AddFigures(VisitFigures& figures, const Visit& visit) {
  ++figures.visits;
  figures.pages = Sum(figures.pages, visit.pages);
  figures.single_page += visit.pages == 1 ? 1 : 0;
  figures.seconds += visit.last - visit.first;
}

static std::vector<DayVisits> DaysOf(const DayChanges& changes) {
  std::vector<DayVisits> days;
  int64_t visitors = 0;
  int64_t next = 0;
  for (const auto& [day, change] : changes) {
    for (; visitors > 0 && next < day; ++next) {
      days.push_back({next, visitors, 0});
    }
    visitors += change.visitors;
    next = day + 1;
    if (visitors > 0) {
      days.push_back({day, visitors, change.visits});
    }
  }
  return days;
}

// From a part of the visitors to all of them.
static void ScaleUp(VisitSums& sums, int64_t factor) {
  VisitFigures& figures = sums.figures;
  for (int64_t* const figure :
       {&figures.visitors, &figures.visits, &figures.pages, &figures.single_page, &figures.seconds}) {
    *figure = static_cast<int64_t>(static_cast<uint64_t>(*figure) * static_cast<uint64_t>(factor));
  }
  for (DayVisits& day : sums.days) {
    day.visitors *= factor;
    day.visits *= factor;
  }
  for (PageVisits& page : sums.pages) {
    page.entries *= factor;
    page.single_page *= factor;
    page.exits *= factor;
  }
}

VisitSums SumUpVisits(VisitCounts& visits) {
  FitVisits(visits);
  VisitSums sums{};
  sums.pages.reserve(visits.urls.texts.size());
  for (const std::string_view url : visits.urls.texts) {
    sums.pages.push_back({url, 0, 0, 0});
  }
  DayChanges days;
  DayFinder finder;
  for (const KnownVisitor& visitor : visits.visitors) {
    int64_t next_day = INT64_MIN;
    const auto add = [&](const Visit& visit) {
      if (visit.pages > 0) {
        AddDays(days, finder, visit, next_day);
        AddPages(sums.pages, visit);
        AddFigures(sums.figures, visit);
      }
    };
    std::ranges::for_each(visitor.times.others, add);
    add(visitor.times.latest);
    sums.figures.visitors += next_day == INT64_MIN ? 0 : 1;
  }
  sums.days = DaysOf(days);
  sums.figures.kept = sums.figures.visitors;
  sums.figures.one_in = int64_t{1} << visits.halvings;
  ScaleUp(sums, sums.figures.one_in);
  return sums;
}
