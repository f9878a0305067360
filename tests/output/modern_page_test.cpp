#include "output/modern_page.h"

#include <gmock/gmock.h>

#include "output/page_frame.h"
#include "report/extra_texts.h"
#include "report/report_page.h"
#include "support/account_logs.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ModernPage : public AccountLogs {
 protected:
  ModernPage() {
    setenv("SOURCE_DATE_EPOCH", "1000000000", 1);
    CopyText(settings_.title, "March of <site>");
    env_.command_line = 1;
  }
  ~ModernPage() override {
    unsetenv("SOURCE_DATE_EPOCH");
    EndOrvellisCleanup(settings_);
  }

  std::string Page() {
    testing::internal::CaptureStdout();
    EXPECT_EQ(AnalyzeLogs(env_, settings_, kModernCounting, kModernPage), kNoError);
    return testing::internal::GetCapturedStdout();
  }

  // Logs with so many URLs, each asked for once.
  void AddUrls(int count) {
    std::string log;
    for (int i = 0; i < count; ++i) {
      log += ToText({.url = "/" + std::to_string(i)});
    }
    AddLog("many.log", log);
  }

  // The page without the rows of its tables, and how often a text stands in it.
  static std::string WithoutRows(std::string page) {
    for (size_t begin = 0; (begin = page.find("<tbody>", begin)) != std::string::npos; ++begin) {
      page.erase(begin, page.find("</tbody>", begin) - begin);
    }
    return page;
  }
  static int CountOf(std::string_view page, std::string_view text) {
    int count = 0;
    for (size_t at = 0; (at = page.find(text, at)) != std::string_view::npos; ++at) {
      ++count;
    }
    return count;
  }

  Environment env_{};
};

TEST_F(ModernPage, HeadTellsWhatTheReportIsOf) {
  AddLog("a.log", {{}, {}});
  const std::string page = Page();
  EXPECT_THAT(page, StartsWith("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"));
  EXPECT_THAT(page, HasSubstr("<title>March of &lt;site&gt;: 2000-03-01 to 2000-03-31</title>"));
  EXPECT_THAT(page, HasSubstr("<h1><bdi>March of &lt;site&gt;</bdi></h1>"));
  EXPECT_THAT(page, HasSubstr("href=\"http://site.example\""));
  EXPECT_THAT(page, HasSubstr("<time datetime=\"2001-09-09T01:46:40+00:00\">2001-09-09 01:46</time>"));
  EXPECT_THAT(page, HasSubstr("<dt>Time zone</dt> <dd>UTC</dd>"));
  EXPECT_THAT(page, HasSubstr("1 log, "));
  EXPECT_THAT(page, HasSubstr(": <bdi>a.log</bdi></dd>"));
  EXPECT_THAT(page, Not(HasSubstr(folder_)));
}

TEST_F(ModernPage, TilesHaveTheFiguresThatMatter) {
  settings_.badurls.on = settings_.dailytotals = 1;
  AddLog("a.log",
         {{.bytes = "1500"}, {.time = "06/Mar/2000:10:00:00"}, {.status = "404"}, {.status = "404"}});
  const std::string page = Page();
  EXPECT_THAT(page, HasSubstr("<dt>Requests</dt><dd class=\"figure\">4</dd>"));
  EXPECT_THAT(page, HasSubstr("<dd class=\"figure\">1.8 kB</dd><dd>1,800 bytes</dd>"));
  EXPECT_THAT(page, HasSubstr("<dd class=\"figure\">31</dd><dd>most on <time>2000-03-05</time>: 3</dd>"));
  EXPECT_THAT(
      page, HasSubstr("<dt>Not found</dt><dd class=\"figure\">2</dd><dd>1 URL, 50.0 % of the requests</dd>"));
}

TEST_F(ModernPage, ErrorsAreAPartOfTheAnswers) {
  AddLog("a.log", {{.status = "399"}, {.status = "400"}, {.status = "599"}, {.status = "200"}});
  EXPECT_THAT(Page(),
              HasSubstr("<dt>Errors</dt><dd class=\"figure\">50.0 %</dd><dd>2 answers, 4xx or 5xx</dd>"));
}

TEST_F(ModernPage, RequestsWithoutAStatusAreNoAnswers) {
  AddLog("a.log", {{.status = "-"}, {.status = "-"}, {.status = "404"}});
  EXPECT_THAT(Page(), HasSubstr("<dd class=\"figure\">100.0 %</dd><dd>1 answer, 4xx or 5xx</dd>"));
}

TEST_F(ModernPage, LogsWithoutAnyStatusHaveNoShareOfErrors) {
  AddLog("a.log", {{.status = "-"}});
  EXPECT_THAT(Page(), Not(HasSubstr("<dt>Errors</dt>")));
}

