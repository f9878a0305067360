// Links that ask for the same report over other days of the logs.
#pragma once

#include <array>
#include <optional>

#include "cgi/settings.h"
#include "dates/days.h"
#include "output/sink.h"

// In the order in which the links stand.
enum class DayLinkKind {
  kPrevious,       // as many days as are shown, before them
  kPreviousMonth,  // in its place where a month is shown
  kNext,           // the same behind them
  kNextMonth,
  kWeek,  // from Monday, that the shown days lie in
  kMonth,
  kYear,
  kFirstDays,  // of the logs, as are the following
  kFirstMonth,
  kLatestDay,
  kLatestDays,
  kLatestMonth,
  kAll,
  kSame,  // the days that are shown: the report's own address
};

inline constexpr size_t kDayLinkKinds = 14;

// By kind; what is not there has no link.
using DayLinks = std::array<std::optional<DayRange>, kDayLinkKinds>;

// Where a reader may want to go from the shown days, and where somebody without any. None of them leaves
// the days that the logs hold, but the shown ones, and no two lead to the same days.
DayLinks LinksFrom(const DayRange& shown, const DayRange& held);
DayLinks LinksInto(const DayRange& held);

// "2026-11-01 to 2026-11-30", or one day, as <time> elements.
void PutDays(Sink& sink, const DayRange& days);

// A list of the links. Nothing where the same cannot be asked for again by its address: nothing came from
// a web server, it was too much, or the account says which days there are.
void PutDayLinks(Sink& sink, const Settings& settings, const DayLinks& links);
