#include "output/bar_chart.h"

#include <algorithm>

#include "output/charts.h"
#include "output/scale.h"
#include "output/svg.h"

// Heights are pixels, so that texts fit between lines; widths are parts of the whole.
static constexpr int kTop = 30;
static constexpr int kPlotHeight = 200;
static constexpr int kBase = kTop + kPlotHeight;
static constexpr int kSmallestHeight = 20;  // tenths of a pixel, of a bar that is none of 0
static constexpr uint64_t kMostLines = 5;

static constexpr int64_t kWhole = 10000;       // hundredths of a per cent
static constexpr int64_t kWidestBar = 1000;    // so that few bars are no blocks
static constexpr int64_t kFilledPercent = 84;  // of a bar's place

// ---- Places --------------------------------------------------------------------------

static int64_t LeftOf(size_t bar, size_t bars) {
  return static_cast<int64_t>(bar) * kWhole / static_cast<int64_t>(bars);
}

struct Place {
  int64_t left;  // of all that answers for the bar
  int64_t width;
  int64_t bar_left;
  int64_t bar_width;
};

static Place PlaceOf(size_t bar, size_t bars) {
  const int64_t left = LeftOf(bar, bars);
  const int64_t width = LeftOf(bar + 1, bars) - left;
  const int64_t bar_width = std::min(kWhole * kFilledPercent / 100 / static_cast<int64_t>(bars), kWidestBar);
  return {left, width, left + (width - bar_width) / 2, bar_width};
}

// In tenths of a pixel.
static int64_t HeightOf(int64_t count, const Scale& scale) {
  if (count <= 0) {
    return 0;
  }
  const double part = static_cast<double>(count) / static_cast<double>(TopOf(scale));
  return std::max<int64_t>(Rounded(part * kPlotHeight * 10), kSmallestHeight);
}

// ---- Marks ---------------------------------------------------------------------------

static void PutAcross(Sink& sink, int64_t left, int64_t width) {
  Put(sink, " x=\"");
  PutParts(sink, left, 2);
  Put(sink, "%\" width=\"");
  PutParts(sink, width, 2);
  Put(sink, "%\"");
}

static void PutShape(Sink& sink, const Place& place, int64_t height) {
  Put(sink, height == 0 ? Literal("<rect class=\"none\"") : Literal("<rect"));
  PutAcross(sink, place.bar_left, place.bar_width);
  Put(sink, " y=\"");
  PutParts(sink, height == 0 ? int64_t{10} * (kBase + 1) : int64_t{10} * kBase - height, 1);
  Put(sink, "\" height=\"");
  PutParts(sink, height == 0 ? 40 : height, 1);
  Put(sink, "\"/>");
}

// A line across the place of the bar.
static void PutBefore(Sink& sink, const Place& place, int64_t height) {
  static constexpr int64_t kThickness = 30;
  Put(sink, "<rect class=\"before\"");
  PutAcross(sink, place.left, place.width);
  Put(sink, " y=\"");
  PutParts(sink, int64_t{10} * kBase - height - kThickness / 2, 1);
  Put(sink, "\" height=\"");
  PutParts(sink, kThickness, 1);
  Put(sink, "\"/>");
}

static void PutFigure(Sink& sink, const BarChart& chart, const Bar& bar) {
  chart.put_name(sink, bar);
  Put(sink, ": ");
  PutRequests(sink, std::max<int64_t>(bar.count, 0));
  if (bar.before >= 0) {
    Put(sink, ", before ");
    PutGrouped(sink, bar.before);
  }
}

static void BeginMark(Sink& sink, const Bar& bar, bool focused) {
  Put(sink, "\n<g");
  if (bar.part) {
    Put(sink, " class=\"p\"");
  } else if (bar.weekend) {
    Put(sink, " class=\"w\"");
  }
  Put(sink, focused ? Literal(" role=\"img\" tabindex=\"0\"><title>") : Literal("><title>"));
}

static void PutMark(Sink& sink, const BarChart& chart, size_t number, const Scale& scale) {
  const Bar& bar = chart.bars[number];
  const Place place = PlaceOf(number, chart.bars.size());
  const bool focused = chart.bars.size() <= kMostFocused;
  BeginMark(sink, bar, focused);
  PutFigure(sink, chart, bar);
  Put(sink, "</title><rect");
  PutAcross(sink, place.left, place.width);
  Put(sink, "/>");
  PutShape(sink, place, HeightOf(bar.count, scale));
  if (bar.before >= 0) {
    PutBefore(sink, place, HeightOf(bar.before, scale));
  }
  if (focused) {
    Put(sink, "<text class=\"tip\" x=\"100%\" y=\"14\">");
    PutFigure(sink, chart, bar);
    Put(sink, "</text>");
  }
  Put(sink, "</g>");
}

