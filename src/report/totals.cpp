#include "report/totals.h"

#include <cinttypes>
#include <cstdio>

#include "sections/overview.h"

void TellTotals(const Settings& settings, const Analysis& analysis) {
  const Overview overview = OverviewOf(settings, analysis);
  fprintf(stderr,
          "{\"requests\": %" PRId64 ", \"bytes\": %" PRIu64 ", \"log_bytes\": %" PRIu64
          ", \"lines_not_understood\": %" PRId64,
          overview.requests, overview.bytes_served, overview.log_bytes_read, overview.lines_not_understood);
  if (analysis.logs.damaged > 0) {
    fprintf(stderr, ", \"logs_damaged\": %" PRId64, analysis.logs.damaged);
  }
  fputs("}\n", stderr);
}
