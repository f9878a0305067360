#include "analysis/visits.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
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
    FetchUrl(visits.urls, waiting.url_hash);
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
  if (!request.url.empty()) {
    const uint32_t url = NumberOfUrl(visits.urls, request.url, request.url_hash);
    if (IsPage(visits, url)) {
      return VisitOfPage(request.time, url);
    }
  }
  return VisitOfNoPage(request.time);
}

static void TellVisitor(WaitingVisit& request) {
  const KnownAgent agent = TellKnownAgent(request.agent, request.agent_hash);
  request.of_robot = agent.purpose != Purpose::kNone;
  request.visitor = HashOfVisitor(agent, request.host);
}

// In steps, between which what the next one looks at comes from memory.
void CountWaitingVisits(VisitCounts& visits) {
  const std::span<WaitingVisit> waiting(visits.waiting.data(), visits.waiting_count);
  for (WaitingVisit& request : waiting) {
    TellVisitor(request);
    FetchVisitor(visits, request.visitor);
  }
  for (const WaitingVisit& request : waiting) {
    FetchLatestVisit(visits, request.visitor, request.time);
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
  int64_t begin;  // of its seconds
  int64_t end;
  int64_t visits;  // that begin on it
  int32_t day;
  uint32_t comers;   // visitors who have requests on it, and had none on the day before
  uint32_t leavers;  // who have none on the next day
};

// The days that were asked for, by their first seconds, and the last one that was: visits come about in
// order.
struct FoundDays {
  std::map<int64_t, FoundDay> days;
  std::map<int64_t, FoundDay>::iterator last = days.end();
};

static FoundDay& DayOfNumber(FoundDays& found, int64_t number) {
  const FoundDay day = {.begin = BeginOfDay(DayOfNumber(number)),
                        .end = BeginOfDay(DayOfNumber(number + 1)),
                        .visits = 0,
                        .day = static_cast<int32_t>(number),
                        .comers = 0,
                        .leavers = 0};
  found.last = found.days.try_emplace(day.begin, day).first;
  return found.last->second;
}

static bool IsOn(const FoundDay& day, int64_t time) {
  return day.begin <= time && time < day.end;
}

// Of all times that a part may say, those of days that stand well within the calendar's.
static int64_t InCalendar(int64_t time) {
  static constexpr int64_t kFirst = -62'167'046'400;  // 0000-01-03
  static constexpr int64_t kLast = 253'402'041'600;   // 9999-12-29
  return std::clamp(time, kFirst, kLast);
}

static FoundDay& DayAt(FoundDays& found, int64_t time) {
  if (found.last != found.days.end() && IsOn(found.last->second, time)) {
    return found.last->second;
  }
  const auto behind = found.days.upper_bound(time);
  if (behind != found.days.begin() && IsOn(std::prev(behind)->second, time)) {
    found.last = std::prev(behind);
    return found.last->second;
  }
  const int64_t number = NumberOfDay(DayOf(time));
  // Where clocks go back to the day before, that is over nonetheless.
  return DayOfNumber(found, number + (time >= BeginOfDay(DayOfNumber(number + 1)) ? 1 : 0));
}

// Whoever has a request at least every half an hour has one on each day of a visit. The visit before, if
// there is one, ended at that time.
static void AddDays(FoundDays& days, const Visit& visit, std::optional<int64_t> before) {
  FoundDay& first = DayAt(days, InCalendar(visit.first));
  FoundDay& last = visit.last < first.end ? first : DayAt(days, InCalendar(visit.last));
  ++first.visits;
  const bool was_there = before.has_value() && InCalendar(*before) >= first.begin;
  if (!was_there) {
    ++first.comers;
    ++last.leavers;
  } else if (first.day < last.day) {
    ++DayOfNumber(days, first.day + 1).comers;
    ++last.leavers;
  }
}

// Visits of a page.
struct PageCounts {
  int64_t entries;
  int64_t single_page;
  int64_t exits;
};

static void AddPages(std::vector<PageCounts>& pages, const Visit& visit) {
  PageCounts& entry = pages[visit.entry];
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

// A zone that moves to the other side of the date line skips a day.
static bool IsInZone(int64_t number) {
  return BeginOfDay(DayOfNumber(number)) < BeginOfDay(DayOfNumber(number + 1));
}

static std::vector<DayVisits> DaysOf(const std::map<int64_t, FoundDay>& found) {
  std::vector<DayVisits> days;
  int64_t visitors = 0;
  int64_t next = 0;
  for (const auto& [begin, day] : found) {
    for (; visitors > 0 && next < day.day; ++next) {
      if (IsInZone(next)) {
        days.push_back({next, visitors, 0});
      }
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

// When the visit of the same visitor before that has pages ended, if there is one; or the least time, when
// that was on an earlier day.
static std::optional<int64_t> EndOfBefore(const VisitRoom& room, const KeptVisit& kept) {
  if (PagesBeforeOf(kept) == PagesBefore::kDaysBefore) {
    return INT64_MIN;
  }
  if (PagesBeforeOf(kept) == PagesBefore::kNone) {
    return std::nullopt;
  }
  for (uint32_t place = kept.before; place != 0; place = KeptAt(room, place).before) {
    const Visit before = VisitAt(room, place);
    if (before.pages > 0) {
      return before.last;
    }
  }
  return std::nullopt;
}

// What is summed up, and what is looked at meanwhile.
struct Summing {
  const VisitRoom& room;
  FoundDays days;
  std::vector<PageCounts> pages;  // by number
  VisitFigures figures;
};

static void AddWithPages(Summing& sums, const Visit& visit, std::optional<int64_t> before) {
  AddDays(sums.days, visit, before);
  AddPages(sums.pages, visit);
  AddFigures(sums.figures, visit);
  sums.figures.visitors += before.has_value() ? 0 : 1;
}

// Has what a visit will be added to be brought to the processor, and the visit before it.
static void FetchSumsOf(const Summing& sums, const KeptVisit& kept) {
  if (PagesBeforeOf(kept) == PagesBefore::kUnknown && kept.before != 0) {
    FetchVisit(sums.room, kept.before);
  }
  if (kept.length != kOfLonger && kept.page_at != kNoPage) {
    __builtin_prefetch(&sums.pages[kept.url]);
  }
}

// In the order in which they stand in memory, whose they may be.
static void AddAll(Summing& sums) {
  static constexpr size_t kAhead = 16;  // visits that come from memory meanwhile
  const Growing<KeptVisit>& all = sums.room.kept;
  for (size_t i = 0; i < all.length; ++i) {
    FetchSumsOf(sums, all[std::min(i + kAhead, all.length - 1)]);
    const KeptVisit& kept = all[i];
    if (kept.length == kOfNobody) {
      continue;
    }
    const Visit visit = VisitOf(sums.room, kept);
    if (visit.pages > 0) {
      AddWithPages(sums, visit, EndOfBefore(sums.room, kept));
    }
  }
}

static std::vector<PageVisits> PagesOf(const std::vector<PageCounts>& counts, const UrlTable& urls) {
  std::vector<PageVisits> pages;
  pages.reserve(counts.size());
  for (size_t url = 0; url < counts.size(); ++url) {
    const auto& [entries, single_page, exits] = counts[url];
    pages.push_back({urls.texts[url], entries, single_page, exits});
  }
  return pages;
}

VisitSums SumUpVisits(VisitCounts& visits) {
  FitVisits(visits);
  JoinAllVisits(visits);
  Summing sums{visits.room, {}, std::vector<PageCounts>(visits.urls.texts.size()), {}};
  AddAll(sums);
  sums.figures.kept = sums.figures.visitors;
  sums.figures.one_in = int64_t{1} << visits.halvings;
  VisitSums all{sums.figures, DaysOf(sums.days.days), PagesOf(sums.pages, visits.urls)};
  ScaleUp(all, sums.figures.one_in);
  return all;
}

void ForgetVisitors(VisitCounts& visits) {
  visits.visitors = {};
  visits.room = {};
}
