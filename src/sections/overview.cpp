#include "sections/overview.h"

#include <iterator>
#include <numeric>

static int64_t CountFrom(const Analysis& analysis, size_t status) {
  return std::accumulate(analysis.statuses + status, std::end(analysis.statuses), int64_t{0});
}

Overview OverviewOf(const Settings& settings, const Analysis& analysis) {
  Overview overview{
      .title = settings.title,
      .url = settings.url,
      .find = settings.find,
      .first_day = {},
      .last_day = {},
      .made = analysis.ReportStartTime,
      .logs_in_range = analysis.logs.in_range,
      .requests = analysis.hits,
      .with_status = CountFrom(analysis, 1),
      .errors = CountFrom(analysis, kFirstErrorStatus),
      .bytes_served = SuperLongToBytes(analysis.bytes),
      .log_bytes_read = SuperLongToBytes(analysis.logs.bytes_read),
      .lines_not_understood = analysis.logs.lines_not_understood,
  };
  ParseDate(overview.first_day, overview.last_day, settings);
  return overview;
}

static const ListInfo* Thinned(const ListInfo* table) {
  while (table != nullptr && table->reclaimed == 0) {
    table = table->next;
  }
  return table;
}

const ListInfo* FirstThinnedTable(const Settings& settings, const Analysis& analysis) {
  return settings.SmartMemoryEnabled != 0 ? Thinned(analysis.tables) : nullptr;
}

const ListInfo* NextThinnedTable(const ListInfo& table) {
  return Thinned(table.next);
}
