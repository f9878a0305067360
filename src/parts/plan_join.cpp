#include "parts/plan_join.h"

#include <algorithm>

static constexpr uint64_t kMostPlaces = uint64_t{1} << 40;  // no plan has as many logs

// ---- Places ----

static uint64_t PlanOf(const LogPiece& line) {
  return line.of == 0 ? line.plan : line.of;
}

// Those of the plan that the line is of come behind those of the plan before.
static uint64_t FirstPlaceFor(const PlanJoin& join, const LogPiece& line) {
  return !join.any || PlanOf(line) != join.plan ? join.next_place : join.first_place;
}

static bool HasPlaces(const PlanJoin& join, const LogPiece& line) {
  const uint64_t room = kMostPlaces - FirstPlaceFor(join, line);
  return line.place < room && std::all_of(line.copies.begin(), line.copies.end(),
                                          [&](const LogCopy& copy) { return copy.place < room; });
}

static void GoToPlanOf(PlanJoin& join, const LogPiece& line) {
  join.first_place = FirstPlaceFor(join, line);
  join.plan = PlanOf(line);
}

static uint64_t PlaceOf(PlanJoin& join, uint64_t place) {
  join.next_place = std::max(join.next_place, join.first_place + place + 1);
  return join.first_place + place;
}

// ---- Logs ----

// Whether the last log goes on.
static bool IsWithinLog(const PlanJoin& join) {
  return join.any && join.last.to != kNoStop;
}

static bool IsNext(const PlanJoin& join, const LogPiece& line) {
  if (IsWithinLog(join)) {
    return GoesOn(join.last, line);
  }
  return line.from == 0 && (!line.path.empty() || (line.to == kNoStop && line.copies.empty()));
}

// False where one of them was taken before.
static bool TakePaths(PlanJoin& join, const LogPiece& line) {
  bool taken = join.paths.insert(line.path).second;
  for (const LogCopy& copy : line.copies) {
    taken = join.paths.insert(copy.path).second && taken;
  }
  return taken;
}

static void TakeCopies(PlanJoin& join, LogPiece& original, const LogPiece& line) {
  for (const LogCopy& copy : line.copies) {
    original.copies.push_back({PlaceOf(join, copy.place), copy.path});
  }
}

static void TakeUnopened(PlanJoin& join, const LogPiece& line) {
  join.unopened.insert(join.unopened.end(), line.unopened.begin(), line.unopened.end());
}

// ---- Lines ----

static void TakePiece(PlanJoin& join, const LogPiece& line) {
  if (line.from == 0) {
    join.before = join.pieces.empty() ? 0 : join.pieces.back().last;
    join.first_ones.insert({{line.size, line.proof}, join.pieces.size()});
  }
  LogPiece& piece = join.pieces.emplace_back(line);
  piece.of = 0;
  piece.place = PlaceOf(join, line.place);
  piece.before = join.before;
  piece.copies.clear();
  piece.unopened.clear();
  TakeCopies(join, piece, line);
}

static LineJoined JoinPiece(PlanJoin& join, const LogPiece& line) {
  if (!IsNext(join, line)) {
    return LineJoined::kNotNext;
  }
  const bool first = line.from == 0 && !line.path.empty();
  if (first && !TakePaths(join, line)) {
    return LineJoined::kTwice;
  }
  GoToPlanOf(join, line);
  TakeUnopened(join, line);
  if (!line.path.empty()) {
    TakePiece(join, line);
  }
  join.last = line;
  join.any = true;
  return LineJoined::kTaken;
}

static LineJoined JoinCopy(PlanJoin& join, const LogPiece& line) {
  if (IsWithinLog(join)) {
    return LineJoined::kNotNext;
  }
  const auto original = join.first_ones.find({line.size, line.proof});
  if (line.from != 0 || line.path.empty() || line.proof == 0 || original == join.first_ones.end()) {
    return LineJoined::kNoCopy;
  }
  if (!TakePaths(join, line)) {
    return LineJoined::kTwice;
  }
  GoToPlanOf(join, line);
  TakeUnopened(join, line);
  LogPiece& piece = join.pieces[original->second];
  piece.copies.push_back({PlaceOf(join, line.place), line.path});
  TakeCopies(join, piece, line);
  return LineJoined::kTaken;
}

LineJoined JoinLine(PlanJoin& join, std::string_view line) {
  const bool copy = line.starts_with(kCopyLine);
  LogPiece piece;
  if (!ReadToken(line.substr(copy ? kCopyLine.size() : 0), piece) || !HasPlaces(join, piece)) {
    return LineJoined::kNoLine;
  }
  return copy ? JoinCopy(join, piece) : JoinPiece(join, piece);
}

// ---- The whole ----

static bool IsTooLong(const LogPiece& piece) {
  const bool may_be = !piece.copies.empty() || !piece.unopened.empty();
  return may_be && TokenOf(piece).size() > kLongestToken;
}

PlansJoined FinishJoin(PlanJoin& join) {
  if (!join.any) {
    return PlansJoined::kNone;
  }
  if (IsWithinLog(join)) {
    return PlansJoined::kCut;
  }
  if (join.pieces.empty()) {
    join.pieces.emplace_back();
  }
  join.pieces[0].unopened = join.unopened;
  NumberPieces(join.pieces);
  const bool too_long = std::any_of(join.pieces.begin(), join.pieces.end(), IsTooLong);
  return too_long ? PlansJoined::kTooLong : PlansJoined::kAll;
}
