// The piece that piece= names.
#pragma once

#include "cgi/settings.h"
#include "superlog/log_pieces.h"

// Null without one, or where it is no such text. Reads the token from standard input where that holds it, the
// first time that it is asked for: a run shuts itself in knowing it.
const LogPiece* GivenPiece(const Settings& settings);

// The same, and a sentence where there is none; and where the log is no longer the one of the plan.
const LogPiece* GivenPieceAsPlanned(const Settings& settings);
