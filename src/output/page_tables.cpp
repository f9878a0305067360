#include "output/page_tables.h"

#include <algorithm>
#include <string_view>

#include "output/charts.h"
#include "output/durations.h"
#include "output/escape.h"
#include "output/moments.h"
#include "output/page_cells.h"
#include "output/svg.h"
#include "sections/cut_off.h"

static constexpr int64_t kOpenRows = 10;
static constexpr int64_t kFewRows = 14;      // not worth a fold
static constexpr int64_t kBlockRows = 1000;  // that one fold holds
static constexpr int kOpenReferrers = 3;
static constexpr int kMostReferrers = 50;

// ---- Blocks --------------------------------------------------------------------------

static int64_t OpenRows(const Table& table) {
  if (table.lead != Lead::kRank && !table.alone) {
    return 0;
  }
  return table.rows <= kFewRows ? table.rows : kOpenRows;
}

static bool IsFolded(const Table& table, int64_t row) {
  return row >= OpenRows(table);
}

static constexpr Literal kBeginFold = "<details class=\"fold\"><summary>";
static constexpr Literal kWholeTable = "The figures as a table";

static void PutSummary(const Table& table) {
  Sink& sink = table.sink;
  Put(sink, kBeginFold);
  if (table.next == 0 && table.end == table.rows) {
    Put(sink, kWholeTable);
  } else {
    Put(sink, "Rows ");
    PutGrouped(sink, table.next + 1);
    Put(sink, " to ");
    PutGrouped(sink, table.end);
  }
  Put(sink, "</summary>\n");
}

static constexpr Literal kTimes[] = {"Median", "95 %", "99 %", "Sum"};

static void PutHeading(const Table& table) {
  Sink& sink = table.sink;
  Put(sink, "<table aria-label=\"");
  PutAttribute(sink, table.name);
  Put(sink,
      table.second.text().empty() ? Literal("\">\n<thead><tr>") : Literal("\" class=\"pair\">\n<thead><tr>"));
  if (table.lead != Lead::kNone) {
    Put(sink, table.lead == Lead::kRank ? Literal("<th scope=\"col\" class=\"n\">")
                                        : Literal("<th scope=\"col\" class=\"d\">"));
    Put(sink, table.columns.lead);
    Put(sink, "</th>");
  }
  Put(sink, "<th scope=\"col\" class=\"i\">");
  Put(sink, table.columns.item);
  if (!table.mark.text().empty()) {
    Put(sink, "</th><th scope=\"col\" class=\"d\">");
    Put(sink, table.mark);
  }
  if (table.seen) {
    Put(sink, "</th><th scope=\"col\" class=\"d\">First seen</th><th scope=\"col\" class=\"d\">Last seen");
  }
  Put(sink, "</th><th scope=\"col\" class=\"c\">");
  Put(sink, table.columns.count);
  if (!table.second.text().empty()) {
    Put(sink, "</th><th scope=\"col\" class=\"c\">");
    Put(sink, table.second);
  }
  if (table.bytes) {
    Put(sink, "</th><th scope=\"col\" class=\"c\">Bytes");
  }
  if (table.times) {
    for (const Literal& column : kTimes) {
      Put(sink, "</th><th scope=\"col\" class=\"c\">");
      Put(sink, column);
    }
  }
  Put(sink, "</th><th scope=\"col\" class=\"s\">");
  Put(sink, table.by_bytes ? Literal("Share of bytes") : Literal("Share"));
  Put(sink, "</th></tr></thead>\n<tbody>\n");
}

static void OpenBlock(Table& table) {
  const int64_t open = OpenRows(table);
  const bool folded = IsFolded(table, table.next);
  table.end = folded ? std::min(table.rows, (table.next - table.next % kBlockRows) + kBlockRows) : open;
  if (folded) {
    PutSummary(table);
  }
  PutHeading(table);
}

static void CloseBlock(const Table& table) {
  Put(table.sink, "</tbody>\n</table>\n");
  if (IsFolded(table, table.end - 1)) {
    Put(table.sink, "</details>\n");
  }
}

