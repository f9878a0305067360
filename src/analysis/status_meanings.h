// What the status codes of HTTP mean.
#pragma once

#include <cstddef>
#include <string_view>

inline constexpr size_t kStatuses = 600;          // those of HTTP are below, and from 1 on,
inline constexpr size_t kFirstErrorStatus = 400;  // errors from here on
inline constexpr int kNotFound = 404;

// The words of the registry of status codes (RFC 9110 and those that came later), and of servers for codes of
// their own; null of any other code, and of what is none.
const char* MeaningOfStatus(std::string_view status);
