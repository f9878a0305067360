#include "output/day_bars.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <limits>

#include "output/moments.h"
#include "output/svg.h"
#include "sections/time_rows.h"

// ---- Periods ---------------------------------------------------------------------------

static constexpr Period kPeriods[] = {
    {1, [](const CalendarDate&, int) { return true; }, "Requests by day",
     "Each bar is a day; Saturdays and Sundays have a weaker colour.", ""},
    {7, [](const CalendarDate&, int weekday) { return weekday == 1; }, "Requests by week",
     "Each bar is a week from Monday to Sunday.",
     " An outlined bar holds only the days of its week that were asked for."},
    {30, [](const CalendarDate& date, int) { return date.day == 1; }, "Requests by month",
     "Each bar is a month.", " An outlined bar holds only the days of its month that were asked for."},
    {365, [](const CalendarDate& date, int) { return date.day == 1 && date.month == 1; }, "Requests by year",
     "Each bar is a year.", " An outlined bar holds only the days of its year that were asked for."},
    {3652,
     [](const CalendarDate& date, int) { return date.day == 1 && date.month == 1 && date.year % 10 == 0; },
     "Requests by ten years", "Each bar is ten years.",
     " An outlined bar holds only the days of its years that were asked for."},
    {36524,
     [](const CalendarDate& date, int) { return date.day == 1 && date.month == 1 && date.year % 100 == 0; },
     "Requests by a hundred years", "Each bar is a hundred years.",
     " An outlined bar holds only the days of its years that were asked for."},
};

// Two of them may be cut by the range.
static const Period& PeriodFor(int64_t days, size_t most) {
  for (const Period& period : kPeriods) {
    const int64_t cut = period.days == 1 ? 0 : 2;
    if (days / period.days + cut <= static_cast<int64_t>(most)) {
      return period;
    }
  }
  return kPeriods[std::size(kPeriods) - 1];
}

static int64_t SumOf(int64_t a, int64_t b) {
  int64_t sum = 0;
  return __builtin_add_overflow(a, b, &sum) ? std::numeric_limits<int64_t>::max() : sum;
}

static bool BeginsAt(const Period& period, int64_t day) {
  return period.begins(DateOfDay(day), WeekdayOfDay(day));
}

static int64_t NumberOf(const CalendarDate& date) {
  tm parts{};
  parts.tm_year = date.year - 1900;
  parts.tm_mon = date.month - 1;
  parts.tm_mday = date.day;
  return timegm(&parts) / 86400;
}

static void MarkParts(DayBars& days) {
  if (days.length == 0) {
    return;
  }
  Bar& first = days.bars[0];
  Bar& last = days.bars[days.length - 1];
  first.part = !BeginsAt(*days.period, first.first);
  last.part = last.part || !BeginsAt(*days.period, last.last + 1);
}

static void AddDay(DayBars& days, const TimeRow& row, int64_t day) {
  if (days.length == 0 || (days.length < days.bars.size() && days.period->begins(row.date, row.weekday))) {
    days.bars[days.length++] = {.first = day};
  }
  Bar& bar = days.bars[days.length - 1];
  bar.count = SumOf(bar.count, std::max<int64_t>(row.count, 0));
  if (row.before >= 0) {
    bar.before = SumOf(std::max<int64_t>(bar.before, 0), row.before);
  }
  bar.last = day;
  bar.weekend = days.period->days == 1 && (row.weekday == 0 || row.weekday == 6);
}

DayBars CollectDays(const Analysis& analysis, size_t most) {
  TimeRows rows = OpenDays(analysis);
  DayBars days{
      .period = &PeriodFor(rows.end - rows.next, std::min(most, kMostDayBars)), .bars = {}, .length = 0};
  int64_t day = 0;
  for (TimeRow row; NextTime(rows, row); ++day) {
    if (days.length == 0) {
      day = NumberOf(row.date);
    }
    AddDay(days, row, day);
  }
  MarkParts(days);
  return days;
}

void PutDays(Sink& sink, const Bar& bar) {
  if (bar.first == bar.last) {
    Put(sink, NameOfWeekday(WeekdayOfDay(bar.first)));
    Put(sink, " ");
  }
  PutDay(sink, DateOfDay(bar.first));
  if (bar.first != bar.last) {
    Put(sink, " to ");
    PutDay(sink, DateOfDay(bar.last));
  }
}

// ---- The axis --------------------------------------------------------------------------

static int64_t MonthOf(int64_t day) {
  const CalendarDate date = DateOfDay(day);
  return int64_t{12} * date.year + date.month - 1;
}

static int64_t YearOf(int64_t day) {
  return DateOfDay(day).year;
}

