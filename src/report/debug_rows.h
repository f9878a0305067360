// The rows of the debugging table that follow the reading of the logs; those
// before stand in told_rows.h.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"

// With debug on: prints the figures of smart memory when it is enabled, closes
// the debugging table and lists the search engine definitions.
void PrintDebugRows(const Settings& settings, const Analysis& analysis);
