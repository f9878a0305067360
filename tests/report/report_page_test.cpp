#include "report/report_page.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/account_logs.h"

namespace {

class ReportPage : public AccountLogs {
 protected:
  ReportPage() { ParseSearchEngineDefinition("F;domain=finder.example;vars=q"); }

  void TurnEverythingOn() {
    for (RankedReport* report :
         {&settings_.requests, &settings_.referrers, &settings_.search, &settings_.browsers,
          &settings_.badurls, &settings_.badreferrers, &settings_.domains, &settings_.domaintypes}) {
      report->on = 1;
    }
    settings_.dailytotals = settings_.hitsperdayofweek = settings_.hitsperhour = 1;
  }

  std::string Page() {
    testing::internal::CaptureStdout();
    EXPECT_EQ(AnalyzeLogs({}, settings_, kClassicCounting, kClassicPage), kNoError);
    return testing::internal::GetCapturedStdout();
  }
};

// The section anchors of a page in order.
std::vector<std::string> Anchors(const std::string& page) {
  const std::string opening = "<a name=\"";
  std::vector<std::string> anchors;
  for (size_t at = page.find(opening); at != std::string::npos; at = page.find(opening, at + 1)) {
    const size_t name = at + opening.size();
    anchors.push_back(page.substr(name, page.find('"', name) - name));
  }
  return anchors;
}

int Occurrences(const std::string& page, const std::string& text) {
  int count = 0;
  for (size_t at = page.find(text); at != std::string::npos; at = page.find(text, at + 1)) {
    ++count;
  }
  return count;
}

constexpr const char* kJumpBar = "<font face=\"Arial,Helv\" size=\"-1\"><b>";

}  // namespace

TEST_F(ReportPage, NoLogFileIsError11AndPrintsNothing) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(do_bigass_analysis(settings_, kClassicCounting, kClassicPage), kErrorNoLogFiles);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(ReportPage, WriterFinishesThePage) {
  const PageWriter counter = {
      .announce = nullptr,
      .check = nullptr,
      .begin = nullptr,
      .found = nullptr,
      .told = [](const Settings&) { return AnalysisEvents{}; },
      .finish = [](const Settings&,
                   Analysis& analysis) { printf("%lld hits", static_cast<long long>(analysis.hits)); },
      .tells_totals = false,
      .refuse = nullptr,
      .ask = nullptr,
      .info = {},
  };
  AddLog("a.log", {{}, {}});
  testing::internal::CaptureStdout();
  EXPECT_EQ(AnalyzeLogs({}, settings_, kClassicCounting, counter), kNoError);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "2 hits");
}

TEST_F(ReportPage, SectionsStandInTheirOrderEachWithOneJumpBar) {
  TurnEverythingOn();
  AddLog("a.log", {{}});
  const std::string page = Page();
  const std::vector<std::string> expected = {"urls",    "referrers",    "search",  "browsers",
                                             "badurls", "badreferrers", "domains", "networks",
                                             "daily",   "weekly",       "hourly"};
  EXPECT_EQ(Anchors(page), expected);
  EXPECT_EQ(Occurrences(page, kJumpBar), 12);  // one more below the header
  EXPECT_EQ(Occurrences(page, "<p>" + std::string("<center>\n") + kJumpBar), 11);
}

TEST_F(ReportPage, EachSectionEndsWithTheJumpBarOfAll) {
  settings_.search.on = settings_.requests.on = 1;
  AddLog("a.log", {{}});
  const std::string bar = "</table></center><p><center>\n" + std::string(kJumpBar) +
                          "<a href=\"#urls\">URLs</a>  \x95 <a href=\"#search\">Search Phrases</a>\n"
                          "</b></font></center><p>";
  const std::string page = Page();
  const size_t search = page.find("<a name=\"search\">");
  ASSERT_NE(search, std::string::npos);
  EXPECT_NE(page.find(bar), std::string::npos);
  EXPECT_LT(page.find(bar), search);
  EXPECT_NE(page.find(bar, search), std::string::npos);
}

TEST_F(ReportPage, FlushToServerPrintsTheSame) {
  TurnEverythingOn();
  AddLog("a.log", {{.referrer = "http://finder.example/s?q=a"}});
  const std::string plain = Page();
  ResetSuperLog();
  ResetAnalysis();
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  settings_.flushtoserver = 1;
  EXPECT_EQ(Page(), plain);
}

