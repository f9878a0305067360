// The rows of the time distributions: days of the range, weekdays, hours, and hours of
// the week.
#pragma once

#include <cstdint>

#include "analysis/analysis.h"
#include "dates/years.h"

struct TimeRow {
  CalendarDate date{};  // of day rows, by the local calendar
  int weekday = -1;     // of all but hour rows, 0 = Sunday; -1 in these
  int hour = -1;        // of hour rows and those of hours of the week, 0 to 23; -1 in others
  int64_t count = 0;
  int64_t before = -1;  // of days that are compared with earlier ones, where there is such a one: its count
  double share = 0.0;   // of the total, never below 0
  double bar = 0.0;     // the count as a part of the largest one
};

// The way through the rows, and what was known before the first.
struct TimeRows {
  int64_t total;
  int64_t largest;   // of all counts, whether in the range or not; 0: there were no hits
  int64_t next = 0;  // number of the next row; a day's is that of days behind the first one
  int64_t end;
  const Analysis* analysis;
  // Gives the next row its label and its count.
  void (*fill)(const TimeRows& rows, TimeRow& row);

  // Of day rows only: the first day of the range, by the way in which days were
  // counted (its day of the year from 0, or days since 1970-01-01), and its weekday.
  int64_t first_day = 0;
  int first_weekday = 0;
};

// Open the rows of a section; the record must outlive them. There is one row for
// each day of the range. Where days were counted by their day of the year, rows are
// 86400 seconds apart from the local midnight of the first day: deliberate, so that
// over a clock change a date may repeat, while weekdays follow each other whatever
// the dates do; where by date, rows are the dates themselves. Days lie in the years 0
// to 9999; a range beyond them is cut. Weekdays go from Sunday to Saturday, hours
// from 0 to 23, and hours of the week from that of Sunday to the last one of Saturday.
TimeRows OpenDays(const Analysis& analysis);
TimeRows OpenWeekdays(const Analysis& analysis);
TimeRows OpenHours(const Analysis& analysis);
TimeRows OpenHoursOfWeek(const Analysis& analysis);

// False behind the last row, which is then unchanged.
bool NextTime(TimeRows& rows, TimeRow& row);
