// What drawings have in common: lengths, and the words of their marks.
#pragma once

#include <cstdint>

#include "dates/years.h"
#include "output/sink.h"

// A whole number of parts, of which 10^digits are one, without needless zeros: 1250
// parts of two digits are "12.5".
void PutParts(Sink& sink, int64_t parts, int digits);

// "12,345 requests", "1 request"
void PutRequests(Sink& sink, int64_t count);

// "Sunday" to "Saturday" and "Sun" to "Sat" of 0 to 6; "Jan" to "Dec" of 1 to 12.
Literal NameOfWeekday(int weekday);
Literal ShortNameOfWeekday(int weekday);
Literal ShortNameOfMonth(int month);

// Of days since 1970-01-01: the date, and the weekday (0 = Sunday).
CalendarDate DateOfDay(int64_t day);
int WeekdayOfDay(int64_t day);
