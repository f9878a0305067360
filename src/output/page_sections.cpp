#include "output/page_sections.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <string_view>

#include "base/capped_sum.h"
#include "dates/days.h"
#include "output/charts.h"
#include "output/durations.h"
#include "output/escape.h"
#include "output/page_cells.h"
#include "output/page_tables.h"
#include "output/svg.h"
#include "output/words.h"
#include "sections/section_list.h"
#include "sections/section_rows.h"
#include "sections/status_rows.h"
#include "sections/visit_rows.h"

// A page tells how many rows it shows before it shows them: sections are gone through
// twice.
struct Shown {
  int64_t rows;
  int64_t count;      // of all of them together, or of what they stand by its sum
  bool cut_by_page;   // there would be more
  int64_t left_out;   // before the first, of days
  bool counted_only;  // of days: those without requests are left out
};

static int64_t MostRows(const Section& section, const Settings& settings) {
  const RankedReport* const report = ReportOf(section, settings);
  return report != nullptr && report->top_asked ? std::numeric_limits<int64_t>::max() : kMostRows;
}

// ---- Words ---------------------------------------------------------------------------

static void PutPart(Sink& sink, const Shown& shown, const SectionRows& rows, const SectionWords& words) {
  Put(sink, shown.rows == 1 ? Literal("; it makes up ") : Literal("; together they make up "));
  PutShare(sink, Share(shown.count, rows.by_bytes ? rows.served : rows.total));
  Put(sink, " of ");
  if (rows.by_bytes) {
    PutByteSize(sink, static_cast<uint64_t>(rows.served));
    Put(sink, " that were served");
  } else if (rows.timed) {
    PutDuration(sink, rows.total);
    Put(sink, ", ");
    Put(sink, words.whole);
  } else {
    PutCounted(sink, rows.total, words.whole_of_one, words.whole);
  }
}

static bool AreDays(const SectionRows* rows) {
  return rows != nullptr && rows->section->dimension != nullptr && rows->section->dimension->of_days;
}

// Without rows, as those of an engine are, nothing is said of their part of the whole.
// "The first 10 of 1,234 URLs are shown; together they make up 45.3 % of 9,876 requests."
static void PutHowMany(Sink& sink, const SectionWords& words, const Shown& shown, int64_t distinct,
                       const SectionRows* rows) {
  if (distinct == 0) {
    Put(sink, "Nothing of this kind was counted.");
    return;
  }
  if (shown.rows == 0) {
    Put(sink, "None was counted often enough to be shown, of ");
  } else if (shown.rows == 1 && distinct > 1) {
    Put(sink, AreDays(rows) ? Literal("The one with most visitors of ") : Literal("The first of "));
  } else if (shown.rows < distinct) {
    Put(sink, AreDays(rows) ? Literal("The ") : Literal("The first "));
    PutGrouped(sink, shown.rows);
    Put(sink, AreDays(rows) ? Literal(" with most visitors of ") : Literal(" of "));
  } else {
    Put(sink, distinct == 1 ? Literal("Only ") : Literal("All "));
  }
  PutCounted(sink, distinct, words.item_of_many, words.items);
  if (shown.rows > 0 && rows != nullptr && rows->total > 0 && !words.whole.text().empty()) {
    PutPart(sink, shown, *rows, words);
  }
  Put(sink, ".");
}

static void PutPageLimit(Sink& sink, const Shown& shown) {
  if (shown.cut_by_page) {
    Put(sink, " A page shows at most ");
    PutGrouped(sink, kMostRows);
    Put(sink, " rows of a section, unless more are asked for.");
  }
}

// ---- Ranked sections -----------------------------------------------------------------

static Shown CountRows(const Settings& settings, const Section& section, Analysis& analysis) {
  SectionRows rows;
  OpenSection(rows, settings, section, analysis);
  const int64_t most = MostRows(section, settings);
  Shown shown{};
  for (SectionRow row; NextRow(rows, row);) {
    if (shown.rows == most) {
      shown.cut_by_page = true;
      break;
    }
    ++shown.rows;
    AddCapped(shown.count, rows.timed ? row.times.sum : rows.by_bytes ? row.bytes : row.count);
  }
  return shown;
}

static void PutKeyFigure(Sink& sink, const KeyFigure& figure) {
  Put(sink, "<div><dt>");
  Put(sink, figure.title);
  Put(sink, "</dt><dd class=\"figure\">");
  DurationText duration;
  switch (figure.kind) {
    case FigureKind::kCount:
      PutGrouped(sink, Rounded(figure.figure));
      break;
    case FigureKind::kDecimal:
      PutDecimal(sink, figure.figure, 1);
      break;
    case FigureKind::kShare:
      PutShare(sink, figure.figure);
      break;
    case FigureKind::kDuration:
      WriteDuration(duration, figure.figure);
      PutHtml(sink, duration);
      break;
  }
  Put(sink, "</dd></div>\n");
}

