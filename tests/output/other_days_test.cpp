#include "output/other_days.h"

#include <gmock/gmock.h>

#include <map>
#include <string>

#include "report/asked_fields.h"

using testing::HasSubstr;
using testing::Not;

static std::string Written(const CalendarDate& day) {
  char text[40];
  snprintf(text, sizeof text, "%04d-%02d-%02d", day.year, day.month, day.day);
  return text;
}

// What the links are, a line each.
static std::string Told(const DayLinks& links) {
  static constexpr const char* kNames[kDayLinkKinds] = {
      "previous",   "previous month", "next",       "next month",  "week",         "month", "year",
      "first days", "first month",    "latest day", "latest days", "latest month", "all",   "same"};
  std::string told;
  for (size_t kind = 0; kind < links.size(); ++kind) {
    if (links[kind].has_value()) {
      told += std::string(kNames[kind]) + " " + Written(links[kind]->first) + " " +
              Written(links[kind]->last) + "\n";
    }
  }
  return told;
}

static constexpr DayRange kHeld{{1, 10, 2000}, {12, 20, 2000}};

TEST(LinksFrom, ADay) {
  EXPECT_EQ(Told(LinksFrom({{3, 8, 2000}, {3, 8, 2000}}, kHeld)),
            "previous 2000-03-07 2000-03-07\nnext 2000-03-09 2000-03-09\nweek 2000-03-06 2000-03-12\n"
            "month 2000-03-01 2000-03-31\nall 2000-01-10 2000-12-20\nsame 2000-03-08 2000-03-08\n");
}

TEST(LinksFrom, SevenDaysOverTwoWeeks) {
  EXPECT_EQ(Told(LinksFrom({{3, 8, 2000}, {3, 14, 2000}}, kHeld)),
            "previous 2000-03-01 2000-03-07\nnext 2000-03-15 2000-03-21\nmonth 2000-03-01 2000-03-31\n"
            "all 2000-01-10 2000-12-20\nsame 2000-03-08 2000-03-14\n");
}

TEST(LinksFrom, AMonth) {
  EXPECT_EQ(
      Told(LinksFrom({{3, 1, 2000}, {3, 31, 2000}}, kHeld)),
      "previous month 2000-02-01 2000-02-29\nnext month 2000-04-01 2000-04-30\nall 2000-01-10 2000-12-20\n"
      "same 2000-03-01 2000-03-31\n");
}

TEST(LinksFrom, NeverLeaveTheLogs) {
  EXPECT_EQ(Told(LinksFrom({{1, 12, 2000}, {1, 18, 2000}}, kHeld)),
            "previous 2000-01-10 2000-01-11\nnext 2000-01-19 2000-01-25\nmonth 2000-01-10 2000-01-31\n"
            "all 2000-01-10 2000-12-20\nsame 2000-01-12 2000-01-18\n");
  EXPECT_EQ(Told(LinksFrom({{12, 20, 2000}, {12, 20, 2000}}, kHeld)),
            "previous 2000-12-19 2000-12-19\nweek 2000-12-18 2000-12-20\nmonth 2000-12-01 2000-12-20\n"
            "all 2000-01-10 2000-12-20\nsame 2000-12-20 2000-12-20\n");
}

TEST(LinksFrom, FarOffTheNearestDays) {
  EXPECT_EQ(Told(LinksFrom({{5, 1, 2003}, {5, 7, 2003}}, kHeld)),
            "latest days 2000-12-14 2000-12-20\nall 2000-01-10 2000-12-20\nsame 2003-05-01 2003-05-07\n");
  EXPECT_EQ(Told(LinksFrom({{5, 1, 1999}, {5, 31, 1999}}, kHeld)),
            "first month 2000-01-10 2000-01-31\nall 2000-01-10 2000-12-20\nsame 1999-05-01 1999-05-31\n");
}

TEST(LinksFrom, AllDaysNowhere) {
  EXPECT_EQ(Told(LinksFrom(kHeld, kHeld)), "same 2000-01-10 2000-12-20\n");
  EXPECT_EQ(Told(LinksFrom({{1, 1, 1999}, {12, 31, 2001}}, kHeld)), "same 1999-01-01 2001-12-31\n");
}

TEST(LinksFrom, YearOfLogsOverYears) {
  const DayRange years{{5, 1, 1998}, {6, 1, 2001}};
  EXPECT_THAT(Told(LinksFrom({{3, 1, 2000}, {3, 31, 2000}}, years)),
              HasSubstr("year 2000-01-01 2000-12-31\n"));
  EXPECT_THAT(Told(LinksFrom({{3, 1, 2001}, {3, 31, 2001}}, years)),
              HasSubstr("year 2001-01-01 2001-06-01\n"));
}

