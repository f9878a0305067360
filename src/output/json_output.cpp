#include "output/json_output.h"

#include <cstdio>

#include "dates/clock.h"
#include "dates/zone.h"
#include "output/escape.h"
#include "output/links.h"
#include "output/moments.h"
#include "output/readable.h"
#include "output/sink.h"
#include "output/words.h"
#include "report/answer_head.h"
#include "report/refusal_texts.h"
#include "report/told_rows.h"
#include "sections/notes.h"
#include "sections/overview.h"
#include "sections/section_list.h"
#include "sections/section_rows.h"
#include "sections/status_rows.h"
#include "sections/visit_rows.h"

static constexpr int kShareDigits = 6;

// ---- The head ----------------------------------------------------------------------

static void PutNotes(Sink& sink, const Settings& settings, const Analysis& analysis) {
  Notes notes = OpenNotes(settings, analysis);
  bool first = true;
  for (Note note; NextNote(notes, note); first = false) {
    if (!first) {
      Put(sink, ",");
    }
    const NoteWords& words = WordsOf(note);
    Put(sink, "\n    {\"code\": ");
    PutJson(sink, words.name.text());
    Put(sink, ", \"text\": \"");
    PutJsonPart(sink, words.before.text());
    for (const char* const part : {note.subject, note.detail, note.other}) {
      PutJsonPart(sink, part);
    }
    PutJsonPart(sink, words.behind.text());
    Put(sink, "\"}");
  }
}

static void PutTotals(Sink& sink, const Overview& overview) {
  Put(sink, ",\n  \"totals\": {\"requests\": ");
  PutNumber(sink, overview.requests);
  Put(sink, ", \"bytes\": ");
  PutSize(sink, overview.bytes_served);
  Put(sink, ", \"log_bytes\": ");
  PutSize(sink, overview.log_bytes_read);
  Put(sink, ", \"lines_not_understood\": ");
  PutNumber(sink, overview.lines_not_understood);
  Put(sink, ", \"with_status\": ");
  PutNumber(sink, overview.with_status);
  Put(sink, ", \"errors\": ");
  PutNumber(sink, overview.errors);
  Put(sink, "}");
}

static void PutCompared(Sink& sink, const Comparison& comparison) {
  if (!comparison.asked) {
    return;
  }
  Put(sink, ",\n  \"compared\": {\"from\": \"");
  PutDay(sink, comparison.days.first);
  Put(sink, "\", \"to\": \"");
  PutDay(sink, comparison.days.last);
  Put(sink, "\", \"requests\": ");
  PutNumber(sink, comparison.requests);
  Put(sink, ", \"bytes\": ");
  PutNumber(sink, comparison.bytes);
  Put(sink, ", \"with_status\": ");
  PutNumber(sink, comparison.with_status);
  Put(sink, ", \"errors\": ");
  PutNumber(sink, comparison.errors);
  Put(sink, "}");
}

static void PutHead(Sink& sink, const Settings& settings, const Analysis& analysis) {
  const Overview overview = OverviewOf(settings, analysis);
  const time_t made = MomentMade(overview.made);
  Put(sink, "{\n  \"format\": 1,\n  \"program\": {\"name\": \"Orvellis\", \"version\": ");
  PutJson(sink, kVersion);
  Put(sink, ", \"edition\": \"modern\"},\n  \"title\": ");
  PutJson(sink, overview.title);
  Put(sink, ",\n  \"site\": ");
  PutJson(sink, overview.url);
  Put(sink, ",\n  \"created\": \"");
  PutMoment(sink, made);
  Put(sink, "\",\n  \"timezone\": ");
  PutJson(sink, ZoneName(made));
  Put(sink, ",\n  \"range\": {\"from\": \"");
  PutDay(sink, DayOf(analysis.range_first));
  Put(sink, "\", \"to\": \"");
  PutDay(sink, DayOf(analysis.range_last));
  Put(sink, "\"}");
  PutTotals(sink, overview);
  PutCompared(sink, analysis.comparison);
  Put(sink, ",\n  \"notes\": [");
  PutNotes(sink, settings, analysis);
  Put(sink, "]");
}

// ---- Rows --------------------------------------------------------------------------

