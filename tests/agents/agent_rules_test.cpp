#include "agents/agent_rules.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "agents/built_in_rules.h"
#include "agents/plain_rules.h"

static std::unique_ptr<AgentRules> Table(const std::vector<AgentRule>& rows) {
  auto rules = std::make_unique<AgentRules>();
  for (const AgentRule& row : rows) {
    EXPECT_TRUE(AddRule(*rules, row)) << row.word;
  }
  IndexRules(*rules);
  return rules;
}

static std::string_view RobotIn(const AgentRules& rules, std::string_view text) {
  const RuleMatch match = FindRules(rules, text)[static_cast<size_t>(RuleKind::kRobot)];
  return match.rule == nullptr ? std::string_view{} : match.rule->name;
}

static bool Finds(std::string_view word, std::string_view text) {
  return RobotIn(*Table({{.word = word, .name = "found"}}), text) == "found";
}

TEST(FindRules, FindsWholeWords) {
  for (const char* text : {"bot", "bot/1.0", "a bot", "(bot)", "bot2", "x-bot;", "bot_x"}) {
    EXPECT_TRUE(Finds("bot", text)) << text;
  }
  for (const char* text : {"cubot", "9bot", "bottle", "bo", "", "b ot"}) {
    EXPECT_FALSE(Finds("bot", text)) << text;
  }
}

TEST(FindRules, AStarLetsAWordBeginAndGoOnWithinOthers) {
  EXPECT_TRUE(Finds("*bot", "AcmeBot/1.0"));
  EXPECT_FALSE(Finds("*bot", "AcmeBottle"));
  EXPECT_TRUE(Finds("bot*", "Bottle"));
  EXPECT_FALSE(Finds("bot*", "AcmeBottle"));
  EXPECT_TRUE(Finds("*bot*", "AcmeBottle"));
}

TEST(FindRules, DigitsEndWordsOfLettersAndGoOnInNumbers) {
  EXPECT_TRUE(Finds("OS X 10.1", "OS X 10.1"));
  EXPECT_TRUE(Finds("OS X 10.1", "OS X 10_1_2"));
  EXPECT_FALSE(Finds("OS X 10.1", "OS X 10_15"));
  EXPECT_TRUE(Finds("Edg/", "Edg/128"));
}

TEST(FindRules, IgnoresCaseOfAsciiAlone) {
  EXPECT_TRUE(Finds("ACMEbot", "acmeBOT"));
  EXPECT_FALSE(Finds("ac\xC4me", "ac\xE4me"));
}

TEST(FindRules, AWordWithoutALetterBeforeStandsAnywhere) {
  EXPECT_TRUE(Finds("; wv)", "(Linux; Android 14; Acme; wv)"));
  EXPECT_TRUE(Finds("+www.*", "Acme+www.example.com"));
}

TEST(FindRules, OfEachKindTheFirstRuleCounts) {
  const auto rules = Table({{.word = "second", .name = "two"},
                            {.word = "first", .name = "one"},
                            {.kind = RuleKind::kBrowser, .word = "first", .name = "browser"}});
  EXPECT_EQ(RobotIn(*rules, "first second"), "two");
  EXPECT_EQ(RobotIn(*rules, "first"), "one");
  const auto matches = FindRules(*rules, "a first, a first, a second");
  EXPECT_EQ(matches[static_cast<size_t>(RuleKind::kBrowser)].begin, 2u);
  EXPECT_EQ(matches[static_cast<size_t>(RuleKind::kBrowser)].end, 7u);
  EXPECT_EQ(matches[static_cast<size_t>(RuleKind::kRobot)].begin, 20u);
  EXPECT_EQ(matches[static_cast<size_t>(RuleKind::kSystem)].rule, nullptr);
}

TEST(AddRule, RefusesShortWordsAndMoreThanThereIsRoomFor) {
  auto rules = std::make_unique<AgentRules>();
  for (const char* word : {"", "*", "**", "a", "*a*", "***"}) {
    EXPECT_FALSE(AddRule(*rules, {.word = word})) << word;
  }
  for (size_t i = 0; i < kMostRules; ++i) {
    ASSERT_TRUE(AddRule(*rules, {.word = "acme"}));
  }
  EXPECT_FALSE(AddRule(*rules, {.word = "acme"}));
  IndexRules(*rules);
  EXPECT_EQ(FindRules(*rules, "acme")[0].rule, rules->rules.data());
}

TEST(BuiltInRules, FitIntoATableAndLeaveRoom) {
  const size_t count = RobotRules().size() + BrowserRules().size();
  EXPECT_EQ(BuiltInRules().count, count);
  EXPECT_LT(count, kMostRules / 2);
}

// A rule whose word holds that of an earlier one could never count.
TEST(BuiltInRules, EachIsTheFirstForItsOwnWord) {
  const AgentRules& rules = BuiltInRules();
  for (size_t i = 0; i < rules.count; ++i) {
    const AgentRule& rule = rules.rules[i];
    const RuleMatch match = FindRules(rules, rule.word)[static_cast<size_t>(rule.kind)];
    ASSERT_NE(match.rule, nullptr) << rule.word;
    EXPECT_EQ(match.rule, &rule) << rule.word << " is hidden by " << match.rule->word;
  }
}

TEST(BuiltInRules, AreFoundAsOneAfterTheOtherFindsThem) {
  const AgentRules& rules = BuiltInRules();
  std::mt19937 random(1);  // NOLINT: the same texts each time
  for (int i = 0; i < 1500; ++i) {
    std::string text;
    for (size_t words = random() % 5; words < 6; ++words) {
      const std::string_view word = rules.rules[random() % rules.count].word;
      text += word.substr(random() % 3 == 0 ? 1 : 0, word.size() - random() % 2);
      text += std::string_view(" /;_x7").substr(random() % 6, random() % 2);
    }
    const auto matches = FindRules(rules, text);
    for (size_t kind = 0; kind < kRuleKinds; ++kind) {
      const RuleMatch plain = plain::Find(rules, static_cast<RuleKind>(kind), text);
      EXPECT_EQ(matches[kind].rule, plain.rule) << text;
      EXPECT_EQ(matches[kind].begin, plain.begin) << text;
      EXPECT_EQ(matches[kind].end, plain.end) << text;
    }
  }
}

TEST(FindWordEnd, IsBehindTheFirstWholeWord) {
  EXPECT_EQ(FindWordEnd("Conversion/1 Version/17.4", "Version/"), 21u);
  EXPECT_EQ(FindWordEnd("Version", "Version/"), std::string_view::npos);
  EXPECT_EQ(FindWordEnd("", "Version/"), std::string_view::npos);
}

TEST(PurposeNames, AndDeviceNamesStandInTheOrderOfTheirValues) {
  for (size_t i = 0; i < PurposeNames().size(); ++i) {
    EXPECT_EQ(static_cast<size_t>(PurposeNames()[i].purpose), i);
  }
  for (size_t i = 0; i < DeviceNames().size(); ++i) {
    EXPECT_EQ(static_cast<size_t>(DeviceNames()[i].device), i);
  }
  EXPECT_EQ(PurposeNames().size(), static_cast<size_t>(Purpose::kOther) + 1);
  EXPECT_EQ(DeviceNames().size(), static_cast<size_t>(Device::kOther) + 1);
}
