#include "output/report_summary.h"

#include <gmock/gmock.h>

#include <limits>

#include "output/modern_page.h"
#include "output/page_frame.h"
#include "output/written.h"
#include "report/extra_texts.h"
#include "report/report_page.h"
#include "support/account_logs.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

static const std::string kTop(kPageTop.text());

static ReportSummary Sample() {
  return {.first_day = 11017,  // 2000-03-01
          .last_day = 11021,
          .requests = 1234,
          .bytes = 5678,
          .spark = {1, 0, 30},
          .title = "Shop",
          .site = "https://shop.example"};
}

static std::string PageOf(const ReportSummary& summary) {
  return kTop + Written([&](Sink& sink) { PutSummary(sink, summary); }) + "<title>";
}

static std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  const size_t place = text.find(what);
  EXPECT_NE(place, std::string::npos) << what;
  return text.replace(place, what.size(), by);
}

static bool IsReport(std::string_view page) {
  ReportSummary summary;
  return ReadSummary(page, summary);
}

static void ExpectSame(const ReportSummary& a, const ReportSummary& b) {
  EXPECT_EQ(a.first_day, b.first_day);
  EXPECT_EQ(a.last_day, b.last_day);
  EXPECT_EQ(a.requests, b.requests);
  EXPECT_EQ(a.bytes, b.bytes);
  EXPECT_EQ(a.spark, b.spark);
  EXPECT_EQ(a.title, b.title);
  EXPECT_EQ(a.site, b.site);
}

TEST(PutSummary, WritesThreeLines) {
  EXPECT_EQ(Written([](Sink& sink) { PutSummary(sink, Sample()); }),
            "<meta name=\"orvellis-report\" content=\"from=2000-03-01 to=2000-03-05 requests=1234 bytes=5678 "
            "spark=1,0,30\">\n"
            "<meta name=\"orvellis-title\" content=\"Shop\">\n"
            "<meta name=\"orvellis-site\" content=\"https://shop.example\">\n");
}

TEST(ReadSummary, ReadsWhatWasWritten) {
  ReportSummary largest = Sample();
  largest.requests = largest.bytes = std::numeric_limits<int64_t>::max();
  largest.spark.assign(60, std::numeric_limits<int64_t>::max());
  largest.title = "<b>\"A\" & 'B'</b> `\xC3\xBC &amp; = ";
  largest.site = "";
  ReportSummary least = Sample();
  least.first_day = least.last_day = -719528;  // 0000-01-01
  least.spark.clear();
  least.requests = least.bytes = 0;
  for (const ReportSummary& summary : {Sample(), largest, least}) {
    ReportSummary read;
    ASSERT_TRUE(ReadSummary(PageOf(summary), read));
    ExpectSame(read, summary);
  }
}

TEST(ReadSummary, WhatCannotBeSeenIsReadAsItIsShown) {
  ReportSummary summary = Sample();
  summary.title = "a\x1B[31m\xFF\xE2\x80\xAE";
  ReportSummary read;
  ASSERT_TRUE(ReadSummary(PageOf(summary), read));
  EXPECT_EQ(read.title, "a\\x1B[31m\\xFF\\u202E");
}

// The longest texts that settings hold, of the characters that become longest.
TEST(ReadSummary, ReachesOverTheLongestTexts) {
  for (const std::string character : {"\x01", "\"", "\xF3\xA0\x81\x81", "\xFF"}) {
    ReportSummary summary = Sample();
    while (summary.title.size() + character.size() <= kTextMax) {
      summary.title += character;
    }
    summary.site = summary.title;
    summary.spark.assign(60, std::numeric_limits<int64_t>::max());
    const std::string page = PageOf(summary);
    EXPECT_LT(page.size(), kSummaryReach);
    EXPECT_TRUE(IsReport(page)) << character;
  }
}

