#include "report/time_tables.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "base/text.h"
#include "dates/local_time.h"
#include "superlog/superlog.h"

namespace {

constexpr char kNoItems[] = "<tr>\n<td><b><i>No items found</i></b></td>\n</tr>\n";
constexpr char kSectionEnd[] = "</table></center><p>";
constexpr char kRowsEnd[] = "</table></td>\n</tr>\n";

class TimeTables : public testing::Test {
 protected:
  void SetUp() override {
    SetZone("UTC");
    ResetSuperLog();
    settings_.cgi = 1;
    CopyText(settings_.OrvellisPath, "/pictures");
  }

  void TearDown() override {
    SetZone("UTC");
    ResetSuperLog();
  }

  static void SetZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
    ResetLocalTime();
  }

  static time_t LocalTime(int year, int month, int day, int hour, int minute, int second) {
    tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    return mktime(&parts);
  }

  // The analysed range: from the midnight of one day to the last second of another.
  void SetRange(int year, int month, int day, int last_year, int last_month, int last_day) {
    analysis_.range_first = LocalTime(year, month, day, 0, 0, 0);
    analysis_.range_last = LocalTime(last_year, last_month, last_day, 23, 59, 59);
  }

  template <typename Print>
  std::string Section(Print print, SectionId id) {
    testing::internal::CaptureStdout();
    print(settings_, SectionOf(id), analysis_);
    return testing::internal::GetCapturedStdout();
  }

  std::string Daily() { return Section(PrintDailyTotals, SectionId::kDays); }

  static std::string Frame(const std::string& anchor, const std::string& colour, const std::string& title,
                           const std::string& explanation) {
    return "\n<p><a name=\"" + anchor +
           "\"></a><hr noshade><p>\n<center><table border=1 width=\"80%\" cellspacing=0>\n"
           "<tr>\n<td bgcolor=\"" +
           colour + "\" align=\"center\"><font size=\"+1\"><b>" + title +
           "</b></font></td>\n</tr>\n<tr>\n<td bgcolor=\"" + colour + "\">" + explanation + "</td>\n</tr>\n";
  }

  static std::string DailyFrame() {
    return Frame("daily", "#CC9966", "Daily Totals",
                 "This report shows how many hits your site received on each day.");
  }

  static std::string Heading(const std::string& unit) {
    return "<tr>\n<td bgcolor=\"#FFFFCC\">\n<table border=0 width=\"100%\">\n"
           "<tr>\n<td align=right><b>" +
           unit +
           "</b></td>\n<td align=center><b>% of Total</b></td>\n<td><b>Number of Hits</b></td>\n</tr>\n";
  }

  static std::string Bar(const std::string& colour, int width) {
    return "<img src=\"/pictures/" + colour + "2x5.gif\" height=\"5\" width=\"" + std::to_string(width) +
           "\">&nbsp;";
  }

  // What follows the label of a row; no bar when width is 0.
  static std::string Figures(const std::string& percentage, const std::string& colour, int width, int count) {
    return "<td align=center>" + percentage + "%</td>\n<td>" + (width == 0 ? "" : Bar(colour, width)) +
           std::to_string(count) + "\n</td></tr>\n";
  }

  static std::string Day(const std::string& weekday, const std::string& date) {
    return "<tr><td align=\"right\"><font size=\"-1\">" + weekday + "</font>&nbsp;" + date + "</td>\n";
  }

  static std::string Label(const std::string& text) { return "<tr><td align=right>" + text + "</td>\n"; }

  static size_t CountRows(const std::string& section) {
    size_t rows = 0;
    for (size_t at = 0; (at = section.find("<tr><td align=\"right\">", at)) != std::string::npos; ++at) {
      ++rows;
    }
    return rows;
  }

  static std::string DailySection(const std::string& rows) {
    return DailyFrame() + Heading("Day") + rows + kRowsEnd + kSectionEnd;
  }

  Settings settings_{};
  Analysis analysis_{};
};

// ---- Daily totals ----

using PrintDailyTotalsTest = TimeTables;

TEST_F(PrintDailyTotalsTest, OneDayHasOneRow) {
  SetRange(2024, 3, 5, 2024, 3, 5);
  analysis_.days.counts[64] = 12;
  analysis_.days.total = 12;
  EXPECT_EQ(Daily(), DailySection(Day("Tuesday", "3/5") + Figures("100", "red", 300, 12)));
}

TEST_F(PrintDailyTotalsTest, WithoutHitsSaysSo) {
  SetRange(2024, 3, 5, 2024, 3, 5);
  EXPECT_EQ(Daily(), DailyFrame() + kNoItems + kSectionEnd);
}

