// The extra header and footer texts of the report page.
#pragma once

#include "cgi/settings.h"

// Replace the text when level is at least that of the text held; an empty text
// counts as set.
void log_SetExtraHeader(Settings& settings, const char* text, int level);
void log_SetExtraFooter(Settings& settings, const char* text, int level);

// Releases both texts; may be called more than once in a run.
void EndOrvellisCleanup(Settings& settings);
