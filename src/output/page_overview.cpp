#include "output/page_overview.h"

#include "dates/clock.h"
#include "dates/days.h"
#include "dates/zone.h"
#include "output/escape.h"
#include "output/moments.h"
#include "output/other_days.h"
#include "output/page_cells.h"
#include "output/page_sections.h"
#include "output/svg.h"
#include "output/words.h"
#include "sections/notes.h"
#include "sections/overview.h"
#include "sections/section_list.h"
#include "sections/section_rows.h"

// ---- Days ----------------------------------------------------------------------------

static void PutTime(Sink& sink, const CalendarDate& day) {
  Put(sink, "<time>");
  PutDay(sink, day);
  Put(sink, "</time>");
}

// Where nothing but text may stand, as in a title.
static void PutPlainDays(Sink& sink, const DayRange& days) {
  PutDay(sink, days.first);
  if (days.first != days.last) {
    Put(sink, " to ");
    PutDay(sink, days.last);
  }
}

static DayRange RangeOf(const Analysis& analysis) {
  return {DayOf(analysis.range_first), DayOf(analysis.range_last)};
}

// ---- Head ----------------------------------------------------------------------------

void PutTitle(Sink& sink, const Settings& settings, const Analysis& analysis) {
  PutAttribute(sink, settings.title);
  Put(sink, ": ");
  PutPlainDays(sink, RangeOf(analysis));
}

static void PutMade(Sink& sink, time_t made) {
  Put(sink, "<div><dt>Made</dt> <dd><time datetime=\"");
  PutMoment(sink, made);
  Put(sink, "\">");
  PutDay(sink, DayOf(made));
  Put(sink, " ");
  PutClock(sink, made);
  Put(sink, "</time></dd></div>\n<div><dt>Time zone</dt> <dd>");
  PutHtml(sink, ZoneName(made));
  Put(sink, "</dd></div>\n");
}

static void PutLogs(Sink& sink, const LogsRead& logs, uint64_t bytes) {
  Put(sink, "<div><dt>From</dt> <dd>");
  if (logs.count == 0) {
    Put(sink, "no log</dd></div>\n");
    return;
  }
  PutCounted(sink, logs.count, "log", "logs");
  Put(sink, ", ");
  PutByteSize(sink, bytes);
  for (int i = 0; i < logs.count && i < static_cast<int>(kMostLogsNamed); ++i) {
    Put(sink, i == 0 ? Literal(": ") : Literal(", "));
    PutItemText(sink, logs.names[static_cast<size_t>(i)], nullptr);
  }
  if (logs.count > static_cast<int>(kMostLogsNamed)) {
    Put(sink, " and ");
    PutGrouped(sink, logs.count - static_cast<int>(kMostLogsNamed));
    Put(sink, " more");
  }
  Put(sink, "</dd></div>\n");
}

static bool HoldsAny(const LogsRead& logs) {
  return logs.count + logs.out_of_range > 0;
}

static DayRange DaysHeld(const LogsRead& logs) {
  return {DayOf(logs.first), DayOf(logs.last)};
}

static void PutOtherDays(Sink& sink, const Settings& settings, const Analysis& analysis,
                         const LogsRead& logs) {
  if (HoldsAny(logs)) {
    PutDayLinks(sink, settings, LinksFrom(RangeOf(analysis), DaysHeld(logs)));
  }
}

void PutReportHead(Sink& sink, const Settings& settings, const Analysis& analysis, const LogsRead& logs) {
  const Overview overview = OverviewOf(settings, analysis);
  Put(sink, "<header>\n");
  if (overview.url[0] != '\0') {
    Put(sink, "<p class=\"site\">");
    PutItemText(sink, overview.url, "");
    Put(sink, "</p>\n");
  }
  Put(sink, "<h1>");
  PutItemText(sink, overview.title, nullptr);
  Put(sink, "</h1>\n<p class=\"days\">");
  PutDays(sink, RangeOf(analysis));
  if (analysis.comparison.asked) {
    Put(sink, " <span class=\"versus\">compared with ");
    PutDays(sink, analysis.comparison.days);
    Put(sink, "</span>");
  }
  Put(sink, "</p>\n<dl class=\"facts\">\n");
  PutMade(sink, MomentMade(overview.made));
  PutLogs(sink, logs, overview.log_bytes_read);
  Put(sink, "</dl>\n");
  PutOtherDays(sink, settings, analysis, logs);
  Put(sink, "</header>\n");
}

