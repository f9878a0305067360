// Completes and checks the settings once form and configuration are read.
#pragma once

#include "cgi/settings.h"
#include "report/errors.h"

// Fills the date range, title and combined find path, clears what must not be in
// force, and checks the rest. Returns kNoError, or the first of these that holds:
// kErrorNoUrl, kErrorNoLogs, kErrorNoStartDate, kErrorNoEndDate, kErrorDateRange. Days in words
// and ISO dates count before all others, and today is the day on which the report is made. That
// all days of the logs are asked for is left to whoever finds them, as from_first and to_last.
Error CompleteSettings(Settings& settings);

// The same, by the name under which the run and other programs know it.
Error CheckParams(Settings& settings);
