// Finds out a log file's first and last date by looking at its ends. Inner
// header of this folder.
#pragma once

#include <cstdint>

#include "superlog/log_list.h"

// Fills first and last of the file named in log; size is its size in bytes.
// Both stay 0 when no line shows a date, and when the file cannot be opened, or not be unpacked that far,
// which is told (log_not_opened) and returned as false. Forgets the known log format and
// uses the line reader. The end of a compressed file is not looked for: its last date is open (log_list.h).
bool GetLogFileDateRange(LogFile& log, int64_t size);

// The last date of a compressed file, by unpacking all of it; the one given where its end shows none. Uses
// the line reader.
time_t FindLastDateOfPacked(const char* path, time_t first);
