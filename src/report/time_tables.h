// The time distribution sections, each without the jump bar.
#pragma once

#include "analysis/driver.h"
#include "cgi/settings.h"

void PrintDailyTotals(const Settings& settings, const Analysis& analysis);
void PrintHitsPerDayOfWeek(const Settings& settings, const Analysis& analysis);
void PrintHitsPerHour(const Settings& settings, const Analysis& analysis);
