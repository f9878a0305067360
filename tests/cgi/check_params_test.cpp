#include "cgi/check_params.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "cgi/parameters.h"
#include "dates/clock.h"
#include "dates/local_time.h"

namespace {

// Starts from the least that passes every check.
class CompleteSettingsTest : public testing::Test {
 protected:
  void SetUp() override {
    initialize(settings, env);
    CopyText(settings.url, "http://www.example.com");
    CopyText(settings.logs, "/logs/*.log");
    CopyText(settings.start_date, "01011999");
    CopyText(settings.end_date, "12311999");
  }

  int ErrorOfRange(const char* start, const char* end) {
    CopyText(settings.start_date, start);
    CopyText(settings.end_date, end);
    return CompleteSettings(settings);
  }

  std::string CombinedFind(const std::string& account, const std::string& form) {
    CopyText(settings.find_account, account);
    CopyText(settings.find_form, form);
    EXPECT_EQ(CompleteSettings(settings), 0);
    return settings.find;
  }

  void UseDateParts(const char* sm, const char* sd, int sy, const char* em, const char* ed, int ey) {
    settings.start_date[0] = settings.end_date[0] = '\0';
    CopyText(settings.sm, sm);
    CopyText(settings.sd, sd);
    settings.sy = sy;
    CopyText(settings.em, em);
    CopyText(settings.ed, ed);
    settings.ey = ey;
  }

  Environment env{};
  Settings settings;
};

}  // namespace

TEST_F(CompleteSettingsTest, PartsMakeTheRange) {
  UseDateParts("01", "15", 1999, "02", "28", 2000);
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.start_date, "01151999");
  EXPECT_STREQ(settings.end_date, "02282000");
}

TEST_F(CompleteSettingsTest, MissingEndDeliberatelyMakesOneDay) {
  UseDateParts("01", "15", 1999, "", "", 1900);
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.start_date, "01151999");
  EXPECT_STREQ(settings.end_date, "01151999");
}

TEST_F(CompleteSettingsTest, IncompleteEndPartsDoNotCount) {
  const struct {
    const char* em;
    const char* ed;
    int ey;
  } rows[] = {{"", "28", 2000}, {"02", "", 2000}, {"02", "28", 1900}};
  for (const auto& row : rows) {
    UseDateParts("01", "15", 1999, row.em, row.ed, row.ey);
    EXPECT_EQ(CompleteSettings(settings), 0);
    EXPECT_STREQ(settings.end_date, "01151999");
  }
}

TEST_F(CompleteSettingsTest, GivenDatesWinOverParts) {
  UseDateParts("01", "15", 1999, "02", "28", 2000);
  CopyText(settings.start_date, "03031999");
  CopyText(settings.end_date, "04041999");
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.start_date, "03031999");
  EXPECT_STREQ(settings.end_date, "04041999");
}

TEST_F(CompleteSettingsTest, OneDateWithoutPartsGetsTheEnd1900) {
  settings.end_date[0] = '\0';
  EXPECT_EQ(CompleteSettings(settings), 7) << "month 19, day 0 of the year 0 lies before the start";
  EXPECT_STREQ(settings.end_date, "1900");
}

TEST_F(CompleteSettingsTest, NoDatesAtAllAreTheDay1900) {
  settings.start_date[0] = settings.end_date[0] = '\0';
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.start_date, "1900");
  EXPECT_STREQ(settings.end_date, "1900");
}

TEST_F(CompleteSettingsTest, EmptyTitleGetsTheDefault) {
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.title, "Web Site Analysis");
  CopyText(settings.title, "Mine");
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.title, "Mine");
}

TEST_F(CompleteSettingsTest, MissingUrlIsError4BeforeAllOthers) {
  settings.url[0] = settings.logs[0] = '\0';
  EXPECT_EQ(CompleteSettings(settings), 4);
  EXPECT_STREQ(settings.title, "Web Site Analysis") << "the title is completed before";
}

TEST_F(CompleteSettingsTest, MissingLogsIsError5) {
  settings.logs[0] = '\0';
  EXPECT_EQ(CompleteSettings(settings), 5);
}

TEST_F(CompleteSettingsTest, CombinesFindPaths) {
  const struct {
    const char* account;
    const char* form;
    const char* find;
  } rows[] = {
      {"/www/", "/docs", "/www/docs"},
      {"/www", "/docs", "/www/docs"},
      {"/www/", "docs", "/www/docs"},
      {"/www", "docs", "/wwwdocs"},
      {"/www/", "", "/www/"},
      {"", "/docs", "/docs"},
      {"", "", "/"},
      {"/", "/", "/"},
      {"/www/", "//docs", "/www//docs"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.account << " and " << row.form);
    EXPECT_EQ(CombinedFind(row.account, row.form), row.find);
  }
}

