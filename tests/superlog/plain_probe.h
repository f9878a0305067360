// The search for the last date of a log as a plain reading of lines.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "superlog/date_guess.h"
#include "superlog/line_reader.h"
#include "superlog/log_limits.h"

inline time_t PlainLastDate(const std::string& path, int64_t size) {
  time_t last = 0;
  const auto stretch = static_cast<int64_t>(mLogLimits.line > 2000 ? mLogLimits.line : 2000);
  OpenLog(path.c_str());
  for (int64_t end = size; end > 0 && last == 0;) {
    const int64_t start = end > stretch ? end - stretch : 0;
    SeekLog(start);
    ReadRestOfLine();
    while (TellLog() <= end - 1) {
      ReadLine();
      if (mLineLen == 0) {
        break;
      }
      if (*mpLine == '#' || strncmp(mpLine, "!!", 2) == 0) {
        continue;
      }
      const time_t when = GuessDateTimeFromLine();
      if (when != 0 && when != -1) {
        last = when;
      }
    }
    end = start;
  }
  CloseLog();
  return last;
}
