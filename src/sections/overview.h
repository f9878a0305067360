// What a report says of the whole analysis: its range, its totals, and what is to
// be known about the figures.
#pragma once

#include <cstdint>
#include <ctime>

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "dates/years.h"

struct Overview {
  const char* title;
  const char* url;         // of the analysed site; empty: not known
  const char* find;        // the part of it that was asked for
  CalendarDate first_day;  // as written in the settings
  CalendarDate last_day;
  time_t made;         // when the analysis began
  bool logs_in_range;  // false: nothing was counted
  int64_t requests;
  int64_t with_status;  // of them: logs need not hold what requests were answered with
  int64_t errors;       // answered with a status from 400 to 599
  uint64_t bytes_served;
  uint64_t log_bytes_read;
  int64_t lines_not_understood;
};

// The settings must outlive the overview, whose texts are theirs.
Overview OverviewOf(const Settings& settings, const Analysis& analysis);

// The tables that memory reclaims took items from, in creation order: what they
// show may not be accurate after the first few rows. Null behind the last, and
// always with smart memory disabled.
const ListInfo* FirstThinnedTable(const Settings& settings, const Analysis& analysis);
const ListInfo* NextThinnedTable(const ListInfo& table);