TEST_F(PrintDailyTotalsTest, DayWithoutHitsHasNoBar) {
  SetRange(2024, 3, 5, 2024, 3, 6);
  analysis_.days.counts[65] = 3;
  analysis_.days.total = 3;
  EXPECT_EQ(Daily(), DailySection(Day("Tuesday", "3/5") + Figures("0", "red", 0, 0) +
                                  Day("Wednesday", "3/6") + Figures("100", "red", 300, 3)));
}

TEST_F(PrintDailyTotalsTest, WeekendsAreBlue) {
  SetRange(2024, 3, 2, 2024, 3, 4);  // from a Saturday on
  for (int day = 61; day <= 63; ++day) {
    analysis_.days.counts[day] = 10 * (day - 60);
  }
  analysis_.days.total = 60;
  EXPECT_EQ(Daily(), DailySection(Day("Saturday", "3/2") + Figures("17", "blue", 100, 10) +
                                  Day("Sunday", "3/3") + Figures("33", "blue", 200, 20) +
                                  Day("Monday", "3/4") + Figures("50", "red", 300, 30)));
}

TEST_F(PrintDailyTotalsTest, DateOrderFollowsTheLogDateFormat) {
  struct Row {
    const char* format;
    const char* date;
  };
  SetRange(2024, 3, 5, 2024, 3, 5);
  analysis_.days.counts[64] = 1;
  analysis_.days.total = 1;
  for (const Row& row : {Row{"DMY", "5/3"}, Row{"DYM", "5/3"}, Row{"MDY", "3/5"}, Row{"MYD", "3/5"},
                         Row{"YDM", "5/3"}, Row{"YMD", "3/5"}}) {
    SCOPED_TRACE(row.format);
    ResetSuperLog();
    SuperLog_SetDateFormat(row.format, kLevelAccount);
    EXPECT_EQ(Daily(), DailySection(Day("Tuesday", row.date) + Figures("100", "red", 300, 1)));
  }
}

TEST_F(PrintDailyTotalsTest, LargestCountIsOverTheWholeYear) {
  SetRange(2024, 3, 5, 2024, 3, 5);
  analysis_.days.counts[64] = 5;
  analysis_.days.counts[365] = 50;  // outside the range
  analysis_.days.total = 55;
  EXPECT_EQ(Daily(), DailySection(Day("Tuesday", "3/5") + Figures("9", "red", 30, 5)));
}

TEST_F(PrintDailyTotalsTest, DeliberateLeapYearsLastDayIsNeverReachedAndNewYearUsesTheSameDays) {
  SetRange(2024, 12, 29, 2025, 1, 1);
  analysis_.days.counts[363] = 4;  // 29 December
  analysis_.days.counts[364] = 3;  // 30 December
  analysis_.days.counts[365] = 1;  // 31 December: never shown
  analysis_.days.counts[0] = 2;    // 1 January, of either year
  analysis_.days.total = 10;
  EXPECT_EQ(Daily(),
            DailySection(Day("Sunday", "12/29") + Figures("40", "blue", 300, 4) + Day("Monday", "12/30") +
                         Figures("30", "red", 225, 3) + Day("Tuesday", "12/31") +
                         Figures("20", "red", 150, 2) + Day("Wednesday", "1/1") + Figures("0", "red", 0, 0)));
}

TEST_F(PrintDailyTotalsTest, DeliberateRangeFromALeapYearsLastDayWrapsToTheSecondOfJanuary) {
  SetRange(2024, 12, 31, 2025, 1, 1);
  analysis_.days.counts[365] = 4;
  analysis_.days.counts[0] = 2;
  analysis_.days.counts[1] = 1;
  analysis_.days.total = 7;
  EXPECT_EQ(Daily(), DailySection(Day("Tuesday", "12/31") + Figures("57", "red", 300, 4) +
                                  Day("Wednesday", "1/1") + Figures("14", "red", 75, 1)));
}

TEST_F(PrintDailyTotalsTest, RangeOfMoreThanAYearRepeatsTheDays) {
  SetRange(2023, 1, 1, 2024, 1, 1);
  analysis_.days.counts[0] = 1;
  analysis_.days.counts[100] = analysis_.days.total = 1;
  const std::string section = Daily();
  EXPECT_NE(section.find(Day("Sunday", "1/1") + Figures("100", "blue", 300, 1)), std::string::npos);
  EXPECT_NE(section.find(Day("Monday", "1/1") + Figures("100", "red", 300, 1)), std::string::npos);
}

// Anybody may ask for a range of any years, millions of them.
TEST_F(PrintDailyTotalsTest, RowsEndWithTheYear9999) {
  analysis_.days.counts[100] = analysis_.days.total = 1;
  SetRange(9999, 12, 30, 9999, 12, 31);
  EXPECT_EQ(CountRows(Daily()), 2U);
  SetRange(9999, 12, 30, 2000000000, 12, 31);
  const std::string section = Daily();
  EXPECT_EQ(CountRows(section), 3U);  // one more for the zones
  EXPECT_NE(section.find(Day("Friday", "12/31")), std::string::npos);
}

