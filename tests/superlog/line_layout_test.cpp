#include "superlog/line_layout.h"

#include <gtest/gtest.h>

#include <string>

static std::string Letters(const LineLayout& layout) {
  return {layout.letters, layout.fields};
}

static std::string Steps(const FieldPlan& plan) {
  std::string steps;
  for (size_t i = 0; i < plan.length; ++i) {
    steps += plan.steps[i].letter + std::to_string(plan.steps[i].field) + " ";
  }
  return steps;
}

TEST(WorkOut, PutsTextsInPlacesAndTheOthersInSteps) {
  LineLayout layout;
  WorkOut(layout, "Shmw1qrcfa");
  EXPECT_EQ(Letters(layout), "hmw1qrcfa");
  ASSERT_EQ(layout.length, 1u);
  EXPECT_EQ(layout.runs[0].separator, 'S');
  EXPECT_EQ(layout.runs[0].end, 9);
  EXPECT_EQ(layout.user, 2u);
  EXPECT_EQ(layout.plan.texts[kHostPlace], 0);
  EXPECT_EQ(layout.plan.texts[kUrlPlace], 4);
  EXPECT_EQ(layout.plan.texts[kAgentPlace], 8);
  EXPECT_EQ(layout.plan.texts[kQueryPlace], kNoField);
  EXPECT_TRUE(layout.plan.is_request);
  EXPECT_EQ(Steps(layout.plan), "13 r5 c6 ");
}

TEST(WorkOut, FieldsOfOneSeparatorAreARun) {
  LineLayout layout;
  WorkOut(layout, "SShT4uSS?w1qC");
  EXPECT_EQ(Letters(layout), "h4u?w1q");
  ASSERT_EQ(layout.length, 3u);
  EXPECT_EQ(layout.runs[0].end, 1);
  EXPECT_EQ(layout.runs[1].separator, 'T');
  EXPECT_EQ(layout.runs[1].end, 3);
  EXPECT_EQ(layout.runs[2].end, 7);
  EXPECT_EQ(layout.user, kNoField);
  EXPECT_FALSE(layout.usual.usual);
}

TEST(WorkOut, TheLastOfLettersThatSayTheSameCounts) {
  LineLayout layout;
  WorkOut(layout, "Tuhqhu");
  EXPECT_EQ(layout.plan.texts[kUrlPlace], 4);
  EXPECT_FALSE(layout.plan.is_request);
  EXPECT_EQ(layout.plan.texts[kHostPlace], 3);
}

TEST(PlanFor, ALineWithFewerFieldsHasWhatStandsInThese) {
  LineLayout layout;
  WorkOut(layout, "Tuhqhu1");
  const FieldPlan& plan = PlanFor(layout, 3);
  EXPECT_EQ(plan.texts[kUrlPlace], 2);
  EXPECT_TRUE(plan.is_request);
  EXPECT_EQ(plan.texts[kHostPlace], 1);
  EXPECT_EQ(Steps(plan), "");
  EXPECT_EQ(Steps(PlanFor(layout, 6)), "15 ");
  EXPECT_EQ(PlanFor(layout, 0).texts[kHostPlace], kNoField);
}

TEST(WorkOut, TheLongestLayout) {
  LineLayout layout;
  WorkOut(layout, ("S" + std::string(kTextMax - 1, 'r')).c_str());
  EXPECT_EQ(layout.fields, kTextMax - 1);
  EXPECT_EQ(layout.plan.length, kTextMax - 1);
}
