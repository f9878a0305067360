#include "report/debug_rows.h"

#include <gtest/gtest.h>

#include <string>

#include "analysis/driver.h"
#include "analysis/smart_memory.h"
#include "support/account_logs.h"

namespace {

class DebugRows : public AccountLogs {
 protected:
  DebugRows() {
    settings_.debug = 1;
    gSM_TotalBytesAllocated = gSM_CurrentBytesAllocated = gSM_MaximumBytesAllocated = gSM_TotalBytesFreed = 0;
  }

  ~DebugRows() override {
    gSM_TotalBytesAllocated = gSM_CurrentBytesAllocated = gSM_MaximumBytesAllocated = gSM_TotalBytesFreed = 0;
  }

  std::string Rows() {
    testing::internal::CaptureStdout();
    PrintDebugRows(settings_);
    return testing::internal::GetCapturedStdout();
  }
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
  settings_.requests.on = 1;
  AddLog("a.log", {{}});
  Analysis analysis{};
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis));
  testing::internal::CaptureStdout();
  CountLogs(settings_, analysis);
  testing::internal::GetCapturedStdout();
  const double read = static_cast<double>(ToText({}).size());
  gSM_TotalBytesAllocated = 1234567;
  gSM_CurrentBytesAllocated = 1000;
  gSM_MaximumBytesAllocated = 999;
  gSM_TotalBytesFreed = 1233567;
  char ratio[40];
  snprintf(ratio, sizeof ratio, "%.2f%%", static_cast<double>(123456700.0F / static_cast<float>(read)));
  EXPECT_NE(Rows().find("<tr><td>Current Bytes Allocated</td><td>1,000</td></tr>\n"
                        "<tr><td>Total Bytes Allocated</td><td>1,234,567</td></tr>\n"
                        "<tr><td>Maximum Bytes Allocated</td><td>999</td></tr>\n"
                        "<tr><td>Total Bytes Freed</td><td>1,233,567</td></tr>\n"
                        "<tr><td>Memory used to Log bytes read ratio:</td><td>" +
                        std::string(ratio) + "</td></tr>\n</table></center><p>\n"),
            std::string::npos);
  EndAnalysis(analysis);
}
