// mktime and localtime for a stream of log times: the same results, computed as
// plain sums inside hours that are known to lie in a stretch of constant zone
// offset.
//
// Equality with the plain calls holds for every input, including ambiguous
// local times, for which the C library's answer depends on the call before. It
// assumes that mktime is called through LocalToTime only (a direct call in
// between must be followed by ResetLocalTime) and that no zone keeps an offset
// for less than an hour; the shortest such stretch in the tz database lasts
// days.
//
// State is kept in file scope: nothing here is reentrant.
#pragma once

#include <cstdint>
#include <ctime>

// Days from 1970-01-01 to a local date, of which the year and the day of the year
// are read.
int64_t DayNumber(const tm& date);

// As mktime on a copy of the record: returns the time, or -1. Reads the date
// and time fields, which need not be normalised, and the daylight-saving flag
// (-1 = unknown).
time_t LocalToTime(const tm& parts);

// As timegm on a copy of the record, of which the date and time fields are read.
time_t UniversalToTime(const tm& parts);

// What the last call of LocalToTime decides about the next one, as a number: where it is the same, so are the
// answers to the same calls. False when it is not known.
bool StateOfLocalTime(int64_t& state);

// As localtime: fills all fields. False (parts unchanged) when the time cannot
// be represented.
bool TimeToLocal(time_t when, tm& parts);

// Both at once, for parts that lie in the local hour of the time that TimeToLocal met last: does what
// LocalToTime and, with its result, TimeToLocal would do. False, and nothing changed, for any others.
bool CompleteInLastHour(tm& parts, time_t& when);

// Both at once, for parts of which tm_gmtoff is the zone that they are written in, whatever their flag says:
// the time, and its local parts. False, the time being told, when these cannot be represented.
bool CompleteInstant(tm& parts, time_t& when);

// Whether a clock change lets the clock show that time twice, an hour apart or however far it goes back.
bool IsTimeRepeated(time_t when);

// Forgets what is remembered and takes TZ anew; call at the start and after
// every change of TZ.
void ResetLocalTime();
