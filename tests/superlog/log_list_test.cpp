#include "superlog/log_list.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "superlog/plain_list.h"

namespace {

LogFile Log(const std::string& name, uint32_t size, time_t first, time_t last, int state = kSeenOnDisk) {
  LogFile log = {};
  CopyText(log.name, name);
  log.size = size;
  log.first = first;
  log.last = last;
  log.state = state;
  return log;
}

std::string Describe(const LogFile& log) {
  return std::string(log.name) + "," + std::to_string(log.size) + "," + std::to_string(log.first) + "," +
         std::to_string(log.last) + "," + std::to_string(log.state);
}

std::vector<std::string> DescribeList() {
  std::vector<std::string> texts;
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    texts.push_back(Describe(*log));
  }
  return texts;
}

using Texts = std::vector<std::string>;

class LogListTest : public testing::Test {
 protected:
  void SetUp() override { ClearLogList(); }
  void TearDown() override { ClearLogList(); }
};

TEST_F(LogListTest, NewFilesAreAddedAtTheEnd) {
  LogsListAppend(Log("b", 1, 10, 20));
  LogsListAppend(Log("a", 2, 10, 20));
  EXPECT_EQ(DescribeList(), (Texts{"b,1,10,20,4", "a,2,10,20,4"}));
}

TEST_F(LogListTest, SameNameIsUpdatedInPlace) {
  LogsListAppend(Log("a", 1, 10, 20, kFromSummary));
  LogsListAppend(Log("b", 2, 10, 20));
  LogsListAppend(Log("a", 3, 30, 40));
  EXPECT_EQ(DescribeList(), (Texts{"a,3,30,40,4", "b,2,10,20,4"}));
}

// deliberate: the copy is ignored without a message
TEST_F(LogListTest, DeliberateCopyUnderAnotherNameIsIgnored) {
  LogsListAppend(Log("a", 1, 10, 20));
  LogsListAppend(Log("copy", 1, 10, 20));
  LogsListAppend(Log("no copy", 1, 10, 21));
  EXPECT_EQ(DescribeList(), (Texts{"a,1,10,20,4", "no copy,1,10,21,4"}));
}

TEST_F(LogListTest, CopyDoesNotMarkTheOriginalAsSeen) {
  LogsListAppend(Log("a", 1, 10, 20, kFromSummary));
  LogsListAppend(Log("copy", 1, 10, 20));
  EXPECT_EQ(DescribeList(), (Texts{"a,1,10,20,1"}));
}

TEST_F(LogListTest, FilesWithoutDatesCanBeCopies) {
  LogsListAppend(Log("a", 7, 0, 0));
  LogsListAppend(Log("b", 7, 0, 0));
  EXPECT_EQ(DescribeList(), (Texts{"a,7,0,0,4"}));
}

TEST_F(LogListTest, FirstEntryThatMeetsEitherTestDecides) {
  LogsListAppend(Log("a", 1, 10, 20));
  LogsListAppend(Log("b", 2, 10, 20, kFromSummary));
  LogsListAppend(Log("b", 1, 10, 20));  // a's size and dates come before b's name
  EXPECT_EQ(DescribeList(), (Texts{"a,1,10,20,4", "b,2,10,20,1"}));
  LogsListAppend(Log("a", 2, 10, 20));  // a's name comes before b's size and dates
  EXPECT_EQ(DescribeList(), (Texts{"a,2,10,20,4", "b,2,10,20,1"}));
}

TEST_F(LogListTest, DeleteOldEntriesKeepsWhatWasSeen) {
  LogsListAppend(Log("a", 1, 1, 1, kFromSummary));
  LogsListAppend(Log("b", 2, 2, 2));
  LogsListAppend(Log("c", 3, 3, 3, kFromSummary));
  EXPECT_TRUE(DeleteOldEntries());
  EXPECT_FALSE(DeleteOldEntries());
  EXPECT_EQ(DescribeList(), (Texts{"b,2,2,2,4"}));
  EXPECT_EQ(FindLog("a"), nullptr);
  LogsListAppend(Log("d", 3, 3, 3));
  EXPECT_EQ(DescribeList(), (Texts{"b,2,2,2,4", "d,3,3,3,4"}));
}

TEST_F(LogListTest, EmptyListFindsNothing) {
  EXPECT_EQ(FindLog("a"), nullptr);
  EXPECT_FALSE(DeleteOldEntries());
  EXPECT_EQ(mpLogsRoot, nullptr);
}

TEST_F(LogListTest, NamesAreComparedExactly) {
  LogsListAppend(Log("logs/a", 1, 1, 1));
  EXPECT_NE(FindLog("logs/a"), nullptr);
  EXPECT_EQ(FindLog("logs/A"), nullptr);
  EXPECT_EQ(FindLog("logs/a "), nullptr);
}

TEST_F(LogListTest, IndexGivesTheSameAsOneWalk) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    ClearLogList();
    std::vector<LogFile> plain;
    const unsigned names = round % 2 == 0 ? 12 : 700;
    const unsigned values = round % 3 == 0 ? 2 : 9;
    for (int i = 0; i < 1500; ++i) {
      const LogFile file =
          Log("log" + std::to_string(random() % names), static_cast<uint32_t>(random() % values),
              static_cast<time_t>(random() % values), static_cast<time_t>(random() % values),
              random() % 2 == 0 ? kFromSummary : kSeenOnDisk);
      LogsListAppend(file);
      PlainAppend(plain, file);
      if (i == 700) {
        DeleteOldEntries();
        std::erase_if(plain, [](const LogFile& log) { return log.state == kFromSummary; });
      }
    }
    Texts expected;
    for (const LogFile& log : plain) {
      expected.push_back(Describe(log));
      ASSERT_NE(FindLog(log.name), nullptr);
      EXPECT_EQ(Describe(*FindLog(log.name)), Describe(log));
    }
    ASSERT_EQ(DescribeList(), expected);
  }
}

// All entries end with the same size and dates, the last of the list first: a
// chain of them must not be walked for each. Walks of the list would take hours, and no test has so long.
TEST_F(LogListTest, ManyFilesCostNoWalkEach) {
  constexpr int kFiles = 100000;
  for (int i = 0; i < kFiles; ++i) {
    LogsListAppend(Log("logs/access.log." + std::to_string(i), 100, i + 1, i + 1, kFromSummary));
  }
  for (int i = kFiles; i-- > 0;) {
    LogsListAppend(Log("logs/access.log." + std::to_string(i), 0, 0, 0));
  }
  for (int i = 0; i < kFiles; ++i) {
    LogsListAppend(Log("copy" + std::to_string(i), 0, 0, 0));
  }
  EXPECT_EQ(DescribeList().size(), static_cast<size_t>(kFiles));
}

}  // namespace
