#include "report/page_frame.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "analysis/driver.h"
#include "base/text.h"
#include "dates/clock.h"
#include "dates/local_time.h"
#include "superlog/log_dates.h"
#include "superlog/superlog.h"

namespace {

constexpr time_t kReportStart = 1710509705;  // 15 March 2024, 13:35:05 GMT

class PageFrame : public testing::Test {
 protected:
  void SetUp() override {
    SetZone("UTC");
    ResetSuperLog();
    analysis_.ReportStartTime = kReportStart;
    SetCurrentTimeForTest(kReportStart);
    settings_.cgi = 1;
    settings_.SmartMemoryEnabled = 1;
    CopyText(settings_.OrvellisPath, "/orvellis");
    CopyText(settings_.title, "Web Site Analysis");
    CopyText(settings_.url, "http://www.example.com");
    CopyText(settings_.find, "/");
    CopyText(settings_.start_date, "03052024");
    CopyText(settings_.end_date, "03142025");
  }

  void TearDown() override {
    ResetSuperLog();
    SetCurrentTimeForTest(-1);
  }

  static void SetZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
    ResetLocalTime();
  }

  // A log of `lines` lines of 80 bytes lay in the requested range.
  void ReadLog(uint32_t lines) { analysis_.logs = {{0, 80 * lines}, true}; }

  // Text of what print writes to standard output.
  template <typename Print>
  static std::string Output(Print print) {
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
  }

  std::string Header(int64_t hits = 0, SuperLong bytes = {0, 0}) {
    analysis_.hits = hits;
    analysis_.bytes = bytes;
    return Output([&] { DisplayHeader(settings_, analysis_); });
  }

  std::string Footer() {
    return Output([&] { PrintFooter(settings_, analysis_); });
  }

  Settings settings_{};
  Analysis analysis_{};
};

constexpr char kTitleRows[] =
    "\n\n<center><table border=1 cellspacing=0 cellpadding=4>\n"
    "<tr>\n<td width=\"50%\" bgcolor=\"#CCCCCC\" align=\"center\" valign=\"center\">"
    "<img src=\"/orvellis/or15-reg.gif\" width=\"278\" height=\"75\" border=0 alt=\"Orvellis Logo\">"
    "</td>\n<td width=\"50%\" bgcolor=\"#CCCCCC\"><center>"
    "<font color=\"#000000\" size=\"+2\"><i>Orvellis</i></font>\n"
    " <font color=\"#000000\"><sup>TM</sup></font>"
    "<br>\n<font color=\"#000000\" size=\"+2\">Web Site Analysis</font><br>\n"
    "<font color=\"#000000\" size=\"+1\">http://www.example.com</font></td>\n"
    "</tr>\n"
    "<tr>\n<td colspan=2>\n<table width=\"100%\" border=0>\n"
    "<tr>\n<td width=\"50%\"><b>URL Analyzed:</b></td><td width=\"50%\">/</td>\n</tr>\n";
constexpr char kEnd[] = "</table>\n</td>\n</tr>\n</table>\n</center><p>\n";

std::string Row(const std::string& label, const std::string& value) {
  return "<tr>\n<td width=\"50%\"><b>" + label + ":</b></td><td width=\"50%\">" + value + "</td>\n</tr>\n";
}

// The cells of the rows that are only there when set end without a line break.
std::string OptionalRow(const std::string& label, const std::string& value) {
  return "<tr>\n<td width=\"50%\"><b>" + label + ":</b></td><td width=\"50%\">" + value + "</td></tr>\n";
}

const std::string kRange = Row("Date Range Analyzed", "03/05/2024 - 03/14/2025");
const std::string kReportDate = Row("Date of Report", "March 15, 2024 at 01:35 PM");
constexpr char kNoLogs[] =
    "<tr>\n<td colspan=2><hr><font color=red><b>No log files found containing date range specified. "
    "Please go back to the Report Request Form and try a different date range.</b></font>\n</td>\n</tr>\n";

// ---- PrintHead, OutputBaseTag ----

using PrintHeadTest = PageFrame;

TEST_F(PrintHeadTest, StartsTheDocument) {
  EXPECT_EQ(Output([&] { PrintHead(settings_); }),
            "<html>\n<head>\n<title>Web Site Analysis</title>\n</head>\n\n\n\n\n"
            "<body bgcolor=\"#FFFFFF\" text=\"#000000\">\n");
}

