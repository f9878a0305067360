// Counting with the help of what earlier runs have kept.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"

// Has other processes of the run count some of the logs before it does, which keeps their counts. False when
// there was nobody to do so.
using CountBefore = bool(const Settings& settings, Analysis& analysis);

// Does what CountRecords does, and reads no block of a log whose counts are kept; those of blocks that are
// read it keeps. False, with nothing done, where settings.part_cache names no folder, or where the counts of
// a record depend on others.
bool CountWithKept(const Settings& settings, Analysis& analysis, CountBefore* before = nullptr);