TEST_F(ModernPage, OneRequestIsToldAsOne) {
  settings_.requests.on = settings_.referrers.on = settings_.browsers.on = settings_.domains.on = 1;
  settings_.search.on = settings_.dailytotals = 1;
  CopyText(settings_.start_date, "03052000");
  CopyText(settings_.end_date, "03052000");
  AddLog("a.log", {{.referrer = "http://www.google.com/search?q=tea", .agent = "x"}});
  const std::string page = Page();
  for (const char* const words :
       {"Only 1 URL; it makes up 100.0 % of 1 request.", "100.0 % of 1 request that names a referrer.",
        "100.0 % of 1 request that names a browser.", "100.0 % of 1 request that names a host.",
        "1 phrase, 1 visit from a search engine.", "1 visit, 100.0 % of all", "1 request on 1 day."}) {
    EXPECT_THAT(page, HasSubstr(words));
  }
}

TEST_F(ModernPage, FirstRowOfSeveralIsToldWithoutANumber) {
  AddUrls(2);
  settings_.requests = {.on = 1, .top = 1, .greater = 0, .top_is_percent = 0};
  EXPECT_THAT(Page(), HasSubstr("The first of 2 URLs; it makes up 50.0 % of 2 requests."));
}

TEST_F(ModernPage, HoursOfTheWeekHaveAColumnForEachWeekday) {
  settings_.hoursofweek = 1;
  AddLog(
      "a.log",
      {{.time = "05/Mar/2000:07:00:00"}, {.time = "06/Mar/2000:07:00:00"}, {.time = "06/Mar/2000:07:30:00"}});
  const std::string none = "<td class=\"c\">0</td>";
  EXPECT_THAT(Page(), HasSubstr("<tr><td class=\"i\"><bdi>07</bdi></td><td class=\"c\">2</td>" + none + none +
                                none + none + none + "<td class=\"c\">1</td>\n</tr>"));
}

TEST_F(ModernPage, WeekdaysBeginWithMonday) {
  settings_.hitsperdayofweek = 1;
  AddLog("a.log", {{.time = "05/Mar/2000:07:00:00"}, {.time = "06/Mar/2000:07:00:00"}});
  const std::string page = Page();
  const size_t sunday = page.find("<bdi>Sunday</bdi>");
  EXPECT_NE(sunday, std::string::npos);
  EXPECT_LT(page.find("<bdi>Monday</bdi>"), page.find("<bdi>Tuesday</bdi>"));
  EXPECT_LT(page.find("<bdi>Saturday</bdi>"), sunday);
  EXPECT_EQ(page.find("<bdi>Sunday</bdi>", sunday + 1), std::string::npos);
}

TEST_F(ModernPage, OneDayIsDrawnByItsHoursAlone) {
  settings_.dailytotals = settings_.hitsperdayofweek = settings_.hitsperhour = settings_.hoursofweek = 1;
  AddLog("a.log", {{}, {.time = "06/Mar/2000:07:00:00"}});
  EXPECT_EQ(CountOf(Page(), "<figure"), 4);
  ResetSuperLog();
  CopyText(settings_.start_date, "03052000");
  CopyText(settings_.end_date, "03052000");
  const std::string page = Page();
  EXPECT_EQ(CountOf(page, "<figure"), 1);
  EXPECT_THAT(page, HasSubstr("<h2 id=\"hitsperhour-title\">Requests by hour</h2>\n<p>How requests are "
                              "spread over the day.</p>\n<figure"));
  EXPECT_EQ(CountOf(page, "<p class=\"words\">All are of one day, a Sunday.</p>"), 2);
  EXPECT_THAT(page, HasSubstr("<dt>Days</dt><dd class=\"figure\">1</dd><dd>Sunday</dd>"));
}

TEST_F(ModernPage, BytesAreWrittenOutBesideARoundedSizeOnly) {
  AddLog("a.log", {{.bytes = "999"}});
  EXPECT_THAT(Page(), HasSubstr("<dd class=\"figure\">999 bytes</dd></div>"));
  ResetSuperLog();
  AddLog("b.log", {{.bytes = "1"}});
  EXPECT_THAT(Page(), HasSubstr("<dd class=\"figure\">1.0 kB</dd><dd>1,000 bytes</dd></div>"));
}

TEST_F(ModernPage, PolicyIsInThePageAndInTheHeader) {
  AddLog("a.log", {{}});
  env_.command_line = 0;
  const std::string page = Page();
  EXPECT_THAT(page, StartsWith("Content-Type: text/html; charset=utf-8\nContent-Security-Policy: " +
                               std::string(WebPolicy(true)) + "\n"));
  EXPECT_THAT(
      page, HasSubstr("<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
                      "'sha256-"));
  EXPECT_LT(page.find("<meta http-equiv"), page.find("<style>"));
}

TEST_F(ModernPage, ScriptCanBeLeftOut) {
  AddLog("a.log", {{}});
  EXPECT_THAT(Page(), HasSubstr("<script>"));
  settings_.no_script = 1;
  ResetSuperLog();
  const std::string page = Page();
  EXPECT_THAT(page, Not(HasSubstr("<script")));
  EXPECT_THAT(page, Not(HasSubstr("script-src")));
}