TEST_F(PrintHeadTest, PrintsTheTitleUnescaped) {
  CopyText(settings_.title, "<i>100%d</i>");
  EXPECT_EQ(Output([&] { PrintHead(settings_); }),
            "<html>\n<head>\n<title><i>100%d</i></title>\n</head>\n\n\n\n\n"
            "<body bgcolor=\"#FFFFFF\" text=\"#000000\">\n");
}

TEST_F(PrintHeadTest, WarnsWhileRemoteDebuggingIsEnabled) {
  settings_.RemoteDebugEnabled = 1;
  EXPECT_EQ(Output([&] { PrintHead(settings_); }),
            "<html>\n<head>\n<title>Web Site Analysis</title>\n</head>\n\n\n\n\n"
            "<body bgcolor=\"#FFFFFF\" text=\"#000000\">\n"
            "<b><blink>Warning!  Remote debugging is enabled!</blink></b><br>"
            "Please remember to edit the Orvellis configuration file to disable remote debugging when it is "
            "no longer needed.<p>");
}

TEST_F(PrintHeadTest, DoesNotWarnWhereThereIsNoRemoteDebugging) {
  settings_.RemoteDebugEnabled = 1;
  settings_.no_remote_debug = true;
  EXPECT_EQ(Output([&] { PrintHead(settings_); }).find("Warning"), std::string::npos);
}

TEST_F(PrintHeadTest, RemoteDebugPageItselfDoesNotWarn) {
  settings_.RemoteDebugEnabled = 1;
  settings_.page = kPageRemoteDebug;
  EXPECT_EQ(Output([&] { PrintHead(settings_); }).find("Warning"), std::string::npos);
}

using OutputBaseTagTest = PageFrame;

TEST_F(OutputBaseTagTest, PrefersTheConfiguredBase) {
  Environment env{};
  CopyText(env.SERVER_NAME, "www.example.com");
  CopyText(env.SCRIPT_NAME, "/cgi-bin/orvellis");
  CopyText(settings_.base, "http://stats.example.com/");
  EXPECT_EQ(Output([&] { OutputBaseTag(settings_, env); }), "<base href=\"http://stats.example.com/\">\n");
}

TEST_F(OutputBaseTagTest, FallsBackToTheRunningProgram) {
  Environment env{};
  CopyText(env.SERVER_NAME, "www.example.com");
  CopyText(env.SCRIPT_NAME, "/cgi-bin/orvellis");
  EXPECT_EQ(Output([&] { OutputBaseTag(settings_, env); }),
            "<base href=\"http://www.example.com/cgi-bin/orvellis\">\n");
}

TEST_F(OutputBaseTagTest, PrintsNothingWhenTheProgramsAddressIsUnknown) {
  Environment env{};
  EXPECT_EQ(Output([&] { OutputBaseTag(settings_, env); }), "");
  CopyText(env.SERVER_NAME, "www.example.com");
  EXPECT_EQ(Output([&] { OutputBaseTag(settings_, env); }), "");
  CopyText(env.SERVER_NAME, "");
  CopyText(env.SCRIPT_NAME, "/cgi-bin/orvellis");
  EXPECT_EQ(Output([&] { OutputBaseTag(settings_, env); }), "");
}

// ---- DisplayHeader ----

using DisplayHeaderTest = PageFrame;

TEST_F(DisplayHeaderTest, WithoutLogInRangeEndsWithTheMessage) {
  EXPECT_EQ(Header(5, {0, 50}), kTitleRows + kRange + kReportDate + kNoLogs + kEnd);
}

TEST_F(DisplayHeaderTest, WithLogInRangePrintsTheFigures) {
  ReadLog(3);
  EXPECT_EQ(Header(1234567, {0, 600000}),
            kTitleRows + kRange + kReportDate + Row("HTTP Requests", "1,234,567") +
                Row("HTTP Bytes Served", "600,000 (0.6 MB)") + Row("Log Bytes Read", "240") + kEnd);
}

TEST_F(DisplayHeaderTest, LogBytesHaveTheirSuffix) {
  ReadLog(10000);
  EXPECT_EQ(Header(999, {2, 0}), kTitleRows + kRange + kReportDate + Row("HTTP Requests", "999") +
                                     Row("HTTP Bytes Served", "20 (1.9 GB)") +
                                     Row("Log Bytes Read", "800,000 (0.8 MB)") + kEnd);
}

// deliberate: unpadded, the two parts of a size stand side by side
TEST_F(DisplayHeaderTest, FiguresShowTheirCounters) {
  ReadLog(1);
  EXPECT_EQ(Header((int64_t{1} << 32) + 7, {0, 1000000000}),
            kTitleRows + kRange + kReportDate + Row("HTTP Requests", "7") +
                Row("HTTP Bytes Served", "1,000,000,000 (953.7 MB)") + Row("Log Bytes Read", "80") + kEnd);
}

