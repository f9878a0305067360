#include "run/given_piece.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "parts/piece_token.h"
#include "run/part_sentences.h"
#include "superlog/given_log.h"

// ---- Lines ----

enum class PieceTaken {
  kYes,
  kNoPiece,  // that plan= has named
  kNotNext,  // behind the one before it
  kTwice,    // a log of that path stands in one before it
  kTooMany,
};

struct TakenPieces {
  bool read = false;
  std::vector<LogPiece> pieces;
  std::unordered_set<std::string> paths;  // of their logs and of copies
  size_t bytes = 0;                       // of their lines
  uint64_t line = 0;                      // the last one
  PieceTaken taken = PieceTaken::kNoPiece;
};
static TakenPieces mTaken;

// False where one of both was taken before.
static bool TakePaths(const LogPiece& piece) {
  bool taken = mTaken.paths.insert(piece.path).second;
  for (const LogCopy& copy : piece.copies) {
    taken = mTaken.paths.insert(copy.path).second && taken;
  }
  return taken;
}

static PieceTaken TakePiece(std::string_view line) {
  LogPiece piece;
  std::vector<LogPiece>& pieces = mTaken.pieces;
  mTaken.bytes += line.size();
  if (pieces.size() == kMostPieces || mTaken.bytes > kMostOfPieces) {
    return PieceTaken::kTooMany;
  }
  if (!ReadToken(line, piece)) {
    return PieceTaken::kNoPiece;
  }
  if (!pieces.empty() && !IsNextPiece(pieces.back(), piece)) {
    return PieceTaken::kNotNext;
  }
  const bool other_log = pieces.empty() || piece.from == 0;
  if (other_log && !TakePaths(piece)) {
    return PieceTaken::kTwice;
  }
  pieces.push_back(std::move(piece));
  return PieceTaken::kYes;
}

static bool ReadPieceLine(std::string& line) {
  line.clear();
  int c = getchar();
  for (; c != EOF && c != '\n'; c = getchar()) {
    if (line.size() <= kLongestToken) {
      line += static_cast<char>(c);
    }
  }
  return c != EOF || !line.empty();
}

static void TakeLines(bool one) {
  std::string line;
  do {
    if (!ReadPieceLine(line)) {
      return;
    }
    ++mTaken.line;
    mTaken.taken = TakePiece(line);
  } while (mTaken.taken == PieceTaken::kYes && !one);
}

const std::vector<LogPiece>& GivenPieces(const Settings& settings) {
  if (!mTaken.read && settings.piece != nullptr) {
    mTaken.read = true;
    if (IsStandard(settings.piece)) {
      TakeLines(settings.stream != nullptr);
    } else {
      mTaken.line = 1;
      mTaken.taken = TakePiece(settings.piece);
    }
    if (mTaken.taken != PieceTaken::kYes) {
      mTaken.pieces.clear();
    }
  }
  return mTaken.pieces;
}

static bool RefuseLine(const char* why) {
  fprintf(stderr, "orvellis: line %" PRIu64 " of the pieces %s\n", mTaken.line, why);
  return false;
}

static bool RefusePieces() {
  switch (mTaken.taken) {
    case PieceTaken::kNotNext:
      return RefuseLine("does not come next behind the one before it");
    case PieceTaken::kTwice:
      return RefuseLine("names a log that stands in one before it, too");
    case PieceTaken::kTooMany:
      return RefuseLine("is more than one run takes");
    default:
      return mTaken.line > 1 ? RefuseLine("is no piece that plan= has named")
                             : Refuse("piece= is no piece that plan= has named");
  }
}

const std::vector<LogPiece>* KnownPieces(const Settings& settings) {
  const std::vector<LogPiece>& pieces = GivenPieces(settings);
  if (pieces.empty()) {
    RefusePieces();
    return nullptr;
  }
  return &pieces;
}

// ---- Its bytes ----

static bool mBytesTaken = false;
static int mBytesError = 0;

void TakeBytesOf(const LogPiece& piece, const Settings& settings) {
  if (settings.stream == nullptr || mBytesTaken || piece.path.empty()) {
    return;
  }
  mBytesTaken = true;
  TakeGivenLog(stdin, piece);
  mBytesError = errno;
}

static bool RefuseUnlessAll(LogGiven given, const PartName& log) {
  switch (given) {
    case LogGiven::kPassed:
      return RefusePart(log, "begins too far behind its lead to come by a stream");
    case LogGiven::kTooShort:
      return RefusePart(log, "came with fewer bytes than its piece wants");
    case LogGiven::kTooLong:
      return RefusePart(log, "came with more bytes than its piece wants");
    case LogGiven::kNotKept:
      fprintf(stderr, "orvellis: the bytes of %s could not be kept: %s\n", log.text, strerror(mBytesError));
      return false;
    default:
      return true;
  }
}

static bool FitsItsLog(const LogPiece& piece) {
  const PartName log{piece.path.c_str(), 1};
  const bool planned = IsAsPlanned(piece);
  return RefuseUnlessAll(GivenSoFar(), log) &&
         (planned || RefusePart(log, "is no longer the log of which the plan was made"));
}

bool AllBytesCame(const LogPiece& piece) {
  return RefuseUnlessAll(EndGivenLog(), {piece.path.c_str(), 1});
}

const std::vector<LogPiece>* PiecesAsPlanned(const Settings& settings) {
  const std::vector<LogPiece>* const pieces = KnownPieces(settings);
  if (pieces == nullptr) {
    return nullptr;
  }
  TakeBytesOf(pieces->front(), settings);
  return std::all_of(pieces->begin(), pieces->end(), FitsItsLog) ? pieces : nullptr;
}
