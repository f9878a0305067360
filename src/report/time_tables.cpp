#include "report/time_tables.h"
void PrintDailyTotals(const Settings&, const Analysis&) {}
void PrintHitsPerDayOfWeek(const Settings&, const Analysis&) {}
void PrintHitsPerHour(const Settings&, const Analysis&) {}
