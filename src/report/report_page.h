// The body of the report page: runs the analysis and prints what it counted.
#pragma once

#include "cgi/settings.h"

// Analyses the account's logs and prints header table, enabled sections and
// footer. Ends the run with error page 11 when there is no log file.
void AnalyzeLogs(Settings& settings, const Environment& env);
void do_bigass_analysis(Settings& settings, const Environment& env);