void BeginTable(Table& table, const char* name) {
  Put(table.sink, table.times  ? Literal("<div class=\"list times\" data-name=\"")
                  : table.seen ? Literal("<div class=\"list seen\" data-name=\"")
                               : Literal("<div class=\"list\" data-name=\""));
  PutAttribute(table.sink, name);
  Put(table.sink, "\">\n");
  table.name = name;
}

void EndTable(Table& table) {
  if (table.end > 0) {
    CloseBlock(table);
  }
  Put(table.sink, "</div>\n");
}

// ---- Rows ----------------------------------------------------------------------------

static constexpr Literal kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                        "Thursday", "Friday", "Saturday"};

static bool IsWeekend(const SectionRow& row) {
  return row.weekday == 0 || row.weekday == 6;
}

static void PutLead(const Table& table, const SectionRow& row) {
  if (table.lead == Lead::kRank) {
    Put(table.sink, "<td class=\"n\">");
    PutGrouped(table.sink, table.next + 1);
    Put(table.sink, "</td>");
  } else if (table.lead == Lead::kWeekday) {
    Put(table.sink, "<td class=\"d\">");
    Put(table.sink, kWeekdays[row.weekday]);
    Put(table.sink, "</td>");
  }
}

// The pages that led to the item, or others below it: the first few open, the others folded.
static void PutReferrers(Sink& sink, SectionRow& row, const SubItemWords& words) {
  const auto all = static_cast<int64_t>(row.referrers.left);
  const bool folded = all > kOpenReferrers;
  if (folded) {
    Put(sink, "<details class=\"in\"><summary>");
    PutGrouped(sink, all);
    Put(sink, words.several);
    Put(sink, "</summary>");
  }
  Put(sink, "<ul class=\"from\">");
  int left = kMostReferrers;
  for (ReferrerRow referrer; left > 0 && NextReferrer(row, referrer); --left) {
    Put(sink, "<li>");
    PutGrouped(sink, referrer.count);
    Put(sink, words.between);
    PutItemText(sink, referrer.address, words.are_pages ? "" : nullptr);
    Put(sink, "</li>");
  }
  if (all > kMostReferrers) {
    Put(sink, "<li>and ");
    PutGrouped(sink, all - kMostReferrers);
    Put(sink, " more</li>");
  }
  Put(sink, "</ul>");
  if (folded) {
    Put(sink, "</details>");
  }
}

static void PutName(Sink& sink, const SectionRow& row) {
  const char* const first = row.explained ? row.item : row.name;
  const char* const second = row.explained ? row.name : row.item;
  PutItemText(sink, first, nullptr);
  if (std::string_view(first) != second) {
    Put(sink, " <small><bdi>");
    PutHtml(sink, second);
    Put(sink, "</bdi></small>");
  }
}

// Behind the first block nobody compares bars, and a browser has enough to do with texts.
static bool IsPlain(const Table& table) {
  return table.next >= kBlockRows;
}

static void PutItem(const Table& table, SectionRow& row) {
  Sink& sink = table.sink;
  if (row.name != nullptr) {
    PutName(sink, row);
  } else if (IsPlain(table)) {
    PutPlainItem(sink, row.item, row.site);
  } else {
    PutItemText(sink, row.item, row.site);
  }
  if (row.referrers.next != nullptr) {
    PutReferrers(sink, row, *table.below);
  }
}

static void PutPart(const Table& table, const SectionRow& row) {
  if (!IsPlain(table)) {
    DrawShare(table.sink, row.bar);
  }
  if (table.shares) {
    PutShare(table.sink, row.share);
  } else {
    Put(table.sink, "\u2013");
  }
}

// As people read sizes, and for the script as they are.
static void PutBytes(Sink& sink, int64_t bytes) {
  Put(sink, "</td><td class=\"c\" data-n=\"");
  PutNumber(sink, bytes);
  Put(sink, "\">");
  PutByteSize(sink, static_cast<uint64_t>(std::max<int64_t>(bytes, 0)));
}