TEST_F(DisplayHeaderTest, WideFiguresShowWhole) {
  analysis_.counting = kModernCounting;
  analysis_.logs = {{1, 0}, true};
  const std::string page = Header(5000000000, {10, 5});
  EXPECT_NE(page.find(">5,000,000,000<"), std::string::npos);
  EXPECT_NE(page.find(">10,000,000,005 (9.3 GB)<"), std::string::npos);
  EXPECT_NE(page.find(">1,000,000,000 (953.7 MB)<"), std::string::npos);
}

TEST_F(DisplayHeaderTest, NothingCountedPrintsZeros) {
  ReadLog(1);
  EXPECT_EQ(Header(), kTitleRows + kRange + kReportDate + Row("HTTP Requests", "0") +
                          Row("HTTP Bytes Served", "0") + Row("Log Bytes Read", "80") + kEnd);
}

TEST_F(DisplayHeaderTest, NamesTheFiltersThatAreSet) {
  CopyText(settings_.authrealm, "Members");
  CopyText(settings_.authuser, "alice");
  CopyText(settings_.filter_domains, "example.com,10.");
  CopyText(settings_.filter_filetypes, "gif,jpg");
  EXPECT_EQ(Header(), kTitleRows + kRange + OptionalRow("For Authenticated Realm", "Members") +
                          OptionalRow("For Authenticated User", "alice") +
                          OptionalRow("Ignore Requests from Domains", "example.com,10.") +
                          OptionalRow("Omit Requests for Files with Extensions", "gif,jpg") + kReportDate +
                          kNoLogs + kEnd);
}

TEST_F(DisplayHeaderTest, ExtraHeaderComesFirst) {
  char text[] = "<h1>Example</h1>";
  settings_.extra_header = text;
  EXPECT_EQ(Header(), "<!-- Begin extra header -->\n<h1>Example</h1>\n<!-- End extra header -->\n" +
                          (kTitleRows + kRange + kReportDate + kNoLogs + kEnd));
}

TEST_F(DisplayHeaderTest, EmptyExtraHeaderCountsAsSet) {
  char text[] = "";
  settings_.extra_header = text;
  EXPECT_EQ(Header(), "<!-- Begin extra header -->\n\n<!-- End extra header -->\n" +
                          (kTitleRows + kRange + kReportDate + kNoLogs + kEnd));
}

TEST_F(DisplayHeaderTest, FlushToServerPrintsTheSame) {
  const std::string plain = Header();
  settings_.flushtoserver = 1;
  EXPECT_EQ(Header(), plain);
}

// -- Dates --

struct DateRow {
  const char* format;
  const char* range;
};

constexpr char kDayFirstReportDate[] = "15 March 2024 at 13:35 (01:35 PM)";

// deliberate: in four of the layouts the end date carries the last two digits of
// the start date's year.
TEST_F(DisplayHeaderTest, DeliberateDateLayoutsFollowTheLogDateFormat) {
  for (const DateRow& row :
       {DateRow{"DMY", "05/03/2024 - 14/03/2025"}, DateRow{"DYM", "05/2024/03 - 14/2024/03"},
        DateRow{"MDY", "03/05/2024 - 03/14/2025"}, DateRow{"MYD", "03/2024/05 - 03/2024/14"},
        DateRow{"YDM", "2024/05/03 - 2024/14/03"}, DateRow{"YMD", "2024/03/05 - 2024/03/14"}}) {
    SCOPED_TRACE(row.format);
    ResetSuperLog();
    SuperLog_SetDateFormat(row.format, kLevelAccount);
    const bool month_first = SuperLog_GetDateFormat() == kOrderMdy;
    EXPECT_EQ(Header(), kTitleRows + Row("Date Range Analyzed", row.range) +
                            (month_first ? kReportDate : Row("Date of Report", kDayFirstReportDate)) +
                            kNoLogs + kEnd);
  }
}

// No setting leads to such a format.
TEST_F(DisplayHeaderTest, UnknownDateFormatLeavesBothDatesEmpty) {
  for (const int format : {0, 7, -1}) {
    SCOPED_TRACE(format);
    mDateFormat = static_cast<DateOrder>(format);
    EXPECT_EQ(Header(), kTitleRows + Row("Date Range Analyzed", " - ") +
                            Row("Date of Report", kDayFirstReportDate) + kNoLogs + kEnd);
  }
}

