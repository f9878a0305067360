// Parsers of the date and time forms found in log files, and the settings that
// govern them.
//
// Each parser takes one field's NUL-terminated text and fills its part of a
// broken-down time (tm_mon 0-11, tm_year since 1900), never normalising it. None
// reports an error: the forms of ParseDateTime1, ParseDate5 and ParseTime9 leave
// everything unchanged when their text is malformed, the all-numeric forms read
// a missing number as 0. A run of digits may be empty (0); values beyond 32 bits
// wrap.
#pragma once

#include <ctime>
#include <string_view>

#include "superlog/superlog.h"

extern DateOrder mDateFormat;
extern bool mFixGmt;       // log times are GMT
extern time_t mGmtOffset;  // seconds added to every log time; 0 where zones count

// Defaults of a run: order MDY, no shift; every source may set them anew.
void ResetLogDates();

// Computes, for the current time zone, the span of times that ParseEpoch takes
// as they are and, with mFixGmt where zones do not count, the shift: the zone's
// offset east of GMT in January 1970.
void InitLogDates();

// Day, month and year from three numbers in an order; the year may have two,
// three or four digits (IntTotm_year).
void SetDateByOrder(DateOrder order, int a, int b, int c, tm& when);

// The same in the order of mDateFormat, overruled by what the numbers can only
// mean: a first one above 89 is a year (YMD); so is, before all, a third one from
// 90 on where mDateFormat has the year elsewhere (MDY).
void GuessDateBestEffort(int a, int b, int c, tm& when);

// Whether no parser found anything for a date that was cleared, as they leave it
// when their text is malformed.
inline bool HoldsNoDate(const tm& when) {
  return when.tm_mday == 0 && when.tm_year == 0;
}

// Seconds since 1970 or 1904; fills all fields, daylight-saving flag included.
void ParseEpoch(const char* text, tm& when);

// 10/Oct/2000:13:55:36 -0700. Where the limits say so, the zone is filled in, too (dates/written_zone.h);
// else it is ignored.
void ParseDateTime1(const char* text, tm& when);

// Those that read the dates of a log: the same of a text that ends in a NUL at its size, faster for a date in
// the hour, or on the day, of the last one, and for a time of six digits.
void ParseNextDateTime1(std::string_view text, tm& when);

void ParseNextDate3(std::string_view text, tm& when);
void ParseNextDateTime4(std::string_view text, tm& when);
void ParseNextTime9(std::string_view text, tm& when);

// Reads a date with a zone, like those above, that lies in the hour of the last one that ParseNextDateTime1
// met and says the same zone: as the instant that it is, where the zone counts; else that is 0, and the time
// is as written, with all that it leaves alone as it was then. False, and nothing changed, for any other
// text, which need not end in a NUL.
bool ReadInLastHour(std::string_view text, tm& when, time_t& instant);

void ParseDate2(const char* text, tm& when);      // three numbers, guessed order
void ParseDate3(const char* text, tm& when);      // year, month, day
void ParseDateTime4(const char* text, tm& when);  // three numbers, then h:m:s if text remains
void ParseDate5(const char* text, tm& when);      // "Sun, 5 Mar 2000", or three numbers
void ParseTime9(const char* text, tm& when);      // h:m or h:m:s

// Up to three runs of digits, each followed by exactly one separator character
// of any kind; reading stops at the end of the text and leaves 0 in the numbers
// not met. Returns where it stopped.
const char* ReadThreeNumbers(const char* text, int (&numbers)[3]);

// The same after leading spaces; a number above 1899 is reduced by 1900, so that
// a four-digit year counts from 1900.
void ParseDateOrTimeTriplet(const char* text, int (&numbers)[3]);
