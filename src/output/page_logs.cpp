#include "output/page_logs.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string_view>

static LogsRead mLogs;
static bool mLinkedNames = false;

static std::string_view NameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

static void NameLog(char (&name)[kLogNameSize], const char* path) {
  char target[PATH_MAX];
  const ssize_t length = mLinkedNames ? readlink(path, target, sizeof target) : -1;
  CopyText(name, NameOf(length > 0 ? std::string_view(target, static_cast<size_t>(length)) : path));
}

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
    NameLog(mLogs.names[place], look.path);
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
