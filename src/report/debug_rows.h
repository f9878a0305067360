// The rows of the debugging table that follow the reading of the logs.
#pragma once

#include "cgi/settings.h"

// With debug on: prints the figures of smart memory when it is enabled, closes
// the debugging table and lists the search engine definitions.
void PrintDebugRows(const Settings& settings);