TEST(ReadSummary, NothingThatIsCutOffIsAReport) {
  const std::string page = Replaced(PageOf(Sample()), "<title>", "");
  ASSERT_TRUE(IsReport(page));
  for (size_t length = 0; length < page.size(); ++length) {
    EXPECT_FALSE(IsReport(std::string_view(page).substr(0, length))) << length;
  }
}

TEST(ReadSummary, OnlyThePlaceBehindThePagesTopCounts) {
  const std::string lines = Written([](Sink& sink) { PutSummary(sink, Sample()); });
  EXPECT_TRUE(IsReport(kTop + lines));
  EXPECT_FALSE(IsReport(lines));
  EXPECT_FALSE(IsReport(kTop + "\n" + lines));
  EXPECT_FALSE(IsReport("\xEF\xBB\xBF" + kTop + lines));
  EXPECT_FALSE(IsReport(kTop + "<title>x</title>\n" + lines));
  EXPECT_FALSE(IsReport(kTop + "<!-- " + lines));
}

TEST(ReadSummary, SecondLinesOfTheKindCountForNothing) {
  const std::string lines = Written([](Sink& sink) { PutSummary(sink, Sample()); });
  ReportSummary read;
  ASSERT_TRUE(ReadSummary(kTop + lines + Replaced(lines, "1234", "99"), read));
  EXPECT_EQ(read.requests, 1234);
}

TEST(ReadSummary, OnlyWhatThisProgramWritesIsAReport) {
  const std::string page = PageOf(Sample());
  ASSERT_TRUE(IsReport(page));
  static constexpr struct {
    const char* what;
    const char* by;
  } kChanges[] = {
      {"2000-03-01", "2000-03-32"},
      {"2000-03-01", "2000-02-30"},
      {"2000-03-01", "2000-00-01"},
      {"2000-03-01", "2000-13-01"},
      {"2000-03-01", "20000-3-01"},
      {"2000-03-01", "2000-3-1"},
      {"2000-03-01", "+200-03-01"},
      {"2000-03-01", "2000-03-06"},  // behind the last day
      {"1234", "-1234"},
      {"1234", "+1234"},
      {"1234", "01234"},
      {"1234", "0x4D2"},
      {"1234", "12.5"},
      {"1234", ""},
      {"1234", "9223372036854775808"},
      {"1234", "99999999999999999999999999999999999999999"},
      {"5678", "-1"},
      {"5678", "9223372036854775808"},
      {"1,0,30", ""},
      {"1,0,30", "1,,30"},
      {"1,0,30", "1,0,"},
      {"1,0,30", "1,-1,30"},
      {"1,0,30", "1, 0"},
      {"1,0,30", "1,99999999999999999999"},
      {" requests=", "  requests="},
      {" requests=", "\trequests="},
      {" to=", " until="},
      {"orvellis-report", "ORVELLIS-REPORT"},
      {"Shop", "Sh'op"},
      {"Shop", "Sh\"op"},
      {"Shop", "Sh<op"},
      {"Shop", "Sh>op"},
      {"Shop", "Sh`op"},
      {"Shop", "Sh&op"},
      {"Shop", "Sh&ampop"},
      {"Shop", "&copy;"},
      {"Shop", "&#60;"},
      {"Shop", "&#x3C;"},
      {"Shop", "Sh\nop"},
      {"Shop", "Sh\x7Fop"},
      {"Shop", "Sh\xFFop"},
      {"Shop", "Sh\xC3"},
      {"Shop", "Sh\xE2\x80\xAEop"},
      {"https://shop.example", "https://shop.example\x1B"},
      {"orvellis-site", "orvellis-url"},
  };
  for (const auto& change : kChanges) {
    EXPECT_FALSE(IsReport(Replaced(page, change.what, change.by))) << change.what << " " << change.by;
  }
  EXPECT_FALSE(IsReport(Replaced(page, "Shop", std::string("a\0b", 3))));
  EXPECT_FALSE(IsReport(Replaced(page, "Shop", std::string(5000, 'x'))));
  std::string steps = "1";
  for (int i = 1; i < 61; ++i) {
    steps += ",1";
  }
  EXPECT_FALSE(IsReport(Replaced(page, "1,0,30", steps)));
  EXPECT_TRUE(IsReport(Replaced(page, "1,0,30", steps.substr(2))));
}

