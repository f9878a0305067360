// The list of an account's log files with their sizes and dates. Inner header
// of this folder: the summary file and the discovery share it.
#pragma once

#include <cstdint>
#include <ctime>

#include "base/text.h"

enum LogFileState : int { kFromSummary = 1, kSeenOnDisk = 4 };

struct LogFile {
  char name[kPathSize];  // full path
  uint32_t size;         // bytes, modulo 2^32
  time_t first;          // times of the first and last dated line; 0 = none
  time_t last;
  int state;
  LogFile* next;
};

extern LogFile* mpLogsRoot;

// Merges an entry into the list: the first entry that has the same name is
// updated; one that has the same size and dates makes the new file a copy,
// which is dropped; otherwise a new entry is added at the end.
void LogsListAppend(const LogFile& file);
