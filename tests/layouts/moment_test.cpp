#include "layouts/moment.h"

#include <gtest/gtest.h>

// The instants were worked out with date -u -d TEXT +%s.
static void ExpectInstant(std::string_view text, MomentForm form, time_t instant) {
  const Moment moment = ReadMoment(text);
  EXPECT_EQ(moment.form, form) << text;
  EXPECT_TRUE(moment.is_instant) << text;
  EXPECT_EQ(moment.instant, instant) << text;
}

static void ExpectNone(std::string_view text) {
  EXPECT_EQ(ReadMoment(text).form, MomentForm::kNone) << text;
}

TEST(ReadMoment, ReadsTheCommonLogFormat) {
  ExpectInstant("10/Oct/2000:13:55:36 -0700", MomentForm::kCommonLog, 971211336);
  ExpectInstant("[10/Oct/2000:13:55:36 +0000]", MomentForm::kCommonLog, 971186136);
}

TEST(ReadMoment, LeavesAFractionOutAndNeedsNoZone) {
  const Moment moment = ReadMoment("06/Feb/2009:12:14:14.655");
  EXPECT_EQ(moment.form, MomentForm::kCommonLog);
  EXPECT_FALSE(moment.is_instant);
  EXPECT_EQ(moment.parts.tm_year, 109);
  EXPECT_EQ(moment.parts.tm_mon, 1);
  EXPECT_EQ(moment.parts.tm_mday, 6);
  EXPECT_EQ(moment.parts.tm_sec, 14);
}

TEST(ReadMoment, ReadsIsoTimesWithEveryZone) {
  for (const char* text : {"2024-02-29T23:30:00Z", "2024-02-29T23:30:00.123456Z", "2024-02-29 23:30:00+00:00",
                           "2024/02/29 23:30:00 +0000", "2024-03-01T05:00:00+0530", "2024-02-29T22:30:00-01",
                           "2024-02-29 23:30:00 UTC", "2024-02-29 23:30:00GMT"}) {
    ExpectInstant(text, MomentForm::kIso, 1709249400);
  }
}

TEST(ReadMoment, LeavesATimeWithoutZoneToTheReader) {
  const Moment moment = ReadMoment("2024-02-29T23:30:00.5");
  EXPECT_EQ(moment.form, MomentForm::kIso);
  EXPECT_FALSE(moment.is_instant);
  EXPECT_EQ(moment.parts.tm_hour, 23);
}

TEST(ReadMoment, TellsUnitsSince1970ByTheirSize) {
  for (const char* text : {"1700000000", "1700000000.999", "1700000000123", "1700000000123.4",
                           "1700000000123456", "1700000000123456789"}) {
    ExpectInstant(text, MomentForm::kEpoch, 1700000000);
  }
}

TEST(ReadMoment, TakesNothingElse) {
  for (const char* text :
       {"", "-", "0.046", "12345678", "31/Feb/2024:10:00:00 +0000", "10/Okt/2000:13:55:36 +0000",
        "10/Oct/2000:24:55:36 +0000", "2024-13-01T10:00:00Z", "2024-01-01T10:00:00Zx", "2024-01-01",
        "1700000000x", "2024-01-01T10:60:00Z", "2024-01-01T10:00:00+2400", "2024-01-01T10:00:00+0060",
        "2024-01-01T10:00:00 CET", "1700000000.", "          "}) {
    ExpectNone(text);
  }
}

TEST(ReadDateAndTime, JoinsTwoFields) {
  const Moment moment = ReadDateAndTime("2023-05-05", "14:23:29.5");
  EXPECT_EQ(moment.form, MomentForm::kIso);
  EXPECT_EQ(moment.parts.tm_mday, 5);
  EXPECT_EQ(moment.parts.tm_min, 23);
  EXPECT_EQ(ReadDateAndTime("2023-05-32", "14:23:29").form, MomentForm::kNone);
  EXPECT_EQ(ReadDateAndTime("2023-05-05", "").form, MomentForm::kNone);
}