TEST_F(PrintDailyTotalsTest, RowsBeginWithTheYear0) {
  analysis_.days.counts[100] = analysis_.days.total = 1;
  SetRange(0, 1, 1, 0, 1, 2);
  EXPECT_EQ(CountRows(Daily()), 2U);
  SetRange(-2000000000, 1, 1, 0, 1, 2);
  const std::string section = Daily();
  EXPECT_EQ(CountRows(section), 3U);  // one more for the zones
  EXPECT_TRUE(section.starts_with(DailyFrame() + Heading("Day") + Day("Friday", "12/31") +
                                  Figures("0", "red", 0, 0) + Day("Saturday", "1/1")));
}

TEST_F(PrintDailyTotalsTest, DeliberateDateRepeatsWhenClocksGoBack) {
  SetZone("EST5EDT,M3.2.0,M11.1.0");
  SetRange(2024, 11, 2, 2024, 11, 4);  // clocks go back on the 3rd
  analysis_.days.counts[306] = 1;
  analysis_.days.counts[307] = 2;
  analysis_.days.counts[308] = 3;
  analysis_.days.counts[309] = 4;
  analysis_.days.total = 10;
  EXPECT_EQ(Daily(), DailySection(Day("Saturday", "11/2") + Figures("10", "blue", 75, 1) +
                                  Day("Sunday", "11/3") + Figures("20", "blue", 150, 2) +
                                  Day("Monday", "11/3") + Figures("30", "red", 225, 3) +
                                  Day("Tuesday", "11/4") + Figures("40", "red", 300, 4)));
}

TEST_F(PrintDailyTotalsTest, EmptyRangeHasNoRows) {
  analysis_.range_first = analysis_.range_last = LocalTime(2024, 3, 5, 0, 0, 0);
  analysis_.days.counts[64] = 1;
  analysis_.days.total = 1;
  EXPECT_EQ(Daily(), DailySection(""));
}

TEST_F(PrintDailyTotalsTest, PlainRunsPrintATitleLineInPlaceOfTheFrame) {
  settings_.cgi = 0;
  SetRange(2024, 3, 5, 2024, 3, 5);
  EXPECT_EQ(Daily(), std::string("\nDaily Totals\n\n") + kNoItems + kSectionEnd);
  analysis_.days.counts[64] = 1;
  analysis_.days.total = 1;
  EXPECT_EQ(Daily(), "\nDaily Totals\n\n" + Heading("Day") + Day("Tuesday", "3/5") +
                         Figures("100", "red", 300, 1) + kRowsEnd + kSectionEnd);
}

// ---- Hits per day of week ----

class PrintHitsPerDayOfWeekTest : public TimeTables {
 protected:
  std::string Weekly() { return Section(PrintHitsPerDayOfWeek, SectionId::kWeekdays); }

  static std::string Head() {
    return Frame("weekly", "#FFCC99", "Hits Per Day of Week",
                 "This report shows how hits to your site are distributed throughout the week.");
  }
};

TEST_F(PrintHitsPerDayOfWeekTest, SevenRowsWithBlueWeekends) {
  for (int day = 0; day < 7; ++day) {
    analysis_.weekdays.counts[day] = day;
  }
  analysis_.weekdays.total = 21;
  EXPECT_EQ(Weekly(), Head() + Heading("Day") + Label("Sunday") + Figures("0", "blue", 0, 0) +
                          Label("Monday") + Figures("5", "red", 50, 1) + Label("Tuesday") +
                          Figures("10", "red", 100, 2) + Label("Wednesday") + Figures("14", "red", 150, 3) +
                          Label("Thursday") + Figures("19", "red", 200, 4) + Label("Friday") +
                          Figures("24", "red", 250, 5) + Label("Saturday") + Figures("29", "blue", 300, 6) +
                          kRowsEnd + kSectionEnd);
}

TEST_F(PrintHitsPerDayOfWeekTest, SundayIsBlue) {
  analysis_.weekdays.counts[0] = 1;
  analysis_.weekdays.total = 1;
  EXPECT_NE(Weekly().find(Label("Sunday") + Figures("100", "blue", 300, 1)), std::string::npos);
}

TEST_F(PrintHitsPerDayOfWeekTest, WithoutHitsSaysSo) {
  EXPECT_EQ(Weekly(), Head() + kNoItems + kSectionEnd);
}

