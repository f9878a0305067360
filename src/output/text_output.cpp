#include "output/text_output.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "dates/clock.h"
#include "dates/zone.h"
#include "output/durations.h"
#include "output/escape.h"
#include "output/moments.h"
#include "output/page_sections.h"
#include "output/readable.h"
#include "output/refusal_line.h"
#include "output/sink.h"
#include "output/words.h"
#include "report/answer_head.h"
#include "sections/notes.h"
#include "sections/overview.h"
#include "sections/section_list.h"
#include "sections/section_rows.h"
#include "sections/status_rows.h"
#include "sections/visit_rows.h"

static constexpr size_t kAnyWidth = SIZE_MAX;

// ---- The paper --------------------------------------------------------------------------

struct Paper {
  Sink sink;
  Terminal terminal;
};

static void PutBlanks(Sink& sink, size_t columns) {
  for (; columns >= 8; columns -= 8) {
    Put(sink, "        ");
  }
  for (; columns > 0; --columns) {
    Put(sink, " ");
  }
}

static void PutColour(Paper& paper, const Literal& colour) {
  if (paper.terminal.colours) {
    Put(paper.sink, colour);
  }
}

static constexpr Literal kBold = "\x1b[1m";
static constexpr Literal kBlue = "\x1b[34m";
static constexpr Literal kYellow = "\x1b[33m";
static constexpr Literal kNormal = "\x1b[0m";

// Columns of a number with its separators.
static size_t GroupedWidth(uint64_t number) {
  size_t digits = 1;
  for (; number >= 10; number /= 10) {
    ++digits;
  }
  return digits + (digits - 1) / 3;
}

static size_t GroupedWidth(int64_t number) {
  return number < 0 ? 1 + GroupedWidth(uint64_t{0} - static_cast<uint64_t>(number))
                    : GroupedWidth(static_cast<uint64_t>(number));
}

static void PutToTheRight(Sink& sink, int64_t number, size_t columns) {
  const size_t needed = GroupedWidth(number);
  PutBlanks(sink, columns > needed ? columns - needed : 0);
  PutGrouped(sink, number);
}

// ---- Sentences ----------------------------------------------------------------------------

// Fills lines word by word.
struct Sentence {
  Paper& paper;
  size_t column = 0;
};

static void PutWord(Sentence& sentence, std::string_view word, bool spaced) {
  const size_t room = sentence.paper.terminal.width;
  const size_t needed = std::min(PlainWidth(word), room);
  if (sentence.column + (spaced ? 1 : 0) + needed > room) {
    Put(sentence.paper.sink, "\n");
    sentence.column = 0;
  } else if (spaced && sentence.column > 0) {
    Put(sentence.paper.sink, " ");
    ++sentence.column;
  }
  sentence.column += PutPlain(sentence.paper.sink, word, room);
}

// The program's own words, a blank between them.
static void PutWords(Sentence& sentence, std::string_view words) {
  bool spaced = words.starts_with(' ');
  while (!words.empty()) {
    words.remove_prefix(std::min(words.find_first_not_of(' '), words.size()));
    const std::string_view word = words.substr(0, words.find(' '));
    if (!word.empty()) {
      PutWord(sentence, word, spaced);
    }
    words.remove_prefix(word.size());
    spaced = true;
  }
}

static void PutSubject(Sentence& sentence, const char* subject) {
  if (subject[0] != '\0') {
    PutWord(sentence, subject, true);
  }
}

static void PutNote(Paper& paper, const Note& note) {
  const NoteWords& words = WordsOf(note);
  Sentence sentence{paper};
  PutColour(paper, kYellow);
  PutWords(sentence, words.before.text());
  PutSubject(sentence, note.subject);
  PutWords(sentence, note.detail);
  PutSubject(sentence, note.other);
  PutWords(sentence, words.behind.text());
  PutColour(paper, kNormal);
  Put(paper.sink, "\n");
}

// ---- The head -----------------------------------------------------------------------------

// With what it is compared with, unless that is below 0.
static void PutTotal(Paper& paper, const Literal& name, int64_t figure, int64_t before = -1) {
  static constexpr size_t kNameWidth = 21;
  static constexpr size_t kFigureWidth = 16;
  Put(paper.sink, name);
  PutBlanks(paper.sink, kNameWidth - name.text().size());
  PutToTheRight(paper.sink, figure, kFigureWidth);
  if (before >= 0) {
    Put(paper.sink, "  ");
    if (PutChange(paper.sink, figure, before)) {
      Put(paper.sink, ", before ");
      PutGrouped(paper.sink, before);
    }
  }
  Put(paper.sink, "\n");
}

