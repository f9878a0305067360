// The drawings of a report as SVG, to stand inside an HTML page. Nothing in them is a
// text of a log. What they look like is told by charts.css, whose colours are custom
// properties (--chart-...) that a page may set otherwise.
//
// A chart is a whole <figure class="chart"> with a caption that says what a bar or a
// cell is: an <svg> as wide as the page lets it be, in which shapes stretch while texts
// keep their size, so that it can be read on a phone, too. It has at most kMostMarks
// bars, whatever was counted. Each has a <title> such as
// "Tuesday 2026-11-17: 12,345 requests" (a cell "Tuesday 14:00: 12,345"); where they are at most kMostFocused
// the keyboard reaches each, and one that is pointed at or reached shows its figure in a <text>. Counts below
// 0 are drawn as 0, and sums end at the largest number.
//
// Classes below .chart:
//   svg.bars, svg.heat           the two kinds of charts
//   .grid, .base, .axis          lines with their figures, the line at 0, labels below
//   .wide                        a label that a narrow page leaves out
//   .marks g                     a bar; .w of a week-end, .p of a period cut by the range;
//                                its first <rect> is where it answers
//   .none, .tip                  its mark without requests; its figure
//   .before                      a line at the height of what it is compared with
//   .cells path                  a cell; .c0 without requests, .c1 to .c6 the more the darker
//   .legend                      of a heat map: <li> with <svg class="key"> and the bounds
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "analysis/analysis.h"
#include "output/sink.h"

// What the days of four months need, and those of two.
inline constexpr size_t kMostMarks = 124;
inline constexpr size_t kMostFocused = 62;

// By day over the range, where these are too many by week (Monday to Sunday), month,
// year, ten or a hundred years. Needs the days counted (dailytotals).
void DrawDays(Sink& sink, const Analysis& analysis);

// By weekday, from Monday on as weeks are drawn, and by hour (hitsperdayofweek, hitsperhour).
void DrawWeekdays(Sink& sink, const Analysis& analysis);
void DrawHours(Sink& sink, const Analysis& analysis);

// A heat map of weekday by hour (hoursofweek).
void DrawHoursOfWeek(Sink& sink, const Analysis& analysis);

// Small drawings without a text, which stand beside their figures: an <svg class="share">
// of which the share is filled (cut to 0 and 1; no number is 0; one above 0 can be seen), and an <svg
// class="spark"> with a step for each count (next to each other summed when there are more than 60).
void DrawShare(Sink& sink, double share);
void DrawSpark(Sink& sink, std::span<const int64_t> counts);