TEST_F(CompleteSettingsTest, CutsTheFormsFindPathToFit) {
  EXPECT_EQ(CombinedFind("/" + std::string(199, 'a'), "/" + std::string(99, 'b')),
            "/" + std::string(199, 'a') + "/" + std::string(42, 'b'));
  EXPECT_EQ(CombinedFind(std::string(243, 'a'), "/docs"), std::string(243, 'a'));
  EXPECT_EQ(CombinedFind("", std::string(243, 'b')), std::string(243, 'b'));
}

TEST_F(CompleteSettingsTest, StarClearsRealmAndUser) {
  CopyText(settings.authrealm, "*");
  CopyText(settings.authuser, "*");
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.authrealm, "");
  EXPECT_STREQ(settings.authuser, "");
  CopyText(settings.authrealm, "**");
  CopyText(settings.authuser, "a*");
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_STREQ(settings.authrealm, "**");
  EXPECT_STREQ(settings.authuser, "a*");
}

TEST_F(CompleteSettingsTest, DebugOfTheFormAloneNeedsPermission) {
  const struct {
    unsigned sources;
    int remote_debug;
    int debug;
  } rows[] = {
      {1U << kLevelForm, 0, 0},
      {1U << kLevelForm, 1, 3},
      {1U << kLevelGlobalKey, 0, 3},
      {1U << kLevelAccount, 0, 3},
      {1U << kLevelForm | 1U << kLevelAccount, 0, 3},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sources);
    settings.debug = 3;
    settings.debug_sources = row.sources;
    settings.RemoteDebugEnabled = row.remote_debug;
    EXPECT_EQ(CompleteSettings(settings), 0);
    EXPECT_EQ(settings.debug, row.debug);
  }
}

TEST_F(CompleteSettingsTest, WithoutRemoteDebuggingThereIsNoDebugToRestrict) {
  settings.no_remote_debug = true;
  settings.debug = 3;
  settings.debug_sources = 1U << kLevelForm;
  EXPECT_EQ(CompleteSettings(settings), 0);
  EXPECT_EQ(settings.debug, 3);
}

TEST_F(CompleteSettingsTest, StartAfterEndIsError7) {
  const struct {
    const char* start;
    const char* end;
    int error;
  } rows[] = {
      {"12311999", "01012000", 0}, {"01012000", "12311999", 7}, {"01021999", "01011999", 7},
      {"02011999", "01311999", 7}, {"01011999", "01011999", 0}, {"9911999", "01012000", 0},
      {"010199", "01011999", 0},  // the year 99 comes before 1999
      {"abcdefgh", "01011999", 0}, {"01011999", "abcdefgh", 7},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.start << " to " << row.end);
    EXPECT_EQ(ErrorOfRange(row.start, row.end), row.error);
  }
}

TEST_F(CompleteSettingsTest, DatesCompareAsTheNumbersTheirTextsRead) {
  EXPECT_EQ(ErrorOfRange("01011999", "13991999"), 0);
  EXPECT_EQ(ErrorOfRange("-1011999", "01011999"), 0) << "a negative month ends the number after the year";
  EXPECT_EQ(ErrorOfRange("01014294968297", "01011999"), 0) << "years beyond 32 bits wrap";
}

TEST(CheckParams, ReturnsWhenAllIsWell) {
  Environment env{};
  Settings settings;
  initialize(settings, env);
  CopyText(settings.url, "http://www.example.com");
  CopyText(settings.logs, "/logs/*.log");
  EXPECT_EQ(CheckParams(settings), kNoError);
  EXPECT_STREQ(settings.find, "/");
}

TEST(CheckParams, TellsWhatIsMissing) {
  Environment env{};
  Settings settings;
  initialize(settings, env);
  EXPECT_EQ(CheckParams(settings), kErrorNoUrl);
  settings.rules.nameless_site = true;
  EXPECT_EQ(CheckParams(settings), kErrorNoLogs);
  settings.rules.nameless_site = false;
  CopyText(settings.url, "http://www.example.com");
  EXPECT_EQ(CheckParams(settings), kErrorNoLogs);
}

// ---- Days in words and ISO dates ----

namespace {

// On Sunday, 5 March 2000, at noon.
class WrittenDaysTest : public CompleteSettingsTest {
 protected:
  void SetUp() override {
    CompleteSettingsTest::SetUp();
    setenv("TZ", "UTC", 1);
    tzset();
    ResetLocalTime();
    SetCurrentTimeForTest(952257600);
  }
  void TearDown() override { SetCurrentTimeForTest(-1); }

