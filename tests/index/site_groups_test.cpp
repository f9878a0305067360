#include "index/site_groups.h"

#include <gmock/gmock.h>

#include <limits>
#include <numeric>

#include "index/made_reports.h"

using testing::ElementsAre;

static std::vector<std::string> FilesOf(std::span<const FoundReport> reports) {
  std::vector<std::string> files;
  for (const FoundReport& report : reports) {
    files.push_back(report.file);
  }
  return files;
}

TEST(GroupBySite, SortsTheNewestFirst) {
  std::vector<FoundReport> reports{Made("", "old", kDay - 30, kDay - 30), Made("", "day", kDay, kDay),
                                   Made("", "week", kDay - 6, kDay), Made("", "day again", kDay, kDay)};
  const std::vector<SiteGroup> groups = GroupBySite(reports);
  ASSERT_EQ(groups.size(), 1U);
  EXPECT_THAT(FilesOf(groups[0].reports), ElementsAre("week", "day", "day again", "old"));
  EXPECT_TRUE(groups[0].one_title);
}

TEST(GroupBySite, GroupsByFolderAndAddress) {
  std::vector<FoundReport> reports{Made("b", "1", kDay, kDay), Made("", "2", kDay, kDay),
                                   Made("a", "3", kDay, kDay), Made("", "4", kDay - 1, kDay),
                                   Made("a", "5", kDay - 1, kDay - 1)};
  reports[1].summary.site = "https://zoo.example";
  reports[4].summary.title = "Another";
  const std::vector<SiteGroup> groups = GroupBySite(reports);
  ASSERT_EQ(groups.size(), 4U);
  EXPECT_THAT(FilesOf(groups[0].reports), ElementsAre("4"));
  EXPECT_THAT(FilesOf(groups[1].reports), ElementsAre("2"));
  EXPECT_THAT(FilesOf(groups[2].reports), ElementsAre("3", "5"));
  EXPECT_FALSE(groups[2].one_title);
  EXPECT_THAT(FilesOf(groups[3].reports), ElementsAre("1"));
}

TEST(GroupBySite, NoReportsAreNoGroups) {
  std::vector<FoundReport> none;
  EXPECT_TRUE(GroupBySite(none).empty());
}

static std::vector<int64_t> DaysOf(std::vector<FoundReport> reports) {
  return RecentDays(GroupBySite(reports)[0]);
}

TEST(RecentDays, AreThoseOfTheLastTwoMonths) {
  std::vector<FoundReport> reports{Made("", "week", kDay - 6, kDay, 1000), Made("", "twin", kDay, kDay, 99)};
  for (const int64_t day : {0, 1, 3, 4}) {
    reports.push_back(Made("", "a" + std::to_string(day), kDay - day, kDay - day, day + 1));
  }
  EXPECT_TRUE(DaysOf(reports).empty());
  reports.push_back(Made("", "b", kDay - 60, kDay - 60, 7));
  EXPECT_TRUE(DaysOf(reports).empty());
  reports.push_back(Made("", "c", kDay - 59, kDay - 59, 8));
  const std::vector<int64_t> days = DaysOf(reports);
  ASSERT_EQ(days.size(), 60U);
  EXPECT_EQ(days[0], 8);
  EXPECT_EQ(std::accumulate(days.begin() + 1, days.begin() + 55, int64_t{0}), 0);
  EXPECT_THAT(std::vector<int64_t>(days.begin() + 55, days.end()), ElementsAre(5, 4, 0, 2, 1));
}

TEST(RecentDays, AreOfOneTitleOnly) {
  std::vector<FoundReport> reports;
  for (int64_t i = 0; i < 10; ++i) {
    reports.push_back(Made("", std::to_string(i), kDay - i, kDay - i));
  }
  EXPECT_EQ(DaysOf(reports).size(), 10U);
  reports[3].summary.title = "Another";
  EXPECT_TRUE(DaysOf(reports).empty());
}

TEST(TakeMonth, SumsUpEachDayOnce) {
  std::vector<FoundReport> reports{Made("", "week", kDay - 6, kDay, 1000), Made("", "day", kDay, kDay, 3),
                                   Made("", "day again", kDay, kDay, 5),
                                   Made("", "first", kDay - 20, kDay - 20, 4),
                                   Made("", "october", kDay - 21, kDay - 21, 7)};
  GroupBySite(reports);
  std::span<const FoundReport> rest = reports;
  const MonthGroup november = TakeMonth(rest);
  EXPECT_THAT(FilesOf(november.reports), ElementsAre("week", "day", "day again", "first"));
  EXPECT_EQ(november.days, 2);
  EXPECT_EQ(november.requests, 7);
  EXPECT_EQ(november.bytes, 70);
  const MonthGroup october = TakeMonth(rest);
  EXPECT_EQ(october.days, 1);
  EXPECT_EQ(october.requests, 7);
  EXPECT_TRUE(rest.empty());
}

TEST(TakeMonth, TheSameMonthOfAnotherYearIsAnother) {
  std::vector<FoundReport> reports{Made("", "1", kDay, kDay), Made("", "2", kDay - 365, kDay - 365)};
  std::span<const FoundReport> rest = reports;
  EXPECT_EQ(TakeMonth(rest).days, 1);
  EXPECT_EQ(rest.size(), 1U);
}

TEST(TakeMonth, SumsEndAtTheLargestNumber) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  std::vector<FoundReport> reports{Made("", "1", kDay, kDay), Made("", "2", kDay - 1, kDay - 1)};
  for (FoundReport& report : reports) {
    report.summary.requests = report.summary.bytes = kMost;
  }
  std::span<const FoundReport> rest = reports;
  const MonthGroup month = TakeMonth(rest);
  EXPECT_EQ(month.requests, kMost);
  EXPECT_EQ(month.bytes, kMost);
}
