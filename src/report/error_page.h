// Numbered error pages and the installation's error log.
//
// Every fatal condition of a run ends here, raised by its number.
#pragma once

#include "cgi/settings.h"

// 3 and 12 are not used.
enum Error : int {
  kErrorNotPosted = 1,  // a GET request for a report
  kErrorRejected = 2,   // account unknown, or password rejected
  kErrorNoUrl = 4,      // the account has no url
  kErrorNoLogs = 5,     // the account has no logs
  kErrorNoStartDate = 6,
  kErrorDateRange = 7,  // start date after end date
  kErrorNoEndDate = 8,
  kErrorConfigFile = 9,     // configuration file cannot be opened
  kErrorPasswordFile = 10,  // password file cannot be opened
  kErrorNoLogFiles = 11,    // logs and AccessLog match no file
};

// Prints the complete error page to standard output and writes the error's line
// to the error log. A number without texts prints the page's frame only and logs
// nothing. Values of the request are printed as they stand, without escaping.
void PrintErrorPage(int number, const Environment& env, const Settings& settings);

// Prints the error page, releases the extra texts of the settings and ends the
// process with status 0, or 2 when the page could not be written.
[[noreturn]] void ServerError(int number, const Environment& env, Settings& settings);

// Appends "[%d/%b/%Y:%H:%M:%S] message" (local time) to the file ErrorLog. Does
// nothing, and says nothing, when none is set or it cannot be opened. The file is
// opened and closed for each message, so lines of concurrent runs stay whole.
void LogError(const Settings& settings, const char* message);