static void PutDays(Paper& paper, const Analysis& analysis, time_t made) {
  PutDay(paper.sink, DayOf(analysis.range_first));
  Put(paper.sink, " to ");
  PutDay(paper.sink, DayOf(analysis.range_last));
  if (analysis.comparison.asked) {
    Put(paper.sink, ", compared with ");
    PutDay(paper.sink, analysis.comparison.days.first);
    Put(paper.sink, " to ");
    PutDay(paper.sink, analysis.comparison.days.last);
  }
  Put(paper.sink, " (");
  PutPlain(paper.sink, ZoneName(made), kLongestZoneName);
  Put(paper.sink, ")\nmade ");
  PutMoment(paper.sink, made);
  Put(paper.sink, " by Orvellis ");
  PutPlain(paper.sink, kVersion, kAnyWidth);
  Put(paper.sink, "\n");
}

static void PutNotes(Paper& paper, const Settings& settings, const Analysis& analysis) {
  Notes notes = OpenNotes(settings, analysis);
  bool first = true;
  for (Note note; NextNote(notes, note); first = false) {
    if (first) {
      Put(paper.sink, "\n");
    }
    PutNote(paper, note);
  }
}

static void PutHead(Paper& paper, const Settings& settings, const Analysis& analysis) {
  const Overview overview = OverviewOf(settings, analysis);
  PutColour(paper, kBold);
  PutPlain(paper.sink, overview.title, paper.terminal.width);
  PutColour(paper, kNormal);
  Put(paper.sink, "\n");
  if (overview.url[0] != '\0') {
    PutPlain(paper.sink, overview.url, paper.terminal.width);
    Put(paper.sink, "\n");
  }
  PutDays(paper, analysis, MomentMade(overview.made));
  Put(paper.sink, "\n");
  const Comparison& before = analysis.comparison;
  PutTotal(paper, "Requests", overview.requests, before.asked ? before.requests : -1);
  PutTotal(paper, "Errors", overview.errors, before.asked ? before.errors : -1);
  PutTotal(paper, "Bytes served", static_cast<int64_t>(overview.bytes_served),
           before.asked ? before.bytes : -1);
  PutTotal(paper, "Log bytes read", static_cast<int64_t>(overview.log_bytes_read));
  PutTotal(paper, "Lines not understood", overview.lines_not_understood);
  PutNotes(paper, settings, analysis);
}

// ---- Rows ---------------------------------------------------------------------------------

// The columns of a section's table, each with two blanks before it: count, share, bar, and
// what is left for the item.
struct Columns {
  size_t count;
  size_t bytes;       // 0: there are none
  bool by_bytes;      // shares are of these
  bool times;         // there are some
  bool seen;          // first and last seen are told
  Literal mark = "";  // heading of marks; empty: there are none
  size_t bar;         // 0: there are none
  size_t item;
};

// Of so many figures nobody could tell which is which, and there is no room for bars.
static bool HaveHeadings(const Columns& columns) {
  return columns.times || columns.seen || !columns.mark.text().empty();
}

static constexpr size_t kGap = 2;
static constexpr size_t kShareWidth = sizeof "100.0 %" - 1;
static constexpr size_t kLeastItem = 16;
static constexpr Literal kTimes[] = {"Median", "95 %", "99 %", "Sum"};
static constexpr Literal kRequests = "Requests";
static constexpr size_t kTimeWidth = sizeof "0.345 ms" - 1;
static constexpr size_t kSeenWidth = sizeof "2026-11-22 18:04" - 1;
static constexpr size_t kBytesWidth = sizeof "999,999,999,999" - 1;

// With the gap behind it.
static size_t WidthOf(size_t column) {
  return column > 0 ? column + kGap : 0;
}

