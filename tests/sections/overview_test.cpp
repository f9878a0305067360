#include "sections/overview.h"

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"

namespace {

TEST(OverviewOf, TellsWhatWasAskedFor) {
  Settings settings{};
  CopyText(settings.title, "Title");
  CopyText(settings.url, "http://www.example.com");
  CopyText(settings.find, "/docs/");
  CopyText(settings.start_date, "02282024");
  CopyText(settings.end_date, "03012025");
  const Overview overview = OverviewOf(settings, {});
  EXPECT_STREQ(overview.title, "Title");
  EXPECT_STREQ(overview.url, "http://www.example.com");
  EXPECT_STREQ(overview.find, "/docs/");
  EXPECT_EQ(overview.first_day.year, 2024);
  EXPECT_EQ(overview.first_day.month, 2);
  EXPECT_EQ(overview.first_day.day, 28);
  EXPECT_EQ(overview.last_day.year, 2025);
  EXPECT_EQ(overview.last_day.month, 3);
  EXPECT_EQ(overview.last_day.day, 1);
}

TEST(OverviewOf, TellsTheTotals) {
  Analysis analysis{};
  analysis.ReportStartTime = 77;
  analysis.hits = int64_t{1} << 40;
  analysis.bytes = {12, 345678901};
  analysis.logs = {{0, 1000000000}, true};
  const Overview overview = OverviewOf({}, analysis);
  EXPECT_EQ(overview.made, 77);
  EXPECT_TRUE(overview.logs_in_range);
  EXPECT_EQ(overview.requests, int64_t{1} << 40);
  EXPECT_EQ(overview.bytes_served, 12345678901U);
  EXPECT_EQ(overview.log_bytes_read, 1000000000U);
  EXPECT_FALSE(OverviewOf({}, {}).logs_in_range);
}

TEST(OverviewOf, CountsErrorsByTheirStatus) {
  Analysis analysis{};
  analysis.statuses[0] = 1;
  analysis.statuses[399] = 10;
  analysis.statuses[400] = 100;
  analysis.statuses[599] = 1000;
  const Overview overview = OverviewOf({}, analysis);
  EXPECT_EQ(overview.with_status, 1110);
  EXPECT_EQ(overview.errors, 1100);
}

class ThinnedTables : public testing::Test {
 protected:
  ThinnedTables() {
    settings_.SmartMemoryEnabled = 1;
    analysis_.tables = tables_;
    const char* const names[] = {"a", "b", "c", "d"};
    for (int i = 0; i < 4; ++i) {
      tables_[i].name = names[i];
      tables_[i].next = i < 3 ? &tables_[i + 1] : nullptr;
    }
  }

  std::string Names() {
    std::string names;
    for (const ListInfo* table = FirstThinnedTable(settings_, analysis_); table != nullptr;
         table = NextThinnedTable(*table)) {
      names += table->name;
    }
    return names;
  }

  Settings settings_{};
  Analysis analysis_{};
  ListInfo tables_[4] = {};
};

TEST_F(ThinnedTables, NoneWhileNothingWasReclaimed) {
  EXPECT_EQ(Names(), "");
  analysis_.tables = nullptr;
  EXPECT_EQ(Names(), "");
}

TEST_F(ThinnedTables, ComeInCreationOrder) {
  tables_[1].reclaimed = 7;
  tables_[3].reclaimed = 1;
  EXPECT_EQ(Names(), "bd");
  tables_[0].reclaimed = 1;
  EXPECT_EQ(Names(), "abd");
}

TEST_F(ThinnedTables, NoneWithoutSmartMemory) {
  tables_[1].reclaimed = 7;
  settings_.SmartMemoryEnabled = 0;
  EXPECT_EQ(Names(), "");
}

}  // namespace
