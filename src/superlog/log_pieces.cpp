#include "superlog/log_pieces.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "base/text_file.h"
#include "superlog/content_hash.h"
#include "superlog/given_log.h"
#include "superlog/log_cuts.h"
#include "superlog/log_files.h"
#include "superlog/log_list.h"
#include "superlog/log_parts.h"
#include "superlog/log_shares.h"
#include "superlog/superlog.h"

// ---- The plan ----

static constexpr ContentKey kPlanKey = {
    {0xb8e1afed6a267e96, 0xba7c9045f12c7f99, 0x24a19947b3916cf7, 0x0801f2e2858efc16}};  // digits of pi

static void AddToPlan(ContentHash& hash, const LogPiece& piece) {
  const int64_t figures[] = {static_cast<int64_t>(piece.size),  piece.first, piece.last,
                             static_cast<int64_t>(piece.proof), piece.from,  piece.to};
  hash = AddBlock(kPlanKey, hash, piece.path.data(), piece.path.size());
  hash = AddBlock(kPlanKey, hash, reinterpret_cast<const char*>(figures), sizeof figures);
}

// Of a log that comes by a stream the length shows in the end.
static bool IsAsLarge(int file, const LogPiece& piece) {
  struct stat status {};
  return IsStreamed(piece.path.c_str()) ||
         (fstat(file, &status) == 0 && static_cast<uint64_t>(status.st_size) >= piece.size);
}

static bool ReadAllAt(int file, const LogPiece& piece, char* bytes, size_t size, int64_t offset) {
  if (IsStreamed(piece.path.c_str())) {
    return ReadStreamed(bytes, size, offset) == size;
  }
  return pread(file, bytes, size, offset) == static_cast<ssize_t>(size);
}

// Of the first bytes of a log and of those before the piece. 0 where they cannot be read, or the log is
// smaller than it was.
static uint64_t ProofOf(const LogPiece& piece) {
  static constexpr uint64_t kMost = 4096;
  const int file = OpenLogFile(piece.path.c_str()).file;
  if (file < 0) {
    return 0;
  }
  char bytes[2 * kMost];
  const uint64_t first = std::min(piece.size, kMost);
  const uint64_t before = std::min(static_cast<uint64_t>(piece.from), kMost);
  const bool read = IsAsLarge(file, piece) && ReadAllAt(file, piece, bytes, first, 0) &&
                    ReadAllAt(file, piece, bytes + first, before, piece.from - static_cast<int64_t>(before));
  close(file);
  return read ? AddBlock(kPlanKey, {}, bytes, first + before).low : 0;
}

bool IsAsPlanned(const LogPiece& piece) {
  return piece.proof == 0 || ProofOf(piece) == piece.proof;
}

static std::vector<LogCopy> CopiesOf(const LogFile& log) {
  std::vector<LogCopy> copies;
  for (const LogFile* other = mpLogsRoot; other != nullptr; other = other->next) {
    if (other->original == &log) {
      copies.push_back({other->place, other->name});
    }
  }
  return copies;
}

static LogPiece PieceOf(const LogFile& log, const LogShare& share, time_t before) {
  LogPiece piece;
  piece.place = log.place;
  piece.path = log.name;
  piece.size = log.size;
  piece.first = log.first;
  piece.last = log.last;
  piece.before = before;
  piece.from = share.from.offset;
  piece.lead = share.from.lead;
  piece.to = share.to.log == log.place ? share.to.offset : kNoStop;
  if (piece.from == 0) {
    piece.copies = CopiesOf(log);
  }
  piece.proof = ProofOf(piece);
  return piece;
}

void NumberPieces(std::vector<LogPiece>& plan) {
  ContentHash hash{};
  for (const LogPiece& piece : plan) {
    AddToPlan(hash, piece);
  }
  for (size_t i = 0; i < plan.size(); ++i) {
    plan[i].plan = hash.low;
    plan[i].number = i;
    plan[i].count = plan.size();
  }
}

std::vector<LogPiece> PlanPieces(uint64_t size, Cuts cuts) {
  std::vector<LogPiece> plan;
  time_t before = 0;
  SuperLog_AskFor({});
  FindUnpackedCopies();
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    if (IsToBeRead(*log)) {
      for (const LogShare& share : CutLog(*log, size, cuts)) {
        plan.push_back(PieceOf(*log, share, before));
      }
      before = log->last;
    }
  }
  if (plan.empty()) {
    plan.emplace_back();
  }
  plan[0].unopened = LogsNotOpened();
  NumberPieces(plan);
  return plan;
}

