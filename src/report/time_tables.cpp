#include "report/time_tables.h"

#include <cinttypes>
#include <climits>
#include <cmath>
#include <cstdio>

#include "report/section_look.h"
#include "sections/time_rows.h"
#include "superlog/superlog.h"

static constexpr int kWidestBar = 300;  // pixels

static const char* const kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                        "Thursday", "Friday", "Saturday"};

// ---- Labels ----

using PrintLabel = void (*)(const TimeRow& row);

static void PrintDay(const TimeRow& row) {
  const DateOrder order = SuperLog_GetDateFormat();
  const bool month_first = order == kOrderMdy || order == kOrderMyd || order == kOrderYmd;
  printf("<tr><td align=\"right\"><font size=\"-1\">%s</font>&nbsp;%d/%d</td>\n", kWeekdays[row.weekday],
         month_first ? row.date.month : row.date.day, month_first ? row.date.day : row.date.month);
}

static void PrintWeekday(const TimeRow& row) {
  printf("<tr><td align=right>%s</td>\n", kWeekdays[row.weekday]);
}

static void PrintHour(const TimeRow& row) {
  const int on_dial = row.hour % 12 == 0 ? 12 : row.hour % 12;
  printf("<tr><td align=right>%d&nbsp;%s</td>\n", on_dial, row.hour < 12 ? "am" : "pm");
}

// ---- Rows ----

static const char* BarColour(const TimeRow& row) {
  return row.weekday == 0 || row.weekday == 6 ? "blue" : "red";
}

// Counts that have wrapped may make a bar of any width, below 0 and beyond what a number holds.
static int WidthOf(double bar) {
  const double width = bar * kWidestBar;
  return std::fabs(width) < -static_cast<double>(INT_MIN) ? static_cast<int>(width) : INT_MIN;
}

// Prints what follows a row's label.
static void PrintFigures(const Settings& settings, const TimeRow& row) {
  printf("<td align=center>%.0f%%</td>\n<td>", row.share * 100.0);
  if (row.count != 0) {
    printf("<img src=\"%s/%s2x5.gif\" height=\"5\" width=\"%d\">&nbsp;", settings.OrvellisPath,
           BarColour(row), WidthOf(row.bar));
  }
  printf("%" PRId64 "\n</td></tr>\n", row.count);
}

static void PrintRows(const Settings& settings, const SectionLook& look, TimeRows& rows, PrintLabel label) {
  printf("<tr>\n<td bgcolor=\"#FFFFCC\">\n<table border=0 width=\"100%%\">\n");
  printf("<tr>\n<td align=right><b>%s</b></td>\n<td align=center><b>%% of Total</b></td>\n", look.noun);
  printf("<td><b>Number of Hits</b></td>\n</tr>\n");
  for (TimeRow row; NextTime(rows, row);) {
    label(row);
    PrintFigures(settings, row);
  }
  printf("</table></td>\n</tr>\n");
}

// ---- Sections ----

static void PrintTimes(const Settings& settings, const Section& section, const Analysis& analysis,
                       PrintLabel label) {
  const SectionLook& look = LookOf(section);
  if (settings.cgi == 0) {
    PrintPlainTitle(look);
  } else {
    BeginSectionHead(look, 0);
    EndSectionHead();
  }
  TimeRows rows = section.times(analysis);
  if (rows.largest == 0) {
    printf("<tr>\n<td><b><i>No items found</i></b></td>\n</tr>\n");
  } else {
    PrintRows(settings, look, rows, label);
  }
  EndSection();
}

void PrintDailyTotals(const Settings& settings, const Section& section, const Analysis& analysis) {
  PrintTimes(settings, section, analysis, PrintDay);
}

void PrintHitsPerDayOfWeek(const Settings& settings, const Section& section, const Analysis& analysis) {
  PrintTimes(settings, section, analysis, PrintWeekday);
}

void PrintHitsPerHour(const Settings& settings, const Section& section, const Analysis& analysis) {
  PrintTimes(settings, section, analysis, PrintHour);
}