  // The range that these make, or the error's number.
  std::string Range(const char* days, const char* from = "", const char* to = "") {
    CopyText(settings.start_date, "01011999");
    CopyText(settings.end_date, "12311999");
    CopyText(settings.days, days);
    CopyText(settings.from, from);
    CopyText(settings.to, to);
    const Error error = CompleteSettings(settings);
    return error == kNoError ? std::string(settings.start_date) + "," + settings.end_date
                             : std::to_string(error);
  }
};

}  // namespace

TEST_F(WrittenDaysTest, DaysBeforeFromAndToBeforeAllOthers) {
  EXPECT_EQ(Range(""), "01011999,12311999");
  EXPECT_EQ(Range("7d"), "02282000,03052000");
  EXPECT_EQ(Range("7d", "2000-01-01", "2000-01-02"), "02282000,03052000");
  EXPECT_EQ(Range("", "2000-01-01", "2000-01-02"), "01012000,01022000");
  EXPECT_EQ(Range("", "2000-02-29"), "02292000,02292000");
  EXPECT_EQ(Range("", "7d", "yesterday"), "02282000,03042000");
}

TEST_F(WrittenDaysTest, WhatIsNoDayIsAnError) {
  EXPECT_EQ(Range("8 days"), "7");
  EXPECT_EQ(Range("7 d", "2000-01-01"), "7");
  EXPECT_EQ(Range("", "2000-02-30"), "7");
  EXPECT_EQ(Range("", "2000-01-01", "2000-02-30"), "7");
  EXPECT_EQ(Range("", "2000-01-02", "2000-01-01"), "7");
  EXPECT_EQ(Range("", "", "2000-01-01"), "6");
}

TEST_F(WrittenDaysTest, MissingAccountComesBeforeWrongDays) {
  settings.logs[0] = '\0';
  EXPECT_EQ(Range("never"), "5");
  settings.url[0] = '\0';
  EXPECT_EQ(Range("never"), "4");
}

TEST_F(WrittenDaysTest, AllDaysAreLeftToTheLogs) {
  EXPECT_EQ(Range("ALL"), "03052000,03052000");
  EXPECT_TRUE(settings.from_first && settings.to_last);
  EXPECT_EQ(Range("", "all"), "7");
  EXPECT_FALSE(settings.from_first || settings.to_last);
}

TEST_F(WrittenDaysTest, EachEndCanBeLeftToTheLogs) {
  EXPECT_EQ(Range("", "First", "2000-01-02"), "01022000,01022000");
  EXPECT_TRUE(settings.from_first && !settings.to_last);
  EXPECT_EQ(Range("", "2000-01-01", "LAST"), "01012000,01012000");
  EXPECT_TRUE(!settings.from_first && settings.to_last);
  EXPECT_EQ(Range("", "first", "last"), "03052000,03052000");
  EXPECT_TRUE(settings.from_first && settings.to_last);
  EXPECT_EQ(Range("", "last", "last"), "7");
  EXPECT_EQ(Range("", "first", "first"), "7");
}

TEST_F(WrittenDaysTest, FirstWithoutALastDayIsOneDay) {
  EXPECT_EQ(Range("", "First"), "03052000,03052000");
  EXPECT_TRUE(settings.first_alone && !settings.from_first && !settings.to_last);
  EXPECT_EQ(Range("", "first", "last"), "03052000,03052000");
  EXPECT_FALSE(settings.first_alone);
  EXPECT_EQ(Range("", "last"), "7");
}

TEST_F(WrittenDaysTest, TodayIsTheDayThatTheReportIsMadeOn) {
  setenv("SOURCE_DATE_EPOCH", "951782400", 1);  // 2000-02-29
  EXPECT_EQ(Range("today"), "02292000,02292000");
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_EQ(Range("today"), "03052000,03052000");
}

TEST_F(CompleteSettingsTest, RealDaysAreThoseOfTheCalendar) {
  for (const bool real : {false, true}) {
    settings.rules.real_days = real;
    EXPECT_EQ(ErrorOfRange("02292000", "12319999"), kNoError);
    EXPECT_EQ(ErrorOfRange("02282001", "02302001"), real ? kErrorDateRange : kNoError);
    EXPECT_EQ(ErrorOfRange("02302001", "03032001"), real ? kErrorDateRange : kNoError);
    EXPECT_EQ(ErrorOfRange("01011899", "01011999"), real ? kErrorDateRange : kNoError);
  }
}

TEST_F(CompleteSettingsTest, RealDaysHaveToBeNamed) {
  for (const bool real : {false, true}) {
    settings.rules.real_days = real;
    UseDateParts("", "", 1900, "", "", 1900);
    EXPECT_EQ(CompleteSettings(settings), real ? kErrorNoStartDate : kNoError);
    UseDateParts("", "15", 1999, "", "", 1900);
    EXPECT_EQ(CompleteSettings(settings), real ? kErrorDateRange : kNoError);
  }
}