static void PutItem(Sink& sink, const char* item) {
  PutJson(sink, item);
  if (!IsUtf8(item)) {
    Put(sink, ", \"item_base64\": \"");
    PutBase64(sink, item);
    Put(sink, "\"");
  }
}

// Where an address is not read as it stands.
static void PutShown(Sink& sink, const char* address) {
  ReadableText room;
  const std::string_view shown = Readable(address, room);
  if (shown != address) {
    Put(sink, ", \"shown\": ");
    PutJson(sink, shown);
  }
}

static void PutCount(Sink& sink, int64_t count, double share) {
  Put(sink, ", \"count\": ");
  PutNumber(sink, count);
  Put(sink, ", \"share\": ");
  PutDecimal(sink, share, kShareDigits);
}

static void PutReferrers(Sink& sink, SectionRow& row, const SubItemWords& words) {
  Put(sink, ", ");
  PutJson(sink, words.name.text());
  Put(sink, ": [");
  bool first = true;
  for (ReferrerRow referrer; NextReferrer(row, referrer); first = false) {
    Put(sink, first ? Literal("{\"item\": ") : Literal(", {\"item\": "));
    PutItem(sink, referrer.address);
    if (words.are_pages) {
      PutShown(sink, referrer.address);
    }
    Put(sink, ", \"count\": ");
    PutNumber(sink, referrer.count);
    Put(sink, "}");
  }
  Put(sink, "]");
}

// Microseconds.
static void PutTimes(Sink& sink, const TimesTaken& times) {
  Put(sink, ", \"median_us\": ");
  PutNumber(sink, times.median);
  Put(sink, ", \"p95_us\": ");
  PutNumber(sink, times.of_95);
  Put(sink, ", \"p99_us\": ");
  PutNumber(sink, times.of_99);
  Put(sink, ", \"sum_us\": ");
  PutNumber(sink, times.sum);
}

static void PutRow(Sink& sink, const Section& section, SectionRow& row) {
  const bool is_address = row.site != nullptr;
  PutItem(sink, row.item);
  if (is_address) {
    PutShown(sink, row.item);
  }
  PutCount(sink, row.count, row.share);
  if (section.dimension != nullptr && row.second >= 0) {
    Put(sink, ", ");
    PutJson(sink, section.dimension->second.name.text());
    Put(sink, ": ");
    PutNumber(sink, row.second);
  }
  if (row.bytes >= 0) {
    Put(sink, ", \"bytes\": ");
    PutNumber(sink, row.bytes);
  }
  if (row.before >= 0) {
    Put(sink, ", \"before\": ");
    PutNumber(sink, row.before);
  }
  if (row.times.sum >= 0) {
    PutTimes(sink, row.times);
  }
  if (row.seen.first <= row.seen.last) {
    Put(sink, ", \"first_seen\": \"");
    PutMoment(sink, row.seen.first);
    Put(sink, "\", \"last_seen\": \"");
    PutMoment(sink, row.seen.last);
    Put(sink, "\"");
  }
  if (row.name != nullptr) {
    Put(sink, ", \"name\": ");
    PutJson(sink, row.name);
  }
  if (section.dimension != nullptr && row.marked >= 0) {
    Put(sink, ", ");
    PutJson(sink, section.dimension->mark.name.text());
    Put(sink, row.marked != 0 ? Literal(": true") : Literal(": false"));
  }
  if (row.engine != nullptr) {
    Put(sink, ", \"engine\": ");
    PutJson(sink, row.engine);
  }
  if (is_address && HasLink(row)) {
    Put(sink, ", \"url\": \"");
    PutJsonAddress(sink, row.site, row.item);
    Put(sink, "\"");
  }
  if (section.items.with_referrers) {
    PutReferrers(sink, row, SubItemWordsOf(section));
  }
  Put(sink, "}");
}

static constexpr Literal kFirstRow = "\n        {\"item\": ";
static constexpr Literal kNextRow = ",\n        {\"item\": ";

static void PutRows(Sink& sink, const Section& section, SectionRows& rows) {
  bool first = true;
  for (SectionRow row; NextRow(rows, row); first = false) {
    Put(sink, first ? kFirstRow : kNextRow);
    PutRow(sink, section, row);
  }
}

