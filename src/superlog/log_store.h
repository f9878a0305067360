// What the reading of a log has told, kept between runs, so that a log whose records all lie outside the
// range need not be read again.
//
// The store is a folder of small files, one for each log, called by its device and inode. It only saves time:
// what is missing there, cannot be read or written, is damaged, was written by somebody else, or is of a file
// that may have changed since, is read from the log.
#pragma once

#include <cstdint>

#include "superlog/superlog.h"

// What tells a file, and that it is the same as before.
struct LogStamp {
  uint64_t device;
  uint64_t inode;
  uint64_t size;
  int64_t changed;     // when its content was, in seconds and
  int64_t changed_ns;  // nanoseconds
  int64_t described;   // when what the system says of it was
  int64_t described_ns;

  bool operator==(const LogStamp&) const = default;
};

// False of what is no plain file, and when it cannot be looked at.
bool StampOf(const char* path, LogStamp& stamp);

// Whether nobody can have changed the file within the second of its stamp: it was older than two seconds.
bool IsSettled(const LogStamp& stamp);

// Takes a folder, empty for none, and what besides a log decides about its records, as a number.
void OpenStore(const char* folder, uint64_t rules);

// What is known of the log of that stamp, under the same rules; false when nothing is. Of the records
// nothing is in range.
bool Recall(const LogStamp& stamp, LogRecords& records);

// Keeps what all records of a log came to. Fails silently.
void Keep(const LogStamp& stamp, const LogRecords& records);
