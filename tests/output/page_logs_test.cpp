#include "output/page_logs.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "superlog/log_events.h"

TEST(PageLogs, NamesLogsInRangeWithoutTheirFolders) {
  const AnalysisEvents events = RememberLogs(false, nullptr);
  events.logs.log_looked_at({"/var/log/secret/access.log", 10, 500, 600, LogVerdict::kInRange});
  events.logs.log_looked_at({"old.log", 10, 100, 200, LogVerdict::kOutOfRange});
  events.logs.log_looked_at({"/junk", 0, 1, 9999, LogVerdict::kNoLog});
  const LogsRead& logs = RememberedLogs();
  EXPECT_EQ(logs.count, 1);
  EXPECT_STREQ(logs.names[0], "access.log");
  EXPECT_EQ(logs.out_of_range, 1);
  EXPECT_EQ(logs.first, 100);
  EXPECT_EQ(logs.last, 600);
}

TEST(PageLogs, LinesMayStandInAnyOrder) {
  const AnalysisEvents events = RememberLogs(false, nullptr);
  events.logs.log_looked_at({"newest-first.log", 10, 600, 500, LogVerdict::kOutOfRange});
  EXPECT_EQ(RememberedLogs().first, 500);
  EXPECT_EQ(RememberedLogs().last, 600);
  events.logs.log_looked_at({"newest-first.log.1", 10, 400, 300, LogVerdict::kInRange});
  EXPECT_EQ(RememberedLogs().first, 300);
  EXPECT_EQ(RememberedLogs().last, 600);
}

TEST(PageLogs, NamesALinkByWhatItLeadsToWhenAsked) {
  const std::string folder = testing::TempDir() + "page_logs_" + std::to_string(getpid());
  const std::string link = folder + "/000001.log";
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  ASSERT_EQ(symlink("/nowhere/access.log\n.2.gz", link.c_str()), 0);
  const LogLook look = {link.c_str(), 1, 1, 1, LogVerdict::kInRange};
  const LogLook plain = {"/var/log/plain.log", 1, 1, 1, LogVerdict::kInRange};
  for (const bool linked : {false, true}) {
    const AnalysisEvents events = RememberLogs(linked, nullptr);
    events.logs.log_looked_at(look);
    events.logs.log_looked_at(plain);
    EXPECT_STREQ(RememberedLogs().names[0], linked ? "access.log\n.2.gz" : "000001.log");
    EXPECT_STREQ(RememberedLogs().names[1], "plain.log");
  }
  unlink(link.c_str());
  rmdir(folder.c_str());
}

TEST(PageLogs, CountsMoreThanItNames) {
  const AnalysisEvents events = RememberLogs(false, nullptr);
  for (size_t i = 0; i < kMostLogsNamed + 5; ++i) {
    events.logs.log_looked_at({std::to_string(i).c_str(), 1, 1, 1, LogVerdict::kInRange});
  }
  EXPECT_EQ(RememberedLogs().count, static_cast<int>(kMostLogsNamed) + 5);
  EXPECT_EQ(std::string(RememberedLogs().names.back()), std::to_string(kMostLogsNamed - 1));
}

TEST(PageLogs, EachRunBeginsAnew) {
  RememberLogs(false, nullptr).logs.log_looked_at({"a", 1, 7, 8, LogVerdict::kInRange});
  RememberLogs(false, nullptr);
  EXPECT_EQ(RememberedLogs().count, 0);
  EXPECT_EQ(RememberedLogs().first, 0);
}
