// The rows of the time distributions: days of the range, weekdays, hours.
#pragma once

#include <cstdint>

#include "analysis/driver.h"
#include "dates/years.h"

struct TimeRow {
  CalendarDate date{};  // of day rows, by the local calendar
  int weekday = -1;     // of day and weekday rows, 0 = Sunday; -1 in others
  int hour = -1;        // of hour rows, 0 to 23; -1 in others
  int64_t count = 0;
  double share = 0.0;  // of the total, never below 0
  double bar = 0.0;    // the count as a part of the largest one
};

// The way through the rows, and what was known before the first.
struct TimeRows {
  int64_t total;
  int64_t largest;  // of all counts, whether in the range or not; 0: there were no hits
  int64_t next;     // number of the next row; a day's is that of days behind the first one
  int64_t end;
  const Analysis* analysis;
  // Gives the next row its label and its count.
  void (*fill)(const TimeRows& rows, TimeRow& row);

  // Of day rows only: how the next one's count is found, by the way in which days
  // were counted, and what the first day of the range is (both from 0).
  int64_t (*count_of_day)(const TimeRows& rows, const CalendarDate& date);
  int first_day_of_year;
  int first_weekday;
};

// Open the rows of a section; the record must outlive them. There is one row for
// each day of the range, 86400 seconds apart from the local midnight of its first
// day: deliberate, so that over a clock change a date may repeat. Weekdays follow
// each other whatever the dates do. Days lie in the years 0 to 9999; a range
// beyond them is cut. Weekdays go from Sunday to Saturday, hours from 0 to 23.
TimeRows OpenDays(const Analysis& analysis);
TimeRows OpenWeekdays(const Analysis& analysis);
TimeRows OpenHours(const Analysis& analysis);

// False behind the last row, which is then unchanged.
bool NextTime(TimeRows& rows, TimeRow& row);
