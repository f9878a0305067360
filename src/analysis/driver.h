// The analysis driver: reads every record in range, filters it, cuts its parts
// down to items and counts them. What was counted is printed by the report.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

#include "analysis/counting_table.h"
#include "analysis/search_engines.h"
#include "base/limits.h"
#include "cgi/settings.h"
#include "superlog/super_long.h"

extern time_t ReportStartTime;  // when the analysis began
extern int32_t gHits_Browsers;  // browser total, set just before its section is printed

enum class DayCounting {
  kByDayOfYear,  // deliberate quirk: the same days of different years are one
  kByDate,
};

// The rules of a run that no setting changes.
struct Counting {
  Limits limits;
  DayCounting days;
};

inline constexpr Counting kClassicCounting{kClassicLimits, DayCounting::kByDayOfYear};
inline constexpr Counting kModernCounting{kModernLimits, DayCounting::kByDate};

struct CountedReport {
  List list;
  ListInfo* info;
  int64_t total;  // records counted; 0 for the bad sections, which show shares of the URLs and referrers
};

template <size_t N>
struct TimeDistribution {
  int64_t counts[N];
  int64_t total;
};

// Phrases typed into search engines.
struct SearchCounts {
  SearchEngine* engines;  // in definition order, each with its phrases
  int64_t hits;           // referrers that yielded a phrase
  bool built_in;          // the configuration defines no engine
};

// What reading the logs came to.
struct LogFigures {
  SuperLong bytes_read;  // in whole blocks
  bool in_range;         // some log reaches into the range
};

// Bytes, an item counted as 256.
struct MemoryFigures {
  int32_t total;  // ever handed out
  int32_t current;
  int32_t maximum;
  int32_t freed;  // by reclaims
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
  TimeDistribution<366> days;    // by day of the year
  TimeDistribution<7> weekdays;  // 0 = Sunday
  TimeDistribution<24> hours;
  int64_t hits;     // records counted
  SuperLong bytes;  // served by them
  SearchCounts search;
  int64_t MsieCount;  // browser records of Internet Explorer
  int64_t NavCount;   // and of Netscape Navigator
  LogFigures logs;
  MemoryFigures memory;
  const ListInfo* tables;  // the chain of all tables, which tell what memory reclaims took from them
  time_t range_first;      // local midnight of the start date
  time_t range_last;       // 23:59:59 of the end date
};

// Clears analysis, takes the rules over, sets its range from the dates of the settings, finds the log
// files, and prepares smart memory, search engines and tables. False, with
// nothing left to count or to release, when there is no log file. Fills an empty
// settings.summary. Engines must be defined before.
bool BeginAnalysis(Settings& settings, const Counting& counting, Analysis& analysis);

// Reads all log files in range and counts their records. Prints the head of the
// debugging table before, in debug runs, and leaves it open; with flushtoserver
// prints a space every 1001 lines. The settings are only read here, once. All
// records of a file are counted before the next one is opened, and none waits in
// the end.
void CountLogs(const Settings& settings, Analysis& analysis);

// Releases what the run counted, but for the phrases: they stay with their
// engines, which another analysis must not use.
void EndAnalysis(Analysis& analysis);

// Returns this folder to its state at the start of the process, and leaves no
// memory behind: search engines, filters, wildcards, names of domains, the DNS
// cache and its resolver, smart memory. For tests, and for programs that make
// more than one run; an analysis that is under way must have been ended before.
void ResetAnalysis();
