#include "agents/rules_in_use.h"

#include <gtest/gtest.h>

#include <string>

#include "agents/agent.h"
#include "support/text_file.h"

namespace {

class RulesInUseTest : public testing::Test {
 protected:
  ~RulesInUseTest() override { UseBuiltInRules(); }

  bool Use(const std::string& text) { return UseRulesOf(WriteFile("rules", text).c_str()); }
};

TEST_F(RulesInUseTest, AreThoseBuiltInUntilOthersAreTaken) {
  EXPECT_EQ(&RulesInUse(), &BuiltInRules());
  EXPECT_FALSE(AreRulesOfUser());
  ASSERT_TRUE(Use("robot; Our Probe; Ours; monitoring\n"));
  EXPECT_TRUE(AreRulesOfUser());
  EXPECT_EQ(TellAgent("Our Probe 1.0").robot, "Ours");
  EXPECT_EQ(TellAgent("curl/8.5.0").robot, "curl");
  ASSERT_TRUE(Use("robot; curl; Theirs; feeds\nbuiltin=0\n"));
  EXPECT_EQ(TellAgent("Our Probe 1.0").robot, "Our Probe") << "by its own words";
  EXPECT_EQ(TellAgent("curl/8.5.0").robot, "Theirs");
  UseBuiltInRules();
  EXPECT_EQ(&RulesInUse(), &BuiltInRules());
  EXPECT_EQ(TellAgent("curl/8.5.0").robot, "curl");
}

TEST_F(RulesInUseTest, BadFileSaysWhyAndChangesNothing) {
  EXPECT_FALSE(UseRulesOf(testing::TempDir().c_str()));
  EXPECT_FALSE(UseRulesOf(NewPath("absent").c_str()));
  EXPECT_STREQ(FaultOfRules(), "The file of agents cannot be opened.");
  ASSERT_TRUE(Use("robot; curl; Theirs; feeds\n"));
  EXPECT_FALSE(Use("\nrobot; wget; ; nonsense\n"));
  EXPECT_STREQ(FaultOfRules(), "Line 2 of the file of agents names no purpose that there is.");
  EXPECT_EQ(TellAgent("curl/8.5.0").robot, "curl");
}

}  // namespace
