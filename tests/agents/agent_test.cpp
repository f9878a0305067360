#include "agents/agent.h"

#include <gtest/gtest.h>

#include <memory>

static constexpr char kChrome[] =
    "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/128.0.0.0 "
    "Safari/537.36";

static bool IsNothing(const Agent& agent) {
  return agent.family.empty() && agent.version.empty() && agent.system.empty() &&
         agent.system_version.empty() && agent.device == Device::kUnknown && agent.robot.empty() &&
         agent.purpose == Purpose::kNone;
}

TEST(TellAgent, TellsABrowser) {
  const Agent agent = TellAgent(kChrome);
  EXPECT_EQ(agent.family, "Chrome");
  EXPECT_EQ(agent.version, "128");
  EXPECT_EQ(agent.system, "Windows");
  EXPECT_EQ(agent.system_version, "10 or 11");
  EXPECT_EQ(agent.device, Device::kDesktop);
  EXPECT_EQ(agent.robot, "");
  EXPECT_EQ(agent.purpose, Purpose::kNone);
}

TEST(TellAgent, OfARobotTellsNothingElse) {
  const std::string text =
      std::string(kChrome) + " (compatible; Googlebot/2.1; +http://www.google.com/bot.html)";
  const Agent agent = TellAgent(text);
  EXPECT_EQ(agent.robot, "Googlebot");
  EXPECT_EQ(agent.purpose, Purpose::kSearch);
  EXPECT_EQ(agent.family, "");
  EXPECT_EQ(agent.system, "");
  EXPECT_EQ(agent.device, Device::kUnknown);
}

TEST(TellAgent, NothingTellsNothing) {
  for (const char* text : {"", "-", " ", "\t - "}) {
    EXPECT_TRUE(IsNothing(TellAgent(text))) << text;
  }
  EXPECT_TRUE(IsNothing(TellAgent({})));
}

TEST(TellAgent, WhatHasNotABrowsersFormIsARobot) {
  for (const char* text : {"Acme", "Acme/1.0", "Acme Chrome/128.0", "()", "?", "Mozilla/5.0",
                           "Mozilla/5.0 (Windows NT 10.0)", "Mozilla/5.0 (compatible; Acme/1.0)"}) {
    const Agent agent = TellAgent(text);
    EXPECT_NE(agent.robot, "") << text;
    EXPECT_EQ(agent.purpose, Purpose::kOther) << text;
  }
}

TEST(TellAgent, BrowsersMayBeginWithTheirNameAndPhonesWithTheirs) {
  EXPECT_EQ(TellAgent("Lynx/2.8.9rel.1 libwww-FM/2.14").family, "Lynx");
  EXPECT_EQ(TellAgent("Opera/9.80 (Windows NT 6.1) Presto/2.12.388 Version/12.16").version, "12");
  const Agent phone = TellAgent("Acme-F100/1.0 Profile/MIDP-2.0 Configuration/CLDC-1.1");
  EXPECT_EQ(phone.robot, "");
  EXPECT_EQ(phone.device, Device::kPhone);
}

TEST(TellAgent, CallsTheBrowserOfEarlyAndroidByItsName) {
  const Agent agent = TellAgent(
      "Mozilla/5.0 (Linux; U; Android 4.0.3; de-de; Acme Build/IML74K) AppleWebKit/534.30 "
      "(KHTML, like Gecko) Version/4.0 Mobile Safari/534.30");
  EXPECT_EQ(agent.family, "Android Browser");
  EXPECT_EQ(agent.system_version, "4");
}

TEST(TellAgent, TakesTheVersionOfIosFromSafariWhereThatIsLater) {
  const auto version_of = [](const std::string& os, const std::string& safari) {
    const std::string text = "Mozilla/5.0 (iPhone; CPU iPhone OS " + os +
                             " like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) " + "Version/" +
                             safari + " Mobile/15E148 Safari/604.1";
    return std::string(TellAgent(text).system_version);
  };
  EXPECT_EQ(version_of("18_6", "26.0"), "26");
  EXPECT_EQ(version_of("17_4", "17.4"), "17");
  EXPECT_EQ(version_of("17_4", "16.1"), "17");
  EXPECT_EQ(version_of("4_3", "5.0.2"), "4");
}

TEST(TellAgent, LooksAtTheFirstBytesAlone) {
  const std::string far = std::string(kLongestAgent, ' ') + "AcmeBot";
  EXPECT_TRUE(IsNothing(TellAgent(far)));
  const std::string text = kChrome + std::string(kLongestAgent, ' ') + "AcmeBot";
  EXPECT_EQ(TellAgent(text).family, "Chrome");
}

TEST(TellAgent, TakesAnyBytes) {
  for (const std::string_view text :
       {std::string_view("\0\0Acme", 6), std::string_view("\xFF\xFE\x80"),
        std::string_view("Mozilla/5.0 (\0; Android", 23), std::string_view("((((((")}) {
    EXPECT_NE(TellAgent(text).robot, "");
  }
}

TEST(TellAgent, GoesByTheRulesThatItIsGiven) {
  auto rules = std::make_unique<AgentRules>();
  AddRule(*rules, {.word = "Chrome", .name = "Nobody's", .purpose = Purpose::kTools});
  IndexRules(*rules);
  EXPECT_EQ(TellAgent(kChrome, *rules).robot, "Nobody's");
  EXPECT_EQ(TellAgent("Lynx/2.8", *rules).robot, "Lynx");
}
