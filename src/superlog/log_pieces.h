// The logs of a run in pieces, each of which says by itself what there is to be read, so that it can be
// counted anywhere, and their counts added in the order of the pieces.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "base/part_bytes.h"
#include "superlog/line_reader.h"

struct LogCopy {
  uint64_t place = 0;  // in the list of logs
  std::string path;
};

// A log, or a part of one.
struct LogPiece {
  uint64_t plan = 0;    // tells one plan from others
  uint64_t of = 0;      // the plan a piece of which was cut further; 0: it was not
  uint64_t number = 0;  // of the piece, from 0
  uint64_t count = 0;   // of all pieces of the plan
  uint64_t place = 0;   // of the log in the list
  std::string path;     // empty: there is nothing to be read
  uint64_t size = 0;    // of the log, and the times of its first and last dated line, as the list has them
  time_t first = 0;
  time_t last = 0;
  uint64_t proof = 0;  // a hash of bytes of the log, its first ones and those before the piece; 0: none
  time_t before = 0;   // of the last dated line of the log that is read before; 0: none
  int64_t from = 0;    // the first line, where one begins that stands shortly before it,
  int64_t lead = 0;
  int64_t to = kNoStop;               // and the line behind the last one; kNoStop: none
  std::vector<LogCopy> copies;        // logs in whose place that one is read; told with its beginning
  std::vector<std::string> unopened;  // logs that could not be opened; told with the first piece
};

// Whether it is known of the places where logs are cut that lines can be read there without those before
// them.
enum class Cuts {
  kProven,   // logs that are divided are read once, to learn it
  kUntried,  // it shows when what the pieces came to is added
};

// Divides what there is to be read into pieces of about so many bytes, never less than one for each log.
// Behind SuperLog_Init, in a run that reads no log otherwise: compressed ones are opened to learn whether
// they are copies.
std::vector<LogPiece> PlanPieces(uint64_t size, Cuts cuts = Cuts::kProven);

// Divides one piece of a plan, whose log is as planned, into pieces that are a plan of their own. Behind
// SuperLog_InitWithoutLogs; one piece after the other, where they are of several logs.
std::vector<LogPiece> CutPiece(const LogPiece& piece, uint64_t size, Cuts cuts);

// Makes pieces one plan, in their order.
void NumberPieces(std::vector<LogPiece>& plan);

// Whether the second of two pieces goes on in the log where the first one ends; and whether it comes next in
// their plan, there or with another log.
bool GoesOn(const LogPiece& last, const LogPiece& next);
bool IsNextPiece(const LogPiece& last, const LogPiece& next);

// Whether its log is the one that the plan has found, as far as its size and its proof tell; true of a piece
// without one. There may be more lines behind the end of the log.
bool IsAsPlanned(const LogPiece& piece);

// From here on those pieces, of which there is one and each comes next behind the one before it, are all that
// there is to be read; behind SuperLog_InitWithoutLogs. They are read as one stretch of the logs of the plan.
void TakePieces(const std::vector<LogPiece>& pieces);

// The same of pieces that nobody can read: there is nothing to be read, and the bytes of their logs are
// missing.
void MissPieces(const std::vector<LogPiece>& pieces);

// Behind the last line of a piece whose log was given by a stream (given_log.h): nobody knows here how many
// lines come before it, so that they are numbered from its beginning on.
void CountGivenLines();

// Writes down which pieces of which plan were read or added, and in which states; of a run that has read no
// piece, that it has not. Behind the last line that is read.
void SavePieces(PartWriter& part);

enum class PiecesAdded {
  kAll,
  kDamaged,
  kOtherPlan,  // or one of both is none of a plan
  kNotNext,    // another piece stands between, or this one was added before
  kApart,      // lines before it have changed how its own are read: they cannot be divided there
};

struct AddedPieces {
  PiecesAdded added;
  uint64_t number;  // of the first one, from 1
  uint64_t wanted;  // which one comes next
  uint64_t count;
};

// Takes what was written down of pieces that follow on those that were added before; as the first ones any
// do.
AddedPieces AddSavedPieces(PartReader& part);

// Whether those that were added are pieces; and whether what was added last begins within a log that others
// have begun.
bool ArePiecesOfAPlan();
bool BeginWithinLog();

// Puts the logs of all pieces that were added into the order in which the plan has found them.
void OrderLogsOfPieces();

// Whether pieces are missing of the plan whose pieces were added: wanted is the first, or the one behind the
// last.
bool LacksPieces(AddedPieces& missing);

// Forgets plan and pieces.
void ForgetPieces();
