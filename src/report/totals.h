// The totals of a report for whoever runs the program, whatever the report is written as.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"

// Writes one line to standard error: a JSON object of the members "requests", "bytes",
// "log_bytes" and "lines_not_understood".
void TellTotals(const Settings& settings, const Analysis& analysis);