// ---- Pieces that come next ----

bool GoesOn(const LogPiece& last, const LogPiece& next) {
  return next.plan == last.plan && next.of == last.of && next.number == last.number + 1 &&
         next.place == last.place && next.path == last.path && next.size == last.size &&
         next.from == last.to && next.copies.empty() && next.unopened.empty();
}

bool IsNextPiece(const LogPiece& last, const LogPiece& next) {
  if (last.to != kNoStop) {
    return next.count == last.count && GoesOn(last, next);
  }
  return next.plan == last.plan && next.count == last.count && next.number == last.number + 1 &&
         next.from == 0 && !next.path.empty() && !last.path.empty();
}

// ---- Taking them ----

struct Pieces {
  bool any;
  uint64_t plan;
  uint64_t count;
  uint64_t first;
  uint64_t next;
  ShareStates states;
};
static Pieces mPieces;
static bool mMissed = false;     // the pieces could not be read
static bool mAdded = false;      // pieces, or what is none of a plan, were added
static bool mContinues = false;  // what was added last begins within a log

void ForgetPieces() {
  mPieces = {};
  mMissed = mAdded = mContinues = false;
}

static void AddToList(const LogPiece& piece) {
  LogFile log = {};
  CopyText(log.name, piece.path);
  log.planned = piece.place;
  log.size = piece.size;
  log.first = piece.first;
  log.last = piece.last;
  log.state = kSeenOnDisk;
  log.plain = true;
  LogsListAdd(log);
  for (const LogCopy& found : piece.copies) {
    LogFile copy = {};
    CopyText(copy.name, found.path);
    copy.planned = found.place;
    copy.size = piece.size;
    copy.state = kSeenOnDisk;
    copy.plain = true;
    copy.original = FindLog(log.name);
    LogsListAdd(copy);
  }
}

static LogPlace EndOf(const LogPiece& piece) {
  const LogFile* const log = FindLog(piece.path.c_str());
  const size_t place = log == nullptr ? 0 : log->place;
  return piece.to == kNoStop ? LogPlace{place + 1, 0} : LogPlace{place, piece.to};
}

void TakePieces(const std::vector<LogPiece>& pieces) {
  const LogPiece& first = pieces.front();
  ForgetPieces();
  mPieces = {true, first.plan, first.count, first.number, pieces.back().number + 1, {}};
  for (const LogPiece& piece : pieces) {
    for (const std::string& path : piece.unopened) {
      NoteLogNotOpened(path.c_str());
    }
    if (!piece.path.empty()) {
      AddToList(piece);
    }
  }
  const LogFile* const log = FindLog(first.path.c_str());
  const LogPlace begin{log == nullptr ? 0 : log->place, first.from, first.lead};
  TakeShare({begin, EndOf(pieces.back())}, first.before);
}

void CountGivenLines() {
  const GivenLines* const lines = LinesOfGivenLog();
  if (lines == nullptr || mpLogsRoot == nullptr) {
    return;
  }
  mpLogsRoot->lines_counted = true;
  mpLogsRoot->lines = static_cast<uint64_t>(lines->within);
  if (mpLogsRoot->reading != nullptr) {
    NumberBehind(mpLogsRoot->reading->not_understood, -lines->before);
  }
}

static uint64_t BytesOf(const LogPiece& piece) {
  const auto from = static_cast<uint64_t>(piece.from);
  const uint64_t to = std::min(piece.size, static_cast<uint64_t>(piece.to));
  return to - std::min(from, to);
}

void MissPieces(const std::vector<LogPiece>& pieces) {
  TakePieces(pieces);
  mMissed = true;
  mPieces.states = StatesOfShare();
  mPieces.states.alone = mPieces.states.lost = true;
  for (const LogPiece& piece : pieces) {
    LogFile* const log = FindLog(piece.path.c_str());
    if (log != nullptr) {
      log->missing = true;
      log->missing_bytes += BytesOf(piece);
    }
  }
}

// ---- A piece in pieces ----

// The last of them is cut at a place, which becomes the beginning of another one.
static void CutLast(std::vector<LogPiece>& pieces, const LogPlace& place) {
  LogPiece next = pieces.back();
  pieces.back().to = place.offset;
  next.from = place.offset;
  next.lead = place.lead;
  next.copies.clear();
  next.unopened.clear();
  next.proof = ProofOf(next);
  pieces.push_back(std::move(next));
}

