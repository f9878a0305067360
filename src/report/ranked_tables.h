// The ranked sections of the report: the items of a counting table by rank.
//
// A cut-off is two numbers. top is the most rows shown, a percentage of the
// distinct items when top_is_percent is set; 0 shows all, a negative one none.
// greater is the smallest count shown. Item texts are printed as they are,
// without escaping. "Plain" runs are those with settings.cgi 0: they print a
// title line in place of the section's frame and draw every row plain.
#pragma once

#include "analysis/driver.h"
#include "cgi/settings.h"

// Prints the summary row of a section in its colour; nothing when distinct is 0.
// Two nouns have a meaning of their own: "phrases" draws one column less, and
// "browsers" adds the shares of NavCount and MsieCount in gHits_Browsers.
void ReportSummary(long distinct, int top, int top_is_percent, int greater, const char* colour,
                   const char* noun);

// Sorts the list as far as it is shown and prints its heading and its rows up to
// the cut-off, with percentages of total (0 when total is 0). kind selects how an
// item is drawn: "network" by its name in the Networks file, "referrals" as a
// link, "requests" as a link into the analysed site with the item's sub-list
// below it; any other kind is drawn plain.
void display_list(const Settings& settings, List& list, int top, int top_is_percent, int greater,
                  const char* kind, long total);

// Prints one section whole, frame, summary and rows, without the jump bar. The
// browsers section stores its total in gHits_Browsers first.
enum class RankedSection { kUrls, kReferrers, kBrowsers, kBadUrls, kBadReferrers, kDomains, kDomainTypes };
void PrintRankedSection(const Settings& settings, RankedSection which, Analysis& analysis);