TEST_F(DisplayHeaderTest, CenturyOfTheEndDateIsItsOwn) {
  CopyText(settings_.start_date, "12311999");
  CopyText(settings_.end_date, "01012000");
  SuperLog_SetDateFormat("YMD", kLevelAccount);
  EXPECT_NE(Header().find(Row("Date Range Analyzed", "1999/12/31 - 2099/01/01")), std::string::npos);
}

TEST_F(DisplayHeaderTest, ShortDatesEndWhereTheirTextEnds) {
  struct ShortRow {
    const char* format;
    const char* start;
    const char* end;
    const char* range;
  };
  for (const ShortRow& row : {
           ShortRow{"MDY", "", "", " - "},
           ShortRow{"MDY", "0", "03", "0 - 03/"},
           ShortRow{"MDY", "0305", "030599", "03/05/ - 03/05/99"},
           ShortRow{"DMY", "03", "0305", " - 05/03/"},
           ShortRow{"DMY", "0305202", "03142025", "05/03/202 - 14/03/2025"},
           ShortRow{"DYM", "030520", "03142025", "05/20 - 14/20"},
           ShortRow{"YMD", "0305202", "03142025", "202 - 202"},
           ShortRow{"YMD", "03052024", "1900", "2024/03/05 - "},
       }) {
    SCOPED_TRACE(std::string(row.format) + " " + row.start + " " + row.end);
    ResetSuperLog();
    SuperLog_SetDateFormat(row.format, kLevelAccount);
    CopyText(settings_.start_date, row.start);
    CopyText(settings_.end_date, row.end);
    EXPECT_NE(Header().find(Row("Date Range Analyzed", row.range)), std::string::npos) << Header();
  }
}

TEST_F(DisplayHeaderTest, BytesLeftBehindAShortDateDoNotShow) {
  CopyText(settings_.end_date, "1900");  // over a date of eight characters
  SuperLog_SetDateFormat("DMY", kLevelAccount);
  EXPECT_NE(Header().find(Row("Date Range Analyzed", "05/03/2024 - 00/19/")), std::string::npos) << Header();
}

TEST_F(DisplayHeaderTest, LongYearsShowWholeInTwoLayouts) {
  CopyText(settings_.start_date, "0305123456789012345");
  CopyText(settings_.end_date, "030520240");
  EXPECT_NE(Header().find(Row("Date Range Analyzed", "03/05/123456789012345 - 03/05/20240")),
            std::string::npos);
  SuperLog_SetDateFormat("YMD", kLevelAccount);
  EXPECT_NE(Header().find(Row("Date Range Analyzed", "1234/03/05 - 2034/03/05")), std::string::npos);
}

// -- Memory warning --

class MemoryWarningTest : public PageFrame {
 protected:
  void SetUp() override {
    PageFrame::SetUp();
    ReadLog(1);
    urls_.name = "Top URLs";
    urls_.next = &domains_;
    domains_.name = "Domains";
    domains_.next = &engine_;
    engine_.name = "Example Search";
    analysis_.tables = &urls_;
  }

  static std::string Figures() {
    return kTitleRows + kRange + kReportDate + Row("HTTP Requests", "3") + Row("HTTP Bytes Served", "4") +
           Row("Log Bytes Read", "80");
  }

  ListInfo urls_{};
  ListInfo domains_{};
  ListInfo engine_{};
};

TEST_F(MemoryWarningTest, AbsentWhileNothingWasReclaimed) {
  EXPECT_EQ(Header(3, {0, 4}), Figures() + kEnd);
}

TEST_F(MemoryWarningTest, NamesTheThinnedTablesInCreationOrder) {
  urls_.reclaimed = 7;
  engine_.reclaimed = 1;
  EXPECT_EQ(Header(3, {0, 4}),
            Figures() +
                "<tr><td colspan=2><hr></td></tr><tr>\n"
                "<td width=\"50%\" valign=\"top\"><font color=red><b>Warning:</b></font> Processing this "
                "report required more memory than was available. The results for the following reports may "
                "not be accurate after the top few results.</td>\n"
                "<td width=\"50%\">Top URLs<br>\nExample Search<br>\n</td>\n</tr>\n" +
                kEnd);
}

TEST_F(MemoryWarningTest, AbsentWithoutSmartMemory) {
  urls_.reclaimed = 7;
  settings_.SmartMemoryEnabled = 0;
  EXPECT_EQ(Header(3, {0, 4}), Figures() + kEnd);
}

