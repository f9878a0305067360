#include "sections/visit_rows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

static std::string Duration(double seconds) {
  DurationText text;
  WriteDuration(text, seconds);
  return text;
}

static int64_t ErrorOf(int64_t kept) {
  VisitFigures figures{};
  figures.kept = kept;
  return ErrorOfVisitors(figures);
}

TEST(WriteDuration, TellsHoursWhereThereAreAny) {
  EXPECT_EQ(Duration(0), "0:00");
  EXPECT_EQ(Duration(59.4), "0:59");
  EXPECT_EQ(Duration(59.5), "1:00");
  EXPECT_EQ(Duration(3599), "59:59");
  EXPECT_EQ(Duration(3600), "1:00:00");
  EXPECT_EQ(Duration(90 * 3600 + 61), "90:01:01");
}

TEST(WriteDuration, TakesWhateverAPartSays) {
  EXPECT_EQ(Duration(-1), "0:00");
  EXPECT_EQ(Duration(1e300), Duration(1e15));
}

TEST(ErrorOfVisitors, IsThatOfTheirNumberRoundedUp) {
  for (int64_t kept = 1; kept < 30000; ++kept) {
    const auto error = static_cast<int64_t>(std::ceil(100 / std::sqrt(static_cast<double>(kept)) - 1e-9));
    ASSERT_EQ(ErrorOf(kept), error) << kept;
  }
  EXPECT_EQ(ErrorOf(0), 100);
}

TEST(KeyFiguresOf, AreThoseOfAllVisits) {
  Analysis analysis{};
  analysis.visit_figures = {
      .visitors = 3, .visits = 4, .pages = 10, .single_page = 1, .seconds = 50, .one_in = 1, .kept = 3};
  const auto figures = KeyFiguresOf(analysis);
  const double expected[] = {3, 4, 2.5, 0.25, 12.5};
  for (size_t i = 0; i < figures.size(); ++i) {
    EXPECT_EQ(figures[i].figure, expected[i]) << figures[i].title.text();
  }
  analysis.visit_figures = {};
  for (const KeyFigure& figure : KeyFiguresOf(analysis)) {
    EXPECT_EQ(figure.figure, 0) << "nobody came";
  }
}
