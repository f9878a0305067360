// What there is to be read, divided among processes that read it at the same time.
//
// A share is all that stands between two places of the logs, in the order of the list. Whoever reads one goes
// to its first place in the state in which a reading of everything before would come there, as far as that
// can be told by the first lines of the log and by those right before the place. Whether it was that state
// is known when the share before has been read, too: AddShare tells.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/part_bytes.h"
#include "superlog/log_blocks.h"
#include "superlog/log_list.h"

struct LogPlace {
  size_t log;        // its number in the list
  int64_t offset;    // where in it a line begins; 0: before all that is in it
  int64_t lead = 0;  // where a line begins that stands before that one, or that one itself
};

struct LogShare {
  LogPlace from;
  LogPlace to;  // behind it
};

// Divides all that is to be read into at most so many shares of about equal work, each of which would take
// reading so many bytes or more; into one where it cannot be divided. Behind SuperLog_Init, and before a log
// is opened. A log is divided behind the end of a line, unless it is compressed, is known so well that little
// of it need be read, may end the reading of itself, or is counted in blocks (LogEvents::block_counted),
// which nobody knows of a part.
std::vector<LogShare> DivideLogs(size_t most, uint64_t least);

// From here on there is nothing to be read but this share. before: the time of the last line of the log that
// is read before the first one, where the list does not hold it.
void TakeShare(const LogShare& share, time_t before = 0);

// The states in which a share was read. Where nobody knows a state, two readings are not known to be in the
// same.
struct ReadState {
  uint64_t lines = 0;
  bool known = false;
};

struct ShareStates {
  ReadState before;
  ReadState after;
  bool alone = false;   // it is read alike behind whatever is before it
  bool within = false;  // it begins within a log
  bool ended = false;   // the log in which it ends has ended before it
  bool lost = false;    // nobody has read what it ends with, and any state may follow
};

// False where one of both is not known.
bool IsSame(const ReadState& a, const ReadState& b);

// Of the share at hand, when all of it was read.
ShareStates StatesOfShare();

// Whether a reading in the one states goes on as one in the others has ended.
bool Follows(const ShareStates& last, const ShareStates& next);

// Writes down what this process has learnt of the logs of its share, and in which states it has read it; when
// all of it has been read.
void SaveShare(PartWriter& part);

// Takes what another process has written of the share that follows on this one, or on the last one taken:
// into the list, which was the same for both. False when the reading of that share did not begin in the state
// in which the one before has ended, or when a log of it seems to be a copy of one in another share: then
// what was counted of it is of no use, and some of it may be in the list.
bool AddShare(PartReader& part);

// ---- For whoever divides a log in another way ----

// Whether that log may be divided.
bool IsDivisible(const LogFile& log);

// Behind the first end of a line at or behind wanted, where another one begins; 0: there is none near it.
LogPlace PlaceNear(const LogFile& log, int64_t wanted);

// Makes the last line of the log that is read before that one the last one that was read: which offset a
// repeated hour takes is told by the line before. Where there is none it is one of a winter.
void PassTimeBefore(const LogFile& log);

// In the log that was opened, reads what who begins at a place looks at, for its state alone.
void GoToPlace(const LogPlace& place);
ReadState StateNow();

// ---- For the reading itself ----

// All logs are one share.
void ForgetShare();
bool IsAllOneShare();

// The log with which the share begins, in the list; null: none.
LogFile* FirstLogOfShare();
bool IsInShare(const LogFile& log);

// What of a log there is to be read.
Stretch StretchOf(const LogFile& log);

// Goes to the beginning of a stretch, in the open log, of which nothing has been read. What is read on the
// way is no record of this run, and nobody is told of it.
void GoToStretch();

// Tells that the first log of the share is about to be looked for; that one, or a part of it, has been read,
// and whether a record of it has ended that; and that none is left.
void ShareBegins();
void LogOfShareRead(const LogFile& log, bool by_record);
void ShareEnds();
