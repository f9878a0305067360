// The body of the report page: runs the analysis and has printed what it counted.
#pragma once

#include "report/page_writer.h"

// Analyses the account's logs and lets the writer go on with the page that it has
// begun. Returns kNoError, or kErrorNoLogFiles, with nothing printed, when there
// is no log file. Of a page whose head is printed by itself a HEAD request gets no more, and nothing is read
// for it.
Error AnalyzeLogs(const Environment& env, Settings& settings, const Counting& counting,
                  const PageWriter& page);

// The end of it: closes the range and lets the writer print what was counted, and the totals where they are
// asked for.
void FinishPageOf(Settings& settings, Analysis& analysis, const PageWriter& page);

// Prints a report from the debugging rows on, behind its head.
void FinishReport(const Settings& settings, Analysis& analysis);

// The same, by the name under which other programs know it, with an environment that
// tells nothing.
Error do_bigass_analysis(Settings& settings, const Counting& counting, const PageWriter& page);
