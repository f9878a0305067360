#include "output/page_logs.h"

#include <algorithm>

static LogsRead mLogs;
static bool mLinkedNames = false;

// The lines of a log may stand in any order.
static void TakeTimes(const LogLook& look) {
  const auto [earlier, later] = std::minmax(look.first, look.last);
  const bool first = mLogs.count + mLogs.out_of_range == 0;
  mLogs.first = first ? earlier : std::min(mLogs.first, earlier);
  mLogs.last = first ? later : std::max(mLogs.last, later);
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
    NameLog(mLogs.names[place], look.path, mLinkedNames);
  }
}

AnalysisEvents RememberLogs(bool linked_names, void (*line_read)()) {
  mLogs = {};
  mLinkedNames = linked_names;
  return {
      .logs = {.log_looked_at = LookedAt},
      .line_read = line_read,
  };
}

const LogsRead& RememberedLogs() {
  return mLogs;
}
