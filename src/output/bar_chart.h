// A chart of bars above a line, with an axis of round figures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "output/sink.h"

struct Bar {
  int64_t count = 0;
  int64_t before = -1;   // what it is compared with; below 0: nothing
  int64_t first = 0;     // its number, or its first day and
  int64_t last = 0;      // its last, since 1970-01-01
  bool weekend = false;  // drawn apart
  bool part = false;     // of a period that the range cuts
};

struct BarChart {
  Literal subject;  // "Requests by hour"
  std::span<const Bar> bars;
  void (*put_name)(Sink& sink, const Bar& bar);  // what the bar stands for
  void (*put_axis)(Sink& sink, std::span<const Bar> bars);
  bool lower_labels;
};

// Writes the <svg>, of any counts.
void DrawBars(Sink& sink, const BarChart& chart);

// Which of so many bars.
struct BarNumber {
  size_t number;
  size_t of;
};

// Begin a label of the axis, for the caller to write its text and "</text>". An upper one
// stands in the middle below its bar, where wide says so only if there is room; a lower
// one from the bar's left edge on, or, as width (per cent of a narrow page) tells that it
// would not fit, before the chart's end.
void BeginUpperLabel(Sink& sink, BarNumber bar, bool wide);
void BeginLowerLabel(Sink& sink, BarNumber bar, int width);
