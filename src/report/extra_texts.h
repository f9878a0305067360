// The extra header and footer texts of the report page: heap copies owned by the
// settings record, each remembered together with the level of its source.
#pragma once

#include "cgi/settings.h"

// Replace the text by a copy when level is at least that of the source of the
// text held; otherwise leave it. An empty text counts as set. Where the copy
// gets no memory the run ends.
void log_SetExtraHeader(Settings& settings, const char* text, int level);
void log_SetExtraFooter(Settings& settings, const char* text, int level);

// Releases both texts, clears their pointers and forgets their levels; may be
// called more than once in a run.
void EndOrvellisCleanup(Settings& settings);
