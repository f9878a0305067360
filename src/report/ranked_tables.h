// The ranked sections of the report: the items of a counting table by rank.
//
// Item texts are printed as they are, without escaping. "Plain" runs are those
// with settings.cgi 0: they print a title line in place of the section's frame
// and draw every row plain.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "report/section_look.h"
#include "sections/ranked_rows.h"
#include "sections/section_list.h"

// Prints the summary row of a section, across so many columns beside its own
// label: what was cut off, how many items there are, and the shares of brands.
// Nothing when there are no items.
void ReportSummary(const SectionLook& look, const ItemSummary& summary, int columns);

// Prints the heading and the rows that are left: plain ones are texts without
// links, descriptions and referrers.
void display_list(RankedRows& rows, bool plain);

// Prints one ranked section whole, without the jump bar.
void PrintRankedSection(const Settings& settings, const Section& section, Analysis& analysis);