static void PutKeyFigures(Sink& sink, const Analysis& analysis) {
  Put(sink, "<dl class=\"tiles\">\n");
  for (const KeyFigure& figure : KeyFiguresOf(analysis)) {
    PutKeyFigure(sink, figure);
  }
  Put(sink, "</dl>\n");
}

static void PutStatusClass(Sink& sink, const SectionRow& row) {
  Put(sink, "<div><dt>");
  PutHtml(sink, row.item);
  Put(sink, " ");
  PutHtml(sink, row.name);
  Put(sink, "</dt><dd class=\"figure\">");
  PutShare(sink, row.share);
  Put(sink, "</dd><dd>");
  PutCounted(sink, row.count, "request", "requests");
  if (row.bytes >= 0) {
    Put(sink, ", ");
    PutByteSize(sink, static_cast<uint64_t>(row.bytes));
  }
  Put(sink, "</dd></div>\n");
}

static void PutStatusClasses(Sink& sink, const StatusClasses& classes) {
  if (classes.count == 0) {
    return;
  }
  Put(sink, "<dl class=\"tiles\">\n");
  for (size_t i = 0; i < classes.count; ++i) {
    PutStatusClass(sink, classes.rows[i]);
  }
  Put(sink, "</dl>\n");
}

static void PutRanked(Sink& sink, const Settings& settings, const Section& section, Analysis& analysis) {
  const Shown shown = CountRows(settings, section, analysis);
  const SectionWords& words = WordsOf(section);
  SectionRows rows;
  OpenSection(rows, settings, section, analysis);
  const Dimension* const dimension = section.dimension;
  if (dimension != nullptr && dimension->with_figures) {
    PutKeyFigures(sink, analysis);
  }
  if (dimension != nullptr && dimension->in_classes) {
    PutStatusClasses(sink, StatusClassesOf(settings, analysis));
  }
  Put(sink, "<p class=\"words\">");
  PutHowMany(sink, words, shown, rows.distinct, &rows);
  PutPageLimit(sink, shown);
  Put(sink, "</p>\n");
  if (shown.rows == 0) {
    return;
  }
  const bool days = dimension != nullptr && dimension->of_days;
  Table table{.sink = sink,
              .columns = {days ? Literal("Weekday") : Literal("#"), words.item,
                          dimension != nullptr ? dimension->counted : Literal("Requests")},
              .lead = days ? Lead::kWeekday : Lead::kRank,
              .shares = rows.total > 0,
              .bytes = rows.bytes,
              .by_bytes = rows.by_bytes,
              .second = dimension != nullptr ? dimension->second.title : Literal(""),
              .mark = dimension != nullptr ? dimension->mark.title : Literal(""),
              .seen = rows.seen,
              .times = rows.timed,
              .rows = shown.rows,
              .alone = days,
              .below = &SubItemWordsOf(section)};
  BeginTable(table, words.title.text().data());
  SectionRow row;
  while (table.next < shown.rows && NextRow(rows, row)) {
    PutTableRow(table, row);
  }
  EndTable(table);
}

// ---- Search phrases: a table for each engine -----------------------------------------

static Shown CountPhrases(EngineRow engine, int64_t most) {
  Shown shown{};
  for (PhraseRow row; NextPhrase(engine, row);) {
    if (shown.rows == most) {
      shown.cut_by_page = true;
      break;
    }
    ++shown.rows;
  }
  return shown;
}

static void PutEngineHead(Sink& sink, const EngineRow& engine, const Shown& shown,
                          const SectionWords& words) {
  Put(sink, "<h3>");
  PutItemText(sink, engine.name, nullptr);
  Put(sink, "</h3>\n<p class=\"words\">");
  PutCounted(sink, engine.hits, "visit", "visits");
  Put(sink, ", ");
  PutShare(sink, engine.share);
  Put(sink, " of all from search engines. ");
  PutHowMany(sink, words, shown, engine.distinct, nullptr);
  PutPageLimit(sink, shown);
  Put(sink, "</p>\n");
}

static void PutEngine(Sink& sink, const EngineRow& engine, const Shown& shown, int64_t total,
                      const SectionWords& words) {
  PutEngineHead(sink, engine, shown, words);
  if (shown.rows == 0) {
    return;
  }
  Table table{.sink = sink,
              .columns = {"#", words.item, "Visits"},
              .lead = Lead::kRank,
              .shares = total > 0,
              .rows = shown.rows};
  BeginTable(table, engine.name);
  EngineRow phrases = engine;
  PhraseRow phrase;
  int64_t largest = 0;
  while (table.next < shown.rows && NextPhrase(phrases, phrase)) {
    largest = std::max(largest, phrase.count);
    SectionRow row{};
    row.item = phrase.phrase;
    row.count = phrase.count;
    row.share = Share(phrase.count, total);
    row.bar = Share(phrase.count, largest);
    row.weekday = -1;
    PutTableRow(table, row);
  }
  EndTable(table);
}

