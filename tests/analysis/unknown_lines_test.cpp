#include "analysis/unknown_lines.h"

#include <gtest/gtest.h>

#include <string>

#include "analysis/dimensions.h"
#include "analysis/driver.h"
#include "cgi/parameters.h"
#include "support/account_logs.h"
#include "support/counted.h"

namespace {

constexpr char kUnderstood[] = "h.example - - [05/Mar/2000:10:00:00 +0000] \"GET /a HTTP/1.0\" 200 1\n";
constexpr char kOfOtherDays[] = "h.example - - [05/Mar/1999:10:00:00 +0000] \"GET /a HTTP/1.0\" 200 1\n";

class UnknownLinesTest : public AccountLogs {
 protected:
  ~UnknownLinesTest() override { EndAnalysis(analysis_); }

  // Items with their lines and the number of the first one.
  std::string Told() {
    size_t row = 0;
    while (kDimensions[row].of_logs == nullptr) {
      ++row;
    }
    settings_.dimensions[row].on = 1;
    settings_.rules.whole_logs = true;
    EXPECT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis_));
    CountLogs(settings_, analysis_);
    total_ = analysis_.dimensions[row].total;
    return Counted(analysis_.dimensions[row].list);
  }

  Analysis analysis_{};
  int64_t total_ = 0;
};

TEST_F(UnknownLinesTest, AreToldByLogAndReason) {
  AddLog("a.log", std::string(kUnderstood) + "one\n" + kUnderstood + "two\n");
  AddLog("b.log", std::string("word\n"));
  AddLog("c.log", std::string(kUnderstood));
  EXPECT_EQ(Told(), "a.log: no layout fits=2:2 b.log: no layout fits=1:1 ");
  EXPECT_EQ(total_, 3);
}

TEST_F(UnknownLinesTest, AreToldByEachReason) {
  const std::string timeless = "h.example - - [05/Foo/2000:10:00:00 +0000] \"GET /a HTTP/1.0\" 200 1\n";
  AddLog("a.log", kUnderstood + timeless + "one\n" + timeless + kUnderstood + "two\n" + timeless +
                      "h.example - - [05/Mar/2000:10:00:00 +0000] \"GET /a");
  EXPECT_EQ(Told(),
            "a.log: cut off=1:8 a.log: no layout fits=2:3 a.log: no time at character 16 (nearest to "
            "combined)=3:2 ");
  EXPECT_EQ(total_, 6);
}

// Letters cut a line where they take its fields to end.
TEST_F(UnknownLinesTest, AreHeldAgainstALayoutAsTheyStand) {
  AddLog("a.log", std::string(kUnderstood) + "h.example - - [05/Mar/2000:10 a b c d\nh.example -  b [\n");
  EXPECT_EQ(Told(), "a.log: no time at character 16 (nearest to combined)=2:2 ");
}

TEST_F(UnknownLinesTest, OfLogsOfOtherDaysAreNone) {
  AddLog("a.log", std::string(kOfOtherDays) + "one\n");
  EXPECT_EQ(Told(), "");
}

TEST_F(UnknownLinesTest, TellWhatTheLineLacks) {
  AddLog("a.log", std::string(kUnderstood) + kUnderstood +
                      "h.example - - [05/Foo/2000:10:00:00 +0000] \"GET /a HTTP/1.0\" 200 1\n");
  EXPECT_EQ(Told(), "a.log: no time at character 16 (nearest to combined)=1:3 ");
}

TEST_F(UnknownLinesTest, TellThatTheLineIsCutOff) {
  AddLog("a.log", std::string(kUnderstood) + "h.example - - [05/Mar/2000:10:00:00 +0000] \"GET /a HTTP/1.0");
  AddLog("b.log",
         std::string(kUnderstood) + "h.example - - [05/Mar/2000:10:00:00 +0000] \"GET /a HTTP/1.0\" 2");
  AddLog("c.log", std::string(kUnderstood) + "whole words");
  EXPECT_EQ(Told(), "a.log: cut off=1:2 b.log: cut off=1:2 c.log: no layout fits=1:2 ");
}

}  // namespace
