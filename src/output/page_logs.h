// Which logs a report was made from, remembered while they are read.
#pragma once

#include <array>
#include <ctime>

#include "analysis/driver.h"
#include "superlog/log_names.h"

inline constexpr size_t kMostLogsNamed = 12;
struct LogsRead {
  int count;  // reaching into the range
  int out_of_range;
  time_t first;  // of the records of all logs, in range or not; meaningless without any
  time_t last;
  std::array<char[kLogNameSize], kMostLogsNamed> names;  // of the first of them
};

// Forgets what was remembered, and who is to be told. linked_names: a log that is a symbolic
// link is called by the name of what it leads to, one link far. line_read: as in the events.
AnalysisEvents RememberLogs(bool linked_names, void (*line_read)());

// Good until the next run.
const LogsRead& RememberedLogs();
