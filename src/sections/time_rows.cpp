#include "sections/time_rows.h"

#include <algorithm>
#include <ctime>
#include <iterator>

#include "dates/days.h"
#include "dates/local_time.h"
#include "sections/cut_off.h"

static constexpr time_t kSecondsPerDay = 86400;

// The days of the years 0 to 9999, and one at either end for the zones. A range may
// be of any years, millions of them: its page would have no end.
static constexpr time_t kFirstDay = -62167219200 - kSecondsPerDay;
static constexpr time_t kEndOfDays = 253402300800 + kSecondsPerDay;

template <size_t N>
static int64_t Largest(const int64_t (&counts)[N]) {
  return std::max<int64_t>(0, *std::max_element(std::begin(counts), std::end(counts)));
}

// ---- Days ----

static tm LocalParts(time_t when) {
  tm local{};
  TimeToLocal(when, local);
  return local;
}

// deliberate: behind the first, days are counted on by 365 also in a leap year
static int64_t CountByDayOfYear(const TimeRows& rows) {
  const int64_t day = rows.first_day + rows.next;
  return rows.analysis->days.counts[rows.next == 0 ? day : day % 365];
}

static void FillDayOfYear(const TimeRows& rows, TimeRow& row) {
  const tm day = LocalParts(rows.analysis->range_first + rows.next * kSecondsPerDay);
  row.date = {day.tm_mon + 1, day.tm_mday, day.tm_year + 1900};
  row.weekday = static_cast<int>((rows.first_weekday + rows.next) % 7);
  row.count = CountByDayOfYear(rows);
}

static TimeRows OpenDaysOfYear(const Analysis& analysis) {
  const time_t begin = analysis.range_first;
  const time_t end = std::min(analysis.range_last, kEndOfDays);
  const tm first = LocalParts(begin);
  return {
      .total = analysis.days.total,
      .largest = Largest(analysis.days.counts),
      .next = std::max<time_t>((kFirstDay - begin) / kSecondsPerDay, 0),
      .end = (end - begin + kSecondsPerDay - 1) / kSecondsPerDay,
      .analysis = &analysis,
      .fill = FillDayOfYear,
      .first_day = first.tm_yday,
      .first_weekday = first.tm_wday,
  };
}

// That of the day which lies as far behind the first of those that are compared with.
static int64_t CountBefore(const TimeRows& rows) {
  const Comparison& comparison = rows.analysis->comparison;
  const int64_t day = NumberOfDay(comparison.days.first) + rows.next;
  const bool any = comparison.asked && day <= NumberOfDay(comparison.days.last);
  return any ? CountOfDay(comparison.dates, day) : -1;
}

static void FillDate(const TimeRows& rows, TimeRow& row) {
  const int64_t number = rows.first_day + rows.next;
  const time_t midnight = number * kSecondsPerDay;
  tm day{};
  gmtime_r(&midnight, &day);
  row.date = {day.tm_mon + 1, day.tm_mday, day.tm_year + 1900};
  row.weekday = day.tm_wday;
  row.count = CountOfDay(rows.analysis->dates, number);
  row.before = CountBefore(rows);
}

// The day of a time, of those of the years 0 to 9999.
static int64_t ShownDayOf(time_t when) {
  const int64_t day = DayNumber(LocalParts(std::clamp(when, kFirstDay, kEndOfDays)));
  return std::clamp<int64_t>(day, kFirstDay / kSecondsPerDay + 1, kEndOfDays / kSecondsPerDay - 2);
}

static TimeRows OpenDates(const Analysis& analysis) {
  const int64_t first = ShownDayOf(analysis.range_first);
  return {
      .total = analysis.dates.total,
      .largest = LargestDayCount(analysis.dates),
      .end = ShownDayOf(analysis.range_last) - first + 1,
      .analysis = &analysis,
      .fill = FillDate,
      .first_day = first,
  };
}

// By the way in which days were counted.
static constexpr TimeRows (*kOpenDays[])(const Analysis& analysis) = {OpenDaysOfYear, OpenDates};

TimeRows OpenDays(const Analysis& analysis) {
  return kOpenDays[static_cast<size_t>(analysis.counting.days)](analysis);
}

// ---- Weekdays and hours ----

static void FillWeekday(const TimeRows& rows, TimeRow& row) {
  row.weekday = static_cast<int>(rows.next);
  row.count = rows.analysis->weekdays.counts[rows.next];
}

static void FillHour(const TimeRows& rows, TimeRow& row) {
  row.hour = static_cast<int>(rows.next);
  row.count = rows.analysis->hours.counts[rows.next];
}

static void FillHourOfWeek(const TimeRows& rows, TimeRow& row) {
  row.weekday = static_cast<int>(rows.next / 24);
  row.hour = static_cast<int>(rows.next % 24);
  row.count = rows.analysis->hours_of_week.counts[rows.next];
}

template <size_t N>
static TimeRows OpenAll(const Analysis& analysis, const TimeDistribution<N>& distribution,
                        void (*fill)(const TimeRows& rows, TimeRow& row)) {
  return {distribution.total, Largest(distribution.counts), 0, N, &analysis, fill, 0, 0};
}

TimeRows OpenWeekdays(const Analysis& analysis) {
  return OpenAll(analysis, analysis.weekdays, FillWeekday);
}

TimeRows OpenHours(const Analysis& analysis) {
  return OpenAll(analysis, analysis.hours, FillHour);
}

TimeRows OpenHoursOfWeek(const Analysis& analysis) {
  return OpenAll(analysis, analysis.hours_of_week, FillHourOfWeek);
}

bool NextTime(TimeRows& rows, TimeRow& row) {
  if (rows.next >= rows.end) {
    return false;
  }
  row = {};
  rows.fill(rows, row);
  ++rows.next;
  row.share = std::max(0.0, Share(row.count, rows.total));
  row.bar = Share(row.count, rows.largest);
  return true;
}
