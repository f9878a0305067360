// What log access tells while it looks for logs and reads them, to whoever
// listens: values, and never a printed text.
#pragma once

#include <cstdint>
#include <ctime>

// What a run looks for. The texts stay valid while the function that is told runs.
struct LogSearch {
  time_t range_first;  // both ends included
  time_t range_last;
  const char* logs;        // pattern
  const char* access_log;  // pattern of the log that is being written; empty: none
  bool any_found;          // some file matches
};

enum class LogVerdict {
  kNoLog,       // without size or dates: hardly a log
  kOutOfRange,  // not read
  kInRange,     // read next, unless it has gone meanwhile
};

struct LogLook {
  const char* path;
  uint64_t size;  // bytes, as wide as the limits let figures be
  time_t first;   // times of the first and last dated line, shifted as log times are;
  time_t last;    // meaningless of what is no log
  LogVerdict verdict;
};

// Lines of a log that follow each other, and what their records come to (superlog/log_store.h).
struct LogBlock;

// A record of functions, each called at once when its event happens; a null one
// is never called. They must not use log access themselves.
struct LogEvents {
  // A log that had to be opened to learn its dates could not be.
  void (*log_not_opened)(const char* path) = nullptr;
  // All logs are known; comes once, before the first one is looked at.
  void (*search_done)(const LogSearch& search) = nullptr;
  // Whether a log is read was decided; comes before it is opened.
  void (*log_looked_at)(const LogLook& look) = nullptr;
  // A line of the open log has set its layout.
  void (*format_recognised)(const char* label) = nullptr;
  // The log delivered last is done with; comes before the next one is looked at.
  void (*log_read)() = nullptr;
  // The texts of the records delivered so far are about to go, because their room is needed.
  void (*texts_go)() = nullptr;

  // Where logs are read in blocks: whether a block that was read before, of which all records lie in the
  // range, need not be read because its counts are known.
  bool (*block_counted)(const LogBlock& block) = nullptr;
  // A block of which that is so was passed over, in the order of reading; or one was read, all of whose
  // records were delivered. What is to be known of the latter later is its name, where it has one.
  void (*block_passed)(const LogBlock& block) = nullptr;
  void (*block_read)(const LogBlock& block) = nullptr;
};

// Those who listen to this run.
extern LogEvents mLogEvents;