// What a page has however few rows there are: every section, and of the drawings as many marks
// as the days and hours of a month make.
TEST_F(ModernPage, NothingIsLargerThanSixtyKilobytesBeforeItsRows) {
  for (int* const on : {&settings_.dailytotals, &settings_.hitsperdayofweek, &settings_.hitsperhour,
                        &settings_.hoursofweek}) {
    *on = 1;
  }
  for (RankedReport* const report :
       {&settings_.requests, &settings_.referrers, &settings_.search, &settings_.browsers, &settings_.badurls,
        &settings_.badreferrers, &settings_.domains, &settings_.domaintypes}) {
    report->on = 1;
  }
  AddLog("a.log", {{.referrer = "http://www.google.com/search?q=tea", .agent = "x"},
                   {.status = "404", .referrer = "http://r.example/", .agent = "x"}});
  const std::string page = Page();
  EXPECT_EQ(CountOf(page, "<h2 "), 14);  // with overview and contents
  EXPECT_LT(WithoutRows(page).size(), 60U << 10);
}

TEST_F(ModernPage, SectionHasAThousandRowsUnlessMoreAreAskedFor) {
  AddUrls(1100);
  settings_.requests.on = 1;
  std::string page = Page();
  EXPECT_THAT(
      page, HasSubstr("The first 1,000 of 1,100 URLs; together they make up 90.9 % of 1,100 requests. A page "
                      "shows at most 1,000 rows of a section, unless more are asked for."));
  EXPECT_THAT(page, Not(HasSubstr("Rows 1,001 to")));
  settings_.requests.top_asked = true;
  ResetSuperLog();
  page = Page();
  EXPECT_THAT(page, HasSubstr("All 1,100 URLs; together they make up 100.0 % of 1,100 requests.</p>"));
  EXPECT_THAT(page, HasSubstr("Rows 1,001 to 1,100"));
}

TEST_F(ModernPage, DaysHaveYearAndWeekday) {
  settings_.dailytotals = 1;
  CopyText(settings_.start_date, "03041999");
  AddLog("a.log", {{}});
  const std::string page = Page();
  EXPECT_THAT(page, HasSubstr("<td class=\"d\">Thursday</td><td class=\"i\"><bdi>1999-03-04</bdi></td>"));
  EXPECT_THAT(
      page, HasSubstr("<tr class=\"e\"><td class=\"d\">Sunday</td><td class=\"i\"><bdi>2000-03-05</bdi></td>"
                      "<td class=\"c\">1</td>"));
}

TEST_F(ModernPage, OfVeryManyDaysThoseWithRequestsAreListed) {
  settings_.dailytotals = 1;
  CopyText(settings_.start_date, "01011990");
  AddLog("a.log", {{.time = "05/Mar/1999:10:00:00"}, {}});
  const std::string page = Page();
  EXPECT_THAT(page, HasSubstr("Days without requests are left out."));
  EXPECT_THAT(page, HasSubstr("<bdi>1999-03-05</bdi>"));
  EXPECT_THAT(page, HasSubstr("<bdi>2000-03-05</bdi>"));
  EXPECT_THAT(page, Not(HasSubstr("<bdi>1990-01-01</bdi>")));
}

TEST_F(ModernPage, BadUrlsHaveThePagesThatLinkToThem) {
  settings_.badurls.on = settings_.badurl_referrers = 1;
  AddLog("a.log", {{.url = "/gone", .status = "404", .referrer = "http://r.example/one"},
                   {.url = "/gone", .status = "404", .referrer = "http://r.example/one"}});
  EXPECT_THAT(Page(), HasSubstr("<ul class=\"from\"><li>2 from <a rel=\"noopener noreferrer nofollow\" "
                                "href=\"http://r.example/one\">http://r.example/one</a></li></ul>"));
}

TEST_F(ModernPage, RangeWithoutLogsSaysWhichDaysThereAre) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.time = "05/Mar/1998:10:00:00"}, {.time = "07/Mar/1998:10:00:00"}});
  const std::string page = Page();
  EXPECT_THAT(page, HasSubstr("<li>No log holds records of these days.</li>"));
  EXPECT_THAT(page, HasSubstr("The logs hold records of other days: <time>1998-03-05</time> to "
                              "<time>1998-03-07</time>."));
  EXPECT_THAT(page, Not(HasSubstr("id=\"requests\"")));
  EXPECT_THAT(page, Not(HasSubstr("<nav")));
}

TEST_F(ModernPage, MarkupOfTheAdministratorStandsAsItIs) {
  AddLog("a.log", {{}});
  log_SetExtraHeader(settings_, "<p id=\"own\">Intranet</p>", kLevelGlobalKey);
  EXPECT_THAT(Page(), HasSubstr("<p id=\"own\">Intranet</p>"));
}

TEST_F(ModernPage, MarkupOfTheAdministratorLeadsNobodyElsewhere) {
  AddLog("a.log", {{}});
  log_SetExtraHeader(settings_, "<META http-equiv=refresh content=0;url=/><b>a</b><meta/x>", kLevelGlobalKey);
  EXPECT_THAT(Page(), HasSubstr("<x-META http-equiv=refresh content=0;url=/><b>a</b><x-meta/x>\n"));
}
