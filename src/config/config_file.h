// Reads the configuration file: global keys, search engine definitions and the
// line of the requested user account.
#pragma once

#include "cgi/settings.h"

// Reads the file named by settings.config, or "orvellis.conf" in the working
// directory when that cannot be opened. Returns whether the account named by
// settings.username was found. When neither file can be opened: false for the
// about and credits pages, error page 9 otherwise.
bool ParseConfigFile(Settings& settings, const Environment& env);
