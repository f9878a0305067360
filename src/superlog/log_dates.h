// Parsers of the date and time forms found in log files. All write into a
// broken-down time (tm_mon 0-11, tm_year since 1900) and leaves fields
// unchanged where the text is malformed; none reports an error.
#pragma once

#include <ctime>

// 1 DMY, 2 DYM, 3 MDY, 4 MYD, 5 YDM, 6 YMD.
extern int mDateFormat;
extern bool mFixGmt;
extern time_t mGmtOffset;  // seconds added to every log time

void ResetLogDates();

// Computes mEpochStart and mEpochEnd and, with fixgmt, the GMT offset, for the
// current time zone.
void InitLogDates();

// Three numbers ordered by mDateFormat and by what they can only mean.
void GuessDateBestEffort(int a, int b, int c, tm& when);

void ParseEpoch(const char* text, tm& when);              // seconds since 1970 or 1904
void ParseDateTime1(const char* text, tm& when);          // 10/Oct/2000:13:55:36 -0700
void ParseDate2(const char* text, tm& when);              // three numbers, guessed order
void ParseDate3(const char* text, tm& when);              // year, month, day
void ParseDateTime4(const char* text, tm& when);          // three numbers, then a time
void ParseDate5(const char* text, tm& when);              // "Sun, 5 Mar 2000" or three numbers
void ParseTime9(const char* text, tm& when);              // h:m or h:m:s

// Up to three digit runs after leading spaces, each followed by one separator
// character; a number above 1899 is reduced by 1900.
void ParseDateOrTimeTriplet(const char* text, int (&numbers)[3]);