TEST(LinksFrom, LogsOfOneDay) {
  const DayRange day{{3, 8, 2000}, {3, 8, 2000}};
  EXPECT_EQ(Told(LinksFrom(day, day)), "same 2000-03-08 2000-03-08\n");
  EXPECT_EQ(Told(LinksFrom({{3, 9, 2000}, {3, 9, 2000}}, day)),
            "all 2000-03-08 2000-03-08\nsame 2000-03-09 2000-03-09\n");
}

TEST(LinksInto, TheLogs) {
  EXPECT_EQ(Told(LinksInto(kHeld)),
            "latest day 2000-12-20 2000-12-20\nlatest days 2000-12-14 2000-12-20\n"
            "latest month 2000-12-01 2000-12-20\nall 2000-01-10 2000-12-20\n");
  EXPECT_EQ(Told(LinksInto({{3, 8, 2000}, {3, 8, 2000}})), "all 2000-03-08 2000-03-08\n");
}

// Every range of a few weeks over logs of a few weeks: no link leaves the logs, and none leads where another
// does.
TEST(LinksFrom, AnyRange) {
  const int64_t first_held = NumberOfDay({1, 25, 2000});
  for (int64_t from = first_held - 40; from < first_held + 60; ++from) {
    for (int64_t length = 1; length < 40; ++length) {
      const DayRange held{DayOfNumber(first_held), DayOfNumber(first_held + 20)};
      const DayRange shown{DayOfNumber(from), DayOfNumber(from + length - 1)};
      std::map<std::string, int> seen;
      const DayLinks links = LinksFrom(shown, held);
      for (size_t kind = 0; kind + 1 < links.size(); ++kind) {
        if (links[kind].has_value()) {
          ASSERT_GE(CountDays(*links[kind]), 1);
          ASSERT_GE(NumberOfDay(links[kind]->first), first_held);
          ASSERT_LE(NumberOfDay(links[kind]->last), first_held + 20);
          ASSERT_EQ(seen[Written(links[kind]->first) + Written(links[kind]->last)]++, 0);
        }
      }
    }
  }
}

class PutDayLinksTest : public testing::Test {
 protected:
  std::string Links() {
    testing::internal::CaptureStdout();
    Sink sink;
    PutDayLinks(sink, settings, LinksFrom({{3, 8, 2000}, {3, 8, 2000}}, kHeld));
    FlushSink(sink);
    return testing::internal::GetCapturedStdout();
  }

  Settings settings{};
};

TEST_F(PutDayLinksTest, NothingOfTheFieldsIsMarkup) {
  KeepField(settings.asked, "title=\"><script>'`&=%+\xff #");
  const std::string links = Links();
  EXPECT_THAT(
      links,
      HasSubstr("<a rel=\"nofollow\" href=\"?title=%22%3E%3Cscript%3E%27%60%26%3D%25%2B%FF%20%23&amp;"
                "from=2000-03-07&amp;to=2000-03-07\">Previous day</a> <small><time>2000-03-07</time>"));
  EXPECT_THAT(links, Not(HasSubstr("<script")));
}

TEST_F(PutDayLinksTest, OtherDaysTakeThePlaceOfTheAskedOnes) {
  for (const char* line :
       {"username=shop", "days=7d", "from=2000-01-01", "to=2000-01-02", "date=01012000", "sm=1"}) {
    KeepField(settings.asked, line);
  }
  CopyText(settings.days, "7d");
  const std::string links = Links();
  EXPECT_THAT(links, HasSubstr("href=\"?username=shop&amp;from=2000-03-09&amp;to=2000-03-09\">Next day</a>"));
  EXPECT_THAT(
      links,
      HasSubstr("href=\"?username=shop&amp;from=2000-03-08&amp;to=2000-03-08\">Link to these days</a>"));
  EXPECT_THAT(links, HasSubstr("href=\"?username=shop&amp;days=7d&amp;from=2000-01-01&amp;to=2000-01-02&amp;"
                               "date=01012000&amp;sm=1\">Bookmark</a>"));
}

TEST_F(PutDayLinksTest, BookmarksAreOfDaysInWords) {
  KeepField(settings.asked, "username=shop");
  EXPECT_THAT(Links(), Not(HasSubstr("Bookmark")));
  for (const auto& [days, words] : {std::pair{"7d", "last 7 days"},
                                    {"1d", "last 1 day"},
                                    {"this-month", "this month"},
                                    {"today", "today"},
                                    {"ALL", "ALL days"}}) {
    CopyText(settings.days, days);
    EXPECT_THAT(Links(), HasSubstr("Bookmark</a> <small>" + std::string(words) + ", whenever it is opened<"));
  }
}

TEST_F(PutDayLinksTest, NothingWhereNothingCanBeAsked) {
  EXPECT_EQ(Links(), "");
  KeepField(settings.asked, "username=shop");
  EXPECT_NE(Links(), "");
  settings.fixed_days = true;
  EXPECT_EQ(Links(), "");
  settings.fixed_days = false;
  settings.asked.cut = true;
  EXPECT_EQ(Links(), "");
}
