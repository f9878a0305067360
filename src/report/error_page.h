// Numbered error pages and the installation's error log.
#pragma once

#include "cgi/settings.h"

// Prints the complete error page and writes its error log line. Numbers without
// texts print the frame with an empty explanation.
void PrintErrorPage(int number, const Environment& env, const Settings& settings);

// Prints the error page and ends the process with status 0.
[[noreturn]] void ServerError(int number, const Environment& env, Settings& settings);

// Appends "[time] message" to the error log; does nothing when none is set or
// it cannot be opened.
void LogError(const Settings& settings, const char* message);
