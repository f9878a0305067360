#include "index/site_groups.h"

#include <algorithm>
#include <limits>
#include <tuple>

#include "output/svg.h"

static auto SiteOf(const FoundReport& report) {
  return std::tie(report.folder, report.summary.site);
}

static bool StandsBefore(const FoundReport& a, const FoundReport& b) {
  if (SiteOf(a) != SiteOf(b)) {
    return SiteOf(a) < SiteOf(b);
  }
  if (a.summary.last_day != b.summary.last_day) {
    return a.summary.last_day > b.summary.last_day;
  }
  return std::tie(a.summary.first_day, a.summary.title, a.file) <
         std::tie(b.summary.first_day, b.summary.title, b.file);
}

// As many reports from the beginning as are like the first.
template <typename Like>
static size_t CountLikeFirst(std::span<const FoundReport> reports, Like like) {
  const auto other = std::ranges::find_if_not(reports, [&](const auto& r) { return like(r, reports[0]); });
  return static_cast<size_t>(other - reports.begin());
}

static bool HaveOneTitle(std::span<const FoundReport> reports) {
  return std::ranges::all_of(
      reports, [&](const FoundReport& report) { return report.summary.title == reports[0].summary.title; });
}

std::vector<SiteGroup> GroupBySite(std::vector<FoundReport>& reports) {
  std::ranges::sort(reports, StandsBefore);
  std::vector<SiteGroup> groups;
  for (std::span<const FoundReport> rest = reports; !rest.empty();) {
    const size_t count =
        CountLikeFirst(rest, [](const auto& a, const auto& b) { return SiteOf(a) == SiteOf(b); });
    const auto of_site = rest.first(count);
    groups.push_back({of_site, HaveOneTitle(of_site)});
    rest = rest.subspan(count);
  }
  return groups;
}

// ---- Days -------------------------------------------------------------------------------

// Of two reports of the same day, the first counts.
static std::vector<const FoundReport*> DailyReports(std::span<const FoundReport> reports) {
  std::vector<const FoundReport*> daily;
  for (const FoundReport& report : reports) {
    if (IsOneDay(report) && (daily.empty() || !AreSameDays(report, *daily.back()))) {
      daily.push_back(&report);
    }
  }
  return daily;
}

std::vector<int64_t> RecentDays(const SiteGroup& site) {
  std::vector<const FoundReport*> daily;
  if (site.one_title) {
    daily = DailyReports(site.reports);
  }
  std::erase_if(daily, [newest = daily.empty() ? 0 : daily[0]->summary.last_day](const FoundReport* report) {
    return newest - report->summary.last_day >= kMostRecentDays;
  });
  if (daily.size() < kFewestRecentDays) {
    return {};
  }
  const int64_t oldest = daily.back()->summary.last_day;
  std::vector<int64_t> days(static_cast<size_t>(daily[0]->summary.last_day - oldest + 1), 0);
  for (const FoundReport* report : daily) {
    days[static_cast<size_t>(report->summary.last_day - oldest)] = report->summary.requests;
  }
  return days;
}

// ---- Months -----------------------------------------------------------------------------

static bool AreOfOneMonth(const FoundReport& a, const FoundReport& b) {
  const CalendarDate day_of_a = DateOfDay(a.summary.last_day);
  const CalendarDate day_of_b = DateOfDay(b.summary.last_day);
  return day_of_a.year == day_of_b.year && day_of_a.month == day_of_b.month;
}

// Neither is below 0.
static int64_t Sum(int64_t a, int64_t b) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  return a > kMost - b ? kMost : a + b;
}

MonthGroup TakeMonth(std::span<const FoundReport>& rest) {
  MonthGroup month{rest.first(CountLikeFirst(rest, AreOfOneMonth)), 0, 0, 0};
  rest = rest.subspan(month.reports.size());
  for (const FoundReport* report : DailyReports(month.reports)) {
    ++month.days;
    month.requests = Sum(month.requests, report->summary.requests);
    month.bytes = Sum(month.bytes, report->summary.bytes);
  }
  return month;
}
