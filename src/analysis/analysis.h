// The record of everything that one run counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>

#include "analysis/address_names.h"
#include "analysis/comparison.h"
#include "analysis/counting_table.h"
#include "analysis/day_counts.h"
#include "analysis/search_phrases.h"
#include "analysis/status_meanings.h"
#include "analysis/visits.h"
#include "base/limits.h"
#include "cgi/settings.h"
#include "superlog/super_long.h"

enum class DayCounting {
  kByDayOfYear,  // deliberate: the same days of different years are one
  kByDate,
};

// The rules of a run that no setting changes.
struct Counting {
  Limits limits;
  DayCounting days;
  const SearchRules* search;
  bool other_sites_alone;  // pages of the site itself are no rows of the referrers, unless they are asked for
  bool urls_as_written;    // URLs that differ in case are two, however paths are searched for
};

inline constexpr Counting kClassicCounting{kClassicLimits, DayCounting::kByDayOfYear, &kClassicSearch, false,
                                           false};
inline constexpr Counting kModernCounting{kModernLimits, DayCounting::kByDate, &kModernSearch, true, true};

struct CountedReport {
  List list;
  ListInfo* info;
  int64_t total;  // records counted; 0 for the bad sections, which show shares of the URLs and referrers
};

// Counts one occurrence of an item, as queue_item does.
inline void CountItem(CountedReport& report, std::string_view key, bool ignore_case) {
  queue_item(report.list, report.info, key, ignore_case);
  ++report.total;
}

// The same of a text that does not outlive its record, with a part that does.
inline void CountCopy(CountedReport& report, std::string_view text, std::string_view part = {}) {
  queue_copy(report.list, report.info, text, part, false);
  ++report.total;
}

template <size_t N>
struct TimeDistribution {
  int64_t counts[N];
  int64_t total;
};

inline constexpr size_t kHoursInWeek = 7 * 24;

// What reading the logs came to.
struct LogFigures {
  SuperLong bytes_read;              // in whole blocks
  bool in_range;                     // some log reaches into the range
  int64_t lines_not_understood = 0;  // which hold data, but no request in the log's layout
  int64_t records = 0;               // that the logs have delivered, counted or not
};

// Bytes, an item counted as 256.
struct MemoryFigures {
  int64_t total;  // ever handed out
  int64_t current;
  int64_t maximum;
  int64_t freed;  // by reclaims
};

// Everything that one run counts stands here, or can be reached from here.
struct Analysis {
  Counting counting;       // how it is counted
  time_t ReportStartTime;  // when the analysis began
  CountedReport urls;
  CountedReport referrers;
  CountedReport browsers;
  CountedReport badurls;
  CountedReport badreferrers;
  CountedReport domains;
  CountedReport domaintypes;
  CountedReport
      dimensions[kMostDimensions];  // by row of their table; those made of others when all are counted
  CountedReport addresses;          // that are to be looked up, until their names are known
  VisitCounts* visits;              // null: nobody asks for them
  VisitFigures visit_figures;       // once all are counted
  LookUpFigures look_ups;
  TimeDistribution<366> days;  // by day of the year, or
  DayCounts dates;             // by date, in order once all are counted
  // While records stream through, the hours of the week alone rise; the two others are
  // summed up from them in the end, those that the settings ask for.
  TimeDistribution<kHoursInWeek> hours_of_week;  // from Sunday, 00:00
  TimeDistribution<7> weekdays;                  // 0 = Sunday
  TimeDistribution<24> hours;
  int64_t hits;                     // records counted
  int64_t without_url;              // of them, whose request has no URL
  int64_t statuses[kStatuses];      // of them, by status; 0: without one, or with one that HTTP does not have
  int64_t status_bytes[kStatuses];  // where items have bytes
  SuperLong bytes;                  // served by them
  SuperLongSum part_bytes;          // the same, where the counts are added to those of other runs
  int64_t parts_of_pages;           // requests for what belongs to pages, where its URLs are no rows
  int64_t own_referrers;            // requests that pages of the site itself led to, where these are no rows
  Comparison comparison;            // the days that these are compared with
  SearchCounts search;
  int64_t MsieCount;       // browser records of Internet Explorer
  int64_t NavCount;        // and of Netscape Navigator
  int64_t gHits_Browsers;  // what the shares of both are of
  LogFigures logs;
  MemoryFigures memory;
  const ListInfo* tables;  // the chain of all tables, which tell what memory reclaims took from them
  time_t range_first;      // local midnight of the start date
  time_t range_last;       // 23:59:59 of the end date
};
