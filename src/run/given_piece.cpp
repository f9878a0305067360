#include "run/given_piece.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "parts/piece_token.h"
#include "run/part_sentences.h"
#include "superlog/given_log.h"

static std::string ReadTokenOf(const Settings& settings) {
  if (!IsStandard(settings.piece)) {
    return settings.piece;
  }
  std::string token;
  for (int c = getchar(); c != EOF && c != '\n' && token.size() <= kLongestToken; c = getchar()) {
    token += static_cast<char>(c);
  }
  return token;
}

const LogPiece* GivenPiece(const Settings& settings) {
  static LogPiece piece;
  static bool known = false;
  static bool read = false;
  if (!read && settings.piece != nullptr) {
    known = ReadToken(ReadTokenOf(settings), piece);
    read = true;
  }
  return known ? &piece : nullptr;
}

const LogPiece* KnownPiece(const Settings& settings) {
  const LogPiece* const piece = GivenPiece(settings);
  if (piece == nullptr) {
    Refuse("piece= is no piece that plan= has named");
  }
  return piece;
}

// ---- Its bytes ----

struct TakenBytes {
  bool taken = false;
  LogGiven given = LogGiven::kAll;
  int error = 0;
};
static TakenBytes mBytes;

void TakeBytesOf(const LogPiece& piece, const Settings& settings) {
  if (settings.stream == nullptr || mBytes.taken || piece.path.empty()) {
    return;
  }
  mBytes.taken = true;
  mBytes.given = TakeGivenLog(stdin, piece);
  mBytes.error = errno;
}

static bool AllBytesCame(const PartName& log) {
  switch (mBytes.given) {
    case LogGiven::kTooShort:
      return RefusePart(log, "came with fewer bytes than its piece wants");
    case LogGiven::kTooLong:
      return RefusePart(log, "came with more bytes than its piece wants");
    case LogGiven::kNotKept:
      fprintf(stderr, "orvellis: the bytes of %s could not be kept: %s\n", log.text, strerror(mBytes.error));
      return false;
    default:
      return true;
  }
}

const LogPiece* PieceAsPlanned(const Settings& settings) {
  const LogPiece* const piece = KnownPiece(settings);
  if (piece == nullptr) {
    return nullptr;
  }
  TakeBytesOf(*piece, settings);
  const PartName log{piece->path.c_str(), 1};
  const bool fits = AllBytesCame(log) && (IsAsPlanned(*piece) ||
                                          RefusePart(log, "is no longer the log of which the plan was made"));
  return fits ? piece : nullptr;
}