// ---- Contents ------------------------------------------------------------------------

void PutContents(Sink& sink, const Settings& settings) {
  Put(sink,
      "<nav aria-labelledby=\"contents\">\n<h2 id=\"contents\">Contents</h2>\n<ul>\n"
      "<li><a href=\"#overview\">Overview</a></li>\n");
  PutSectionLinks(sink, settings);
  Put(sink, "</ul>\n</nav>\n");
}

// ---- Figures that matter -------------------------------------------------------------

static void BeginTile(Sink& sink, const Literal& name) {
  Put(sink, "<div><dt>");
  Put(sink, name);
  Put(sink, "</dt><dd class=\"figure\">");
}

static void BeginDetail(Sink& sink) {
  Put(sink, "</dd><dd>");
}

static void EndTile(Sink& sink) {
  Put(sink, "</dd></div>\n");
}

// How a figure that is compared has changed, and whether it is to be told what it was.
static bool BeginChange(Sink& sink, int64_t now, int64_t before) {
  BeginDetail(sink);
  const bool more = PutChange(sink, now, before);
  Put(sink, more ? Literal(", before ") : Literal(""));
  return more;
}

static void PutRequestsTile(Sink& sink, int64_t requests, int64_t days, const Comparison& comparison) {
  BeginTile(sink, "Requests");
  PutGrouped(sink, requests);
  if (comparison.asked && BeginChange(sink, requests, comparison.requests)) {
    PutGrouped(sink, comparison.requests);
  }
  const double average = Share(requests, days);
  if (days > 1 && average >= 0.1) {
    BeginDetail(sink);
    if (average < 10) {
      PutDecimal(sink, average, 1);
    } else {
      PutGrouped(sink, Rounded(average));
    }
    Put(sink, " a day");
  }
  EndTile(sink);
}

static void PutVisitorsTile(Sink& sink, const VisitFigures& figures) {
  BeginTile(sink, "Visitors");
  PutGrouped(sink, figures.visitors);
  BeginDetail(sink);
  PutCounted(sink, figures.visits, "visit", "visits");
  EndTile(sink);
}

static void PutBytesTile(Sink& sink, uint64_t bytes, const Comparison& comparison) {
  BeginTile(sink, "Data served");
  PutByteSize(sink, bytes);
  if (comparison.asked && BeginChange(sink, static_cast<int64_t>(bytes), comparison.bytes)) {
    PutByteSize(sink, static_cast<uint64_t>(comparison.bytes));
  }
  if (bytes >= 1000) {
    BeginDetail(sink);
    PutGroupedSize(sink, bytes);
    Put(sink, " bytes");
  }
  EndTile(sink);
}

// The busiest day is known where days are counted.
static SectionRow BusiestDay(const Settings& settings, Analysis& analysis) {
  SectionRow busiest{};
  if (settings.dailytotals == 0) {
    return busiest;
  }
  SectionRows rows;
  OpenSection(rows, settings, SectionOf(SectionId::kDays), analysis);
  for (SectionRow row; NextRow(rows, row);) {
    if (row.count > busiest.count) {
      busiest = row;
    }
  }
  return busiest;
}

static void PutDaysTile(Sink& sink, int64_t days, const CalendarDate& first, const SectionRow& busiest) {
  BeginTile(sink, "Days");
  PutGrouped(sink, days);
  if (days == 1) {
    BeginDetail(sink);
    Put(sink, NameOfWeekday(WeekdayOfDay(NumberOfDay(first))));
  }
  if (busiest.count > 0 && days > 1) {
    BeginDetail(sink);
    Put(sink, "most on ");
    PutTime(sink, busiest.date);
    Put(sink, ": ");
    PutGrouped(sink, busiest.count);
  }
  EndTile(sink);
}

static void PutErrorsTile(Sink& sink, const Overview& overview, const Comparison& comparison) {
  BeginTile(sink, "Errors");
  PutShare(sink, Share(overview.errors, overview.with_status));
  if (comparison.asked && BeginChange(sink, overview.errors, comparison.errors)) {
    PutGrouped(sink, comparison.errors);
    Put(sink, " (");
    PutShare(sink, Share(comparison.errors, comparison.with_status));
    Put(sink, ")");
  }
  BeginDetail(sink);
  PutCounted(sink, overview.errors, "answer", "answers");
  Put(sink, ", 4xx or 5xx");
  EndTile(sink);
}