static void PutDayOfMonth(Sink& sink, int64_t day) {
  PutNumber(sink, DateOfDay(day).day);
}

static void PutMonth(Sink& sink, int64_t day) {
  Put(sink, ShortNameOfMonth(DateOfDay(day).month));
}

static void PutYear(Sink& sink, int64_t day) {
  PutNumber(sink, DateOfDay(day).year);
}

static void PutMonthAndYear(Sink& sink, int64_t day) {
  PutMonth(sink, day);
  Put(sink, " ");
  PutYear(sink, day);
}

// A part of the calendar with a number, and what is written where the next one begins.
struct Unit {
  int64_t (*number)(int64_t day);
  void (*put)(Sink& sink, int64_t day);
  int width = 0;  // of its texts, per cent of a narrow page
};

// Labels for every few units, and what is written below them; null: nothing.
struct Labelling {
  Unit unit;
  int64_t every;
  const Unit* below;
};

static constexpr Unit kDay = {[](int64_t day) { return day; }, PutDayOfMonth};
// From Monday to Sunday; 1970-01-05 was a Monday, and no day before the year 0 is shown.
static constexpr Unit kWeek = {[](int64_t day) { return (day + int64_t{7} * 200000 + 3) / 7; },
                               PutDayOfMonth};
static constexpr Unit kMonth = {MonthOf, PutMonth};
static constexpr Unit kYear = {YearOf, PutYear, 13};
static constexpr Unit kNamedMonth = {MonthOf, PutMonthAndYear, 18};

static constexpr Labelling kLabellings[] = {
    {kDay, 1, &kNamedMonth}, {kWeek, 1, &kNamedMonth}, {kMonth, 1, &kYear},    {kMonth, 3, &kYear},
    {kMonth, 6, &kYear},     {kYear, 1, nullptr},      {kYear, 2, nullptr},    {kYear, 5, nullptr},
    {kYear, 10, nullptr},    {kYear, 20, nullptr},     {kYear, 50, nullptr},   {kYear, 100, nullptr},
    {kYear, 200, nullptr},   {kYear, 500, nullptr},    {kYear, 1000, nullptr},
};

static constexpr size_t kMostLabels = 14;
static constexpr size_t kFewLabels = 7;  // on a narrow page

// Whether one of the units begins within the bar.
static bool Begins(const Unit& unit, int64_t every, const Bar& bar) {
  return unit.number(bar.first - 1) / every != unit.number(bar.last) / every;
}

static size_t CountLabels(const Labelling& labelling, std::span<const Bar> bars) {
  return static_cast<size_t>(std::count_if(bars.begin(), bars.end(), [&labelling](const Bar& bar) {
    return Begins(labelling.unit, labelling.every, bar);
  }));
}

static const Labelling& LabellingFor(std::span<const Bar> bars) {
  for (const Labelling& labelling : kLabellings) {
    if (CountLabels(labelling, bars) <= kMostLabels) {
      return labelling;
    }
  }
  return kLabellings[std::size(kLabellings) - 1];
}

static void PutUpperLabels(Sink& sink, const Labelling& labelling, std::span<const Bar> bars) {
  const bool many = CountLabels(labelling, bars) > kFewLabels;
  for (size_t i = 0; i < bars.size(); ++i) {
    if (Begins(labelling.unit, labelling.every, bars[i])) {
      const bool odd = labelling.unit.number(bars[i].last) / labelling.every % 2 != 0;
      BeginUpperLabel(sink, {i, bars.size()}, many && odd);
      labelling.unit.put(sink, bars[i].last);
      Put(sink, "</text>");
    }
  }
}

// What holds at the first bar is written too, unless its text would reach the next one.
static void PutLowerLabels(Sink& sink, const Unit& unit, std::span<const Bar> bars) {
  size_t next = 1;
  while (next < bars.size() && !Begins(unit, 1, bars[next])) {
    ++next;
  }
  for (size_t i = 0; i < bars.size(); ++i) {
    const bool room = next == bars.size() || next * 100 >= bars.size() * static_cast<size_t>(unit.width);
    if (i == 0 ? room : Begins(unit, 1, bars[i])) {
      BeginLowerLabel(sink, {i, bars.size()}, unit.width);
      unit.put(sink, bars[i].last);
      Put(sink, "</text>");
    }
  }
}

void PutDayAxis(Sink& sink, std::span<const Bar> bars) {
  const Labelling& labelling = LabellingFor(bars);
  PutUpperLabels(sink, labelling, bars);
  if (labelling.below != nullptr) {
    PutLowerLabels(sink, *labelling.below, bars);
  }
}