// ---- OutputJumpBar ----

using OutputJumpBarTest = PageFrame;

constexpr char kBarStart[] = "<center>\n<font face=\"Arial,Helv\" size=\"-1\"><b>";
constexpr char kBarEnd[] = "</b></font></center><p>";

TEST_F(OutputJumpBarTest, NothingWithFewerThanTwoSections) {
  EXPECT_EQ(Output([&] { OutputJumpBar(settings_); }), "");
  settings_.hitsperhour = 1;
  EXPECT_EQ(Output([&] { OutputJumpBar(settings_); }), "");
}

TEST_F(OutputJumpBarTest, TwoSectionsHaveOneSeparator) {
  settings_.requests.on = 1;
  settings_.domaintypes.on = 2;
  EXPECT_EQ(Output([&] { OutputJumpBar(settings_); }),
            std::string(kBarStart) +
                "<a href=\"#urls\">URLs</a>  \x95 <a href=\"#networks\">Domain Types</a>\n" + kBarEnd);
}

TEST_F(OutputJumpBarTest, AllSectionsInReportOrder) {
  for (RankedReport* report :
       {&settings_.badurls, &settings_.browsers, &settings_.requests, &settings_.domaintypes,
        &settings_.domains, &settings_.search, &settings_.referrers, &settings_.badreferrers}) {
    report->on = 1;
  }
  settings_.dailytotals = settings_.hitsperdayofweek = settings_.hitsperhour = 1;
  EXPECT_EQ(
      Output([&] { OutputJumpBar(settings_); }),
      std::string(kBarStart) +
          "<a href=\"#urls\">URLs</a>  \x95 <a href=\"#referrers\">Referrers</a>\n \x95 "
          "<a href=\"#search\">Search Phrases</a>\n \x95 <a href=\"#browsers\">Browsers</a>\n \x95 "
          "<a href=\"#badurls\">Bad URLs</a>\n \x95 <a href=\"#badreferrers\">Bad Referrers</a>\n \x95 "
          "<a href=\"#domains\">Domains</a>\n \x95 <a href=\"#networks\">Domain Types</a>\n \x95 "
          "<a href=\"#daily\">Daily Totals</a>\n \x95 <a href=\"#weekly\">Hits Per Day of Week</a>\n \x95 "
          "<a href=\"#hourly\">Hits Per Hour</a>\n" +
          kBarEnd);
}

// ---- PrintFooter ----

using PrintFooterTest = PageFrame;

constexpr char kFooterEnd[] = "\n</body>\n\n</html>\n";

std::string FooterStart(const std::string& elapsed) {
  return "\n\n<p><hr noshade><p>\n\n<font size=\"-1\">Time required to generate report = " + elapsed +
         " (minutes:seconds).<br>\n"
         "This report was generated by <a href=\"/orvellis/\" target=\"_blank\">Orvellis</a> "
         "version 1.5 (UNIX).<br>\n<p>\n</font>\n";
}

TEST_F(PrintFooterTest, PrintsTimeAndCreditAndEndsTheDocument) {
  SetCurrentTimeForTest(kReportStart + 65);
  EXPECT_EQ(Footer(), FooterStart("01:05") + kFooterEnd);
}

TEST_F(PrintFooterTest, DeliberateOnlyMinutesAndSecondsWithinTheHour) {
  SetCurrentTimeForTest(kReportStart + 3600 + 2);
  EXPECT_EQ(Footer(), FooterStart("00:02") + kFooterEnd);
}

TEST_F(PrintFooterTest, DeliberateLocalTimeShiftsByTheMinutesOfTheZone) {
  SetZone("XST-5:30");
  SetCurrentTimeForTest(kReportStart + 1);
  EXPECT_EQ(Footer(), FooterStart("30:01") + kFooterEnd);
  SetZone("UTC");
}

TEST_F(PrintFooterTest, ExtraFooterStandsBeforeTheEnd) {
  char text[] = "<p>Example</p>";
  settings_.extra_footer = text;
  EXPECT_EQ(Footer(), FooterStart("00:00") +
                          "<!-- Begin extra footer -->\n<p>Example</p>\n<!-- End extra footer -->\n" +
                          kFooterEnd);
}

TEST_F(PrintFooterTest, EmptyExtraFooterCountsAsSet) {
  char text[] = "";
  settings_.extra_footer = text;
  EXPECT_EQ(Footer(),
            FooterStart("00:00") + "<!-- Begin extra footer -->\n\n<!-- End extra footer -->\n" + kFooterEnd);
}

}  // namespace
