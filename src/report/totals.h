// The totals of a report for whoever runs the program, whatever the report is written as.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"

// Writes to standard error a line for each log, of the first kMostLogsNoted, that could not be unpacked, or
// in part only, or holds lines of which none is understood, or beside records in range: what notes say of it,
// and the first such line. Then one line: a JSON object of the members "requests", "bytes", "log_bytes",
// "lines_not_understood", "copies", the number of logs that were not counted again, "not_unpacked", that of
// logs whose library is missing, "days", those of the report, and "logs", from the first to the last
// record of all logs, which is missing without any.
void TellTotals(const Settings& settings, const Analysis& analysis);
