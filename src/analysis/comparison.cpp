#include "analysis/comparison.h"

#include <algorithm>
#include <iterator>

#include "analysis/status_meanings.h"
#include "base/capped_sum.h"
#include "base/text.h"

// ---- Days -----------------------------------------------------------------------------

static DayRange Earlier(const DayRange& days, int64_t by) {
  return {DayOfNumber(NumberOfDay(days.first) - by), DayOfNumber(NumberOfDay(days.last) - by)};
}

static DayRange RightBefore(const DayRange& days) {
  return Earlier(days, CountDays(days));
}

static DayRange OfSameWeekdays(const DayRange& days) {
  return Earlier(days, (CountDays(days) + 6) / 7 * 7);
}

static CalendarDate YearsBefore(CalendarDate day, int years) {
  day.year -= years;
  day.day -= IsDay(day) ? 0 : 1;
  return day;
}

static DayRange OfEarlierYear(const DayRange& days) {
  const CalendarDate& last = days.last;
  int years = last.year - days.first.year;
  years += years == 0 || CountDays({days.first, YearsBefore(last, years)}) > 0 ? 1 : 0;
  return {YearsBefore(days.first, years), YearsBefore(last, years)};
}

struct ComparedDays {
  const char* name;
  DayRange (*of)(const DayRange& days);
};
static constexpr ComparedDays kComparisons[] = {
    {"previous", RightBefore},
    {"weekdays", OfSameWeekdays},
    {"year", OfEarlierYear},
};

// Null where there is none of the name.
static const ComparedDays* FindComparison(const char* text) {
  for (const ComparedDays& compared : kComparisons) {
    if (EqualIgnoreCase(compared.name, text)) {
      return &compared;
    }
  }
  return nullptr;
}

bool IsComparison(const char* text) {
  return FindComparison(text) != nullptr;
}

bool FindComparedDays(const char* text, const DayRange& days, DayRange& compared) {
  const ComparedDays* const found = FindComparison(text);
  if (found != nullptr) {
    compared = found->of(days);
  }
  return found != nullptr;
}

Comparison ComparisonOf(const Settings& settings) {
  Comparison comparison;
  DayRange days{};
  ParseDate(days.first, days.last, settings);
  const bool known = !settings.from_first && !settings.to_last && !settings.first_alone;
  if (!known || !IsDay(days.first) || !IsDay(days.last) ||
      !FindComparedDays(settings.compare, days, comparison.days) || !IsDay(comparison.days.first)) {
    return comparison;
  }
  comparison.asked = true;
  comparison.first = BeginOfDay(comparison.days.first);
  comparison.last = BeginOfDay(DayOfNumber(NumberOfDay(comparison.days.last) + 1)) - 1;
  return comparison;
}

// ---- Counting -------------------------------------------------------------------------

void CountCompared(const SuperLogRecord& record, Comparison& comparison) {
  constexpr auto kStatusEnd = static_cast<int64_t>(kStatuses);
  const bool has_status = record.status > 0 && record.status < kStatusEnd;
  ++comparison.requests;
  comparison.with_status += has_status ? 1 : 0;
  comparison.errors += has_status && record.status >= static_cast<int64_t>(kFirstErrorStatus) ? 1 : 0;
  AddCapped(comparison.bytes, std::max<int64_t>(record.bytes, 0));
  CountDay(comparison.dates, record.local);
}

// ---- Parts ----------------------------------------------------------------------------

static constexpr int64_t Comparison::*kFigures[] = {&Comparison::requests, &Comparison::with_status,
                                                    &Comparison::errors, &Comparison::not_found,
                                                    &Comparison::bytes};

void SaveComparison(PartWriter& part, const Comparison& comparison) {
  for (int64_t Comparison::*const figure : kFigures) {
    PutFigure(part, static_cast<uint64_t>(comparison.*figure));
  }
  SaveDays(part, comparison.dates);
}

bool AddSavedComparison(PartReader& part, Comparison& comparison) {
  for (int64_t Comparison::*const figure : kFigures) {
    AddCapped(comparison.*figure, static_cast<int64_t>(TakeFigureUpTo(part, INT64_MAX)));
  }
  return AddSavedDays(part, comparison.dates);
}

bool PassSavedComparison(PartReader& part) {
  for (size_t i = 0; i < std::size(kFigures); ++i) {
    TakeFigure(part);
  }
  return PassSavedDays(part);
}
