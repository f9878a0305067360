// Prints what is told while logs are looked for and read.
#pragma once

#include "analysis/driver.h"

// Who listens to a run with these settings. Always: a log that cannot be opened
// gets an error line. With debug on: the debugging table, which is left open for
// PrintDebugRows. With flushtoserver on: a space every 1001 lines, sent at once.
AnalysisEvents PageEvents(const Settings& settings);

// The last of these alone: what is to be called for each line that is read, null
// without flushtoserver.
void (*SignsOfLife(const Settings& settings))();
