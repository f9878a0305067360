#include "output/heat_map.h"

#include <algorithm>
#include <iterator>

#include "output/scale.h"
#include "output/svg.h"

static constexpr int kRowHeight = 24;  // pixels
static constexpr uint64_t kMostClasses = 6;

// Weeks begin with Monday, and so week-ends stay together.
static int WeekdayAt(int row) {
  return (row + 1) % 7;
}

static int64_t CountAt(const Analysis& analysis, int row, int hour) {
  return std::max<int64_t>(analysis.hours_of_week.counts[24 * WeekdayAt(row) + hour], 0);
}

static void PutHour(Sink& sink, int hour) {
  PutPadded(sink, hour, 2);
}

// ---- Cells ---------------------------------------------------------------------------

static void PutFigure(Sink& sink, const Analysis& analysis, int row, int hour) {
  Put(sink, NameOfWeekday(WeekdayAt(row)));
  Put(sink, " ");
  PutHour(sink, hour);
  Put(sink, ":00: ");
  PutGrouped(sink, CountAt(analysis, row, hour));
}

static void PutCell(Sink& sink, const Analysis& analysis, const Scale& scale, int row, int hour) {
  const auto count = static_cast<uint64_t>(CountAt(analysis, row, hour));
  Put(sink, "\n<path class=\"c");
  PutSize(sink, count / scale.step + (count % scale.step != 0 ? 1 : 0));
  Put(sink, "\" d=\"M");
  PutNumber(sink, hour);
  Put(sink, " ");
  PutNumber(sink, row);
  Put(sink, "h1v1h-1z\"><title>");
  PutFigure(sink, analysis, row, hour);
  Put(sink, "</title></path>");
}

static void PutCells(Sink& sink, const Analysis& analysis, const Scale& scale) {
  Put(sink,
      "\n<svg class=\"cells\" width=\"100%\" height=\"168\" viewBox=\"0 0 24 7\" "
      "preserveAspectRatio=\"none\">");
  for (int row = 0; row < 7; ++row) {
    for (int hour = 0; hour < 24; ++hour) {
      PutCell(sink, analysis, scale, row, hour);
    }
  }
  Put(sink, "\n</svg>");
}

// ---- What stands beside them -----------------------------------------------------------

static void PutLabels(Sink& sink) {
  Put(sink, "\n<g class=\"grid\">");
  for (int row = 0; row < 7; ++row) {
    Put(sink, "<text x=\"-8\" y=\"");
    PutNumber(sink, kRowHeight * row + 16);
    Put(sink, "\">");
    Put(sink, ShortNameOfWeekday(WeekdayAt(row)));
    Put(sink, "</text>");
  }
  Put(sink, "</g>\n<g class=\"axis\">");
  for (int hour = 0; hour < 24; hour += 3) {
    Put(sink, "<text x=\"");
    PutParts(sink, (2 * hour + 1) * 10000 / 48, 2);
    Put(sink, "%\" y=\"186\">");
    PutHour(sink, hour);
    Put(sink, "</text>");
  }
  Put(sink, "</g>\n");
}

static void PutKey(Sink& sink, const Scale& scale, uint64_t number) {
  Put(sink, "<li><svg class=\"key\" aria-hidden=\"true\"><rect class=\"c");
  PutSize(sink, number);
  Put(sink, "\" width=\"100%\" height=\"100%\"/></svg>");
  if (number == 0) {
    Put(sink, "none");
  } else {
    Put(sink, "to ");
    PutStep(sink, scale, number);
  }
  Put(sink, "</li>");
}

static void PutSummary(Sink& sink, const Analysis& analysis) {
  const auto& counts = analysis.hours_of_week.counts;
  const int64_t most = std::max_element(std::begin(counts), std::end(counts)) - std::begin(counts);
  Put(sink, "Requests by weekday and hour");
  if (counts[most] > 0) {
    Put(sink, ". The most: ");
    PutFigure(sink, analysis, static_cast<int>((most / 24 + 6) % 7), static_cast<int>(most % 24));
  }
  Put(sink, ".");
}

void DrawHeatMap(Sink& sink, const Analysis& analysis) {
  const auto& counts = analysis.hours_of_week.counts;
  const Scale scale = ClassScale(*std::max_element(std::begin(counts), std::end(counts)), kMostClasses);
  Put(sink, "<svg class=\"heat\" width=\"100%\" height=\"192\" role=\"img\" aria-label=\"");
  PutSummary(sink, analysis);
  Put(sink, "\">");
  PutCells(sink, analysis, scale);
  PutLabels(sink);
  Put(sink, "</svg>\n<ul class=\"legend\">");
  for (uint64_t number = 0; number <= scale.steps; ++number) {
    PutKey(sink, scale, number);
  }
  Put(sink, "</ul>\n");
}
