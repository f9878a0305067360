// Finds the time of a log line of unknown layout by the shape of its fields.
#pragma once

#include <ctime>

// The time of the line reader's current line, 0 when it shows no date, -1 when
// its date is none. Splits the line in place.
time_t GuessDateTimeFromLine();
