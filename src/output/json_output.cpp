#include "output/json_output.h"

#include <cstdio>

#include "output/escape.h"
#include "output/moments.h"
#include "output/sink.h"
#include "output/words.h"
#include "sections/notes.h"
#include "sections/overview.h"
#include "sections/phrase_rows.h"
#include "sections/ranked_rows.h"
#include "sections/section_list.h"
#include "sections/time_rows.h"

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
    PutJsonPart(sink, note.subject);
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
  Put(sink, ",\n  \"notes\": [");
  PutNotes(sink, settings, analysis);
  Put(sink, "]");
}

// ---- Rows --------------------------------------------------------------------------

// Opens the next object of a list.
static void OpenRow(Sink& sink, bool& first) {
  Put(sink, first ? Literal("\n        {\"item\": ") : Literal(",\n        {\"item\": "));
  first = false;
}

static void PutItem(Sink& sink, const char* item) {
  PutJson(sink, item);
  if (!IsUtf8(item)) {
    Put(sink, ", \"item_base64\": \"");
    PutBase64(sink, item);
    Put(sink, "\"");
  }
}

static void PutCount(Sink& sink, int64_t count, double share) {
  Put(sink, ", \"count\": ");
  PutNumber(sink, count);
  Put(sink, ", \"share\": ");
  PutDecimal(sink, share, kShareDigits);
}

static void PutReferrers(Sink& sink, RankedRow& row) {
  Put(sink, ", \"referrers\": [");
  bool first = true;
  for (ReferrerRow referrer; NextReferrer(row, referrer); first = false) {
    Put(sink, first ? Literal("{\"item\": ") : Literal(", {\"item\": "));
    PutItem(sink, referrer.address);
    Put(sink, ", \"count\": ");
    PutNumber(sink, referrer.count);
    Put(sink, "}");
  }
  Put(sink, "]");
}

static void PutRankedRow(Sink& sink, const RankedItems& kind, RankedRow& row) {
  PutItem(sink, row.item);
  PutCount(sink, row.count, row.share);
  if (row.description != nullptr) {
    Put(sink, ", \"name\": ");
    PutJson(sink, row.description);
  }
  if (kind.with_referrers) {
    PutReferrers(sink, row);
  }
  Put(sink, "}");
}

static void PutFigures(Sink& sink, int64_t distinct, int64_t total) {
  Put(sink, ", \"distinct\": ");
  PutNumber(sink, distinct);
  Put(sink, ", \"total\": ");
  PutNumber(sink, total);
  Put(sink, ", \"rows\": [");
}

static void PutRanked(Sink& sink, const Settings& settings, const Section& section, Analysis& analysis) {
  RankedRows rows = OpenRanked(settings, section, analysis);
  PutFigures(sink, rows.summary.distinct, rows.summary.total);
  bool first = true;
  for (RankedRow row; NextRanked(rows, row);) {
    OpenRow(sink, first);
    PutRankedRow(sink, section.items, row);
  }
}

static void PutPhrases(Sink& sink, const Settings& settings, const Section&, Analysis& analysis) {
  EngineRows engines = OpenEngines(settings, analysis);
  PutFigures(sink, engines.summary.distinct, engines.summary.total);
  bool first = true;
  for (EngineRow engine; NextEngine(engines, engine);) {
    for (PhraseRow phrase; NextPhrase(engine, phrase);) {
      OpenRow(sink, first);
      PutItem(sink, phrase.phrase);
      PutCount(sink, phrase.count, Share(phrase.count, engines.summary.total));
      Put(sink, ", \"engine\": ");
      PutJson(sink, engine.name);
      Put(sink, "}");
    }
  }
}

static void PutTimeItem(Sink& sink, const TimeRow& row) {
  Put(sink, "\"");
  if (row.hour >= 0) {
    PutPadded(sink, row.hour, 2);
  } else if (row.date.month != 0) {
    PutDay(sink, row.date);
  } else {
    Put(sink, WeekdayName(row.weekday));
  }
  Put(sink, "\"");
}

static void PutTimes(Sink& sink, const Settings&, const Section& section, Analysis& analysis) {
  TimeRows rows = section.times(analysis);
  PutFigures(sink, rows.end - rows.next, rows.total);
  bool first = true;
  for (TimeRow row; NextTime(rows, row);) {
    OpenRow(sink, first);
    PutTimeItem(sink, row);
    PutCount(sink, row.count, row.share);
    Put(sink, "}");
  }
}

// ---- Sections ----------------------------------------------------------------------

// By the kind of a section's rows.
static constexpr void (*kPutRows[])(Sink&, const Settings&, const Section&, Analysis&) = {
    PutRanked, PutPhrases, PutTimes, PutTimes, PutTimes,
};

static void PutSection(Sink& sink, const Settings& settings, const Section& section, Analysis& analysis) {
  Put(sink, "\n    ");
  PutJson(sink, section.parameter);
  Put(sink, ": {\"title\": ");
  PutJson(sink, WordsOf(section).title.text());
  kPutRows[static_cast<size_t>(section.rows)](sink, settings, section, analysis);
  Put(sink, "]}");
}

void WriteJson(const Settings& settings, Analysis& analysis) {
  Sink sink;
  PutHead(sink, settings, analysis);
  Put(sink, ",\n  \"sections\": {");
  bool first = true;
  for (const Section& section : kSections) {
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
