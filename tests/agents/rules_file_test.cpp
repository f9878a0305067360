#include "agents/rules_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "agents/agent.h"

class RulesFile : public testing::Test {
 protected:
  RulesFile() : path_(testing::TempDir() + "agents_rules_" + std::to_string(getpid())) {}
  ~RulesFile() override { remove(path_.c_str()); }

  bool Read(std::string_view content) {
    FILE* const file = fopen(path_.c_str(), "w");
    fwrite(content.data(), 1, content.size(), file);
    fclose(file);
    return ReadAgentRules(path_.c_str(), *rules_, sentence_);
  }

  // The sentence on a content that is refused; empty when it was taken.
  std::string Refusal(std::string_view content) { return Read(content) ? "" : sentence_; }

  Agent Tell(std::string_view text) const { return TellAgent(text, *rules_); }

  std::string path_;
  std::unique_ptr<AgentRules> rules_ = std::make_unique<AgentRules>();
  char sentence_[kTextSize];
};

static constexpr char kFirefox[] = "Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0";

TEST_F(RulesFile, ItsRulesStandBeforeThoseThatAreBuiltIn) {
  ASSERT_TRUE(
      Read("# ours\n"
           "\n"
           "robot; Googlebot; Our friend; other\n"
           "  ROBOT ;\tAcmeCheck* ; Acme ;Monitoring\r\n"
           "browser; AcmeFox/; Acme Fox\n"
           "browser; AcmeSurf; Acme Surf; Release/\n"
           "system; AcmeOS 5; Acme OS; five\n"
           "system; AcmeOS; Acme OS\n"
           "device; AcmePad; tablet"));
  EXPECT_EQ(Tell("Googlebot/2.1").robot, "Our friend");
  EXPECT_EQ(Tell("AcmeChecker/1").robot, "Acme");
  EXPECT_EQ(Tell("AcmeChecker/1").purpose, Purpose::kMonitoring);
  const Agent fox = Tell("Mozilla/5.0 (AcmeOS 7; AcmePad) Firefox/128.0 AcmeFox/3.1");
  EXPECT_EQ(fox.family, "Acme Fox");
  EXPECT_EQ(fox.version, "3");
  EXPECT_EQ(fox.system, "Acme OS");
  EXPECT_EQ(fox.system_version, "7");
  EXPECT_EQ(fox.device, Device::kTablet);
  const Agent surf = Tell("Mozilla/5.0 (AcmeOS 5.1) AcmeSurf Release/12.0");
  EXPECT_EQ(surf.version, "12");
  EXPECT_EQ(surf.system_version, "five");
  EXPECT_EQ(Tell("bingbot/2.0").robot, "bingbot");
  EXPECT_EQ(Tell(kFirefox).family, "Firefox");
}

TEST_F(RulesFile, ARobotMayHaveNoNameAndNoPurpose) {
  ASSERT_TRUE(Read("robot; *acme*\nrobot; emca; Emca\nrobot; firefox; ; none"));
  EXPECT_EQ(Tell("TheAcmeThing/1.0").robot, "TheAcmeThing");
  EXPECT_EQ(Tell("emca").robot, "Emca");
  EXPECT_EQ(Tell("emca").purpose, Purpose::kOther);
  EXPECT_EQ(Tell(std::string(kFirefox) + " spider").robot, "");
}

TEST_F(RulesFile, ItMayStandInThePlaceOfThoseThatAreBuiltIn) {
  ASSERT_TRUE(Read("builtin=0\nbrowser; Firefox/; Fox\n"));
  EXPECT_EQ(rules_->count, 1u);
  EXPECT_EQ(Tell(kFirefox).family, "Fox");
  EXPECT_EQ(Tell(kFirefox).system, "");
  ASSERT_TRUE(Read("builtin=0\nBuiltIn=1\n"));
  EXPECT_EQ(rules_->count, BuiltInRules().count);
}

TEST_F(RulesFile, AnEmptyOneAddsNothing) {
  ASSERT_TRUE(Read(""));
  EXPECT_EQ(rules_->count, BuiltInRules().count);
  ASSERT_TRUE(Read("\xEF\xBB\xBF# a mark before the text\n"));
  EXPECT_EQ(rules_->count, BuiltInRules().count);
}

