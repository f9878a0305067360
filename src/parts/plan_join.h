// Plans put together into one: the lines of any number of them, one after the other, of which each log is
// whole.
//
// A line "copy LINE", whose LINE is the first one of a log, says that this log holds the same as one that
// stands before it, the first one of its size and proof: it becomes a copy of that one.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "parts/piece_token.h"
#include "superlog/log_pieces.h"

inline constexpr std::string_view kCopyLine = "copy ";

// Longer ones are none.
inline constexpr size_t kLongestPlanLine = kLongestToken + kCopyLine.size();

struct PlanJoin {
  std::vector<LogPiece> pieces;
  std::vector<std::string> unopened;
  bool any = false;                       // line
  uint64_t plan = 0;                      // of which the last line is, or a piece of which it cuts
  uint64_t first_place = 0;               // that logs of that plan have here
  uint64_t next_place = 0;                // behind all that are taken
  time_t before = 0;                      // of the last dated line of the log before the last one
  LogPiece last;                          // line, as it was given
  std::unordered_set<std::string> paths;  // of all logs
  std::map<std::pair<uint64_t, uint64_t>, size_t> first_ones;  // by size and proof: pieces
};

enum class LineJoined {
  kTaken,
  kNoLine,   // of a plan
  kNotNext,  // it begins within another log than the one at hand, or elsewhere in it
  kTwice,    // a log of that path was taken before
  kNoCopy,   // no log of its size and proof was taken before, or it is not the first line of one
};

// Takes the next line. Behind one that was not taken there is no plan.
LineJoined JoinLine(PlanJoin& join, std::string_view line);

enum class PlansJoined {
  kAll,
  kNone,     // there was no line
  kCut,      // the last log goes on behind the last line
  kTooLong,  // a piece has more copies than there is room for in a token
};

// Behind the last line: the pieces are one plan, in the order in which they were given.
PlansJoined FinishJoin(PlanJoin& join);
