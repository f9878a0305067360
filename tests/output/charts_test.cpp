#include "output/charts.h"

#include <gtest/gtest.h>

#include <string>

#include "output/written.h"

// The whole of two bars, so that a change of what pages show is seen here first.
TEST(DrawDays, WritesAFigure) {
  Analysis analysis{};
  analysis.counting = kModernCounting;
  DayCount days[] = {{20778, 3}};  // 2026-11-21, a Saturday
  analysis.dates.slots = days;
  analysis.dates.length = 1;
  analysis.range_first = time_t{20777} * 86400;
  analysis.range_last = time_t{20779} * 86400 - 1;
  EXPECT_EQ(Written([&](Sink& sink) { DrawDays(sink, analysis); }), R"(<figure class="chart">
<svg class="bars" width="100%" height="274" role="group" aria-label="Requests by day. The most: Saturday 2026-11-21: 3 requests.">
<g class="grid"><text x="-8" y="234">0</text><line x2="100%" y1="163.3" y2="163.3"/><text x="-8" y="167.3">1</text><line x2="100%" y1="96.7" y2="96.7"/><text x="-8" y="100.7">2</text><line x2="100%" y1="30" y2="30"/><text x="-8" y="34">3</text></g>
<g class="axis"><text x="25%" y="251">20</text><text x="75%" y="251">21</text><line x1="0%" x2="0%" y1="258" y2="270"/><text class="from" dx="4" x="0%" y="268">Nov 2026</text></g>
<g class="marks">
<g role="img" tabindex="0"><title>Friday 2026-11-20: 0 requests</title><rect x="0%" width="50%"/><rect class="none" x="20%" width="10%" y="231" height="4"/><text class="tip" x="100%" y="14">Friday 2026-11-20: 0 requests</text></g>
<g class="w" role="img" tabindex="0"><title>Saturday 2026-11-21: 3 requests</title><rect x="50%" width="50%"/><rect x="70%" width="10%" y="30" height="200"/><text class="tip" x="100%" y="14">Saturday 2026-11-21: 3 requests</text></g>
</g>
<line class="base" x2="100%" y1="230" y2="230"/>
</svg>
<figcaption>Each bar is a day; Saturdays and Sundays have a weaker colour. A mark below the line is a day without requests.</figcaption>
</figure>
)");
}

TEST(DrawShare, FillsTheShare) {
  EXPECT_EQ(Written([](Sink& sink) { DrawShare(sink, 0.375); }),
            R"(<svg class="share" aria-hidden="true"><rect width="37.5%" height="100%"/></svg>)");
}