static Columns ColumnsFor(const Terminal& terminal, const SectionRows& rows) {
  const Dimension* const dimension = rows.section->dimension;
  Columns columns{};
  columns.bytes = rows.bytes ? kBytesWidth : 0;
  columns.by_bytes = rows.by_bytes;
  columns.times = rows.timed;
  columns.seen = rows.seen;
  columns.mark = dimension != nullptr ? dimension->mark.title : Literal("");
  const bool headings = HaveHeadings(columns);
  // Of times the total is one, and counts have the width of their heading at least.
  const size_t least = headings ? kRequests.text().size() : 5;
  columns.count = rows.timed ? least : std::max(GroupedWidth(rows.total), least);
  columns.bar = headings ? 0 : terminal.width >= 100 ? 20 : 10;
  const size_t taken = 3 * kGap + columns.count + kShareWidth + WidthOf(columns.bar) +
                       WidthOf(columns.bytes) +
                       (columns.times ? std::size(kTimes) * (kTimeWidth + kGap) : 0) +
                       (columns.seen ? 2 * (kSeenWidth + kGap) : 0) + WidthOf(columns.mark.text().size());
  columns.item = terminal.width > taken + kLeastItem ? terminal.width - taken : kLeastItem;
  return columns;
}

static void PutShare(Sink& sink, double share) {
  static constexpr double kPercent = 100.0;
  const double percent = share * kPercent;
  const size_t digits = percent >= 99.95 ? 5 : percent >= 9.95 ? 4 : 3;
  PutBlanks(sink, kShareWidth - 2 - digits);
  PutDecimal(sink, percent, 1);
  Put(sink, " %");
}

static void PutBar(Paper& paper, const SectionRow& row, size_t columns) {
  if (columns == 0) {
    return;
  }
  const auto exact = static_cast<size_t>(Rounded(row.bar * static_cast<double>(columns)));
  const size_t length = row.count > 0 ? std::max<size_t>(exact, 1) : 0;
  PutColour(paper, kBlue);
  for (size_t i = 0; i < length; ++i) {
    Put(paper.sink, "#");
  }
  PutColour(paper, kNormal);
  PutBlanks(paper.sink, columns - length + kGap);
}

// "2001-03-05 (visits: 57)"
static void PutItemAndSecond(Sink& sink, const SectionRow& row, const SecondFigure& second, size_t width) {
  const size_t behind = GroupedWidth(row.second) + second.words.text().size() + sizeof " (: )" - 2;
  ReadableText room;
  PutPlain(sink, row.site == nullptr ? row.item : Readable(row.item, room),
           width - std::min(behind, width / 2));
  Put(sink, " (");
  Put(sink, second.words);
  Put(sink, ": ");
  PutGrouped(sink, row.second);
  Put(sink, ")");
}

// The name takes what the item leaves, but for half of the width if it has to.
static void PutItem(Sink& sink, const SectionRow& row, size_t width) {
  if (row.name == nullptr) {
    ReadableText room;
    PutPlain(sink, row.site == nullptr ? row.item : Readable(row.item, room), width);
    return;
  }
  static constexpr size_t kBrackets = 3;
  const size_t left = width - std::min(PlainWidth(row.item) + kBrackets, width);
  const size_t name = std::min(PlainWidth(row.name), std::max(left, width / 2));
  PutPlain(sink, row.item, width - name - kBrackets);
  Put(sink, " (");
  PutPlain(sink, row.name, name);
  Put(sink, ")");
}

static void PutBytes(Sink& sink, const SectionRow& row, const Columns& columns) {
  if (columns.bytes > 0) {
    PutToTheRight(sink, row.bytes, columns.bytes);
    PutBlanks(sink, kGap);
  }
}

static void PutTimes(Sink& sink, const SectionRow& row, const Columns& columns) {
  if (!columns.times) {
    return;
  }
  for (const int64_t time : {row.times.median, row.times.of_95, row.times.of_99, row.times.sum}) {
    const size_t needed = DurationWidth(time);
    PutBlanks(sink, needed < kTimeWidth ? kTimeWidth - needed : 0);
    PutDuration(sink, time);
    PutBlanks(sink, kGap);
  }
}

static void PutMark(Sink& sink, const SectionRow& row, const Columns& columns) {
  const size_t width = columns.mark.text().size();
  if (width > 0) {
    const Literal told = row.marked > 0 ? Literal("yes") : Literal("no");
    Put(sink, told);
    PutBlanks(sink, width - told.text().size() + kGap);
  }
}

static void PutSeen(Sink& sink, const SectionRow& row, const Columns& columns) {
  if (!columns.seen) {
    return;
  }
  for (const int64_t time : {row.seen.first, row.seen.last}) {
    if (row.seen.first <= row.seen.last) {
      PutDayAndClock(sink, time);
    } else {
      PutBlanks(sink, kSeenWidth);
    }
    PutBlanks(sink, kGap);
  }
}

static void PutHeading(Sink& sink, const Literal& heading, size_t width) {
  PutBlanks(sink, width - heading.text().size());
  Put(sink, heading);
  PutBlanks(sink, kGap);
}

