#include "dates/years.h"
int StrToYear4(const char*, int fallback) { return fallback; }
int IntTotm_year(int year) { return year; }
void ParseDate(CalendarDate&, CalendarDate&, const Settings&) {}
void GuessYearFromTwoDigits(const char*, char*) {}
void ConvertLogDateTimeToSortableDate(const char*, char*) {}
int today(const char*) { return 0; }
