#include "report/section_look.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

template <typename Print>
std::string Output(Print print) {
  testing::internal::CaptureStdout();
  print();
  return testing::internal::GetCapturedStdout();
}

SectionLook Example() {
  SectionLook look{};
  look.anchor = "anchor";
  look.colour = "#123456";
  look.title = "A Title";
  look.plain_title = "Another";
  look.explanation = "It explains.";
  return look;
}

}  // namespace

TEST(LookOf, EverySectionOfTheClassicPageHasItsOwn) {
  std::set<std::string> anchors;
  for (const Section& section : Sections()) {
    if (!section.classic) {
      continue;
    }
    EXPECT_EQ(LookOf(section).id, section.id);
    EXPECT_TRUE(anchors.insert(LookOf(section).anchor).second) << LookOf(section).anchor;
  }
}

TEST(IsShown, LaterSectionsAreNoneOfTheClassicPage) {
  Settings settings{};
  EXPECT_FALSE(IsShown(SectionOf(SectionId::kHours), settings));
  settings.hitsperhour = settings.hoursofweek = 1;
  EXPECT_TRUE(IsShown(SectionOf(SectionId::kHours), settings));
  EXPECT_FALSE(IsShown(SectionOf(SectionId::kHoursOfWeek), settings));
}

TEST(BeginSectionHead, RowsSpanTheColumns) {
  EXPECT_EQ(Output([] {
              BeginSectionHead(Example(), 2);
              EndSectionHead();
            }),
            "\n<p><a name=\"anchor\"></a><hr noshade><p>\n"
            "<center><table border=1 width=\"80%\" cellspacing=0>\n"
            "<tr>\n<td colspan=2 bgcolor=\"#123456\" align=\"center\"><font size=\"+1\"><b>A "
            "Title</b></font></td>\n</tr>\n"
            "<tr>\n<td colspan=2 bgcolor=\"#123456\">It explains.</td>\n</tr>\n");
}

TEST(BeginSectionHead, NoColumnsAreNotNamed) {
  const std::string head = Output([] { BeginSectionHead(Example(), 0); });
  EXPECT_EQ(head.find("colspan"), std::string::npos);
  EXPECT_NE(head.find("<tr>\n<td bgcolor=\"#123456\" align"), std::string::npos);
  EXPECT_TRUE(head.ends_with("<tr>\n<td bgcolor=\"#123456\">It explains.")) << "the cell stays open";
}

TEST(PrintPlainTitle, StandsBetweenEmptyLines) {
  EXPECT_EQ(Output([] { PrintPlainTitle(Example()); }), "\nAnother\n\n");
}
