// The rows of any section in one form, for outputs that treat all sections alike.
#pragma once

#include <cstdint>

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "sections/cut_off.h"
#include "sections/phrase_rows.h"
#include "sections/ranked_rows.h"
#include "sections/section_list.h"
#include "sections/time_rows.h"

struct SectionRow {
  const char*
      item;  // a day as "2026-11-22", a weekday as "Sunday", an hour as "00", one of the week as "Sunday 00"
  int64_t count;
  int64_t bytes;         // of ranked rows, where they are asked for; else -1
  int64_t second;        // the second figure of a dimension's rows; else -1
  double share;          // of the section's total, or of all bytes
  double bar;            // the count, or whatever rows stand by, as a part of the largest one, at most 1
  const char* site;      // of ranked rows, as there; null: no link
  const char* name;      // what the item is called; null: it has no other name
  const char* engine;    // of phrases; else null
  TimesTaken times;      // of ranked rows that have some
  ItemCursor referrers;  // likewise
  CalendarDate date;     // of days
  int weekday;           // of days, weekdays and hours of the week, 0 = Sunday; else -1
  int hour;              // of hours and hours of the week; else -1
  bool explained;        // the item is what people know, and the name tells what it means
  int marked = -1;       // of ranked rows, as there
  TimeSpan seen = kNoTimes;
  int64_t before = -1;  // of days that are compared with earlier ones: the count of such a one
};

// The way through the rows, and what was known before the first.
struct SectionRows {
  int64_t distinct;  // items, before any was cut off
  int64_t total;     // what the shares are of
  bool bytes;        // rows have bytes
  bool by_bytes;     // and stand by them; shares are of all bytes served,
  int64_t served;    // which are so many
  bool seen;         // rows tell when they were seen first and last
  bool timed;        // rows have times, and the total is of microseconds
  const Section* section;
  RankedRows ranked;
  EngineRows engines;
  EngineRow engine;
  TimeRows times;
  int64_t largest;
  char item[sizeof "-2147483648-12-31"];
};

// Opens the rows of a section. Both records must outlive the rows, and nothing may be
// counted until they were read.
void OpenSection(SectionRows& rows, const Settings& settings, const Section& section, Analysis& analysis);

// False behind the last row, which is then unchanged. A row is good until the next one.
bool NextRow(SectionRows& rows, SectionRow& row);

// The pages that led to the item, or others below it, by rank; false behind the last.
bool NextReferrer(SectionRow& row, ReferrerRow& referrer);