std::vector<LogPiece> CutPiece(const LogPiece& piece, uint64_t size, Cuts cuts) {
  std::vector<LogPiece> pieces{piece};
  pieces[0].of = piece.of == 0 ? piece.plan : piece.of;
  TakePieces({piece});
  SuperLog_AskFor({});
  if (!piece.path.empty()) {
    for (const LogShare& share : CutLog(*FindLog(piece.path.c_str()), size, cuts)) {
      if (share.from.offset > piece.from && share.from.offset < piece.to) {
        CutLast(pieces, share.from);
      }
    }
  }
  NumberPieces(pieces);
  return pieces;
}

// ---- From run to run ----

static void SaveState(PartWriter& part, const ReadState& state) {
  PutFigure(part, state.known ? 1 : 0);
  PutFigure(part, state.lines);
}

static ReadState TakeState(PartReader& part) {
  ReadState state;
  state.known = TakeFigureUpTo(part, 1) != 0;
  state.lines = TakeFigure(part);
  return state;
}

// How the last piece ends.
static constexpr uint64_t kRead = 0;
static constexpr uint64_t kEnded = 1;  // its log has ended before it
static constexpr uint64_t kLost = 2;   // nobody has read it

void SavePieces(PartWriter& part) {
  PutFigure(part, mPieces.any ? 1 : 0);
  if (!mPieces.any) {
    return;
  }
  const ShareStates states = mAdded || mMissed ? mPieces.states : StatesOfShare();
  PutFigure(part, mPieces.plan);
  PutFigure(part, mPieces.count);
  PutFigure(part, mPieces.first);
  PutFigure(part, mPieces.next);
  PutFigure(part, states.alone ? 1 : 0);
  PutFigure(part, states.within ? 1 : 0);
  SaveState(part, states.before);
  SaveState(part, states.after);
  PutFigure(part, states.ended ? kEnded : states.lost ? kLost : kRead);
}

// How pieces follow on those that were added.
static PiecesAdded Judge(const Pieces& next) {
  if (next.any != mPieces.any || next.plan != mPieces.plan || next.count != mPieces.count) {
    return PiecesAdded::kOtherPlan;
  }
  if (!next.any) {
    return PiecesAdded::kAll;
  }
  if (next.first != mPieces.next) {
    return PiecesAdded::kNotNext;
  }
  return Follows(mPieces.states, next.states) ? PiecesAdded::kAll : PiecesAdded::kApart;
}

static Pieces TakePieces(PartReader& part) {
  Pieces pieces{};
  pieces.any = TakeFigureUpTo(part, 1) != 0;
  if (pieces.any) {
    pieces.plan = TakeFigure(part);
    pieces.count = TakeFigure(part);
    pieces.first = TakeFigure(part);
    pieces.next = TakeFigure(part);
    pieces.states.alone = TakeFigureUpTo(part, 1) != 0;
    pieces.states.within = TakeFigureUpTo(part, 1) != 0;
    pieces.states.before = TakeState(part);
    pieces.states.after = TakeState(part);
    const uint64_t end = TakeFigureUpTo(part, kLost);
    pieces.states.ended = end == kEnded;
    pieces.states.lost = end == kLost;
  }
  if (pieces.first > pieces.next || pieces.next > pieces.count) {
    MarkDamaged(part);
  }
  return pieces;
}

AddedPieces AddSavedPieces(PartReader& part) {
  const Pieces next = TakePieces(part);
  AddedPieces result{PiecesAdded::kDamaged, next.first + 1, mPieces.next + 1, next.count};
  if (part.damaged) {
    return result;
  }
  result.added = mAdded ? Judge(next) : PiecesAdded::kAll;
  if (result.added == PiecesAdded::kAll) {
    const ShareStates before = mPieces.states;
    const uint64_t first = mAdded ? mPieces.first : next.first;
    mPieces = next;
    mPieces.first = first;
    if (mAdded) {
      mPieces.states.before = before.before;
      mPieces.states.alone = before.alone;
      mPieces.states.within = before.within;
    }
    mContinues = mAdded && next.states.within;
    mAdded = true;
  }
  return result;
}

bool ArePiecesOfAPlan() {
  return mPieces.any;
}

bool BeginWithinLog() {
  return mContinues;
}

void OrderLogsOfPieces() {
  if (mPieces.any) {
    OrderAsPlanned();
  }
}

bool LacksPieces(AddedPieces& missing) {
  missing = {PiecesAdded::kNotNext, mPieces.first + 1, mPieces.next + 1, mPieces.count};
  if (mPieces.first > 0) {
    missing.wanted = 1;
  }
  return mPieces.any && (mPieces.first > 0 || mPieces.next < mPieces.count);
}
