// Finds out a log file's first and last date by looking at its ends. Inner
// header of this folder.
#pragma once

#include <cstdint>

#include "superlog/log_list.h"

// Fills first and last of the file named in log; size is its size in bytes.
// Both stay 0 when no line shows a date, and when the file cannot be opened,
// which is told (log_not_opened). Forgets the known log format and
// uses the line reader.
void GetLogFileDateRange(LogFile& log, int64_t size);
