#include "output/page_logs.h"

#include <gtest/gtest.h>

#include <string>

#include "superlog/log_events.h"

TEST(PageLogs, NamesLogsInRangeWithoutTheirFolders) {
  const AnalysisEvents events = RememberLogs(nullptr);
  events.logs.log_looked_at({"/var/log/secret/access.log", 10, 500, 600, LogVerdict::kInRange});
  events.logs.log_looked_at({"old.log", 10, 100, 200, LogVerdict::kOutOfRange});
  events.logs.log_looked_at({"/junk", 0, 1, 9999, LogVerdict::kNoLog});
  events.logs.log_not_opened("/var/log/closed.log");
  const LogsRead& logs = RememberedLogs();
  EXPECT_EQ(logs.count, 1);
  EXPECT_STREQ(logs.names[0], "access.log");
  EXPECT_EQ(logs.out_of_range, 1);
  EXPECT_EQ(logs.not_opened, 1);
  EXPECT_EQ(logs.first, 100);
  EXPECT_EQ(logs.last, 600);
}

TEST(PageLogs, CountsMoreThanItNames) {
  const AnalysisEvents events = RememberLogs(nullptr);
  for (size_t i = 0; i < kMostLogsNamed + 5; ++i) {
    events.logs.log_looked_at({std::to_string(i).c_str(), 1, 1, 1, LogVerdict::kInRange});
  }
  EXPECT_EQ(RememberedLogs().count, static_cast<int>(kMostLogsNamed) + 5);
  EXPECT_EQ(std::string(RememberedLogs().names.back()), std::to_string(kMostLogsNamed - 1));
}

TEST(PageLogs, EachRunBeginsAnew) {
  RememberLogs(nullptr).logs.log_looked_at({"a", 1, 7, 8, LogVerdict::kInRange});
  RememberLogs(nullptr);
  EXPECT_EQ(RememberedLogs().count, 0);
  EXPECT_EQ(RememberedLogs().first, 0);
}
