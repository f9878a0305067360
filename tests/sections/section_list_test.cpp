#include "sections/section_list.h"

#include <gtest/gtest.h>

#include <string>

#include "cgi/parameters.h"

namespace {

TEST(SectionOf, FindsEverySectionAtItsPlace) {
  for (size_t place = 0; place < Sections().size(); ++place) {
    EXPECT_EQ(&SectionOf(static_cast<SectionId>(place)), &Sections()[place]);
    EXPECT_EQ(static_cast<size_t>(Sections()[place].id), place);
  }
}

TEST(IsOn, FollowsTheParameterOfTheSectionAndNoOther) {
  for (const Section& switched : Sections()) {
    Settings settings{};
    settings.rules.later_names = true;
    CompareParam((std::string(switched.parameter) + "=1").c_str(), settings, ParamSource::kForm, kLevelForm);
    for (const Section& section : Sections()) {
      EXPECT_EQ(IsOn(section, settings), &section == &switched) << switched.parameter << section.parameter;
    }
  }
}

TEST(IsOn, AnyNumberButZeroSwitchesOn) {
  Settings settings{};
  settings.requests.on = -1;
  settings.hitsperhour = 2;
  EXPECT_TRUE(IsOn(SectionOf(SectionId::kUrls), settings));
  EXPECT_TRUE(IsOn(SectionOf(SectionId::kHours), settings));
  EXPECT_FALSE(IsOn(SectionOf(SectionId::kDays), settings));
}

TEST(Sections, HaveWhatTheirKindOfRowsNeeds) {
  for (const Section& section : Sections()) {
    SCOPED_TRACE(section.parameter);
    const bool ranked = section.rows == RowKind::kRanked;
    const bool timed = !ranked && section.rows != RowKind::kPhrases;
    const bool named = section.dimension == nullptr;
    EXPECT_EQ(section.items.counted != nullptr, ranked && named);
    EXPECT_EQ(section.items.base != nullptr, ranked && named);
    EXPECT_EQ(section.report != nullptr, !timed && named);
    EXPECT_EQ(ReportOf(section, Settings{}) != nullptr, !timed);
    EXPECT_EQ(section.on != nullptr, timed);
    EXPECT_EQ(section.times != nullptr, timed);
  }
}

}  // namespace
