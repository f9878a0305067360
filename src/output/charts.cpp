#include "output/charts.h"

#include <algorithm>
#include <array>
#include <limits>

#include "output/bar_chart.h"
#include "output/day_bars.h"
#include "output/heat_map.h"
#include "output/svg.h"

static_assert(kMostDayBars <= kMostMarks);

static void BeginChart(Sink& sink) {
  Put(sink, "<figure class=\"chart\">\n");
}

static void EndChart(Sink& sink) {
  Put(sink, "</figcaption>\n</figure>\n");
}

// Says what is drawn, and goes on about it where there is something to say.
static void DrawBarChart(Sink& sink, const BarChart& chart, const Literal& caption, const Literal& cut = "",
                         const Literal& compared = "") {
  BeginChart(sink);
  DrawBars(sink, chart);
  Put(sink, "<figcaption>");
  Put(sink, caption);
  if (std::ranges::any_of(chart.bars, &Bar::part)) {
    Put(sink, cut);
  }
  Put(sink, compared);
  if (std::ranges::any_of(chart.bars, [](const Bar& bar) { return bar.count <= 0; })) {
    Put(sink, " A mark below the line tells of no requests.");
  }
  EndChart(sink);
}

// ---- Days ------------------------------------------------------------------------------

void DrawDays(Sink& sink, const Analysis& analysis) {
  const DayBars days = CollectDays(analysis, kMostDayBars);
  DrawBarChart(
      sink, {days.period->subject, days.All(), PutDays, PutDayAxis, true}, days.period->caption,
      days.period->cut,
      analysis.comparison.asked ? Literal(" A line across a bar is what it is compared with.") : Literal(""));
}

// ---- Weekdays and hours ----------------------------------------------------------------

static void PutWeekday(Sink& sink, const Bar& bar) {
  Put(sink, NameOfWeekday(static_cast<int>(bar.first)));
}

static void PutWeekdayAxis(Sink& sink, std::span<const Bar> bars) {
  for (size_t i = 0; i < bars.size(); ++i) {
    BeginUpperLabel(sink, {i, bars.size()}, false);
    Put(sink, ShortNameOfWeekday(static_cast<int>(bars[i].first)));
    Put(sink, "</text>");
  }
}

void DrawWeekdays(Sink& sink, const Analysis& analysis) {
  std::array<Bar, 7> bars{};
  for (size_t i = 0; i < bars.size(); ++i) {
    const size_t weekday = (i + 1) % 7;
    bars[i].count = analysis.weekdays.counts[weekday];
    bars[i].first = static_cast<int64_t>(weekday);
    bars[i].weekend = i >= 5;
  }
  DrawBarChart(sink, {"Requests by weekday", bars, PutWeekday, PutWeekdayAxis, false},
               "Each bar is a weekday over the whole range; Saturday and Sunday have a weaker colour.");
}

static void PutHour(Sink& sink, const Bar& bar) {
  PutPadded(sink, static_cast<int>(bar.first), 2);
  Put(sink, ":00 to ");
  PutPadded(sink, static_cast<int>(bar.first), 2);
  Put(sink, ":59");
}

static void PutHourAxis(Sink& sink, std::span<const Bar> bars) {
  for (size_t i = 0; i < bars.size(); ++i) {
    BeginUpperLabel(sink, {i, bars.size()}, i % 3 != 0);
    PutPadded(sink, static_cast<int>(bars[i].first), 2);
    Put(sink, "</text>");
  }
}

void DrawHours(Sink& sink, const Analysis& analysis) {
  std::array<Bar, 24> bars{};
  for (size_t hour = 0; hour < bars.size(); ++hour) {
    bars[hour].count = analysis.hours.counts[hour];
    bars[hour].first = static_cast<int64_t>(hour);
  }
  DrawBarChart(sink, {"Requests by hour", bars, PutHour, PutHourAxis, false},
               "Each bar is an hour of the day over the whole range.");
}

void DrawHoursOfWeek(Sink& sink, const Analysis& analysis) {
  BeginChart(sink);
  DrawHeatMap(sink, analysis);
  Put(sink, "<figcaption>Each cell is an hour of the week over the whole range.");
  EndChart(sink);
}

// ---- Small drawings --------------------------------------------------------------------

void DrawShare(Sink& sink, double share) {
  const double tenths = share > 0.0 ? std::clamp(share * 1000, 5.0, 1000.0) : 0.0;
  Put(sink, "<svg class=\"share\" aria-hidden=\"true\"><rect width=\"");
  PutParts(sink, Rounded(tenths), 1);
  Put(sink, "%\" height=\"100%\"/></svg>");
}

static constexpr size_t kMostSteps = 60;
static constexpr int kSparkHeight = 20;

static int SparkHeightOf(int64_t count, int64_t largest) {
  if (count <= 0) {
    return 0;
  }
  const double part = static_cast<double>(count) / static_cast<double>(largest);
  return std::max(static_cast<int>(Rounded(part * kSparkHeight)), 1);
}

// Steps of which each stands on the line.
static void DrawSteps(Sink& sink, std::span<const int64_t> counts) {
  const int64_t largest = counts.empty() ? 0 : *std::ranges::max_element(counts);
  Put(sink, "<svg class=\"spark\" aria-hidden=\"true\" viewBox=\"0 0 ");
  PutSize(sink, std::max<size_t>(counts.size(), 1));
  Put(sink, " 20\" preserveAspectRatio=\"none\"><path d=\"M0 20");
  for (const int64_t count : counts) {
    Put(sink, "V");
    PutNumber(sink, kSparkHeight - SparkHeightOf(count, largest));
    Put(sink, "h1");
  }
  Put(sink, "V20z\"/></svg>");
}

static int64_t SumOf(std::span<const int64_t> counts) {
  int64_t sum = 0;
  for (const int64_t count : counts) {
    if (__builtin_add_overflow(sum, std::max<int64_t>(count, 0), &sum)) {
      return std::numeric_limits<int64_t>::max();
    }
  }
  return sum;
}

void DrawSpark(Sink& sink, std::span<const int64_t> counts) {
  const size_t group = std::max<size_t>((counts.size() + kMostSteps - 1) / kMostSteps, 1);
  std::array<int64_t, kMostSteps> sums{};
  size_t length = 0;
  for (; !counts.empty(); ++length) {
    const size_t taken = std::min(group, counts.size());
    sums[length] = SumOf(counts.first(taken));
    counts = counts.subspan(taken);
  }
  DrawSteps(sink, {sums.data(), length});
}
