// Year conversions and the request's date range.
#pragma once

#include "cgi/settings.h"

// The last year that a year text may name in full. The editions differ here.
inline constexpr int kLastNarrowYear = 2038;  // deliberate: the span of a signed 32-bit time
inline constexpr int kLastWrittenYear = 9999;

// A year text as a four-digit year: 0-38 and 100-138 lie in the 2000s, 39-99 in
// the 1900s, 1900 to the last one stand for themselves. Anything else, an empty or
// a null text gives the fallback.
int StrToYear4(const char* text, int fallback, int last = kLastNarrowYear);

// The same spans mapped to years since 1900; a year in none of them is returned
// unchanged.
int IntTotm_year(int year);

struct CalendarDate {
  int month;  // 1-12 as written; never checked
  int day;
  int year;

  bool operator==(const CalendarDate&) const = default;
};

// Splits the MMDDYYYY texts of the settings; non-numeric and missing parts read
// 0, and the year is what follows the fourth character, however short.
void ParseDate(CalendarDate& start, CalendarDate& end, const Settings& settings);

// ---- For other programs that link the library; tested, not used by orvellis ----

// Writes the four digits of a two-digit year's century and year into out,
// without terminator. The century is the current one; 00-19 roll forward while
// the current year lies in the last twenty years of its century. The two
// characters are copied as they are, digits or not.
void GuessYearFromTwoDigits(const char* two_digits, char* out);

// Turns "DD/Mon/YYYY:..." or "DD/Mon/YY:..." into the eight characters YYYYMMDD
// (no terminator added), or makes out empty when the text is neither. The day is
// copied as written, the month's name matched with its case. out has room for
// nine characters, the last of them a NUL already.
void ConvertLogDateTimeToSortableDate(const char* log_date, char* out);

// 1 when the text equals today's local date as YYMMDD, else 0.
int today(const char* text);
