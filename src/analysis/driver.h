// The analysis driver: reads every record in range, filters it, cuts its parts
// down to items and counts them.
#pragma once

#include <cstdint>
#include <ctime>

#include "analysis/counting_table.h"
#include "cgi/settings.h"
#include "superlog/super_long.h"

extern time_t ReportStartTime;   // when the analysis began
extern int32_t gHits_Browsers;   // browser total, set just before its section is printed

struct CountedReport {
  List list;
  ListInfo* info;
  int32_t total;  // records counted: the base of the section's percentages
};

template <size_t N>
struct TimeDistribution {
  int32_t counts[N];
  int32_t total;
};

// Everything that one run counts.
struct Analysis {
  CountedReport urls;
  CountedReport referrers;
  CountedReport browsers;
  CountedReport badurls;
  CountedReport badreferrers;
  CountedReport domains;
  CountedReport domaintypes;
  TimeDistribution<366> days;  // by day of the year
  TimeDistribution<7> weekdays;
  TimeDistribution<24> hours;
  int32_t hits;
  SuperLong bytes;
  time_t range_first;  // local midnight of the start date
  time_t range_last;   // 23:59:59 of the end date
};

// Prepares the run and finds its log files; false when there is none.
bool BeginAnalysis(Settings& settings, Analysis& analysis);

// Reads all log files in range and counts their records. In debug runs prints
// the head of the debugging table before and leaves it open.
void CountLogs(const Settings& settings, Analysis& analysis);

// Releases what the run counted.
void EndAnalysis(Analysis& analysis);
