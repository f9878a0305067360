// The list of an account's log files with their sizes and dates. Inner header of
// this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

#include "base/part_bytes.h"
#include "base/text.h"
#include "superlog/content_hash.h"
#include "superlog/log_line.h"
#include "superlog/superlog.h"
#include "unpack/codec.h"

// What reading a log to its end has told.
struct LogReading {
  uint64_t bytes = 0;  // of its lines
  LogRecords records;
  NotUnderstood not_understood;
};

enum LogFileState : int {
  kFromSummary = 1,  // in the summary file, not (yet) seen on disk
  kSeenOnDisk = 4,
};

struct LogFile {
  char name[kPathSize];  // full path
  uint64_t size;         // bytes, modulo 2^32 where figures are narrow
  time_t first;          // times of the first and last dated line; 0 = none
  time_t last;
  int state;  // a LogFileState

  // Of logs that are read whole.
  bool plain;               // neither folder, pipe nor device
  bool unopened;            // this run could not read it
  bool missing;             // there are pieces of it that nobody could read
  bool lines_counted;       // see below
  PackFormat format;        // kNone of what is not compressed, or was not opened
  UnpackEnd unpacked;       // how its unpacking ended; kWhole of any other
  const LogFile* original;  // another one that holds the same and has none itself; null: none
  bool has_beginning;
  ContentHash beginning;  // of its lines, unpacked ones: some of the first bytes
  LogReading* reading;    // null: none yet
  ContentHash likeness;   // the same for other runs; {} until somebody asks (log_parts.h)

  uint64_t missing_bytes;  // how long the missing pieces are

  // Where lines are counted, as of logs whose bytes came by a stream: they are counted from the beginning of
  // the piece on, and so many end in it.
  uint64_t lines;

  uint64_t planned;  // of logs whose pieces were added: the place in the list of the plan

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

// Adds an entry at the end, unless there is one of its name. When memory runs out, the process exits with
// status 1.
void LogsListAdd(const LogFile& file);

// Forgets what reading the logs of the list has told.
void ForgetReadings();

// The reading of an entry of the list, which is made when it has none. When memory runs out, the process
// exits with status 1.
LogReading& ReadingOf(LogFile& log);

// Adds what reading the next stretch of the log has told.
void AppendReading(LogReading& reading, const LogReading& more);

// For another process of the same program. What is damaged stays as it is.
void PutLines(PartWriter& part, const NotUnderstood& lines);
void TakeLines(PartReader& part, NotUnderstood& lines);

// The entry of a path, compared exactly; null when there is none. It may be
// changed in its state.
LogFile* FindLog(const char* name);

// Removes the entries that are still in state kFromSummary; true when there were
// any.
bool DeleteOldEntries();

// Puts all entries into the order of the plan.
void OrderAsPlanned();

void ClearLogList();
