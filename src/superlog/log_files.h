// Which matches of the log patterns count, and which are opened to learn their
// dates. Inner header of this folder; superlog.h has the rest of the discovery.
#pragma once

#include "superlog/log_events.h"
#include "superlog/log_list.h"

// False for an empty name, "." and "..".
bool FileIsntDots(const char* name);

// False when the list knows the file with its present size: its entry is then
// marked as seen and its dates stand.
bool FileShouldBeScanned(const LogFile& found);

// Whether a log of known dates is read. The dates of what is a log are shifted.
LogLook LookAt(const LogFile& file);

// What the records of a log that was read whole say of it.
LogVerdict VerdictOf(const LogRecords& records);

// Whether every log is read to its end, wherever its records stand in time.
bool AreLogsReadWhole();

// Whether a log of the list is one to be read, for all that is known before it is opened; whether a record of
// it may then end its reading; and how many of its bytes there are to be read.
bool IsToBeRead(const LogFile& log);
bool MayEndItself(const LogFile& log);
uint64_t BytesToBeRead(const LogFile& log);

// Whether a record of that time ends the reading of its log.
bool EndsItsLog(time_t record);

// Where a clock change repeats an hour, the line before decides: none that was read before now.
void ForgetLinesBefore();

// Notes of each compressed log that another one holds the same lines, as reading them all would.
void FindUnpackedCopies();
