#include "analysis/visit.h"

#include <algorithm>

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
