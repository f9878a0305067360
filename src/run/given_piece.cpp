#include "run/given_piece.h"

#include <cstdio>
#include <string>

#include "parts/piece_token.h"
#include "run/part_sentences.h"

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

const LogPiece* GivenPieceAsPlanned(const Settings& settings) {
  const LogPiece* const piece = GivenPiece(settings);
  if (piece == nullptr) {
    Refuse("piece= is no piece that plan= has named");
    return nullptr;
  }
  if (!IsAsPlanned(*piece)) {
    RefusePart({piece->path.c_str(), 1}, "is no longer the log of which the plan was made");
    return nullptr;
  }
  return piece;
}
