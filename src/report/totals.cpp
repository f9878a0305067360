#include "report/totals.h"

#include <cinttypes>
#include <cstdio>

#include "dates/days.h"
#include "sections/log_notes.h"
#include "sections/overview.h"
#include "superlog/superlog.h"

static void TellDays(const char* member, time_t first, time_t last) {
  const CalendarDate from = DayOf(first);
  const CalendarDate to = DayOf(last);
  fprintf(stderr, ", \"%s\": {\"first\": \"%04d-%02d-%02d\", \"last\": \"%04d-%02d-%02d\"}", member,
          from.year, from.month, from.day, to.year, to.month, to.day);
}

static int CountCopies() {
  int copies = 0;
  const void* place = nullptr;
  for (LogState log; SuperLog_NextState(place, log);) {
    copies += IsCopyOfLogInRange(log) ? 1 : 0;
  }
  return copies;
}

static void TellTotalsLine(const Settings& settings, const Analysis& analysis) {
  const Overview overview = OverviewOf(settings, analysis);
  fprintf(stderr,
          "{\"requests\": %" PRId64 ", \"bytes\": %" PRIu64 ", \"log_bytes\": %" PRIu64
          ", \"lines_not_understood\": %" PRId64 ", \"copies\": %d",
          overview.requests, overview.bytes_served, overview.log_bytes_read, overview.lines_not_understood,
          CountCopies());
  TellDays("days", analysis.range_first, analysis.range_last);
  time_t first = 0;
  time_t last = 0;
  if (SuperLog_TimesHeld(first, last)) {
    TellDays("logs", first, last);
  }
  fputs("}\n", stderr);
}

// Names of files may hold anything.
static void TellLog(LogNotes& notes, const LogState& log, bool linked_names) {
  NameLog(notes.name, log.path, linked_names);
  (IsNotUnderstood(log) ? TellLinesOfNone : TellLines)(notes, log, linked_names);
  MakePrintable(notes.name);
  fprintf(stderr, "%s%s: %s\n", notes.name, notes.detail, log.line);
}

static void TellLinesNotUnderstood(bool linked_names) {
  LogNotes notes{};
  for (LogState log; SuperLog_NextState(notes.place, log);) {
    if ((IsNotUnderstood(log) || HoldsNotUnderstood(log)) && notes.noted++ < kMostLogsNoted) {
      TellLog(notes, log, linked_names);
    }
  }
}

void TellTotals(const Settings& settings, const Analysis& analysis) {
  TellLinesNotUnderstood(settings.linked_names != 0);
  TellTotalsLine(settings, analysis);
}
