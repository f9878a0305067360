#include "sections/time_rows.h"

#include <algorithm>
#include <ctime>
#include <iterator>

#include "dates/local_time.h"
#include "sections/cut_off.h"

static constexpr time_t kSecondsPerDay = 86400;

// The days of the years 0 to 9999, and one at either end for the zones. A range may
// be of any years, millions of them: its page would have no end.
static constexpr time_t kFirstDay = -62167219200 - kSecondsPerDay;
static constexpr time_t kEndOfDays = 253402300800 + kSecondsPerDay;

namespace {

// A way of counting days, and so of finding the count of the next row's.
struct DayCounts {
  int64_t (*of_day)(const TimeRows& rows, const CalendarDate& date);
  int64_t (*largest)(const Analysis& analysis);
};

}  // namespace

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
static int64_t CountByDayOfYear(const TimeRows& rows, const CalendarDate& /*date*/) {
  const int64_t day = rows.first_day_of_year + rows.next;
  return rows.analysis->days.counts[rows.next == 0 ? day : day % 365];
}

static int64_t LargestByDayOfYear(const Analysis& analysis) {
  return Largest(analysis.days.counts);
}

static constexpr DayCounts kByDayOfYear = {CountByDayOfYear, LargestByDayOfYear};

static void FillDay(const TimeRows& rows, TimeRow& row) {
  const tm day = LocalParts(rows.analysis->range_first + rows.next * kSecondsPerDay);
  row.date = {day.tm_mon + 1, day.tm_mday, day.tm_year + 1900};
  row.weekday = static_cast<int>((rows.first_weekday + rows.next) % 7);
  row.count = rows.count_of_day(rows, row.date);
}

TimeRows OpenDays(const Analysis& analysis) {
  const DayCounts& counts = kByDayOfYear;
  const time_t begin = analysis.range_first;
  const time_t end = std::min(analysis.range_last, kEndOfDays);
  const tm first = LocalParts(begin);
  return {
      .total = analysis.days.total,
      .largest = counts.largest(analysis),
      .next = std::max<time_t>((kFirstDay - begin) / kSecondsPerDay, 0),
      .end = (end - begin + kSecondsPerDay - 1) / kSecondsPerDay,
      .analysis = &analysis,
      .fill = FillDay,
      .count_of_day = counts.of_day,
      .first_day_of_year = first.tm_yday,
      .first_weekday = first.tm_wday,
  };
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

template <size_t N>
static TimeRows OpenAll(const Analysis& analysis, const TimeDistribution<N>& distribution,
                        void (*fill)(const TimeRows& rows, TimeRow& row)) {
  return {distribution.total, Largest(distribution.counts), 0, N, &analysis, fill, nullptr, 0, 0};
}

TimeRows OpenWeekdays(const Analysis& analysis) {
  return OpenAll(analysis, analysis.weekdays, FillWeekday);
}

TimeRows OpenHours(const Analysis& analysis) {
  return OpenAll(analysis, analysis.hours, FillHour);
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
