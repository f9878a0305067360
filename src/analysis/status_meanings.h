// What the status codes of HTTP mean.
#pragma once

#include <string_view>

// The words of the registry of status codes (RFC 9110 and those that came later), and of servers for codes of
// their own; null of any other code, and of what is none.
const char* MeaningOfStatus(std::string_view status);