TEST(IsIndexPage, KnowsItsMarkAtItsPlaceOnly) {
  const std::string mark = Written([](Sink& sink) { PutIndexMark(sink); });
  EXPECT_TRUE(IsIndexPage(kTop + mark));
  EXPECT_FALSE(IsIndexPage(kTop + "\n" + mark));
  EXPECT_FALSE(IsIndexPage(mark));
  EXPECT_FALSE(IsIndexPage((kTop + mark).substr(0, kTop.size() + mark.size() - 1)));
  EXPECT_FALSE(IsIndexPage(PageOf(Sample())));
  EXPECT_FALSE(IsReport(kTop + mark));
}

// ---- Of a report ----

class SummaryOfReport : public AccountLogs {
 protected:
  ~SummaryOfReport() override { EndOrvellisCleanup(settings_); }

  ReportSummary Read() {
    env_.command_line = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(AnalyzeLogs(env_, settings_, kModernCounting, kModernPage), kNoError);
    ReportSummary summary;
    EXPECT_TRUE(ReadSummary(testing::internal::GetCapturedStdout(), summary));
    return summary;
  }

  Environment env_{};
};

TEST_F(SummaryOfReport, HoldsTheHoursOfOneDay) {
  CopyText(settings_.title, "One <day>");
  CopyText(settings_.start_date, "03052000");
  CopyText(settings_.end_date, "03052000");
  settings_.hitsperhour = 1;
  AddLog("a.log", {{.time = "05/Mar/2000:00:10:00", .bytes = "7"},
                   {.time = "05/Mar/2000:23:10:00", .bytes = "8"},
                   {.time = "05/Mar/2000:23:20:00", .bytes = "-"},
                   {.time = "06/Mar/2000:23:20:00"}});
  const ReportSummary summary = Read();
  EXPECT_EQ(summary.first_day, 11021);
  EXPECT_EQ(summary.last_day, 11021);
  EXPECT_EQ(summary.requests, 3);
  EXPECT_EQ(summary.bytes, 15);
  std::vector<int64_t> hours(24, 0);
  hours[0] = 1;
  hours[23] = 2;
  EXPECT_EQ(summary.spark, hours);
  EXPECT_EQ(summary.title, "One <day>");
  EXPECT_EQ(summary.site, "http://site.example");
}

TEST_F(SummaryOfReport, HoldsTheDaysOfARange) {
  CopyText(settings_.start_date, "03042000");
  CopyText(settings_.end_date, "03062000");
  settings_.dailytotals = 1;
  AddLog("a.log", {{}, {}, {.time = "06/Mar/2000:23:20:00"}});
  const ReportSummary summary = Read();
  EXPECT_EQ(summary.first_day, 11020);
  EXPECT_EQ(summary.last_day, 11022);
  EXPECT_THAT(summary.spark, ElementsAre(0, 2, 1));
}

TEST_F(SummaryOfReport, HoldsNoMoreStepsThanASparkHas) {
  CopyText(settings_.start_date, "03041990");
  CopyText(settings_.end_date, "03062010");
  settings_.dailytotals = 1;
  AddLog("a.log", {{}, {}, {.time = "06/Mar/2000:23:20:00"}});
  const ReportSummary summary = Read();
  EXPECT_THAT(summary.spark, SizeIs(testing::Le(60U)));
  int64_t sum = 0;
  for (const int64_t count : summary.spark) {
    sum += count;
  }
  EXPECT_EQ(sum, 3);
}

TEST_F(SummaryOfReport, HasNoStepsOfWhatIsNotCounted) {
  AddLog("a.log", {{}});
  EXPECT_THAT(Read().spark, IsEmpty());
}