// As people read times, and for the script in microseconds.
static void PutTimes(Sink& sink, const TimesTaken& times) {
  for (const int64_t time : {times.median, times.of_95, times.of_99, times.sum}) {
    Put(sink, "</td><td class=\"c\" data-n=\"");
    PutNumber(sink, time);
    Put(sink, "\">");
    PutDuration(sink, time);
  }
}

static void PutSeen(Sink& sink, const TimeSpan& seen) {
  for (const int64_t time : {seen.first, seen.last}) {
    Put(sink, "</td><td class=\"d\">");
    if (seen.first <= seen.last) {
      PutDayAndClock(sink, time);
    }
  }
}

void PutTableRow(Table& table, SectionRow& row) {
  Sink& sink = table.sink;
  if (table.next == table.end) {
    if (table.end > 0) {
      CloseBlock(table);
    }
    OpenBlock(table);
  }
  Put(sink, IsWeekend(row) ? Literal("<tr class=\"e\">") : Literal("<tr>"));
  PutLead(table, row);
  Put(sink, "<td class=\"i\">");
  PutItem(table, row);
  if (row.marked >= 0) {
    Put(sink, "</td><td class=\"d\">");
    Put(sink, row.marked != 0 ? Literal("yes") : Literal("no"));
  }
  if (table.seen) {
    PutSeen(sink, row.seen);
  }
  Put(sink, "</td><td class=\"c\">");
  PutGrouped(sink, row.count);
  if (!table.second.text().empty()) {
    Put(sink, "</td><td class=\"c\">");
    PutGrouped(sink, row.second);
  }
  if (table.bytes) {
    PutBytes(sink, row.bytes);
  }
  if (table.times) {
    PutTimes(sink, row.times);
  }
  Put(sink, "</td><td class=\"s\">");
  PutPart(table, row);
  Put(sink, "\n</td></tr>");  // a line end between rows would be one more thing to hold
  ++table.next;
}

// ---- The hours of the week ----------------------------------------------------------

// Weeks begin with Monday, as they are drawn.
static int WeekdayAt(int column) {
  return (column + 1) % 7;
}

static void PutWeekHead(Sink& sink) {
  Put(sink, "<thead><tr><th scope=\"col\" class=\"i\">Hour</th>");
  for (int column = 0; column < 7; ++column) {
    Put(sink, "<th scope=\"col\" class=\"c\">");
    Put(sink, ShortNameOfWeekday(WeekdayAt(column)));
    Put(sink, "</th>");
  }
  Put(sink, "</tr></thead>\n");
}

static void PutHourOfWeek(Sink& sink, const int64_t (&counts)[kHoursInWeek], int hour) {
  Put(sink, "<tr><td class=\"i\"><bdi>");
  PutPadded(sink, hour, 2);
  Put(sink, "</bdi></td>");
  for (int column = 0; column < 7; ++column) {
    Put(sink, "<td class=\"c\">");
    PutGrouped(sink, counts[24 * WeekdayAt(column) + hour]);
    Put(sink, "</td>");
  }
  Put(sink, "\n</tr>");
}

void PutWeekTable(Sink& sink, const Literal& name, SectionRows& rows) {
  int64_t counts[kHoursInWeek] = {};
  for (SectionRow row; NextRow(rows, row);) {
    counts[24 * row.weekday + row.hour] = row.count;
  }
  Put(sink, "<div class=\"list week\" data-name=\"");
  Put(sink, name);
  Put(sink, "\">\n");
  Put(sink, kBeginFold);
  Put(sink, kWholeTable);
  Put(sink, "</summary>\n<table aria-label=\"");
  Put(sink, name);
  Put(sink, "\">\n");
  PutWeekHead(sink);
  Put(sink, "<tbody>\n");
  for (int hour = 0; hour < 24; ++hour) {
    PutHourOfWeek(sink, counts, hour);
  }
  Put(sink, "</tbody>\n</table>\n</details>\n</div>\n");
}