static void PutVisitTotals(Sink& sink, const Analysis& analysis) {
  Put(sink, ", \"totals\": {");
  bool first = true;
  for (const VisitTotal& total : VisitTotalsOf(analysis)) {
    if (!first) {
      Put(sink, ", ");
    }
    first = false;
    PutJson(sink, total.name.text());
    Put(sink, ": ");
    PutNumber(sink, total.figure);
  }
  Put(sink, "}");
}

static void PutStatusClasses(Sink& sink, const Section& section, StatusClasses classes) {
  Put(sink, ", \"classes\": [");
  for (size_t i = 0; i < classes.count; ++i) {
    Put(sink, i == 0 ? kFirstRow : kNextRow);
    PutRow(sink, section, classes.rows[i]);
  }
  Put(sink, "]");
}

static void PutSection(Sink& sink, const Settings& settings, const Section& section, Analysis& analysis) {
  SectionRows rows;
  OpenSection(rows, settings, section, analysis);
  Put(sink, "\n    ");
  PutJson(sink, section.parameter);
  Put(sink, ": {\"title\": ");
  PutJson(sink, WordsOf(section).title.text());
  Put(sink, ", \"distinct\": ");
  PutNumber(sink, rows.distinct);
  Put(sink, ", \"total\": ");
  PutNumber(sink, rows.total);
  if (section.dimension != nullptr && section.dimension->with_figures) {
    PutVisitTotals(sink, analysis);
  }
  if (section.dimension != nullptr && section.dimension->in_classes) {
    PutStatusClasses(sink, section, StatusClassesOf(settings, analysis));
  }
  Put(sink, ", \"rows\": [");
  PutRows(sink, section, rows);
  Put(sink, "]}");
}

void WriteJson(const Settings& settings, Analysis& analysis) {
  Sink sink;
  PutHead(sink, settings, analysis);
  Put(sink, ",\n  \"sections\": {");
  bool first = true;
  for (const Section& section : Sections()) {
    if (IsOn(section, settings)) {
      if (!first) {
        Put(sink, ",");
      }
      first = false;
      PutSection(sink, settings, section, analysis);
    }
  }
  Put(sink, "\n  }\n}\n");
  FlushSink(sink);
}

// ---- Answers -------------------------------------------------------------------------

static constexpr char kType[] = "application/json; charset=utf-8";

static void AnswerReport(const Environment& env, const Settings& settings) {
  char disposition[kDispositionSize];
  NameFile(disposition, "inline", "json", settings);
  PrintAnswerHead(env, {.type = kType, .disposition = disposition});
}

// Blanks before the object mean nothing, so that a server is kept awake by them.
static AnalysisEvents Told(const Settings& settings) {
  return {.logs = {}, .line_read = SignsOfLife(settings)};
}

static void PutLogDays(Sink& sink, const DayRange& days) {
  Put(sink, ", \"logs\": {\"first\": \"");
  PutDay(sink, days.first);
  Put(sink, "\", \"last\": \"");
  PutDay(sink, days.last);
  Put(sink, "\"}");
}

static void Refuse(const Refusal& refusal, const Environment& env, const Settings& settings) {
  const RefusalTexts& texts = LogRefusal(refusal, env, settings);
  AnswerHead head = HeadOfRefusal(texts, refusal);
  head.type = kType;
  PrintAnswerHead(env, head);
  Sink sink;
  Put(sink, "{\"format\": 1, \"error\": {\"code\": ");
  PutNumber(sink, refusal.error);
  Put(sink, ", \"status\": ");
  PutNumber(sink, texts.status.number);
  Put(sink, ", \"title\": ");
  PutJson(sink, texts.heading);
  Put(sink, ", \"text\": ");
  PutJson(sink, texts.sentence);
  Put(sink, ", \"advice\": ");
  PutJson(sink, texts.advice);
  if (refusal.log_days.has_value()) {
    PutLogDays(sink, *refusal.log_days);
  }
  Put(sink, "}}\n");
  FlushSink(sink);
}

const PageWriter kJsonOutput = {
    .announce = nullptr,
    .check = nullptr,
    .begin = nullptr,
    .found = AnswerReport,
    .told = Told,
    .finish = WriteJson,
    .tells_totals = true,
    .refuse = Refuse,
    .ask = nullptr,
    .info = {},
};
