// What a run knows of its logs, written down and put into the list of another run.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/part_bytes.h"
#include "base/text.h"
#include "superlog/log_events.h"

// What besides a log's bytes decides about its records, beyond limits and the zone.
struct RecordRules {
  int date_order;           // a DateOrder
  bool gmt;                 // times are GMT
  std::string_view layout;  // the user's; empty: none
};

// Of this run, behind SuperLog_Init.
RecordRules RulesOfRecords();

// To be told by LogEvents::log_not_opened where the logs will be written down: keeps the path. When memory
// runs out, the process exits with status 1.
void NoteLogNotOpened(const char* path);
std::vector<std::string> LogsNotOpened();

// Tells again, of all logs that were added: which could not be opened, and how those were looked at that were
// read whole.
void TellLogsAgain(const LogEvents& events);

// Whether records of a log that was read begin within an hour that a clock change repeats, so that another
// log before it would have a say in their times. Never where logs are read whole.
bool BeginsInRepeatedHour();

// Looks at the logs that were read once more, so that another run can tell whether it has read the same:
// behind the last of which has been read, and before SaveLogs. Returns the path of one that has gone since;
// null: none.
const char* HashBeginnings();

// Writes all logs down, those that were added included.
void SaveLogs(PartWriter& part);

enum class LogsAdded {
  kAll,
  kDamaged,
  kTwice,  // a log of that path is in the list
  kCopy,   // a log of the list holds, or may hold, the same, and would be read in its place
};

struct AddedLogs {
  LogsAdded added;
  char log[kPathSize];  // which log it is; printable
};

// Puts logs that were written down behind those of the list, which is one of logs that are read whole or not.
// Some may have been added when not all could be.
AddedLogs AddSavedLogs(PartReader& part, bool whole_logs);

// Forgets which logs could not be opened.
void ForgetLogsNotOpened();
