// mktime and localtime for a stream of log times: the same results, remembered
// over stretches in which they are known to be a plain sum.
#pragma once

#include <ctime>

// As mktime with tm_isdst = -1 on a copy of the record's date and time fields:
// returns the time, or -1. parts is not changed.
time_t LocalToTime(const tm& parts);

// As localtime: fills all nine fields. False (parts unchanged) when the time
// cannot be represented.
bool TimeToLocal(time_t when, tm& parts);

// Forgets what is remembered; call after TZ changes.
void ResetLocalTime();
