#include "sections/status_rows.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

static std::string ClassesOf(const Settings& settings, const Analysis& analysis) {
  const StatusClasses classes = StatusClassesOf(settings, analysis);
  std::string told;
  for (size_t i = 0; i < classes.count; ++i) {
    const SectionRow& row = classes.rows[i];
    told += std::string(row.item) + "=" + std::to_string(row.count) + ":" + std::to_string(row.bytes) + " ";
  }
  return told;
}

TEST(StatusClassesOf, SumsUpTheCodesOfEachThatHasRequests) {
  const Settings settings{};
  Analysis analysis{};
  EXPECT_EQ(ClassesOf(settings, analysis), "");
  analysis.statuses[0] = 1000;  // without a status
  analysis.statuses[7] = 5;
  analysis.statuses[100] = 1;
  analysis.statuses[199] = 2;
  analysis.statuses[404] = 10;
  analysis.statuses[500] = 20;
  analysis.statuses[599] = 2;
  EXPECT_EQ(ClassesOf(settings, analysis), "1xx=3:-1 4xx=10:-1 5xx=22:-1 ");
  const StatusClasses classes = StatusClassesOf(settings, analysis);
  EXPECT_EQ(classes.rows[0].share, 3 / 40.0);
  EXPECT_EQ(classes.rows[1].bar, 10 / 22.0);
  EXPECT_EQ(classes.rows[2].bar, 1);
  EXPECT_STREQ(classes.rows[1].name, "Client error");
}

TEST(StatusClassesOf, HaveBytesWhereTheseAreAskedFor) {
  Settings settings{};
  settings.with_bytes = 1;
  Analysis analysis{};
  analysis.statuses[200] = 1;
  analysis.statuses[206] = 2;
  analysis.status_bytes[200] = 30;
  analysis.status_bytes[206] = 400;
  EXPECT_EQ(ClassesOf(settings, analysis), "2xx=3:430 ");
}

TEST(StatusClassesOf, StayWithinFiguresWhateverPartsSay) {
  const Settings settings{};
  Analysis analysis{};
  analysis.statuses[200] = INT64_MAX;
  analysis.statuses[201] = INT64_MAX;
  EXPECT_EQ(ClassesOf(settings, analysis), "2xx=" + std::to_string(INT64_MAX) + ":-1 ");
}