// ---- Lines ---------------------------------------------------------------------------

static void PutLine(Sink& sink, const Scale& scale, uint64_t step) {
  const auto steps = static_cast<int>(std::max<uint64_t>(scale.steps, 1));
  const int64_t y = 10 * kBase - (10 * kPlotHeight * static_cast<int>(step) + steps / 2) / steps;
  if (step != 0) {
    Put(sink, "<line x2=\"100%\" y1=\"");
    PutParts(sink, y, 1);
    Put(sink, "\" y2=\"");
    PutParts(sink, y, 1);
    Put(sink, "\"/>");
  }
  Put(sink, "<text x=\"-8\" y=\"");
  PutParts(sink, y + 40, 1);
  Put(sink, "\">");
  PutStep(sink, scale, step);
  Put(sink, "</text>");
}

static void PutGrid(Sink& sink, const Scale& scale) {
  Put(sink, "\n<g class=\"grid\" aria-hidden=\"true\">");
  for (uint64_t step = 0; step <= scale.steps; ++step) {
    PutLine(sink, scale, step);
  }
  Put(sink, "</g>");
}

static constexpr int kUpperLabels = 251;
static constexpr int kLowerLabels = 268;
static constexpr int kBelowText = 6;
static constexpr int64_t kMargin = 400;  // what a text may reach beyond the end

static void PutLabelAt(Sink& sink, int64_t x, int y) {
  Put(sink, " x=\"");
  PutParts(sink, x, 2);
  Put(sink, "%\" y=\"");
  PutNumber(sink, y);
  Put(sink, "\">");
}

void BeginUpperLabel(Sink& sink, BarNumber bar, bool wide) {
  Put(sink, wide ? Literal("<text class=\"wide\"") : Literal("<text"));
  PutLabelAt(sink, (LeftOf(bar.number, bar.of) + LeftOf(bar.number + 1, bar.of)) / 2, kUpperLabels);
}

// A line beside it shows where what it tells begins.
static void PutLabelLine(Sink& sink, int64_t left) {
  Put(sink, "<line x1=\"");
  PutParts(sink, left, 2);
  Put(sink, "%\" x2=\"");
  PutParts(sink, left, 2);
  Put(sink, "%\" y1=\"258\" y2=\"270\"/>");
}

void BeginLowerLabel(Sink& sink, BarNumber bar, int width) {
  const int64_t left = LeftOf(bar.number, bar.of);
  PutLabelLine(sink, left);
  if (left + width * kWhole / 100 > kWhole + kMargin) {
    Put(sink, "<text class=\"last\"");
    PutLabelAt(sink, kWhole, kLowerLabels);
  } else {
    Put(sink, "<text class=\"from\" dx=\"4\"");
    PutLabelAt(sink, left, kLowerLabels);
  }
}

// ---- The whole -----------------------------------------------------------------------

static const Bar* LargestOf(std::span<const Bar> bars) {
  const auto largest = std::max_element(bars.begin(), bars.end(),
                                        [](const Bar& a, const Bar& b) { return a.count < b.count; });
  return largest == bars.end() ? nullptr : &*largest;
}

static int64_t HighestOf(std::span<const Bar> bars) {
  int64_t highest = 0;
  for (const Bar& bar : bars) {
    highest = std::max({highest, bar.count, bar.before});
  }
  return highest;
}

static void PutSummary(Sink& sink, const BarChart& chart, const Bar* largest) {
  Put(sink, chart.subject);
  if (largest != nullptr && largest->count > 0) {
    Put(sink, ". The most: ");
    PutFigure(sink, chart, *largest);
  }
  Put(sink, ".");
}

void DrawBars(Sink& sink, const BarChart& chart) {
  const Bar* const largest = LargestOf(chart.bars);
  const Scale scale = AxisScale(HighestOf(chart.bars), kMostLines);
  Put(sink, "<svg class=\"bars\" width=\"100%\" height=\"");
  PutNumber(sink, (chart.lower_labels ? kLowerLabels : kUpperLabels) + kBelowText);
  Put(sink, "\" role=\"");
  // What has parts that the keyboard reaches is no image.
  Put(sink, chart.bars.size() <= kMostFocused ? Literal("group") : Literal("img"));
  Put(sink, "\" aria-label=\"");
  PutSummary(sink, chart, largest);
  Put(sink, "\">");
  PutGrid(sink, scale);
  Put(sink, "\n<g class=\"axis\" aria-hidden=\"true\">");
  chart.put_axis(sink, chart.bars);
  Put(sink, "</g>\n<g class=\"marks\">");
  for (size_t number = 0; number < chart.bars.size(); ++number) {
    PutMark(sink, chart, number, scale);
  }
  Put(sink, "\n</g>\n<line class=\"base\" x2=\"100%\" y1=\"230\" y2=\"230\"/>\n</svg>\n");
}