static void PutPhrases(Sink& sink, const Settings& settings, const Section& section,
                       const Analysis& analysis) {
  const SectionWords& words = WordsOf(section);
  EngineRows rows = OpenEngines(settings, analysis);
  Put(sink, "<p class=\"words\">");
  PutCounted(sink, rows.summary.distinct, words.item_of_many, words.items);
  Put(sink, ", ");
  PutCounted(sink, rows.summary.total, words.whole_of_one, words.whole);
  Put(sink, ".</p>\n");
  int64_t left = MostRows(section, settings);
  for (EngineRow engine; NextEngine(rows, engine);) {
    const Shown shown = CountPhrases(engine, left);
    PutEngine(sink, engine, shown, rows.summary.total, words);
    left -= shown.rows;
  }
}

// ---- Days, weekdays, hours -----------------------------------------------------------

// A range may be of millions of days: behind a thousand, those with requests, and the
// last thousand of these.
static Shown CountTimes(const Settings& settings, const Section& section, Analysis& analysis) {
  SectionRows rows;
  OpenSection(rows, settings, section, analysis);
  int64_t counted = 0;
  Shown shown{};
  for (SectionRow row; NextRow(rows, row);) {
    ++shown.rows;
    shown.count += row.count;
    counted += row.count > 0 ? 1 : 0;
  }
  if (shown.rows > kMostRows) {
    shown.counted_only = true;
    shown.cut_by_page = counted > kMostRows;
    shown.rows = std::min(counted, kMostRows);
    shown.left_out = counted - shown.rows;
  }
  return shown;
}

static void PutTimeWords(Sink& sink, const SectionWords& words, const Shown& shown, const SectionRows& rows) {
  Put(sink, "<p class=\"words\">");
  PutCounted(sink, rows.total, "request", "requests");
  Put(sink, " on ");
  PutCounted(sink, rows.distinct, words.item_of_many, words.items);
  Put(sink, ".");
  if (shown.counted_only) {
    Put(sink, " Days without requests are left out.");
  }
  if (shown.cut_by_page) {
    Put(sink, " Of the others a page shows the last ");
    PutGrouped(sink, kMostRows);
    Put(sink, ".");
  }
  Put(sink, "</p>\n");
}

static void PutTimeRows(Table& table, SectionRows& rows, const Shown& shown) {
  int64_t left_out = 0;
  for (SectionRow row; NextRow(rows, row);) {
    if (shown.counted_only && (row.count == 0 || left_out++ < shown.left_out)) {
      continue;
    }
    PutTableRow(table, row);
  }
}

// Weeks begin with Monday, as they are drawn: Sunday, the first of the rows, comes last.
static void PutWeekdayRows(Table& table, SectionRows& rows, const Shown& /*shown*/) {
  SectionRows from_sunday = rows;
  SectionRow row;
  NextRow(rows, row);
  while (NextRow(rows, row)) {
    PutTableRow(table, row);
  }
  if (NextRow(from_sunday, row)) {
    PutTableRow(table, row);
  }
}

struct TimeRules {
  void (*draw)(Sink& sink, const Analysis& analysis);
  bool compares_days;  // drawn, a single day would stand alone
  void (*put_rows)(Table& table, SectionRows& rows, const Shown& shown);
};

// By the kind of rows.
static constexpr TimeRules kTimeRules[] = {
    {},
    {},
    {DrawDays, true, PutTimeRows},
    {DrawWeekdays, true, PutWeekdayRows},
    {DrawHours, false, PutTimeRows},
    {DrawHoursOfWeek, true, nullptr},
};

static bool IsOfOneDay(const Analysis& analysis) {
  return DayOf(analysis.range_first) == DayOf(analysis.range_last);
}

static void PutDrawing(Sink& sink, const TimeRules& rules, bool days, const Analysis& analysis) {
  if (!rules.compares_days || !IsOfOneDay(analysis)) {
    rules.draw(sink, analysis);
  } else if (!days) {
    Put(sink, "<p class=\"words\">All are of one day, a ");
    Put(sink, NameOfWeekday(WeekdayOfDay(NumberOfDay(DayOf(analysis.range_first)))));
    Put(sink, ".</p>\n");
  }
}

