// The list of an account's log files with their sizes and dates. Inner header of
// this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

#include "base/text.h"

enum LogFileState : int {
  kFromSummary = 1,  // in the summary file, not (yet) seen on disk
  kSeenOnDisk = 4,
};

// A last date from here on says that nobody has looked for it: a compressed log may go on for ever. Behind
// all times that can be asked for.
inline constexpr time_t kOpenEnd = time_t{1} << 38;

struct LogFile {
  char name[kPathSize];  // full path
  uint64_t size;         // bytes, modulo 2^32 where figures are narrow
  time_t first;          // times of the first and last dated line; 0 = none
  time_t last;
  int state;      // a LogFileState
  bool unopened;  // this run could not look into it

  // The list's own.
  LogFile* next;
  LogFile* next_of_name_hash;
  LogFile* next_of_dates_hash;
  LogFile** link_of_dates_hash;  // the one that points here
  size_t place;
};

extern LogFile* mpLogsRoot;  // head of the list, which is in the order of addition

// Merges an entry into the list. The first entry in list order that has the same
// name, or the same size and dates, decides: one of the same name is updated in
// place; another makes the new file a copy of it, which is ignored. Without such
// an entry a new one is added at the end. Both are found by an index. When memory
// runs out, the process exits with status 1.
void LogsListAppend(const LogFile& file);

// The entry of a path, compared exactly; null when there is none. It may be
// changed in its state.
LogFile* FindLog(const char* name);

// Removes the entries that are still in state kFromSummary; true when there were
// any.
bool DeleteOldEntries();

void ClearLogList();
