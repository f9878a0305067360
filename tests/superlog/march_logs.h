// Times and lines of March 2000, in which the logs of several tests lie.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "support/account_logs.h"

inline constexpr time_t kDay = 86400;
inline constexpr time_t kMarch = 951868800;
inline constexpr time_t kApril = kMarch + 31 * kDay;

// Lines that differ, each ended so.
inline std::string LinesOfMarch(int count, const std::string& end = "\n",
                                const std::string& time = "05/Mar/2000:10:00:00") {
  std::string text;
  for (int i = 0; i < count; ++i) {
    const std::string line = ToText({.time = time, .url = "/" + std::to_string(i)});
    text += line.substr(0, line.size() - 1) + end;
  }
  return text;
}
