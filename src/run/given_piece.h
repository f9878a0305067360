// The pieces that piece= names, and the bytes of a log where stream= has them come by standard input.
#pragma once

#include <cstddef>
#include <vector>

#include "cgi/settings.h"
#include "superlog/log_pieces.h"

// So many one run counts at most; their lines come to so many bytes at most.
inline constexpr size_t kMostPieces = 8192;
inline constexpr size_t kMostOfPieces = size_t{4} << 20;

// Those that come one behind the other in a plan: of standard input all lines, where bytes= leaves it to
// them. None without any, or where they are others. Reads standard input the first time that it is asked: a
// run shuts itself in knowing them.
const std::vector<LogPiece>& GivenPieces(const Settings& settings);

// Where the bytes of its log come by standard input, has them stand for the file from the first time on that
// it is called.
void TakeBytesOf(const LogPiece& piece, const Settings& settings);

// The pieces, one at least; null, with a sentence, where there are none; and also where a log is no longer
// the one of the plan, or came with other bytes.
const std::vector<LogPiece>* KnownPieces(const Settings& settings);
const std::vector<LogPiece>* PiecesAsPlanned(const Settings& settings);

// Behind the last line of a piece: whether its bytes have come as it wants, with a sentence where they have
// not.
bool AllBytesCame(const LogPiece& piece);
