// The days of the range as a bounded number of bars.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "analysis/analysis.h"
#include "dates/years.h"
#include "output/bar_chart.h"
#include "output/sink.h"

// What a bar holds of the calendar.
struct Period {
  int64_t days;  // of one, where many follow each other: hardly ever fewer
  bool (*begins)(const CalendarDate& date, int weekday);
  Literal subject;  // "Requests by week"
  Literal caption;
  Literal cut;  // what is said where the range cuts one
};

inline constexpr size_t kMostDayBars = 124;

struct DayBars {
  const Period* period;
  std::array<Bar, kMostDayBars> bars;
  size_t length;

  std::span<const Bar> All() const { return {bars.data(), length}; }
};

// Sums the days of the range up by the shortest period of which there are no more than
// most (at most kMostDayBars) however they lie. Sums end at the largest number.
DayBars CollectDays(const Analysis& analysis, size_t most);

// "Tuesday 2026-11-17", "2026-11-16 to 2026-11-22"
void PutDays(Sink& sink, const Bar& bar);

// Labels by the calendar: as many as fit, and below them the month or year where it changes.
void PutDayAxis(Sink& sink, std::span<const Bar> bars);
