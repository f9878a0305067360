#include "analysis/visits.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <span>

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

void CountVisitOf(VisitCounts& visits, const SuperLogRecord& record, std::string_view url) {
  if (record.host.empty()) {
    return;
  }
  WaitingVisit& waiting = visits.waiting[visits.waiting_count++];
  waiting.agent = record.agent;
  waiting.host = record.host;
  waiting.time = record.time;
  waiting.agent_hash = FetchKnownAgent(record.agent);
  waiting.url = IsPageAnswer(record.status) ? url : std::string_view{};
  if (!waiting.url.empty()) {
    waiting.url_hash = HashOfUrl(waiting.url);
    FetchUrlSlot(visits.urls, waiting.url_hash);
  }
  if (visits.waiting_count == visits.waiting.size()) {
    CountWaitingVisits(visits);
  }
}

// Told once for each URL.
static bool IsPage(VisitCounts& visits, uint32_t url) {
  std::vector<bool>& pages = visits.page_urls;
  while (pages.size() <= url) {
    pages.push_back(IsPageUrl(UrlOf(visits.urls, static_cast<uint32_t>(pages.size()))));
  }
  return pages[url];
}

static Visit VisitOf(VisitCounts& visits, const WaitingVisit& request) {
  const int64_t time = request.time;
  if (!request.url.empty()) {
    const uint32_t url = NumberOfUrl(visits.urls, request.url, request.url_hash);
    if (IsPage(visits, url)) {
      return {.first = time,
              .last = time,
              .pages = 1,
              .entry_time = time,
              .exit_time = time,
              .entry = url,
              .exit = url};
    }
  }
  return {.first = time, .last = time, .pages = 0, .entry_time = 0, .exit_time = 0, .entry = 0, .exit = 0};
}

static void TellVisitor(WaitingVisit& request) {
  const KnownAgent& agent = TellKnownAgent(request.agent, request.agent_hash);
  request.of_robot = agent.purpose != Purpose::kNone;
  SipHash visitor = agent.visitor;
  AddBytes(visitor, request.host);
  request.visitor = EndWideSipHash(visitor);
}

// In steps, between which what the next one looks at comes from memory.
void CountWaitingVisits(VisitCounts& visits) {
  const std::span<WaitingVisit> waiting(visits.waiting.data(), visits.waiting_count);
  for (WaitingVisit& request : waiting) {
    TellVisitor(request);
    FetchVisitorSlot(visits, request.visitor);
    if (!request.url.empty()) {
      FetchUrl(visits.urls, request.url_hash);
    }
  }
  for (const WaitingVisit& request : waiting) {
    FetchVisitor(visits, request.visitor);
  }
  for (const WaitingVisit& request : waiting) {
    if (!request.of_robot && IsKept(visits, request.visitor)) {
      AddVisitOf(visits, request.visitor, VisitOf(visits, request));
    }
  }
  visits.waiting_count = 0;
  FitVisitsInTime(visits);
}

// ---- Sums ----

// A day, and what changes with it.
struct FoundDay {
  int64_t end;     // of its seconds
  int64_t visits;  // that begin on it
  int32_t day;
  uint32_t comers;   // visitors who have requests on it, and had none on the day before
  uint32_t leavers;  // who have none on the next day
};

// The days that were asked for, by their first seconds: there are many visits on each.
using FoundDays = std::map<int64_t, FoundDay>;

static FoundDay& DayOfNumber(FoundDays& days, int64_t number) {
  const FoundDay day = {.end = BeginOfDay(DayOfNumber(number + 1)),
                        .visits = 0,
                        .day = static_cast<int32_t>(number),
                        .comers = 0,
                        .leavers = 0};
  return days.try_emplace(BeginOfDay(DayOfNumber(number)), day).first->second;
}

static FoundDay& DayAt(FoundDays& days, int64_t time) {
  // Of all that a part may say, days that stand well within the calendar's.
  static constexpr int64_t kFirst = -62'167'046'400;  // 0000-01-03
  static constexpr int64_t kLast = 253'402'041'600;   // 9999-12-29
  time = std::clamp(time, kFirst, kLast);
  const auto behind = days.upper_bound(time);
  if (behind != days.begin() && time < std::prev(behind)->second.end) {
    return std::prev(behind)->second;
  }
  const int64_t number = NumberOfDay(DayOf(time));
  // Where clocks go back to the day before, that is over nonetheless.
  return DayOfNumber(days, number + (time >= BeginOfDay(DayOfNumber(number + 1)) ? 1 : 0));
}

// Whoever has a request at least every half an hour has one on each day of a visit.
static void AddDays(FoundDays& days, const Visit& visit, int64_t& next_day) {
  FoundDay& first = DayAt(days, visit.first);
  FoundDay& last = visit.last < first.end ? first : DayAt(days, visit.last);
  ++first.visits;
  const int64_t from = std::max<int64_t>(first.day, next_day);
  if (from <= last.day) {
    FoundDay& came = from == first.day ? first : DayOfNumber(days, from);
    ++came.comers;
    ++last.leavers;
    next_day = last.day + 1;
  }
}

static void AddPages(std::vector<PageVisits>& pages, const Visit& visit) {
  PageVisits& entry = pages[visit.entry];
  ++entry.entries;
  entry.single_page += visit.pages == 1 ? 1 : 0;
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

static std::vector<DayVisits> DaysOf(const FoundDays& found) {
  std::vector<DayVisits> days;
  int64_t visitors = 0;
  int64_t next = 0;
  for (const auto& [begin, day] : found) {
    for (; visitors > 0 && next < day.day; ++next) {
      days.push_back({next, visitors, 0});
    }
    visitors += day.comers;
    next = day.day + 1;
    if (visitors > 0) {
      days.push_back({day.day, visitors, day.visits});
    }
    visitors -= day.leavers;
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
  sums.pages.reserve(visits.urls.places.size());
  for (uint32_t url = 0; url < visits.urls.places.size(); ++url) {
    sums.pages.push_back({UrlOf(visits.urls, url), 0, 0, 0});
  }
  FoundDays days;
  ForEachVisitor(visits, [&](const VisitsOfOne& of_one) {
    int64_t next_day = INT64_MIN;
    ForEachVisit(visits, of_one, [&](const Visit& visit) {
      if (visit.pages > 0) {
        AddDays(days, visit, next_day);
        AddPages(sums.pages, visit);
        AddFigures(sums.figures, visit);
      }
    });
    sums.figures.visitors += next_day == INT64_MIN ? 0 : 1;
  });
  sums.days = DaysOf(days);
  sums.figures.kept = sums.figures.visitors;
  sums.figures.one_in = int64_t{1} << visits.halvings;
  ScaleUp(sums, sums.figures.one_in);
  return sums;
}

void ForgetVisitors(VisitCounts& visits) {
  visits.visitors = {};
  visits.slots = {};
  visits.others = {};
}
