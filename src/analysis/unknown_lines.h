// The lines of logs that hold no request, as items: by log, and by why they are none.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"

// Counts those lines of all logs that hold requests in range, or none at all: "access.log: no time (nearest
// to common)", where the character and the layout are those of the first such line. The amount of an item is
// the number of that line, from 1. Logs of one name in several folders are one item where the reason is the
// same, with the first line of the first of them. When memory runs out, the process exits with status 1.
void AddUnknownLines(const Settings& settings, CountedReport& report);