static void PutNotFoundTile(Sink& sink, Analysis& analysis) {
  const int64_t count = TotalList(analysis.badurls.list);
  const int64_t before = analysis.comparison.not_found;
  BeginTile(sink, "Not found");
  PutGrouped(sink, count);
  if (analysis.comparison.asked && BeginChange(sink, count, before)) {
    PutGrouped(sink, before);
  }
  BeginDetail(sink);
  PutCounted(sink, static_cast<int64_t>(list_length(analysis.badurls.list)), "URL", "URLs");
  if (analysis.hits > 0) {
    Put(sink, ", ");
    PutShare(sink, Share(count, analysis.hits));
    Put(sink, " of the requests");
  }
  EndTile(sink);
}

static void PutTiles(Sink& sink, const Settings& settings, const Overview& overview, Analysis& analysis) {
  SectionRows days;
  OpenSection(days, settings, SectionOf(SectionId::kDays), analysis);
  Put(sink, "<dl class=\"tiles\">\n");
  PutRequestsTile(sink, overview.requests, days.distinct, analysis.comparison);
  if (IsSummedFrom(settings, SummedFrom::kVisits)) {
    PutVisitorsTile(sink, analysis.visit_figures);
  }
  PutBytesTile(sink, overview.bytes_served, analysis.comparison);
  PutDaysTile(sink, days.distinct, RangeOf(analysis).first, BusiestDay(settings, analysis));
  if (overview.with_status > 0) {
    PutErrorsTile(sink, overview, analysis.comparison);
  }
  if (IsOn(SectionOf(SectionId::kBadUrls), settings)) {
    PutNotFoundTile(sink, analysis);
  }
  Put(sink, "</dl>\n");
}

// ---- Notes ---------------------------------------------------------------------------

static void PutSubject(Sink& sink, const char* subject) {
  if (subject[0] != '\0') {
    Put(sink, "<bdi>");
    PutHtml(sink, subject);
    Put(sink, "</bdi>");
  }
}

static void PutNote(Sink& sink, const Note& note) {
  const NoteWords& words = WordsOf(note);
  Put(sink, "<li>");
  Put(sink, words.before);
  PutSubject(sink, note.subject);
  PutHtml(sink, note.detail);
  PutSubject(sink, note.other);
  Put(sink, words.behind);
  Put(sink, "</li>\n");
}

// Of an empty report: there may be days that it should have been of.
static bool TellsDaysHeld(const Analysis& analysis, const LogsRead& logs) {
  return analysis.hits == 0 && HoldsAny(logs);
}

static void PutNotesOfLogs(Sink& sink, const Analysis& analysis, const LogsRead& logs) {
  if (TellsDaysHeld(analysis, logs)) {
    Put(sink, analysis.logs.in_range ? Literal("<li>No request counts, though the logs hold records: ")
                                     : Literal("<li>The logs hold records of other days: "));
    PutDays(sink, DaysHeld(logs));
    Put(sink, analysis.logs.in_range ? Literal(".</li>\n") : Literal(". Ask for a report of these.</li>\n"));
  }
}

static void PutNotes(Sink& sink, const Settings& settings, const Analysis& analysis, const LogsRead& logs) {
  Notes notes = OpenNotes(settings, analysis);
  Note note;
  const bool any = NextNote(notes, note);
  if (!any && !TellsDaysHeld(analysis, logs)) {
    return;
  }
  Put(sink, "<ul class=\"notes\" aria-label=\"Notes\">\n");
  for (bool more = any; more; more = NextNote(notes, note)) {
    PutNote(sink, note);
  }
  PutNotesOfLogs(sink, analysis, logs);
  Put(sink, "</ul>\n");
}

void PutOverview(Sink& sink, const Settings& settings, Analysis& analysis, const LogsRead& logs) {
  const Overview overview = OverviewOf(settings, analysis);
  Put(sink,
      "<section id=\"overview\" aria-labelledby=\"overview-title\">\n<h2 "
      "id=\"overview-title\">Overview</h2>\n");
  if (overview.logs_in_range) {
    PutTiles(sink, settings, overview, analysis);
  }
  PutNotes(sink, settings, analysis, logs);
  Put(sink, "</section>\n");
}
