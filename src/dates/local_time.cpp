#include "dates/local_time.h"
time_t LocalToTime(const tm& parts) { tm copy = parts; copy.tm_isdst = -1; return mktime(&copy); }
bool TimeToLocal(time_t when, tm& parts) { return localtime_r(&when, &parts) != nullptr; }
void ResetLocalTime() { tzset(); }
