// Numbered error pages and the installation's error log.
#pragma once

#include "cgi/settings.h"
#include "report/errors.h"

// Prints the complete error page to standard output and writes the error's line
// to the error log. A number without texts prints the page's frame only and logs
// nothing. Values of the request are printed as they stand, without escaping.
void PrintErrorPage(int number, const Environment& env, const Settings& settings);

// Prints the error page, releases the extra texts of the settings and ends the
// process with status 0, or 2 when the page could not be written. For other
// programs that link the library; tested, not used by orvellis.
[[noreturn]] void ServerError(int number, const Environment& env, Settings& settings);

// Appends "[%d/%b/%Y:%H:%M:%S] message" (local time) to the file ErrorLog. Does
// nothing, and says nothing, when none is set or it cannot be opened. The file is
// opened and closed for each message, so lines of concurrent runs stay whole. With
// settings.rules.own_links_only, a link that somebody else may have put there, hard or symbolic, is no file
// to be written.
void LogError(const Settings& settings, const char* message);
