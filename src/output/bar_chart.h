// A chart of bars above a line, with an axis of round figures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "output/sink.h"

struct Bar {
  int64_t count = 0;
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
};

// Writes the <svg>, of any counts.
void DrawBars(Sink& sink, const BarChart& chart);

// A label of the axis: begins it, for the caller to write its text and "</text>".
// kUpper: in the middle below its bar; kLower: from the bar's left edge on, or up to the
// chart's end where it would not fit.
enum class LabelRow { kUpper, kLower };
struct Label {
  size_t bar;
  size_t bars;
  LabelRow row;
  bool wide;  // only where there is room
};
void BeginLabel(Sink& sink, const Label& label);
