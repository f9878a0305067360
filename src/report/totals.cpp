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

static int CountLogs(LogTest* test) {
  int logs = 0;
  const void* place = nullptr;
  for (LogState log; SuperLog_NextState(place, log);) {
    logs += test(log) ? 1 : 0;
  }
  return logs;
}

static void TellTotalsLine(const Settings& settings, const Analysis& analysis) {
  const Overview overview = OverviewOf(settings, analysis);
  fprintf(stderr,
          "{\"requests\": %" PRId64 ", \"bytes\": %" PRIu64 ", \"log_bytes\": %" PRIu64
          ", \"lines_not_understood\": %" PRId64 ", \"copies\": %d, \"not_unpacked\": %d",
          overview.requests, overview.bytes_served, overview.log_bytes_read, overview.lines_not_understood,
          CountLogs(IsCopyOfLogInRange), CountLogs(LacksLibrary));
  TellDays("days", analysis.range_first, analysis.range_last);
  time_t first = 0;
  time_t last = 0;
  if (SuperLog_TimesHeld(first, last)) {
    TellDays("logs", first, last);
  }
  fputs("}\n", stderr);
}

// What is told of logs, each of them in a line of its own.
static constexpr struct {
  LogTest* test;
  LogDetail* detail;
  bool with_line;  // the first one that was not understood
} kTold[] = {
    {IsMissing, TellMissing, false},       {LacksLibrary, TellLibrary, false},
    {IsDamaged, TellDamage, false},        {IsNotUnderstood, TellLinesOfNone, true},
    {HoldsNotUnderstood, TellLines, true},
};

// Names of files may hold anything.
static void TellLog(LogNotes& notes, const LogState& log, bool linked_names) {
  for (const auto& told : kTold) {
    if (told.test(log)) {
      NameLog(notes.name, log.path, linked_names);
      told.detail(notes, log, linked_names);
      MakePrintable(notes.name);
      fprintf(stderr, "%s%s%s%s\n", notes.name, notes.detail, told.with_line ? ": " : "",
              told.with_line ? log.line : "");
      ++notes.noted;
    }
  }
}

static void TellLogs(bool linked_names) {
  LogNotes notes{};
  for (LogState log; notes.noted < kMostLogsNoted && SuperLog_NextState(notes.place, log);) {
    TellLog(notes, log, linked_names);
  }
}

void TellTotals(const Settings& settings, const Analysis& analysis) {
  TellLogs(settings.linked_names != 0);
  TellTotalsLine(settings, analysis);
}
