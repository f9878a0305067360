#include "output/page_logs.h"

#include <algorithm>
#include <string_view>

static LogsRead mLogs;

static std::string_view NameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

static void NotOpened(const char*) {
  ++mLogs.not_opened;
}

static void TakeTimes(const LogLook& look) {
  const bool first = mLogs.count + mLogs.out_of_range == 0;
  mLogs.first = first ? look.first : std::min(mLogs.first, look.first);
  mLogs.last = first ? look.last : std::max(mLogs.last, look.last);
}

static void LookedAt(const LogLook& look) {
  if (look.verdict == LogVerdict::kNoLog) {
    return;
  }
  TakeTimes(look);
  if (look.verdict == LogVerdict::kOutOfRange) {
    ++mLogs.out_of_range;
    return;
  }
  const auto place = static_cast<size_t>(mLogs.count++);
  if (place < mLogs.names.size()) {
    CopyText(mLogs.names[place], NameOf(look.path));
  }
}

AnalysisEvents RememberLogs(void (*line_read)()) {
  mLogs = {};
  return {
      .logs = {.log_not_opened = NotOpened, .log_looked_at = LookedAt},
      .line_read = line_read,
  };
}

const LogsRead& RememberedLogs() {
  return mLogs;
}
