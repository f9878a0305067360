#include "superlog/log_probe.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "base/text_file.h"
#include "superlog/byte_scan.h"
#include "superlog/date_guess.h"
#include "superlog/line_reader.h"
#include "superlog/log_events.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"

// Bytes looked at in one step back from the end. Of longer lines more, because
// the rest of a line that begins in a stretch is read with it.
static constexpr size_t kShortStretch = 2000;
static_assert(kShortStretch <= kLongestLine);
static char mStretchBuf[2 * kLongestLine + 1 + kScanOverread];

static bool IsTime(time_t when) {
  return when != 0 && when != -1;
}

static time_t FindFirstDate() {
  for (ReadLine(); mLineLen > 0; ReadLine()) {
    // deliberate: a single "!" is a header here, but not when reading backwards
    if (*mpLine != '#' && *mpLine != '!') {
      const time_t when = GuessDateTimeFromLine();
      if (IsTime(when)) {
        return when;
      }
    }
  }
  return 0;
}

static char* FindEol(char* from, char* end) {
  return FindEither(from, end, '\r', '\n');
}

static char* SkipEols(char* from, const char* end) {
  while (from < end && (*from == '\r' || *from == '\n')) {
    ++from;
  }
  return from;
}

// The time of a line, which ends at its first NUL at the latest.
static time_t DateOfLine(char* line, size_t length) {
  line[std::min(length, mLogLimits.line)] = '\0';
  return strncmp(line, "#", 1) == 0 || strncmp(line, "!!", 2) == 0 ? 0 : GuessDateTimeFromText(line);
}

// The time of the last dated line that begins in the stretch of the given
// length, 0 when there is none. What precedes the first end of line belongs to a
// line that began before. An empty line at the end of the stretch makes the line
// behind it count, too; when more empty lines lie between, that line was looked
// at with the stretch behind this one, in vain, and is left out.
static time_t FindLastDateInStretch(char* const stretch, int64_t length, char* const end) {
  char* const stretch_end = std::min(stretch + length, end);
  time_t last = 0;
  char* line = FindEol(stretch, end) + 1;
  while (line < stretch_end) {
    line = SkipEols(line, end);
    if (line > stretch_end || line == end) {
      break;
    }
    char* const line_end = FindEol(line, end);
    const time_t when = DateOfLine(line, static_cast<size_t>(line_end - line));
    if (IsTime(when)) {
      last = when;
    }
    line = line_end + 1;
  }
  return last;
}

static time_t FindLastDate(int file, int64_t size) {
  const size_t stretch = std::max(kShortStretch, mLogLimits.line);
  for (int64_t end = size; end > 0;) {
    const int64_t start = std::max<int64_t>(end - static_cast<int64_t>(stretch), 0);
    const ssize_t got = pread(file, mStretchBuf, stretch + mLogLimits.line + 1, start);
    if (got > 0) {
      const time_t last = FindLastDateInStretch(mStretchBuf, end - start, mStretchBuf + got);
      if (last != 0) {
        return last;
      }
    }
    end = start;
  }
  return 0;
}

static time_t FindLastDateOf(const char* path, int64_t size) {
  const int file = OpenToRead(path).file;
  const time_t last = file < 0 ? 0 : FindLastDate(file, size);
  if (file >= 0) {
    close(file);
  }
  return last;
}

void GetLogFileDateRange(LogFile& log, int64_t size) {
  ResetFileFormat();
  log.first = log.last = 0;
  if (!OpenLog(log.name)) {
    if (mLogEvents.log_not_opened != nullptr) {
      mLogEvents.log_not_opened(log.name);
    }
    return;
  }
  log.first = FindFirstDate();
  CloseLog();
  if (log.first != 0) {
    // The first line is never looked at from the end, so that a file of one line ends where it begins.
    const time_t last = FindLastDateOf(log.name, size);
    log.last = last != 0 ? last : log.first;
  }
}
