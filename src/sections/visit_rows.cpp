#include "sections/visit_rows.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "sections/cut_off.h"

std::array<VisitTotal, kVisitTotals> VisitTotalsOf(const Analysis& analysis) {
  const VisitFigures& figures = analysis.visit_figures;
  return {{{"visitors", figures.visitors},
           {"visits", figures.visits},
           {"pages", figures.pages},
           {"single_page_visits", figures.single_page},
           {"seconds", figures.seconds}}};
}

std::array<KeyFigure, kKeyFigures> KeyFiguresOf(const Analysis& analysis) {
  const VisitFigures& figures = analysis.visit_figures;
  return {{{"Visitors", FigureKind::kCount, static_cast<double>(figures.visitors)},
           {"Visits", FigureKind::kCount, static_cast<double>(figures.visits)},
           {"Pages a visit", FigureKind::kDecimal, Share(figures.pages, figures.visits)},
           {"Single-page visits", FigureKind::kShare, Share(figures.single_page, figures.visits)},
           {"Average length", FigureKind::kDuration, Share(figures.seconds, figures.visits)}}};
}

void WriteDuration(DurationText& text, double seconds) {
  const double shown = std::clamp(seconds, 0.0, 1e15);
  const auto below = static_cast<int64_t>(shown);
  const int64_t whole = shown - static_cast<double>(below) < 0.5 ? below : below + 1;
  const int64_t hours = whole / 3600;
  const auto minutes = static_cast<int>(whole / 60 % 60);
  const auto rest = static_cast<int>(whole % 60);
  if (hours > 0) {
    snprintf(text, sizeof text, "%" PRId64 ":%02d:%02d", hours, minutes, rest);
  } else {
    snprintf(text, sizeof text, "%d:%02d", minutes, rest);
  }
}

int64_t ErrorOfVisitors(const VisitFigures& figures) {
  int64_t error = 100;
  while (error > 1 && (error - 1) * (error - 1) * figures.kept >= int64_t{100} * 100) {
    --error;
  }
  return error;
}
