// The time distribution sections, each without the jump bar.
//
// A row is a label, the percentage of the section's total, a bar (300 pixels for
// the largest count of the section) and the count. A section without any count
// says so instead. Runs with settings.cgi 0 print a title line in place of the
// section's frame.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "sections/section_list.h"

// One row for each day of the range, labelled in the order of the logs' dates.
void PrintDailyTotals(const Settings& settings, const Section& section, const Analysis& analysis);

// Sunday to Saturday.
void PrintHitsPerDayOfWeek(const Settings& settings, const Section& section, const Analysis& analysis);

// 12 am to 11 pm.
void PrintHitsPerHour(const Settings& settings, const Section& section, const Analysis& analysis);
