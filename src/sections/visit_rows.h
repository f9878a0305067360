// What a report says of all visits.
#pragma once

#include <array>
#include <cstdint>

#include "analysis/analysis.h"
#include "base/literal.h"

// As they were counted, for programs.
struct VisitTotal {
  Literal name;
  int64_t figure;
};
inline constexpr size_t kVisitTotals = 5;
std::array<VisitTotal, kVisitTotals> VisitTotalsOf(const Analysis& analysis);

// As people compare them.
enum class FigureKind { kCount, kDecimal, kShare, kDuration };
struct KeyFigure {
  Literal title;
  FigureKind kind;
  double figure;  // a duration is in seconds
};
inline constexpr size_t kKeyFigures = 5;
std::array<KeyFigure, kKeyFigures> KeyFiguresOf(const Analysis& analysis);

// Hours, minutes and seconds of a duration, as "1:02:03" or "2:03".
using DurationText = char[32];
void WriteDuration(DurationText& text, double seconds);

// Where visitors are a sample: the likely error of their number in per cent, rounded up.
int64_t ErrorOfVisitors(const VisitFigures& figures);
