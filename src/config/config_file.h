// Reads the configuration file: global keys, search engine definitions and the
// line of the requested user account.
//
// The file is read once, line by line, and each line takes effect when it is met.
// A line is a comment when it begins with "#" or ";", otherwise key=value: the
// key is compared ignoring case and the value taken as it stands, blanks included.
// Lines without "=" and unknown keys are ignored. A key's text is cut to its
// field.
#pragma once

#include "cgi/settings.h"

// Reads the file named by settings.config, or "orvellis.conf" in the working
// directory when that cannot be opened; settings.config keeps the name asked for.
// Returns whether the account named by settings.username was found. When neither
// file can be opened: false for the about and credits pages, and error page 9,
// which ends the run, otherwise.
bool ParseConfigFile(Settings& settings, const Environment& env);
