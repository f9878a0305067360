#include "report/refusal_log.h"

#include <gtest/gtest.h>

#include "dates/clock.h"
#include "support/text_file.h"

class RefusalLog : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC", 1);
    tzset();
    SetCurrentTimeForTest(915148799);
    CopyText(settings.ErrorLog, NewPath("error.log"));
    CopyText(settings.username, "ann");
    CopyText(env.REMOTE_ADDR, "192.0.2.7");
  }
  void TearDown() override { SetCurrentTimeForTest(-1); }

  // What follows the time.
  std::string Logged() {
    const std::string time = "[31/Dec/1998:23:59:59] ";
    const std::string line = ReadFile(settings.ErrorLog);
    EXPECT_EQ(line.substr(0, time.size()), time);
    return line.substr(time.size());
  }

  Settings settings{};
  Environment env{};
};

TEST_F(RefusalLog, NamesAddressAndAccount) {
  LogRequest(env, settings, "it is so");
  EXPECT_EQ(Logged(), "192.0.2.7 \"ann\" it is so\n");
}

TEST_F(RefusalLog, DetailStandsBehindTheSentence) {
  LogRequest(env, settings, "it is:", "a file");
  EXPECT_EQ(Logged(), "192.0.2.7 \"ann\" it is: \"a file\"\n");
}

TEST_F(RefusalLog, VisitorWithoutAddress) {
  env.REMOTE_ADDR[0] = '\0';
  LogRequest(env, settings, "it is so");
  EXPECT_EQ(Logged(), "- \"ann\" it is so\n");
}

TEST_F(RefusalLog, NothingCanBeForged) {
  CopyText(env.REMOTE_ADDR, "1 \"x\\\n\x80::1");
  CopyText(settings.username, "\" y\\\r\n[01/Jan/1999:00:00:00] \x1b\x7f\xff");
  LogRequest(env, settings, "it is:", "\\\"\t");
  EXPECT_EQ(Logged(), "1??x???::1 \"\\\" y\\\\??[01/Jan/1999:00:00:00] ???\" it is: \"\\\\\\\"?\"\n");
}

TEST_F(RefusalLog, LongestTextsFit) {
  CopyText(env.REMOTE_ADDR, std::string(200, 'a'));
  CopyText(settings.username, std::string(200, '"'));
  const std::string path(kPathSize - 1, '\\');
  LogRequest(env, settings, "it is:", path.c_str());
  EXPECT_EQ(Logged().size(), 99 + sizeof(" \"") - 1 + 2 * 99 + sizeof("\" it is: \"") - 1 + 2 * path.size() +
                                 sizeof("\"\n") - 1);
}

TEST_F(RefusalLog, LongerOnesAreCut) {
  LogRequest(env, settings, "it is:", std::string(9000, 'd').c_str());
  const std::string line = Logged();
  EXPECT_LT(line.size(), 2100U);
  EXPECT_EQ(line.back(), '\n');
}
