// The days that those of a report are compared with: earlier ones, as many, and what counts on them.
#pragma once

#include <cstdint>
#include <ctime>

#include "analysis/day_counts.h"
#include "base/part_bytes.h"
#include "cgi/settings.h"
#include "dates/days.h"
#include "superlog/superlog.h"

struct Comparison {
  bool asked = false;  // otherwise nothing below means anything
  DayRange days{};
  time_t first = 0;  // moments, both within it
  time_t last = 0;
  int64_t requests = 0;
  int64_t with_status = 0;  // of them
  int64_t errors = 0;       // of them, answered with a status from 400 to 599
  int64_t not_found = 0;    // requests of URLs that are not there, as the table of these has them
  int64_t bytes = 0;        // up to the largest number
  DayCounts dates{};        // requests by date, in order once all are counted
};

// Whether the text names such days, ignoring case: "previous", "weekdays" or "year".
bool IsComparison(const char* text);

// Those days: as many right before (previous); or the last before that begin on the same weekday (weekdays);
// or the same dates a year earlier, or as many years as it takes that none is of both (year; the 29th of
// February becomes the 28th). False when the text names none.
bool FindComparedDays(const char* text, const DayRange& days, DayRange& compared);

// Of a report whose days are known before its logs are read; all others are compared with none.
Comparison ComparisonOf(const Settings& settings);

// Counts a record of these days.
void CountCompared(const SuperLogRecord& record, Comparison& comparison);

// Writes down what was counted; and adds what was. False when the part is damaged.
void SaveComparison(PartWriter& part, const Comparison& comparison);
bool AddSavedComparison(PartReader& part, Comparison& comparison);
bool PassSavedComparison(PartReader& part);
