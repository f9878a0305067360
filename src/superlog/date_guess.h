// Finds the time of a log line of unknown layout by the shape of its fields.
#pragma once

#include <ctime>

// The time of a NUL-terminated line, without any GMT shift: 0 when it shows no
// date, -1 when its date is none or wider than the limits let times be. Later dates
// of a line replace earlier ones; of several times of day the latest is kept. A field
// that tells date and time at once ends the search.
// Splits the line in place; its buffer must go on for kScanOverread bytes from
// the NUL on.
time_t GuessDateTimeFromText(char* line);

// The same for the line reader's current line.
time_t GuessDateTimeFromLine();
