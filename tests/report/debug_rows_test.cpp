#include "report/debug_rows.h"

#include <gtest/gtest.h>

#include <string>

#include "analysis/driver.h"
#include "support/account_logs.h"

namespace {

class DebugRows : public AccountLogs {
 protected:
  DebugRows() { settings_.debug = 1; }

  std::string Rows() {
    testing::internal::CaptureStdout();
    PrintDebugRows(settings_, analysis_);
    return testing::internal::GetCapturedStdout();
  }

  Analysis analysis_{};
};

constexpr const char* kEnd =
    "</table></center><p>\n"
    "The following search engines are defined in the Orvellis configuration file:<p>\n"
    "No search engines defined.<p>\n";

constexpr const char* kHeading =
    "<tr><td colspan=6>&nbsp;</td></tr>\n<tr><td colspan=2 align=center><b>Memory Usage</b></td></tr>\n";

}  // namespace

TEST_F(DebugRows, NothingWithoutDebug) {
  settings_.debug = 0;
  EXPECT_EQ(Rows(), "");
}

TEST_F(DebugRows, WithoutSmartMemoryOnlyTheTableEnds) {
  settings_.SmartMemoryEnabled = 0;
  EXPECT_EQ(Rows(), kEnd);
}

TEST_F(DebugRows, FiguresOfARunThatAllocatedNothing) {
  EXPECT_EQ(Rows(), std::string(kHeading) +
                        "<tr><td>Smart Memory: Enabled</td><td>True<td></tr>\n"
                        "<tr><td>Smart Memory: minimum list entries to keep</td><td>100<td></tr>\n"
                        "<tr><td>Smart Memory: size of memory to reclaim</td><td>1000K<td></tr>\n"
                        "<tr><td>Current Bytes Allocated</td><td>0</td></tr>\n"
                        "<tr><td>Total Bytes Allocated</td><td>0</td></tr>\n"
                        "<tr><td>Maximum Bytes Allocated</td><td>0</td></tr>\n"
                        "<tr><td>Total Bytes Freed</td><td>0</td></tr>\n" +
                        kEnd);
}

TEST_F(DebugRows, BudgetShowsWhenThereIsOne) {
  settings_.SmartMemoryMaxMemoryToAllocate = 499;
  EXPECT_NE(Rows().find("reclaim</td><td>1000K<td></tr>\n"
                        "<tr><td>Smart Memory: maximum memory to allocate</td><td>499K<td></tr>\n"
                        "<tr><td>Current"),
            std::string::npos);
}

TEST_F(DebugRows, FiguresHaveCommasAndTheRatioIsOfTheLogBytesRead) {
  analysis_.memory = {.total = 1234567, .current = 1000, .maximum = 999, .freed = 1233567};
  analysis_.logs.bytes_read = {.billions = 2, .units = 469134000};
  EXPECT_NE(Rows().find("<tr><td>Current Bytes Allocated</td><td>1,000</td></tr>\n"
                        "<tr><td>Total Bytes Allocated</td><td>1,234,567</td></tr>\n"
                        "<tr><td>Maximum Bytes Allocated</td><td>999</td></tr>\n"
                        "<tr><td>Total Bytes Freed</td><td>1,233,567</td></tr>\n"
                        "<tr><td>Memory used to Log bytes read ratio:</td><td>0.05%</td></tr>\n"
                        "</table></center><p>\n"),
            std::string::npos);
}

TEST_F(DebugRows, FiguresAreAsWideAsTheLimitsLetThemBe) {
  analysis_.counting = kClassicCounting;
  analysis_.memory = {.total = INT32_MIN, .current = -256, .maximum = INT32_MAX, .freed = 0};
  EXPECT_NE(Rows().find("<tr><td>Current Bytes Allocated</td><td>4,294,967,040</td></tr>\n"
                        "<tr><td>Total Bytes Allocated</td><td>2,147,483,648</td></tr>\n"
                        "<tr><td>Maximum Bytes Allocated</td><td>2,147,483,647</td></tr>\n"),
            std::string::npos);
  analysis_.counting = kModernCounting;
  analysis_.memory = {.total = int64_t{5000000000}, .current = int64_t{1} << 32, .maximum = 0, .freed = 0};
  EXPECT_NE(Rows().find("<tr><td>Current Bytes Allocated</td><td>4,294,967,296</td></tr>\n"
                        "<tr><td>Total Bytes Allocated</td><td>5,000,000,000</td></tr>\n"),
            std::string::npos);
}

TEST_F(DebugRows, FiguresAreThoseOfTheRun) {
  settings_.requests.on = 1;
  AddLog("a.log", {{}});
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
  CountLogs(settings_, analysis_);
  char ratio[40];
  snprintf(ratio, sizeof ratio, "%.2f%%",
           static_cast<double>(25600.0F / static_cast<float>(ToText({}).size())));
  const std::string rows = Rows();
  EXPECT_NE(rows.find("<td>Total Bytes Allocated</td><td>256</td>"), std::string::npos);
  EXPECT_NE(rows.find("ratio:</td><td>" + std::string(ratio) + "</td>"), std::string::npos);
  EXPECT_NE(rows.find("<b>About.com:</b>"), std::string::npos);
  EndAnalysis(analysis_);
}
