#include "analysis/visit_times.h"

#include <algorithm>

static bool IsOneVisit(const Visit& a, const Visit& b) {
  return a.first - b.last < kVisitEnds && b.first - a.last < kVisitEnds;
}

static bool IsEarlier(const Visit& a, const Visit& b, const UrlTable& urls) {
  return a.entry_time != b.entry_time ? a.entry_time < b.entry_time
                                      : UrlOf(urls, a.entry) < UrlOf(urls, b.entry);
}

static bool IsLater(const Visit& a, const Visit& b, const UrlTable& urls) {
  return a.exit_time != b.exit_time ? a.exit_time > b.exit_time : UrlOf(urls, a.exit) > UrlOf(urls, b.exit);
}

static void Join(Visit& visit, const Visit& more, const UrlTable& urls) {
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

int64_t JoinVisits(VisitTimes& times, const UrlTable& urls) {
  std::vector<Visit>& all = times.others;
  const auto before = static_cast<int64_t>(all.size());
  all.push_back(times.latest);
  const auto comes_before = [](const Visit& a, const Visit& b) { return a.first < b.first; };
  if (!std::is_sorted(all.begin(), all.end(), comes_before)) {
    std::sort(all.begin(), all.end(), comes_before);
  }
  size_t whole = 0;
  for (size_t next = 1; next < all.size(); ++next) {
    if (IsOneVisit(all[whole], all[next])) {
      Join(all[whole], all[next], urls);
    } else {
      all[++whole] = all[next];
    }
  }
  times.latest = all[whole];
  all.resize(whole);
  times.most_others = std::max(times.most_others, 2 * whole);
  return static_cast<int64_t>(all.size()) - before;
}

int64_t AddVisit(VisitTimes& times, const Visit& more, const UrlTable& urls) {
  if (IsOneVisit(times.latest, more)) {
    Join(times.latest, more, urls);
    return 0;
  }
  times.others.push_back(times.latest);
  times.latest = more;
  // What joining costs is spread over as many additions as there are visits.
  return 1 + (times.others.size() < times.most_others ? 0 : JoinVisits(times, urls));
}
