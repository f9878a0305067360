#include "report/time_tables.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "dates/local_time.h"
#include "superlog/superlog.h"

static constexpr int kWidestBar = 300;  // pixels
static constexpr time_t kSecondsPerDay = 86400;

// The days of the years 0 to 9999, and one at either end for the zones. A range may
// be of any years, millions of them: its page would have no end.
static constexpr time_t kFirstDay = -62167219200 - kSecondsPerDay;
static constexpr time_t kEndOfDays = 253402300800 + kSecondsPerDay;

static const char* const kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                        "Thursday", "Friday", "Saturday"};

namespace {
struct SectionText {
  const char* anchor;
  const char* colour;
  const char* title;
  const char* explanation;
  const char* unit;  // heads the column of labels
};

// What the figures of a section are measured against.
struct Scale {
  const char* pictures;
  int64_t largest;
  int64_t total;
};
}  // namespace

// ---- Frame ----

static void PrintTitle(const Settings& settings, const SectionText& section) {
  if (settings.cgi == 0) {
    printf("\n%s\n\n", section.title);
    return;
  }
  printf("\n<p><a name=\"%s\"></a><hr noshade><p>\n", section.anchor);
  printf("<center><table border=1 width=\"80%%\" cellspacing=0>\n<tr>\n");
  printf("<td bgcolor=\"%s\" align=\"center\"><font size=\"+1\"><b>%s</b></font></td>\n", section.colour,
         section.title);
  printf("</tr>\n<tr>\n<td bgcolor=\"%s\">%s</td>\n</tr>\n", section.colour, section.explanation);
}

template <size_t N>
static Scale ScaleOf(const Settings& settings, const TimeDistribution<N>& distribution) {
  const int64_t largest =
      std::max<int64_t>(0, *std::max_element(distribution.counts, distribution.counts + N));
  return {settings.OrvellisPath, largest, distribution.total};
}

// Prints one section; print_rows prints all of its rows.
template <typename PrintRows>
static void PrintSection(const Settings& settings, const SectionText& section, const Scale& scale,
                         PrintRows print_rows) {
  PrintTitle(settings, section);
  if (scale.largest == 0) {
    printf("<tr>\n<td><b><i>No items found</i></b></td>\n</tr>\n");
  } else {
    printf("<tr>\n<td bgcolor=\"#FFFFCC\">\n<table border=0 width=\"100%%\">\n");
    printf("<tr>\n<td align=right><b>%s</b></td>\n<td align=center><b>%% of Total</b></td>\n", section.unit);
    printf("<td><b>Number of Hits</b></td>\n</tr>\n");
    print_rows();
    printf("</table></td>\n</tr>\n");
  }
  printf("</table></center><p>");
}

// ---- Rows ----

// Prints what follows a row's label.
static void PrintFigures(const Scale& scale, const char* colour, int64_t count) {
  const double percentage =
      scale.total == 0 ? 0.0 : static_cast<double>(count) / static_cast<double>(scale.total) * 100.0;
  printf("<td align=center>%.0f%%</td>\n<td>", percentage > 0.0 ? percentage : 0.0);
  if (count != 0) {
    const double width = static_cast<double>(count) / static_cast<double>(scale.largest) * kWidestBar;
    printf("<img src=\"%s/%s2x5.gif\" height=\"5\" width=\"%d\">&nbsp;", scale.pictures, colour,
           static_cast<int>(width));
  }
  printf("%ld\n</td></tr>\n", static_cast<long>(count));
}

static const char* WeekdayColour(int weekday) {
  return weekday == 0 || weekday == 6 ? "blue" : "red";
}

static void PrintDayLabel(time_t day, int weekday, bool month_first) {
  tm local{};
  TimeToLocal(day, local);
  const int month = local.tm_mon + 1;
  printf("<tr><td align=\"right\"><font size=\"-1\">%s</font>&nbsp;%d/%d</td>\n", kWeekdays[weekday],
         month_first ? month : local.tm_mday, month_first ? local.tm_mday : month);
}

static void PrintDays(const Analysis& analysis, const Scale& scale) {
  const int date_format = SuperLog_GetDateFormat();
  const bool month_first = date_format == 3 || date_format == 4 || date_format == 6;
  tm first{};
  TimeToLocal(analysis.range_first, first);
  const time_t skipped = std::max<time_t>((kFirstDay - analysis.range_first) / kSecondsPerDay, 0);
  const time_t begin = analysis.range_first + skipped * kSecondsPerDay;
  const time_t end = std::min(analysis.range_last, kEndOfDays);
  int weekday = static_cast<int>((first.tm_wday + skipped) % 7);
  int day_of_year = skipped == 0 ? first.tm_yday : static_cast<int>((first.tm_yday + skipped) % 365);
  // deliberate: steps of 24 hours, so that over a clock change a date may repeat
  for (time_t day = begin; day < end; day += kSecondsPerDay) {
    PrintDayLabel(day, weekday, month_first);
    PrintFigures(scale, WeekdayColour(weekday), analysis.days.counts[day_of_year]);
    weekday = (weekday + 1) % 7;
    day_of_year = (day_of_year + 1) % 365;  // deliberate: also in a leap year
  }
}

static void PrintWeekdays(const Analysis& analysis, const Scale& scale) {
  for (int weekday = 0; weekday < 7; ++weekday) {
    printf("<tr><td align=right>%s</td>\n", kWeekdays[weekday]);
    PrintFigures(scale, WeekdayColour(weekday), analysis.weekdays.counts[weekday]);
  }
}

static void PrintHours(const Analysis& analysis, const Scale& scale) {
  for (int hour = 0; hour < 24; ++hour) {
    const int on_dial = hour % 12 == 0 ? 12 : hour % 12;
    printf("<tr><td align=right>%d&nbsp;%s</td>\n", on_dial, hour < 12 ? "am" : "pm");
    PrintFigures(scale, "red", analysis.hours.counts[hour]);
  }
}

// ---- Sections ----

void PrintDailyTotals(const Settings& settings, const Analysis& analysis) {
  static constexpr SectionText kDaily = {"daily", "#CC9966", "Daily Totals",
                                         "This report shows how many hits your site received on each day.",
                                         "Day"};
  const Scale scale = ScaleOf(settings, analysis.days);
  PrintSection(settings, kDaily, scale, [&] { PrintDays(analysis, scale); });
}

void PrintHitsPerDayOfWeek(const Settings& settings, const Analysis& analysis) {
  static constexpr SectionText kWeekly = {
      "weekly", "#FFCC99", "Hits Per Day of Week",
      "This report shows how hits to your site are distributed throughout the week.", "Day"};
  const Scale scale = ScaleOf(settings, analysis.weekdays);
  PrintSection(settings, kWeekly, scale, [&] { PrintWeekdays(analysis, scale); });
}

void PrintHitsPerHour(const Settings& settings, const Analysis& analysis) {
  static constexpr SectionText kHourly = {
      "hourly", "#CC6666", "Hits Per Hour",
      "This report shows how hits to your site are distributed throughout the day.", "Hour"};
  const Scale scale = ScaleOf(settings, analysis.hours);
  PrintSection(settings, kHourly, scale, [&] { PrintHours(analysis, scale); });
}
