// Reports in the order of an index: by site, and the newest first.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "index/report_folder.h"

// The reports of a folder over a site of one address.
struct SiteGroup {
  std::span<const FoundReport> reports;  // by their last days, backwards; longer ranges first
  bool one_title;                        // that all of them have

  const FoundReport& newest() const { return reports.front(); }
};

// Sorts the reports and groups them; groups stand by the names of folders and by address.
std::vector<SiteGroup> GroupBySite(std::vector<FoundReport>& reports);

// The requests of the last days, the newest last, by the reports over a single day; 0 where
// there is none. At most kMostRecentDays of them; none where titles differ, and where there
// are reports of fewer than kFewestRecentDays of these days.
inline constexpr int64_t kMostRecentDays = 60;
inline constexpr int64_t kFewestRecentDays = 5;
std::vector<int64_t> RecentDays(const SiteGroup& site);

// The reports whose last days lie in one month, and what those over a single day sum up
// to, each day taken once. Sums end at the largest number.
struct MonthGroup {
  std::span<const FoundReport> reports;
  int64_t days;
  int64_t requests;
  int64_t bytes;
};

// Takes the reports of the newest month from the beginning of rest, which is not empty.
MonthGroup TakeMonth(std::span<const FoundReport>& rest);

inline bool IsOneDay(const FoundReport& report) {
  return report.summary.first_day == report.summary.last_day;
}

inline bool AreSameDays(const FoundReport& a, const FoundReport& b) {
  return a.summary.first_day == b.summary.first_day && a.summary.last_day == b.summary.last_day;
}