static void PutHeadings(Sink& sink, const Columns& columns, const SectionWords& words) {
  if (!HaveHeadings(columns)) {
    return;
  }
  PutBlanks(sink, kGap);
  PutHeading(sink, kRequests, columns.count);
  PutHeading(sink, columns.by_bytes ? Literal("% bytes") : Literal("Share"), kShareWidth);
  if (columns.bytes > 0) {
    PutHeading(sink, "Bytes", columns.bytes);
  }
  if (columns.times) {
    for (const Literal& time : kTimes) {
      PutHeading(sink, time, kTimeWidth);
    }
  }
  if (columns.seen) {
    for (const Literal& time : {Literal("First seen"), Literal("Last seen")}) {
      Put(sink, time);
      PutBlanks(sink, kSeenWidth - time.text().size() + kGap);
    }
  }
  if (!columns.mark.text().empty()) {
    PutHeading(sink, columns.mark, columns.mark.text().size());
  }
  Put(sink, words.item);
  Put(sink, "\n");
}

static void PutReferrers(Paper& paper, SectionRow& row, const Columns& columns, const SubItemWords& words) {
  for (ReferrerRow page; NextReferrer(row, page);) {
    PutBlanks(paper.sink, kGap);
    PutToTheRight(paper.sink, page.count, columns.count);
    PutBlanks(paper.sink, kGap + kShareWidth + kGap + WidthOf(columns.bytes) + WidthOf(columns.bar));
    Put(paper.sink, words.arrow);
    ReadableText room;
    PutPlain(paper.sink, words.are_pages ? Readable(page.address, room) : page.address,
             columns.item - words.arrow.text().size());
    Put(paper.sink, "\n");
  }
}

static void PutRow(Paper& paper, SectionRow& row, const Columns& columns, const Section& section) {
  PutBlanks(paper.sink, kGap);
  PutToTheRight(paper.sink, row.count, columns.count);
  PutBlanks(paper.sink, kGap);
  PutShare(paper.sink, row.share);
  PutBlanks(paper.sink, kGap);
  PutBytes(paper.sink, row, columns);
  PutTimes(paper.sink, row, columns);
  PutSeen(paper.sink, row, columns);
  PutMark(paper.sink, row, columns);
  PutBar(paper, row, columns.bar);
  if (row.second >= 0) {
    PutItemAndSecond(paper.sink, row, section.dimension->second, columns.item);
  } else {
    PutItem(paper.sink, row, columns.item);
  }
  Put(paper.sink, "\n");
  PutReferrers(paper, row, columns, SubItemWordsOf(section));
}

static void PutEngine(Paper& paper, const char* engine) {
  PutBlanks(paper.sink, kGap);
  PutPlain(paper.sink, engine, paper.terminal.width - kGap);
  Put(paper.sink, "\n");
}

// Returns how many there are.
static int64_t PutRows(Paper& paper, SectionRows& rows, const Columns& columns) {
  int64_t shown = 0;
  const char* engine = nullptr;
  for (SectionRow row; NextRow(rows, row); ++shown) {
    if (row.engine != engine) {
      engine = row.engine;
      PutEngine(paper, engine);
    }
    PutRow(paper, row, columns, *rows.section);
  }
  return shown;
}

// A line for each hour, and a column for each day of weeks that begin with Monday.
static void PutWeek(Paper& paper, SectionRows& rows) {
  static constexpr Literal kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  static constexpr size_t kHourWidth = 4;
  int64_t counts[24][std::size(kDays)] = {};
  size_t width = kDays[0].text().size();
  for (SectionRow row; NextRow(rows, row);) {
    counts[row.hour][(row.weekday + 6) % 7] = row.count;
    width = std::max(width, GroupedWidth(row.count));
  }
  PutBlanks(paper.sink, kHourWidth);
  for (const Literal& day : kDays) {
    PutBlanks(paper.sink, kGap + width - day.text().size());
    Put(paper.sink, day);
  }
  Put(paper.sink, "\n");
  for (int hour = 0; hour < 24; ++hour) {
    PutBlanks(paper.sink, kGap);
    PutPadded(paper.sink, hour, 2);
    for (const int64_t count : counts[hour]) {
      PutToTheRight(paper.sink, count, kGap + width);
    }
    Put(paper.sink, "\n");
  }
}