TEST_F(ReportPage, SectionsThatAreOffAreLeftOut) {
  settings_.domains.on = 1;
  settings_.hitsperhour = 1;
  AddLog("a.log", {{}});
  const std::string page = Page();
  EXPECT_EQ(Anchors(page), (std::vector<std::string>{"domains", "hourly"}));
  EXPECT_EQ(Occurrences(page, kJumpBar), 3);
}

TEST_F(ReportPage, NoLogInRangeLeavesHeaderAndFooterOnly) {
  TurnEverythingOn();
  AddLog("a.log", {{.time = "05/Mar/1999:10:00:00"}});
  const std::string page = Page();
  EXPECT_TRUE(Anchors(page).empty());
  EXPECT_EQ(Occurrences(page, kJumpBar), 0);
  EXPECT_NE(page.find("No log files found containing date range specified."), std::string::npos);
  EXPECT_TRUE(page.ends_with("\n</body>\n\n</html>\n"));
}

TEST_F(ReportPage, HeaderShowsWhatWasCounted) {
  AddLog("a.log", {{.bytes = "1000"}, {.bytes = "234"}});
  const std::string page = Page();
  EXPECT_NE(page.find("<b>HTTP Requests:</b></td><td width=\"50%\">2</td>"), std::string::npos);
  EXPECT_NE(page.find("<b>HTTP Bytes Served:</b></td><td width=\"50%\">1,234</td>"), std::string::npos);
}

TEST_F(ReportPage, BadSectionsShowSharesOfAllUrlsAndReferrers) {
  TurnEverythingOn();
  const std::string from = "http://r.example/";
  AddLog("a.log", {{.url = "/x", .status = "404", .referrer = from}, {.referrer = from}, {}, {}});
  const std::string page = Page();
  const std::string bad_urls = page.substr(page.find("<a name=\"badurls\">"));
  EXPECT_NE(bad_urls.find("<tr><td align=center>1</td><td align=center>25.00%</td>"), std::string::npos);
  const std::string bad_referrers = page.substr(page.find("<a name=\"badreferrers\">"));
  EXPECT_NE(bad_referrers.find("<tr><td align=center>1</td><td align=center>50.00%</td>"), std::string::npos);
}

TEST_F(ReportPage, BrowserSharesAreOfAllBrowsers) {
  settings_.browsers.on = 1;
  AddLog("a.log", {{.agent = "Mozilla/4.7 (X11)"}, {.agent = "Other/1.0"}, {}});
  EXPECT_NE(Page().find("<b>1</b> of the requests (<b>50%</b>) were from versions of Netscape"),
            std::string::npos);
}

TEST_F(ReportPage, DebugRowsStandBetweenTheTablesHeadAndTheHeader) {
  settings_.debug = 1;
  AddLog("a.log", {{}});
  const std::string page = Page();
  const size_t head = page.find("<b>Debugging Information</b>");
  const size_t memory = page.find("<b>Memory Usage</b>");
  const size_t engines = page.find("The following search engines are defined");
  const size_t header = page.find("Orvellis Logo");
  ASSERT_NE(header, std::string::npos);
  EXPECT_LT(head, memory);
  EXPECT_LT(memory, engines);
  EXPECT_LT(engines, header);
}

// ---- HEAD ----

TEST_F(ReportPage, HeadOfAReportIsAllThatHeadGets) {
  static int found = 0;
  const PageWriter writer = {
      .announce = nullptr,
      .check = nullptr,
      .begin = nullptr,
      .found = [](const Environment&, const Settings&) { ++found; },
      .told = [](const Settings&) { return AnalysisEvents{}; },
      .finish = [](const Settings&, Analysis&) { printf("finished"); },
      .tells_totals = false,
      .refuse = nullptr,
      .ask = nullptr,
      .info = {},
  };
  AddLog("a.log", {{}});
  Environment env{};
  for (const char* const method : {"GET", "HEAD"}) {
    CopyText(env.REQUEST_METHOD, method);
    testing::internal::CaptureStdout();
    EXPECT_EQ(AnalyzeLogs(env, settings_, kModernCounting, writer), kNoError);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), strcmp(method, "GET") == 0 ? "finished" : "");
  }
  EXPECT_EQ(found, 2);
}
