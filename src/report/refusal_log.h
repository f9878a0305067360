// Lines of the error log that tell of a request in words that no request can forge.
#pragma once

#include <string_view>

#include "cgi/settings.h"

// Adds `[time] ADDRESS "account" sentence` to the error log, with ` "detail"` behind it
// unless that is empty. The account is the one that was asked for, the address the
// server's word for the visitor, "-" when there is none. In these and the detail
// characters that cannot be seen become "?", quotes and backslashes get a backslash.
void LogRequest(const Environment& env, const Settings& settings, const char* sentence,
                const char* detail = "");
