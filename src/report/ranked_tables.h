// The ranked sections of the report.
#pragma once

#include "analysis/driver.h"
#include "cgi/settings.h"

// Prints the summary row; nothing when distinct is 0.
void ReportSummary(long distinct, int top, int top_is_percent, int greater, const char* colour, const char* noun);

// Sorts the list and prints its rows up to the cut-off.
void display_list(const Settings& settings, List& list, int top, int top_is_percent, int greater, const char* kind,
                  long total);

// One ranked section each, frame and rows, without the jump bar.
enum class RankedSection { kUrls, kReferrers, kBrowsers, kBadUrls, kBadReferrers, kDomains, kDomainTypes };
void PrintRankedSection(const Settings& settings, RankedSection section, Analysis& analysis);
