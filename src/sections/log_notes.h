// The logs that a reader has to know something of: each by its name, the first ones of a kind.
#pragma once

#include <cstdint>

#include "superlog/log_names.h"
#include "superlog/superlog.h"

inline constexpr int kMostLogsNoted = 12;  // of a kind; the others are one note

// The way through the logs of one kind.
struct LogNotes {
  const void* place;
  int noted;
  char name[kLogNameSize];
  char other[kLogNameSize];
  char detail[320];
};

// Whether there is something of a kind to be said of a log.
using LogTest = bool(const LogState& log);
LogTest IsUnopened;
LogTest IsMissing;           // as a whole or in part, of logs that were read in pieces
LogTest LacksLibrary;        // by which it could be unpacked
LogTest IsDamaged;           // so that it was unpacked in part
LogTest IsNotUnderstood;     // it holds data, but no record
LogTest HoldsNotUnderstood;  // beside records in range
LogTest IsCopyOfLogInRange;

// Writes what is to be said of a log besides its name, with the name of another where one is in it.
using LogDetail = void(LogNotes& notes, const LogState& log, bool linked_names);
LogDetail TellNothing;
LogDetail TellMissing;
LogDetail TellLibrary;
LogDetail TellDamage;
LogDetail TellLinesOfNone;
LogDetail TellLines;
LogDetail TellOriginal;

struct LogKind {
  LogTest* test;
  LogDetail* detail;
  const char* rest;  // the detail of all that are not named
};

// The next log of the kind, described in notes; behind the first kMostLogsNoted once their number, as a
// name: "5 more logs". False when there is none.
bool NextLogNote(LogNotes& notes, const LogKind& kind, bool linked_names);