TEST_F(RulesFile, ABadLineIsToldByItsNumber) {
  EXPECT_EQ(Refusal("\n\nrobt; acme"),
            "Line 3 of the file of agents begins with none of robot, browser, system and device.");
  EXPECT_EQ(Refusal("# x\r\nrobot; acme; Acme; friend\n"),
            "Line 2 of the file of agents names no purpose that there is.");
  EXPECT_EQ(Refusal("browser; acme"), "Line 1 of the file of agents has no name in its third field.");
  EXPECT_EQ(Refusal("system; acme; "), "Line 1 of the file of agents has no name in its third field.");
  EXPECT_EQ(Refusal("device; acme; fridge"),
            "Line 1 of the file of agents names no kind of device that there is.");
  EXPECT_EQ(Refusal("device; acme; tv; x"),
            "Line 1 of the file of agents has more than the three fields of a device.");
  EXPECT_EQ(Refusal("robot; acme; Acme; other; more"),
            "Line 1 of the file of agents has more than four fields.");
  EXPECT_EQ(Refusal("robot; *a*"), "Line 1 of the file of agents has a word of fewer than two characters.");
  EXPECT_EQ(Refusal("robot"), "Line 1 of the file of agents has a word of fewer than two characters.");
  EXPECT_EQ(Refusal("robot; a\x1b[31m"), "Line 1 of the file of agents holds a character that is no text.");
  EXPECT_EQ(Refusal(std::string_view("robot; a\0me", 11)),
            "Line 1 of the file of agents holds a character that is no text.");
}

TEST_F(RulesFile, SizesAreBounded) {
  const std::string longest(kLongestRuleField, 'a');
  EXPECT_EQ(Refusal("robot; " + longest + "; " + longest), "");
  EXPECT_EQ(Refusal("robot; " + longest + "a"),
            "Line 1 of the file of agents has a field of more than 100 bytes.");
  const std::string comment = "#" + std::string(kLongestRuleLine - 1, 'x');
  EXPECT_EQ(Refusal(comment + "\r\n" + comment), "");
  EXPECT_EQ(Refusal("\n" + comment + "x\n"), "Line 2 of the file of agents is longer than 400 bytes.");
  const std::string lines(kMostRuleLines, '\n');
  EXPECT_EQ(Refusal(lines), "");
  EXPECT_EQ(Refusal(lines + "#"), "Line 10001 of the file of agents is one more than a file may have.");
}

TEST_F(RulesFile, ThereIsRoomForSoManyRules) {
  const size_t room = kMostRules - BuiltInRules().count;
  std::string content;
  for (size_t i = 0; i < room; ++i) {
    content += "robot; acme" + std::to_string(i) + "\n";
  }
  EXPECT_EQ(Refusal(content), "");
  EXPECT_EQ(rules_->count, kMostRules);
  EXPECT_EQ(Refusal(content + "robot; one more\n"),
            "Line " + std::to_string(room + 1) +
                " of the file of agents comes when there is no more room for rules.");
  const std::string text(kLongestRuleField, 'a');
  content.clear();
  for (size_t size = 0; size <= kRuleTexts; size += text.size() * 2) {
    content += "robot; " + text + "; " + text + "\n";
  }
  EXPECT_NE(Refusal(content), "");
}

TEST_F(RulesFile, AfterARefusalTheRulesAreThoseThatAreBuiltIn) {
  ASSERT_FALSE(Read("builtin=0\nrobot; Firefox\nrobt"));
  EXPECT_EQ(rules_->count, BuiltInRules().count);
  EXPECT_EQ(Tell(kFirefox).family, "Firefox");
}

TEST_F(RulesFile, AFileThatCannotBeOpenedIsSaid) {
  EXPECT_FALSE(ReadAgentRules("/nonexistent/agents", *rules_, sentence_));
  EXPECT_STREQ(sentence_, "The file of agents cannot be opened.");
  EXPECT_EQ(Tell("Googlebot/2.1").robot, "Googlebot");
}

TEST_F(RulesFile, CanBeReadAgain) {
  ASSERT_TRUE(Read("robot; acme; One"));
  ASSERT_TRUE(Read("robot; acme; Two"));
  EXPECT_EQ(Tell("acme").robot, "Two");
  EXPECT_EQ(rules_->count, BuiltInRules().count + 1);
}