static void PutTimes(Sink& sink, const Settings& settings, const Section& section, Analysis& analysis) {
  const Shown shown = CountTimes(settings, section, analysis);
  const SectionWords& words = WordsOf(section);
  SectionRows rows;
  OpenSection(rows, settings, section, analysis);
  if (section.rows == RowKind::kDays) {
    PutTimeWords(sink, words, shown, rows);
  }
  if (shown.rows == 0) {
    return;
  }
  const bool days = section.rows == RowKind::kDays;
  Table table{.sink = sink,
              .columns = {days ? Literal("Weekday") : Literal(""), words.item, "Requests"},
              .lead = days ? Lead::kWeekday : Lead::kNone,
              .shares = rows.total > 0,
              .rows = shown.rows};
  const TimeRules& rules = kTimeRules[static_cast<size_t>(section.rows)];
  PutDrawing(sink, rules, days, analysis);
  if (section.rows == RowKind::kHoursOfWeek) {
    PutWeekTable(sink, words.title, rows);
    return;
  }
  BeginTable(table, words.title.text().data());
  rules.put_rows(table, rows, shown);
  EndTable(table);
}

// ---- All of them ---------------------------------------------------------------------

// A reader wants to know first when the requests came.
static constexpr SectionId kNamedOrder[kNamedSections] = {
    SectionId::kDays,    SectionId::kWeekdays, SectionId::kHours,        SectionId::kHoursOfWeek,
    SectionId::kUrls,    SectionId::kBadUrls,  SectionId::kBadReferrers, SectionId::kReferrers,
    SectionId::kPhrases, SectionId::kBrowsers, SectionId::kDomains,      SectionId::kDomainTypes,
};

static consteval bool HasEachOnce() {
  for (size_t id = 0; id < kNamedSections; ++id) {
    if (std::ranges::count(kNamedOrder, static_cast<SectionId>(id)) != 1) {
      return false;
    }
  }
  return true;
}
static_assert(HasEachOnce());

struct SectionOrder {
  std::array<SectionId, kNamedSections + kMostDimensions> ids;
  size_t count;
};

// The section, and the dimensions that stand behind it.
static void Append(SectionOrder& order, const Section& section) {
  order.ids[order.count++] = section.id;
  for (const Section& other : Sections()) {
    if (other.dimension != nullptr && std::string_view(other.dimension->behind) == section.parameter) {
      Append(order, other);
    }
  }
}

static SectionOrder MakeOrder() {
  SectionOrder order{};
  for (const SectionId id : kNamedOrder) {
    Append(order, SectionOf(id));
  }
  return order;
}

std::span<const SectionId> PageOrder() {
  static const SectionOrder order = MakeOrder();
  return {order.ids.data(), order.count};
}

// Ranked rows change the analysis, whose tables they put in order; the others take it as it is.
template <auto kPut>
static void PutAny(Sink& sink, const Settings& settings, const Section& section, Analysis& analysis) {
  kPut(sink, settings, section, analysis);
}

// By the kind of a section's rows.
static constexpr void (*kPutRows[])(Sink&, const Settings&, const Section&, Analysis&) = {
    PutAny<PutRanked>, PutAny<PutPhrases>, PutAny<PutTimes>,
    PutAny<PutTimes>,  PutAny<PutTimes>,   PutAny<PutTimes>,
};

static void PutSection(Sink& sink, const Settings& settings, const Section& section, Analysis& analysis) {
  const SectionWords& words = WordsOf(section);
  Put(sink, "<section id=\"");
  PutAttribute(sink, section.parameter);
  Put(sink, "\" aria-labelledby=\"");
  PutAttribute(sink, section.parameter);
  Put(sink, "-title\">\n<h2 id=\"");
  PutAttribute(sink, section.parameter);
  Put(sink, "-title\">");
  Put(sink, words.title);
  Put(sink, "</h2>\n<p>");
  Put(sink, words.explanation);
  Put(sink, "</p>\n");
  kPutRows[static_cast<size_t>(section.rows)](sink, settings, section, analysis);
  Put(sink, "</section>\n");
}

// The next section that is on; null behind the last.
static const Section* NextSection(const Settings& settings, size_t& place) {
  while (place < PageOrder().size()) {
    const Section& section = SectionOf(PageOrder()[place++]);
    if (IsOn(section, settings)) {
      return &section;
    }
  }
  return nullptr;
}

void PutSectionLinks(Sink& sink, const Settings& settings) {
  size_t place = 0;
  while (const Section* section = NextSection(settings, place)) {
    Put(sink, "<li><a href=\"#");
    PutAttribute(sink, section->parameter);
    Put(sink, "\">");
    Put(sink, WordsOf(*section).title);
    Put(sink, "</a></li>\n");
  }
}

void PutSections(Sink& sink, const Settings& settings, Analysis& analysis) {
  size_t place = 0;
  while (const Section* section = NextSection(settings, place)) {
    PutSection(sink, settings, *section, analysis);
  }
}
