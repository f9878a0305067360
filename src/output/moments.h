// Days and times as outputs write them: ISO 8601, by the local zone.
#pragma once

#include <ctime>

#include "dates/days.h"
#include "output/sink.h"

// "2026-11-22". Years lie in 0 to 9999.
void PutDay(Sink& sink, const CalendarDate& day);

// "2026-11-22T18:04:05+01:00"
void PutMoment(Sink& sink, time_t when);

// "2026-11-22 18:04", of times in these years.
void PutDayAndClock(Sink& sink, time_t when);

// "18:04"
void PutClock(Sink& sink, time_t when);
