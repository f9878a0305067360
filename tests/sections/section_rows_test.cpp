#include "sections/section_rows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

static std::vector<std::string> ItemsOf(SectionId id, Analysis& analysis) {
  const Settings settings{};
  SectionRows rows;
  OpenSection(rows, settings, SectionOf(id), analysis);
  std::vector<std::string> items;
  for (SectionRow row; NextRow(rows, row);) {
    items.emplace_back(row.item);
  }
  return items;
}

TEST(SectionRows, HoursOfTheWeekAreNamedByDayAndHour) {
  Analysis analysis{};
  const std::vector<std::string> items = ItemsOf(SectionId::kHoursOfWeek, analysis);
  ASSERT_EQ(items.size(), 168U);
  EXPECT_EQ(items[0], "Sunday 00");
  EXPECT_EQ(items[3 * 24 + 9], "Wednesday 09");
  EXPECT_EQ(items[167], "Saturday 23");
}

TEST(SectionRows, WeekdaysAndHoursHaveNamesOfTheirOwn) {
  Analysis analysis{};
  EXPECT_EQ(ItemsOf(SectionId::kWeekdays, analysis).front(), "Sunday");
  EXPECT_EQ(ItemsOf(SectionId::kHours, analysis).front(), "00");
}
