// Which logs a report was made from, remembered while they are read.
#pragma once

#include <array>
#include <ctime>

#include "analysis/driver.h"
#include "base/text.h"

// Of each log its name without the folder: a page need not tell where logs lie.
inline constexpr size_t kMostLogsNamed = 12;
struct LogsRead {
  int count;       // reaching into the range
  int not_opened;  // that were to be read, or looked into
  int out_of_range;
  time_t first;  // of the records of all logs, in range or not; meaningless without any
  time_t last;
  std::array<char[kTextSize], kMostLogsNamed> names;  // of the first of them
};

// Forgets what was remembered, and who is to be told. line_read: as in the events.
AnalysisEvents RememberLogs(void (*line_read)());

// Good until the next run.
const LogsRead& RememberedLogs();