TEST_F(PrintHitsPerDayOfWeekTest, BarWidthIsCutToWholePixels) {
  analysis_.weekdays.counts[1] = 999999999;
  analysis_.weekdays.counts[2] = 1000000000;
  analysis_.weekdays.counts[3] = 1;
  analysis_.weekdays.total = 2000000000;
  const std::string section = Weekly();
  EXPECT_NE(section.find(Label("Monday") + Figures("50", "red", 299, 999999999)), std::string::npos);
  EXPECT_NE(section.find(Label("Wednesday") + "<td align=center>0%</td>\n<td>" + Bar("red", 0) + "1\n"),
            std::string::npos);
}

TEST_F(PrintHitsPerDayOfWeekTest, BarOfAWrappedCountIsAsWideAsANumberHolds) {
  analysis_.weekdays.counts[1] = 1;
  analysis_.weekdays.counts[2] = -2000000000;
  analysis_.weekdays.counts[3] = -7158278;  // the last one that is wide enough
  const std::string section = Weekly();
  EXPECT_NE(section.find(Bar("red", -2147483648) + "-2000000000\n"), std::string::npos) << section;
  EXPECT_NE(section.find(Bar("red", -2147483400) + "-7158278\n"), std::string::npos) << section;
}

TEST_F(PrintHitsPerDayOfWeekTest, NoTotalGivesZeroPercentages) {
  analysis_.weekdays.counts[1] = 5;
  EXPECT_NE(Weekly().find(Label("Monday") + Figures("0", "red", 300, 5)), std::string::npos);
}

TEST_F(PrintHitsPerDayOfWeekTest, NegativePercentagePrintsAsZero) {
  analysis_.weekdays.counts[1] = 5;
  analysis_.weekdays.total = -5;
  const std::string section = Weekly();
  EXPECT_NE(section.find(Label("Monday") + Figures("0", "red", 300, 5)), std::string::npos);
  EXPECT_NE(section.find(Label("Tuesday") + Figures("0", "red", 0, 0)), std::string::npos);
}

TEST_F(PrintHitsPerDayOfWeekTest, PlainRunsPrintATitleLineInPlaceOfTheFrame) {
  settings_.cgi = 0;
  EXPECT_EQ(Weekly(), std::string("\nHits Per Day of Week\n\n") + kNoItems + kSectionEnd);
}

// ---- Hits per hour ----

class PrintHitsPerHourTest : public TimeTables {
 protected:
  std::string Hourly() { return Section(PrintHitsPerHour, SectionId::kHours); }

  static std::string Head() {
    return Frame("hourly", "#CC6666", "Hits Per Hour",
                 "This report shows how hits to your site are distributed throughout the day.");
  }
};

TEST_F(PrintHitsPerHourTest, TwentyFourRowsOnATwelveHourDial) {
  for (int64_t& count : analysis_.hours.counts) {
    count = 5;
  }
  analysis_.hours.total = 120;
  std::string rows;
  for (const char* hour : {"12&nbsp;am", "1&nbsp;am", "2&nbsp;am", "3&nbsp;am", "4&nbsp;am",  "5&nbsp;am",
                           "6&nbsp;am",  "7&nbsp;am", "8&nbsp;am", "9&nbsp;am", "10&nbsp;am", "11&nbsp;am",
                           "12&nbsp;pm", "1&nbsp;pm", "2&nbsp;pm", "3&nbsp;pm", "4&nbsp;pm",  "5&nbsp;pm",
                           "6&nbsp;pm",  "7&nbsp;pm", "8&nbsp;pm", "9&nbsp;pm", "10&nbsp;pm", "11&nbsp;pm"}) {
    rows += Label(hour) + Figures("4", "red", 300, 5);
  }
  EXPECT_EQ(Hourly(), Head() + Heading("Hour") + rows + kRowsEnd + kSectionEnd);
}

TEST_F(PrintHitsPerHourTest, BarsAreMeasuredAgainstTheBusiestHour) {
  analysis_.hours.counts[10] = 5;
  analysis_.hours.counts[15] = 15;
  analysis_.hours.total = 20;
  const std::string section = Hourly();
  EXPECT_NE(section.find(Label("10&nbsp;am") + Figures("25", "red", 100, 5)), std::string::npos);
  EXPECT_NE(section.find(Label("3&nbsp;pm") + Figures("75", "red", 300, 15)), std::string::npos);
  EXPECT_NE(section.find(Label("12&nbsp;am") + Figures("0", "red", 0, 0)), std::string::npos);
}

TEST_F(PrintHitsPerHourTest, WithoutHitsSaysSo) {
  EXPECT_EQ(Hourly(), Head() + kNoItems + kSectionEnd);
}

TEST_F(PrintHitsPerHourTest, PlainRunsPrintATitleLineInPlaceOfTheFrame) {
  settings_.cgi = 0;
  EXPECT_EQ(Hourly(), std::string("\nHits Per Hour\n\n") + kNoItems + kSectionEnd);
}

}  // namespace
