// The piece that piece= names, and the bytes of its log where stream= has them come by standard input.
#pragma once

#include "cgi/settings.h"
#include "superlog/log_pieces.h"

// Null without one, or where it is no such text. Reads the token from standard input where that holds it, the
// first time that it is asked for: a run shuts itself in knowing it.
const LogPiece* GivenPiece(const Settings& settings);

// Takes the bytes of its log where they come by standard input, the first time that it is called: from there
// on they stand for the file.
void TakeBytesOf(const LogPiece& piece, const Settings& settings);

// The piece, with a sentence where there is none; and also where its log is no longer the one of the plan, or
// came with other bytes.
const LogPiece* KnownPiece(const Settings& settings);
const LogPiece* PieceAsPlanned(const Settings& settings);
