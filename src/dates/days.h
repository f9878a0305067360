// Days of the calendar, and the words and ISO dates by which a request names them.
#pragma once

#include <cstdint>
#include <ctime>
#include <string_view>

#include "dates/years.h"

// Both ends included.
struct DayRange {
  CalendarDate first;
  CalendarDate last;

  bool operator==(const DayRange&) const = default;
};

// True for a day that the calendar has, in the years from 1900 to kLastWrittenYear.
bool IsDay(const CalendarDate& date);

// Days since 1970-01-01, and back. Of dates that are no days, and of numbers beyond the years that
// are, the results mean nothing.
int64_t NumberOfDay(const CalendarDate& date);
CalendarDate DayOfNumber(int64_t number);

// How many days a range has; below 1 when it ends before it begins.
int64_t CountDays(const DayRange& range);

// The days of the calendar month, of the week from Monday and of the year that a day lies in.
DayRange MonthOf(const CalendarDate& day);
DayRange WeekOf(const CalendarDate& day);
DayRange YearOf(const CalendarDate& day);

// The local day of a time; of times beyond the years 0 to 9999, the first or the last of these.
CalendarDate DayOf(time_t when);
CalendarDate DayOf(const tm& local);

// The first second that the local clock shows on a day, which may be repeated, or on a later one when the
// clock leaves that day out. A day of the calendar, or the one behind its last.
time_t BeginOfDay(const CalendarDate& day);

// Makes these the days of the report, as ParseDate reads them.
void SetDays(Settings& settings, const DayRange& days);

// A day as "2026-11-22", or as a word, ignoring case: today, yesterday, and 7d for the first of the
// seven days up to today, from 1d to 999d. False, leaving day as it is, when the text is none.
bool ParseDay(std::string_view text, const CalendarDate& today, CalendarDate& day);

// Several days as a word, ignoring case: today, yesterday, this-month and this-year up to today,
// last-month, and 7d for the seven days up to today, from 1d to 999d. False, leaving days as they
// are, when the text is none.
bool ParseDays(std::string_view text, const CalendarDate& today, DayRange& days);
