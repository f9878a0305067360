// Completes and checks the settings once form and configuration are read.
#pragma once

#include "cgi/settings.h"

// Fills the date range, title and combined find path, clears what must not be in
// force, and checks the rest. Returns 0, or the number of the error page that
// ends the run: 4 no url, 5 no logs, 6 no start date, 8 no end date, 7 a start
// after the end.
int CompleteSettings(Settings& settings);

// The same, ending the run with that error page. Returns only when all is well.
void CheckParams(const Environment& env, Settings& settings);