static void PutKeyFigure(Paper& paper, const KeyFigure& figure) {
  static constexpr size_t kTitleWidth = 20;
  DurationText duration;
  PutBlanks(paper.sink, kGap);
  Put(paper.sink, figure.title);
  PutBlanks(paper.sink, kTitleWidth - figure.title.text().size());
  switch (figure.kind) {
    case FigureKind::kCount:
      PutGrouped(paper.sink, Rounded(figure.figure));
      break;
    case FigureKind::kDecimal:
      PutDecimal(paper.sink, figure.figure, 1);
      break;
    case FigureKind::kShare:
      PutDecimal(paper.sink, figure.figure * 100, 1);
      Put(paper.sink, " %");
      break;
    case FigureKind::kDuration:
      WriteDuration(duration, figure.figure);
      PutPlain(paper.sink, duration, sizeof duration);
      break;
  }
  Put(paper.sink, "\n");
}

static void PutKeyFigures(Paper& paper, const Analysis& analysis) {
  for (const KeyFigure& figure : KeyFiguresOf(analysis)) {
    PutKeyFigure(paper, figure);
  }
  Put(paper.sink, "\n");
}

static void PutStatusClasses(Paper& paper, StatusClasses classes, const Columns& columns,
                             const Section& section) {
  for (size_t i = 0; i < classes.count; ++i) {
    PutRow(paper, classes.rows[i], columns, section);
  }
  if (classes.count > 0) {
    Put(paper.sink, "\n");
  }
}

static void PutTitle(Paper& paper, const Literal& title) {
  Put(paper.sink, "\n");
  PutColour(paper, kBold);
  Put(paper.sink, title);
  PutColour(paper, kNormal);
  Put(paper.sink, "\n");
  for (size_t i = 0; i < title.text().size(); ++i) {
    Put(paper.sink, "-");
  }
  Put(paper.sink, "\n");
}

static void PutShown(Sink& sink, const SectionWords& words, int64_t shown, int64_t distinct) {
  if (shown == distinct && shown > 0) {
    return;
  }
  PutBlanks(sink, kGap);
  PutGrouped(sink, shown);
  Put(sink, " of ");
  PutGrouped(sink, distinct);
  Put(sink, " ");
  Put(sink, distinct == 1 ? words.item_of_many : words.items);
  Put(sink, "\n");
}

static void PutSection(Paper& paper, const Settings& settings, const Section& section, Analysis& analysis) {
  const SectionWords& words = WordsOf(section);
  SectionRows rows;
  OpenSection(rows, settings, section, analysis);
  PutTitle(paper, words.title);
  if (section.rows == RowKind::kHoursOfWeek) {
    PutWeek(paper, rows);
    return;
  }
  if (section.dimension != nullptr && section.dimension->with_figures) {
    PutKeyFigures(paper, analysis);
  }
  const Columns columns = ColumnsFor(paper.terminal, rows);
  if (rows.distinct > 0) {
    PutHeadings(paper.sink, columns, words);
  }
  if (section.dimension != nullptr && section.dimension->in_classes) {
    PutStatusClasses(paper, StatusClassesOf(settings, analysis), columns, section);
  }
  const int64_t shown = PutRows(paper, rows, columns);
  PutShown(paper.sink, words, shown, rows.distinct);
}

void WriteText(const Settings& settings, Analysis& analysis, const Terminal& terminal) {
  Paper paper{{}, terminal};
  PutHead(paper, settings, analysis);
  for (const SectionId id : PageOrder()) {
    if (IsOn(SectionOf(id), settings)) {
      PutSection(paper, settings, SectionOf(id), analysis);
    }
  }
  FlushSink(paper.sink);
}

// ---- Answers ------------------------------------------------------------------------------

static bool mFromShell = false;

static void AnswerReport(const Environment& env, const Settings& settings) {
  mFromShell = env.command_line != 0;
  char disposition[kDispositionSize];
  NameFile(disposition, "inline", "txt", settings);
  PrintAnswerHead(env, {.type = "text/plain; charset=utf-8", .disposition = disposition});
}

static AnalysisEvents ToldNothing(const Settings&) {
  return {};
}

static void Finish(const Settings& settings, Analysis& analysis) {
  WriteText(settings, analysis, TerminalOf(mFromShell));
}

const PageWriter kTextOutput = {
    .announce = nullptr,
    .check = nullptr,
    .begin = nullptr,
    .found = AnswerReport,
    .told = ToldNothing,
    .finish = Finish,
    .tells_totals = true,
    .refuse = RefuseInOneLine,
    .ask = nullptr,
    .info = {},
};
