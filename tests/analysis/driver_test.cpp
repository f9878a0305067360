#include "analysis/driver.h"

#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/socket.h>

#include <set>
#include <string>

#include "analysis/dns_cache.h"
#include "analysis/dns_cache_internal.h"
#include "analysis/normalise.h"
#include "analysis/resolve_item.h"
#include "analysis/smart_memory.h"
#include "analysis/smart_memory_internal.h"
#include "analysis/wildcard_internal.h"
#include "support/account_logs.h"
#include "support/counted.h"
#include "support/room.h"

namespace {

class Driver : public AccountLogs {
 protected:
  ~Driver() override { EndAnalysis(analysis_); }

  // Reads the logs; what the run prints is returned.
  std::string Run() {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
    CountLogs(settings_, analysis_);
    return testing::internal::GetCapturedStdout();
  }

  std::string Urls() { return Counted(analysis_.urls.list); }
  std::string BadUrls() { return Counted(analysis_.badurls.list); }
  std::string Referrers() { return Counted(analysis_.referrers.list); }

  Analysis analysis_{};
};

using BeginAnalysisTest = Driver;
using CountLogsTest = Driver;
using FindTestOfDriver = Driver;

constexpr const char* kMsie = "Mozilla/4.0 (compatible; MSIE 5.0; X11)";
constexpr const char* kNavigator = "Mozilla/4.7 [en] (X11; Linux)";

// Stands for the system's resolver: every address is desk.office.test.
int mLookUps = 0;

hostent* ResolveToDesk(const void*, socklen_t, int) {
  static char name[] = "desk.office.test";
  static hostent host{};
  host.h_name = name;
  ++mLookUps;
  return &host;
}

}  // namespace

// ---- BeginAnalysis ------------------------------------------------------------

TEST_F(BeginAnalysisTest, FalseWithoutAnyLogFile) {
  EXPECT_FALSE(BeginAnalysis(settings_, kClassicCounting, analysis_));
}

TEST_F(BeginAnalysisTest, RangeIsWholeLocalDays) {
  AddLog("a.log", {{}});
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  ResetLocalTime();
  CopyText(settings_.start_date, "03252000");
  CopyText(settings_.end_date, "03262000");  // summer time begins on this day
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
  EXPECT_EQ(analysis_.range_first, 953938800);
  EXPECT_EQ(analysis_.range_last, 953938800 + 24 * 3600 + 23 * 3600 - 1);
}

TEST_F(BeginAnalysisTest, YearsAreTakenAsWritten) {
  AddLog("a.log", {{}});
  CopyText(settings_.start_date, "010100");
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
  EXPECT_EQ(analysis_.range_first, -62167219200);  // the year 0
}

TEST_F(BeginAnalysisTest, AnyDateTextIsSurvived) {
  AddLog("a.log", {{}});
  for (const char* date : {"", "x", "0101-2147483648", "01012147483647", "-9-9-9", "999999999999"}) {
    SCOPED_TRACE(date);
    CopyText(settings_.start_date, date);
    CopyText(settings_.end_date, date);
    ResetSuperLog();
    EXPECT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
    EndAnalysis(analysis_);
  }
}

TEST_F(BeginAnalysisTest, NotesTheStartAndClearsEverything) {
  AddLog("a.log", {{}});
  analysis_.hits = 7;
  analysis_.hours.counts[3] = 7;
  analysis_.MsieCount = analysis_.NavCount = analysis_.gHits_Browsers = 7;
  SetCurrentTimeForTest(952300801);
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
  EXPECT_EQ(analysis_.ReportStartTime, 952300801);
  EXPECT_EQ(analysis_.hits, 0);
  EXPECT_EQ(analysis_.hours.counts[3], 0);
  EXPECT_EQ(analysis_.MsieCount, 0);
  EXPECT_EQ(analysis_.NavCount, 0);
  EXPECT_EQ(analysis_.gHits_Browsers, 0);
}

TEST_F(BeginAnalysisTest, ChainHoldsTheBuiltInEnginesThenTheTables) {
  AddLog("a.log", {{}});
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
  std::string names;
  int lists = 0;
  for (const ListInfo* info = gListInfo.first; info != nullptr; info = info->next, ++lists) {
    names += lists == 0 || lists >= 33 ? std::string(info->name) + "\n" : "";
  }
  EXPECT_EQ(lists, 34 + 7);
  EXPECT_EQ(names,
            "About.com Search Phrases\nYahoo! Search Phrases\nTop URLs\nTop Referrers\nBrowsers\nBad URLs\n"
            "Bad Referrers\nDomains\nDomain Types\n");
}

TEST_F(BeginAnalysisTest, ConfiguredEnginesAreLeftOutOfTheChain) {
  AddLog("a.log", {{}});
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
  ASSERT_NE(gListInfo.first, nullptr);
  EXPECT_STREQ(gListInfo.first->name, "Top URLs");
}

// ---- Dates, what is told ------------------------------------------------

TEST_F(CountLogsTest, BothEndsOfTheRangeAreCounted) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.time = "29/Feb/2000:23:59:59", .url = "/before"},
                   {.time = "01/Mar/2000:00:00:00", .url = "/first"},
                   {.time = "31/Mar/2000:23:59:59", .url = "/last"},
                   {.time = "01/Apr/2000:00:00:00", .url = "/after"}});
  Run();
  EXPECT_EQ(Urls(), "/first=1 /last=1 ");
}

TEST_F(CountLogsTest, RecordAfterTheEndStopsItsFileOnly) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.url = "/a1"}, {.time = "02/Apr/2000:00:00:00"}, {.url = "/a2"}});
  AddLog("b.log", {{.url = "/b1"}});
  Run();
  EXPECT_EQ(Urls(), "/a1=1 /b1=1 ");
}

TEST_F(CountLogsTest, RecordBeforeTheStartIsOnlySkipped) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.time = "01/Feb/2000:00:00:00"}, {.url = "/a2"}});
  Run();
  EXPECT_EQ(Urls(), "/a2=1 ");
  EXPECT_EQ(analysis_.hits, 1);
}

int mLinesTold = 0;
std::string mOrder;  // what was told, a letter each

constexpr AnalysisEvents kRecorder = {
    .logs = {
        .search_done = [](const LogSearch&) { mOrder += 's'; },
        .log_looked_at = [](const LogLook&) { mOrder += 'l'; },
        .format_recognised = [](const char*) { mOrder += 'f'; },
        .log_read = [] { mOrder += 'r'; },
    },
    .line_read =
        [] {
          ++mLinesTold;
          mOrder += '.';
        },
};

TEST_F(CountLogsTest, TellsOfEveryLineThatIsDelivered) {
  AddLog("a.log", {{.time = "01/Feb/2000:00:00:00"}, {.url = "/a"}, {.time = "02/Apr/2000:00:00:00"}, {}});
  AddLog("b.log", "no record\n" + ToText({}));
  mLinesTold = 0;
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_, kRecorder));
  CountLogs(settings_, analysis_);
  EXPECT_EQ(mLinesTold, 4) << "before, in and one behind the range; none of what is no record";
}

TEST_F(CountLogsTest, TellsInTheOrderOfWhatHappens) {
  AddLog("a.log", {{}, {}});
  AddLog("b.log", {{}, {}, {}});
  mOrder = "";
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_, kRecorder));
  EXPECT_EQ(mOrder, "");
  CountLogs(settings_, analysis_);
  EXPECT_EQ(mOrder, "slf..rlf...r");
}

TEST_F(CountLogsTest, PrintsNothingWhateverTheSettings) {
  settings_.debug = 1;
  settings_.flushtoserver = 1;
  std::string lines;
  for (int line = 0; line < 1001; ++line) {
    lines += ToText({});
  }
  AddLog("a.log", lines);
  EXPECT_EQ(Run(), "");
}

TEST_F(CountLogsTest, RefusedMemoryEndsTheRunBeforeTheNextFileIsLookedAt) {
  settings_.requests.on = 1;
  AddLog("a.log", {{}});
  AddLog("b.log", {{}, {}});
  AnalysisEvents events;
  events.logs.log_looked_at = [](const LogLook& look) { fprintf(stderr, "%s\n", look.path); };
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_, events));
  const auto count_without_memory = [&] {
    mpAllocate = [](size_t) -> void* { return nullptr; };
    CountLogs(settings_, analysis_);
  };
  EXPECT_EXIT(count_without_memory(), testing::ExitedWithCode(1), "^[^\n]*a\\.log\n$");
}

// ---- Limits and days ------------------------------------------------------------

class CountingOfDriver : public Driver {
 protected:
  void RunWith(const Counting& counting) {
    EndAnalysis(analysis_);
    analysis_ = {};
    testing::internal::CaptureStdout();
    EXPECT_TRUE(BeginAnalysis(settings_, counting, analysis_));
    CountLogs(settings_, analysis_);
    testing::internal::GetCapturedStdout();
  }
};

TEST_F(CountingOfDriver, TheSameDayOfTwoYearsIsOneDayByDayOfYearAndTwoByDate) {
  settings_.dailytotals = 1;
  CopyText(settings_.end_date, "03312100");
  AddLog("a.log", {{.time = "05/Mar/2001:10:00:00"}, {.time = "05/Mar/2002:10:00:00"}});
  RunWith(kClassicCounting);
  EXPECT_EQ(analysis_.days.counts[63], 2);
  EXPECT_EQ(analysis_.days.total, 2);
  EXPECT_EQ(analysis_.dates.total, 0);
  RunWith(kModernCounting);
  EXPECT_EQ(analysis_.days.total, 0);
  EXPECT_EQ(analysis_.dates.total, 2);
  EXPECT_EQ(CountOfDay(analysis_.dates, 11386), 1);  // 983786400 / 86400
  EXPECT_EQ(CountOfDay(analysis_.dates, 11751), 1);
  EXPECT_EQ(CountOfDay(analysis_.dates, 11387), 0);
}

TEST_F(CountingOfDriver, TimesBeyond32BitsCountInModernOnly) {
  settings_.requests.on = 1;
  CopyText(settings_.start_date, "01011900");
  CopyText(settings_.end_date, "03312100");
  AddLog("a.log", {{.time = "01/Jan/1900:10:00:00", .url = "/1900"},
                   {.time = "05/Mar/2000:10:00:00", .url = "/2000"},
                   {.time = "05/Mar/2039:10:00:00", .url = "/2039"},
                   {.time = "05/Mar/2100:10:00:00", .url = "/2100"}});
  RunWith(kClassicCounting);
  EXPECT_EQ(Urls(), "/2000=1 ");
  RunWith(kModernCounting);
  EXPECT_EQ(Urls(), "/1900=1 /2000=1 /2039=1 /2100=1 ");
}

TEST_F(CountingOfDriver, LongItemsCountWholeInModern) {
  settings_.requests.on = settings_.referrers.on = settings_.badurls.on = settings_.badurl_referrers = 1;
  const std::string url = "/" + std::string(2046, 'u');
  const std::string from = "http://" + std::string(2041, 'r');
  AddLog("a.log", {{.url = url + "a", .status = "404", .referrer = from + "x"},
                   {.url = url + "b", .status = "404", .referrer = from + "y"}});
  RunWith(kClassicCounting);
  EXPECT_EQ(Urls(), url.substr(0, 239) + "=2 ") << "with its method";
  RunWith(kModernCounting);
  EXPECT_EQ(Urls(), url + "a=1 " + url + "b=1 ");
  EXPECT_EQ(BadUrls(), url + "a=1(" + from + "=1 ) " + url + "b=1(" + from + "=1 ) ");
  EXPECT_EQ(Referrers(), from + "=2 ");
}

TEST_F(CountingOfDriver, FindPatternsSeeWholeItemsInModern) {
  settings_.find_pattern = 1;
  CopyText(settings_.find, "*/end");
  AddLog("a.log", {{.url = "/" + std::string(2040, 'u') + "/end"}, {.url = "/" + std::string(2040, 'u')}});
  RunWith(kClassicCounting);
  EXPECT_EQ(analysis_.hits, 0);
  RunWith(kModernCounting);
  EXPECT_EQ(analysis_.hits, 1);
}

TEST_F(CountingOfDriver, SizesBeyond32BitsAddUpInModern) {
  AddLog("a.log", {{.bytes = "5000000000"}, {.bytes = "-1"}});
  RunWith(kClassicCounting);  // 705032704 and 4294967295
  EXPECT_EQ(SuperLongToDouble(analysis_.bytes), 4999999999.0);
  RunWith(kModernCounting);
  EXPECT_EQ(SuperLongToDouble(analysis_.bytes), 5000000000.0);
}

TEST_F(CountingOfDriver, TotalsWrapAt32BitsInClassicOnly) {
  settings_.requests.on = settings_.browsers.on = settings_.dailytotals = settings_.hitsperhour = 1;
  AddLog("a.log", {{.agent = kMsie}});
  for (const Counting& counting : {kClassicCounting, kModernCounting}) {
    EndAnalysis(analysis_);
    ASSERT_TRUE(BeginAnalysis(settings_, counting, analysis_));
    analysis_.hits = analysis_.urls.total = analysis_.hours.counts[10] = analysis_.hours.total = INT32_MAX;
    analysis_.days.counts[64] = analysis_.dates.total = analysis_.browsers.info->kinds[1] = UINT32_MAX;
    CountLogs(settings_, analysis_);
    const bool wide = counting.limits.wide_figures;
    const int64_t beyond_31 = wide ? int64_t{1} << 31 : INT32_MIN;
    EXPECT_EQ(analysis_.hits, beyond_31);
    EXPECT_EQ(analysis_.urls.total, beyond_31);
    EXPECT_EQ(analysis_.hours.counts[10], beyond_31);
    EXPECT_EQ(analysis_.hours.total, beyond_31);
    EXPECT_EQ(wide ? analysis_.dates.total : analysis_.days.counts[64], wide ? int64_t{1} << 32 : 0);
    EXPECT_EQ(analysis_.MsieCount, wide ? int64_t{1} << 32 : 0);
  }
}

// ---- Which records are counted --------------------------------------------------

TEST_F(CountLogsTest, AuthUserSkipsOthersAndRecordsWithoutUser) {
  settings_.requests.on = 1;
  CopyText(settings_.authuser, "Ann");
  AddLog("a.log", {{.url = "/none"}, {.url = "/ann", .user = "aNN"}, {.url = "/bob", .user = "bob"}});
  Run();
  EXPECT_EQ(Urls(), "/ann=1 ");
}

TEST_F(CountLogsTest, AuthRealmSkipsOthersAndRecordsWithoutRealm) {
  settings_.requests.on = 1;
  CopyText(settings_.authrealm, "www.site.example");
  AddLog("a.log", {{.url = "/none"},
                   {.url = "/here", .realm = "WWW.site.example"},
                   {.url = "/there", .realm = "www.other.example"}});
  Run();
  EXPECT_EQ(Urls(), "/here=1 ");
}

TEST_F(CountLogsTest, DomainFilterSkipsTheWholeRecord) {
  settings_.requests.on = 1;
  settings_.badurls.on = 1;
  CopyText(settings_.filter_domains, "example.com");
  AddLog("a.log", {{.url = "/out", .status = "404"}, {.host = "a.example.net", .url = "/in"}});
  Run();
  EXPECT_EQ(Urls(), "/in=1 ");
  EXPECT_EQ(BadUrls(), "");
}

TEST_F(CountLogsTest, FilteredTypeOf404IsABadUrlButNoHit) {
  settings_.requests.on = 1;
  settings_.badurls.on = 1;
  CopyText(settings_.filter_filetypes, "gif");
  AddLog("a.log", {{.url = "/a.GIF?x", .status = "404"}, {.url = "/b.html", .status = "404"}});
  Run();
  EXPECT_EQ(analysis_.hits, 1);
  EXPECT_EQ(BadUrls(), "/a.GIF?x=1 /b.html=1 ");
  EXPECT_EQ(Urls(), "/b.html=1 ");
  EXPECT_EQ(analysis_.urls.total, 1);
}

TEST_F(CountLogsTest, FilteredTypeStillGivesASearchPhraseButNoReferrer) {
  settings_.search.on = 1;
  settings_.referrers.on = 1;
  CopyText(settings_.filter_filetypes, "gif");
  AddLog("a.log", {{.url = "/a.gif", .referrer = "http://www.google.com/search?q=red"}});
  Run();
  EXPECT_EQ(analysis_.search.hits, 1);
  EXPECT_EQ(analysis_.referrers.total, 0);
  EXPECT_EQ(analysis_.hits, 0);
}

TEST_F(CountLogsTest, FileTypesMatterOnlyToTheReportsOfCountedRecords) {
  settings_.badurls.on = 1;
  settings_.search.on = 1;
  CopyText(settings_.filter_filetypes, "gif");
  AddLog("a.log", {{.url = "/a.gif"}});
  Run();
  EXPECT_EQ(analysis_.hits, 1);
}

TEST_F(CountLogsTest, FileTypesMatterToEachReportOfCountedRecords) {
  CopyText(settings_.filter_filetypes, "gif");
  AddLog("a.log", {{.url = "/a.gif"}, {.url = "/b.html"}});
  const std::initializer_list<int*> reports = {&settings_.requests.on,      &settings_.referrers.on,
                                               &settings_.browsers.on,      &settings_.domains.on,
                                               &settings_.domaintypes.on,   &settings_.dailytotals,
                                               &settings_.hitsperdayofweek, &settings_.hitsperhour};
  for (int* const report : reports) {
    SCOPED_TRACE(report - *reports.begin());
    *report = 1;
    Run();
    EXPECT_EQ(analysis_.hits, 1);
    EndAnalysis(analysis_);
    *report = 0;
  }
}

TEST_F(CountingOfDriver, PagesOfTheSiteAreNoReferrersUnlessAskedFor) {
  settings_.referrers.on = 1;
  CopyText(settings_.url, "http://www.own.example:8080/");
  AddLog("a.log", {{.referrer = "http://own.example/a"},
                   {.referrer = "https://WWW.OWN.example:444/a"},
                   {.referrer = "http://own.example"},
                   {.referrer = "http://own.example:pw@other.example/"},
                   {.referrer = "http://own.example@other.example/"},
                   {.referrer = "http://own.example.net/"},
                   {.referrer = "http://myown.example/"}});
  RunWith(kModernCounting);
  EXPECT_EQ(analysis_.own_referrers, 3);
  EXPECT_EQ(analysis_.referrers.total, 7);
  EXPECT_EQ(Referrers(),
            "http://myown.example/=1 http://own.example.net/=1 http://own.example:pw@other.example/=1 "
            "http://own.example@other.example/=1 ");
  settings_.own_referrers = 1;
  RunWith(kModernCounting);
  EXPECT_EQ(analysis_.own_referrers, 0);
}

TEST_F(CountingOfDriver, HostsOfAnyLengthTellTheSite) {
  settings_.referrers.on = 1;
  for (const char* own : {"a.b", "own.site", "own.site.", "a.long.own.example"}) {
    SCOPED_TRACE(own);
    CopyText(settings_.url, std::string("https://").append(own).append("/"));
    std::string content;
    for (const char* scheme : {"http://", "https://", "http://www.", "https://WwW."}) {
      for (const char* path : {"", "/", "/a/page/of/the/site", "x/another/site/of/some", ":80"}) {
        content += ToText({.referrer = std::string(scheme).append(own).append(path)});
      }
    }
    for (const char* scheme : {"ftp://", "HTTP://", "", "http:///", "https:/", "https://www.w"}) {
      content += ToText({.referrer = std::string(scheme).append(own).append("/a/page/of/any/site")});
    }
    AddLog("a.log", content);
    RunWith(kModernCounting);
    EXPECT_EQ(analysis_.own_referrers, 16);
    EXPECT_EQ(analysis_.referrers.total, 26);
  }
}

TEST_F(CountLogsTest, HitsAndBytesOfCountedRecords) {
  AddLog("a.log", {{.bytes = "100"}, {.bytes = "2000000000"}, {.bytes = "-"}});
  Run();
  EXPECT_EQ(analysis_.hits, 3);
  EXPECT_EQ(SuperLongToDouble(analysis_.bytes), 2000000100.0);
}

TEST_F(CountLogsTest, NegativeByteCountIsAddedUnsigned) {
  AddLog("a.log", {{.bytes = "-1"}});
  Run();
  EXPECT_EQ(SuperLongToDouble(analysis_.bytes), 4294967295.0);
}

// ---- The find test ---------------------------------------------------------------

TEST_F(FindTestOfDriver, SubdirsMatchesByPrefix) {
  settings_.requests.on = 1;
  CopyText(settings_.find, "/docs");
  AddLog("a.log", {{.url = "/docs/a.html"}, {.url = "/docsx"}, {.url = "/DOCS"}, {.url = "/doc"}});
  Run();
  EXPECT_EQ(Urls(), "/DOCS=1 /docs/a.html=1 /docsx=1 ");
}

TEST_F(CountingOfDriver, FindsPrefixesOfOneCharacterOrNone) {
  const auto hits = [this](const char* find) {
    CopyText(settings_.find, find);
    RunWith(kClassicCounting);
    return analysis_.hits;
  };
  settings_.subdirs = 1;
  AddLog("a.log", {{.url = "/"}, {.url = "/a"}, {.url = "a/"}, {.url = "A"}, {.url = "*"}});
  EXPECT_EQ(hits("/"), 2);
  EXPECT_EQ(hits("*"), 1);
  EXPECT_EQ(hits("a"), 2) << "letters of any case";
  EXPECT_EQ(hits("?"), 0);
  EXPECT_EQ(hits(""), 5);
}

TEST_F(FindTestOfDriver, WithoutSubdirsTheUrlWithoutItsQueryMustBeEqual) {
  settings_.requests.on = 1;
  settings_.subdirs = 0;
  CopyText(settings_.find, "/a");
  AddLog("a.log", {{.url = "/a?x=1"}, {.url = "/A"}, {.url = "/ab"}, {.url = "/"}});
  Run();
  EXPECT_EQ(Urls(), "/a=2 ");
}

TEST_F(FindTestOfDriver, CaseSensitiveFindAndUrls) {
  settings_.requests.on = 1;
  settings_.find_casesensitive = 1;
  CopyText(settings_.find, "/a");
  AddLog("a.log", {{.url = "/a1"}, {.url = "/aB"}, {.url = "/ab"}, {.url = "/A1"}});
  Run();
  EXPECT_EQ(Urls(), "/a1=1 /aB=1 /ab=1 ");
}

TEST_F(FindTestOfDriver, ShowQueryComparesAndCountsWholeUrls) {
  settings_.requests.on = 1;
  settings_.subdirs = 0;
  settings_.showquery = 1;
  CopyText(settings_.find, "/a?x=1");
  AddLog("a.log", {{.url = "/a?x=1"}, {.url = "/a"}});
  Run();
  EXPECT_EQ(Urls(), "/a?x=1=1 ");
}

TEST_F(FindTestOfDriver, PrefixLosesItsQueryToo) {
  settings_.requests.on = 1;
  CopyText(settings_.find, "/a?x");
  AddLog("a.log", {{.url = "/a?x=1"}, {.url = "/a?x"}});
  Run();
  EXPECT_EQ(Urls(), "");  // the URL is compared as "/a"
}

TEST_F(FindTestOfDriver, PatternWithoutSubdirsMatchesTheWholeUrl) {
  settings_.requests.on = 1;
  settings_.subdirs = 0;
  settings_.find_pattern = 1;
  CopyText(settings_.find, "/*.html");
  AddLog("a.log", {{.url = "/x.HTML?q"}, {.url = "/x.htm"}, {.url = "/y.html/z"}});
  Run();
  EXPECT_EQ(Urls(), "/x.HTML=1 ");
}

TEST_F(FindTestOfDriver, PatternWithSubdirsCoversEverythingBelow) {
  settings_.requests.on = 1;
  settings_.find_pattern = 1;
  settings_.find_casesensitive = 1;
  CopyText(settings_.find, "/(docs|help)/");
  AddLog("a.log", {{.url = "/docs/a"}, {.url = "/help/b"}, {.url = "/Help/b"}, {.url = "/misc/"}});
  Run();
  EXPECT_EQ(Urls(), "/docs/a=1 /help/b=1 ");
  EXPECT_STREQ(settings_.find, "/(docs|help)/");
}

TEST_F(FindTestOfDriver, EmptyPatternWithSubdirsCoversEverything) {
  settings_.requests.on = 1;
  settings_.find_pattern = 1;
  CopyText(settings_.find, "");
  AddLog("a.log", {{.url = "/a"}, {.url = "/b/c"}});
  Run();
  EXPECT_EQ(Urls(), "/a=1 /b/c=1 ");
}

TEST_F(FindTestOfDriver, FullPatternGivesItsLastCharacterToTheStar) {
  settings_.requests.on = 1;
  settings_.find_pattern = 1;
  SuperLog_SetLogFormat("S1u", kLevelForm);  // a time and a URL of full length
  std::string find(243, 'a');
  find[0] = '/';
  CopyText(settings_.find, find);
  std::string matching = find;
  matching[242] = 'c';
  std::string other = find;
  other[241] = 'c';
  std::string log;
  for (const std::string& url : {matching, other}) {
    log += "[05/Mar/2000:10:00:00 +0000] ";
    log += url + "\n";
  }
  AddLog("a.log", log);
  Run();
  EXPECT_EQ(Urls(), matching + "=1 ");
}

// ---- Counting ---------------------------------------------------------------------

TEST_F(CountLogsTest, UrlsLoseTheirQueryAndShareARecordIgnoringCase) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.url = "/A.html?x=1"}, {.url = "/a.html"}});
  Run();
  EXPECT_EQ(Urls(), "/A.html=2 ");
  EXPECT_EQ(analysis_.urls.total, 2);
}

TEST_F(CountLogsTest, BadUrlsAloneRaiseTheUrlTotal) {
  settings_.badurls.on = 1;
  AddLog("a.log", {{}, {.status = "404"}});
  Run();
  EXPECT_EQ(Urls(), "");
  EXPECT_EQ(analysis_.urls.total, 2);
}

TEST_F(CountLogsTest, BadUrlsKeepTheirQueryAndTheirReferrers) {
  settings_.badurls.on = 1;
  settings_.badurl_referrers = 1;
  AddLog("a.log", {{.url = "/x?1", .status = "404", .referrer = "http://r.example/1"},
                   {.url = "/x?1", .status = "404"},
                   {.url = "/X?1", .status = "404"},
                   {.url = "/x?1", .status = "403"}});
  Run();
  EXPECT_EQ(BadUrls(), "/X?1=1 /x?1=2(http://r.example/1=1 ) ");
}

TEST_F(CountLogsTest, BadUrlsWithoutReferrersWhenNotAskedFor) {
  settings_.badurls.on = 1;
  AddLog("a.log", {{.url = "/x", .status = "404", .referrer = "http://r.example/1"}});
  Run();
  EXPECT_EQ(BadUrls(), "/x=1 ");
}

TEST_F(CountLogsTest, BadReferrersAreTheReferrersOf404s) {
  settings_.badreferrers.on = 1;
  AddLog("a.log", {{.status = "404", .referrer = "http://r.example/1"},
                   {.status = "404", .referrer = "http://R.example/1"},
                   {.status = "404"},
                   {.status = "200", .referrer = "http://r.example/2"}});
  Run();
  EXPECT_EQ(Counted(analysis_.badreferrers.list), "http://R.example/1=1 http://r.example/1=1 ");
  EXPECT_EQ(analysis_.urls.total, 0);
}

TEST_F(CountLogsTest, BrowsersAreClassified) {
  settings_.browsers.on = 1;
  AddLog("a.log", {{.agent = kMsie}, {.agent = kNavigator}, {.agent = "Mozilla/4.0 (Compatible)"}, {}});
  Run();
  EXPECT_EQ(Counted(analysis_.browsers.list),
            "Mozilla/4.0 (Compatible)=1 " + std::string(kMsie) + "=1 " + kNavigator + "=1 ");
  EXPECT_EQ(analysis_.browsers.total, 3);
  EXPECT_EQ(analysis_.gHits_Browsers, 3);
  EXPECT_EQ(analysis_.MsieCount, 1);
  EXPECT_EQ(analysis_.NavCount, 1);
}

TEST_F(CountLogsTest, AgentMayCountForBothBrandsOrNone) {
  settings_.browsers.on = 1;
  AddLog("a.log", {{.agent = "Mozilla/2.0 MSIE"}, {.agent = "mozilla/4.7"}, {.agent = "MMSIE"}});
  Run();
  EXPECT_EQ(analysis_.MsieCount, 1);
  EXPECT_EQ(analysis_.NavCount, 1);
}

TEST_F(CountLogsTest, BrandsCountEachRequestOfAnAgent) {
  settings_.browsers.on = 1;
  AddLog("a.log", {{.agent = kMsie}, {.agent = kNavigator}, {.agent = kMsie}});
  Run();
  EXPECT_EQ(analysis_.MsieCount, 2);
  EXPECT_EQ(analysis_.NavCount, 1);
}

TEST_F(CountLogsTest, BrowsersAreNotLookedAtUnlessAskedFor) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.agent = kMsie}});
  Run();
  EXPECT_EQ(analysis_.MsieCount, 0);
  EXPECT_EQ(analysis_.browsers.total, 0);
}

TEST_F(CountLogsTest, DomainsAndDomainTypes) {
  settings_.domains.on = 1;
  settings_.domaintypes.on = 1;
  AddLog("a.log", {{.host = "shop.example.com"}, {.host = "10.1.2.3"}, {.host = "localhost"}});
  Run();
  EXPECT_EQ(Counted(analysis_.domains.list), "10.1.2=1 example.com=1 localhost=1 ");
  EXPECT_EQ(Counted(analysis_.domaintypes.list), "UNKNOWN=1 com=1 localhost=1 ");
  EXPECT_EQ(analysis_.domains.total, 3);
  EXPECT_EQ(analysis_.domaintypes.total, 3);
}

TEST_F(CountLogsTest, DomainTypesComeFromTheShortenedHostDeliberately) {
  settings_.domains.on = 1;
  settings_.domaintypes.on = 1;
  AddLog("a.log", {{.host = "a.b.c.d9"}});
  Run();
  EXPECT_EQ(Counted(analysis_.domains.list), "a.b.c=1 ");
  EXPECT_EQ(Counted(analysis_.domaintypes.list), "c=1 ");
}

TEST_F(CountLogsTest, DomainTypesAloneComeFromTheWholeHost) {
  settings_.domaintypes.on = 1;
  AddLog("a.log", {{.host = "a.b.c.d9"}});
  Run();
  EXPECT_EQ(Counted(analysis_.domaintypes.list), "d9=1 ");
}

TEST_F(CountLogsTest, TimesFillTheirArrays) {
  settings_.dailytotals = 1;
  settings_.hitsperdayofweek = 1;
  settings_.hitsperhour = 1;
  AddLog("a.log", {{.time = "05/Mar/2000:00:00:00"}, {.time = "06/Mar/2000:23:59:59"}});
  Run();
  EXPECT_EQ(analysis_.days.counts[64], 1);
  EXPECT_EQ(analysis_.days.counts[65], 1);
  EXPECT_EQ(analysis_.days.total, 2);
  EXPECT_EQ(analysis_.weekdays.counts[0], 1);
  EXPECT_EQ(analysis_.weekdays.counts[1], 1);
  EXPECT_EQ(analysis_.weekdays.total, 2);
  EXPECT_EQ(analysis_.hours.counts[0], 1);
  EXPECT_EQ(analysis_.hours.counts[23], 1);
  EXPECT_EQ(analysis_.hours.total, 2);
}

// Sunday, the first and the last hour of the week, and an hour between them twice.
TEST_F(CountLogsTest, HoursOfTheWeekAreTheSumOfAll) {
  settings_.hoursofweek = 1;
  CopyText(settings_.end_date, "03112000");
  AddLog("a.log", {{.time = "05/Mar/2000:00:00:00"},
                   {.time = "07/Mar/2000:13:59:59"},
                   {.time = "07/Mar/2000:13:00:00"},
                   {.time = "11/Mar/2000:23:59:59"}});
  Run();
  EXPECT_EQ(analysis_.hours_of_week.total, 4);
  EXPECT_EQ(analysis_.hours_of_week.counts[0], 1);
  EXPECT_EQ(analysis_.hours_of_week.counts[2 * 24 + 13], 2);
  EXPECT_EQ(analysis_.hours_of_week.counts[167], 1);
  EXPECT_EQ(analysis_.weekdays.total + analysis_.hours.total, 0) << "nobody asked for them";
}

TEST_F(CountLogsTest, HoursOfTheWeekAloneObeyTheFileTypes) {
  settings_.hoursofweek = 1;
  CopyText(settings_.filter_filetypes, "gif");
  AddLog("a.log", {{.url = "/a.gif"}, {.url = "/a.html"}});
  Run();
  EXPECT_EQ(analysis_.hours_of_week.total, 1);
}

TEST_F(CountLogsTest, DayOfYearReaches365) {
  settings_.dailytotals = 1;
  CopyText(settings_.end_date, "12312000");
  AddLog("a.log", {{.time = "31/Dec/2000:12:00:00"}});
  Run();
  EXPECT_EQ(analysis_.days.counts[365], 1);
}

TEST_F(CountLogsTest, ReportsThatAreOffCountNothing) {
  AddLog("a.log", {{.status = "404", .referrer = "http://www.google.com/s?q=a", .agent = kMsie}});
  Run();
  EXPECT_EQ(analysis_.hits, 1);
  EXPECT_EQ(Urls() + Referrers() + BadUrls() + Counted(analysis_.badreferrers.list) +
                Counted(analysis_.browsers.list) + Counted(analysis_.domains.list) +
                Counted(analysis_.domaintypes.list),
            "");
  EXPECT_EQ(analysis_.search.hits, 0);
  EXPECT_EQ(analysis_.days.total + analysis_.weekdays.total + analysis_.hours.total, 0);
  EXPECT_EQ(analysis_.hours_of_week.total, 0);
}

// ---- Referrers and search phrases ---------------------------------------------------

TEST_F(CountLogsTest, ReferrersIgnoreCase) {
  settings_.referrers.on = 1;
  settings_.find_casesensitive = 1;
  AddLog("a.log", {{.referrer = "http://R.example/"}, {.referrer = "http://r.example/"}, {}});
  Run();
  EXPECT_EQ(Referrers(), "http://R.example/=2 ");
  EXPECT_EQ(analysis_.referrers.total, 2);
}

TEST_F(CountLogsTest, SearchPhrasesAloneAreReadFromReferrers) {
  settings_.search.on = 1;
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  AddLog("a.log", {{.referrer = "http://finder.example/?q=a"}, {}});
  Run();
  EXPECT_EQ(Counted(analysis_.search.engines->phrases), "a=1 ");
}

// Often enough that their records are known.
static std::string ManyReferrers(std::initializer_list<const char*> referrers, int times) {
  std::string content;
  for (int i = 0; i < times; ++i) {
    for (const char* referrer : referrers) {
      content += ToText({.referrer = referrer});
    }
  }
  return content;
}

TEST_F(CountLogsTest, SearchPhrasesOfKnownReferrersAreReadEachTime) {
  settings_.search.on = 1;
  settings_.referrers.on = 1;
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  AddLog("a.log",
         ManyReferrers({"http://Finder.example/?q=A", "http://finder.example/?q=A",
                        "http://finder.example/?Q=a", "http://finder.example/?q=z",
                        "http://other.example/?q=b", "http://finder.example/", "http://other.example/"},
                       100));
  Run();
  EXPECT_EQ(Counted(analysis_.search.engines->phrases), "A=100 a=100 z=100 ");
  EXPECT_EQ(analysis_.search.hits, 300);
  EXPECT_EQ(Referrers(),
            "http://finder.example/=100 http://Finder.example/?q=A=300 http://finder.example/?q=z=100 "
            "http://other.example/=100 http://other.example/?q=b=100 ");
}

TEST_F(CountingOfDriver, ReferralsOfKnownReferrersCountEachTime) {
  settings_.search.on = 1;
  settings_.referrers.on = 1;
  CopyText(settings_.url, "http://own.example/");
  AddLog("a.log",
         ManyReferrers({"https://WWW.google.com/", "https://www.google.com/", "http://other.example/",
                        "http://own.example/?q=x", "https://bing.com/search?q=red"},
                       100));
  RunWith(kModernCounting);
  EXPECT_EQ(analysis_.search.hits, 200);
  EXPECT_EQ(analysis_.search.engines->referrals, 100);
  EXPECT_EQ(analysis_.own_referrers, 100);
  EXPECT_EQ(analysis_.referrers.total, 500);
}

TEST_F(CountLogsTest, QueryBehindTwoSlashesIsAReferrerWithoutPhrase) {
  settings_.search.on = 1;
  settings_.referrers.on = 1;
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  AddLog("a.log", {{.referrer = "http://finder.example?q=a"}, {.referrer = "http://finder.example/?q=b"}});
  Run();
  EXPECT_EQ(Counted(analysis_.search.engines->phrases), "b=1 ");
  EXPECT_EQ(Referrers(), "http://finder.example/?q=b=1 http://finder.example?q=a=1 ");
}

TEST_F(CountLogsTest, FilterReferrersLeavesOutReferrerAndPhrase) {
  settings_.search.on = 1;
  settings_.referrers.on = 1;
  settings_.requests.on = 1;
  settings_.filter_referrers = 1;
  CopyText(settings_.filter_domains, "finder.example");
  ParseSearchEngineDefinition("F;domain=example;vars=q");
  AddLog("a.log", {{.referrer = "http://FINDER.example/?q=a"}, {.referrer = "http://other.example/?q=b"}});
  Run();
  EXPECT_EQ(Counted(analysis_.search.engines->phrases), "b=1 ");
  EXPECT_EQ(Referrers(), "http://other.example/?q=b=1 ");
  EXPECT_EQ(analysis_.urls.total, 2);
}

TEST_F(CountLogsTest, FilteredReferrersStayWithoutFilterReferrers) {
  settings_.referrers.on = 1;
  CopyText(settings_.filter_domains, "finder.example");
  AddLog("a.log", {{.referrer = "http://finder.example/"}});
  Run();
  EXPECT_EQ(Referrers(), "http://finder.example/=1 ");
}

// ---- Texts that wait ----

// What stands behind the number makes every line another piece of the reader's window.
static std::string Filler(int number) {
  return std::string(static_cast<size_t>(number * 37 % 190), static_cast<char>('a' + number % 26));
}

class WaitingTexts : public CountingOfDriver {
 protected:
  static constexpr int kLines = 3000;

  WaitingTexts() {
    settings_.requests.on = settings_.referrers.on = settings_.search.on = settings_.browsers.on = 1;
    settings_.domains.on = settings_.domaintypes.on = settings_.showquery = 1;
  }

  static std::string Url(int number) { return "/page" + std::to_string(100000 + number) + Filler(number); }

  // Each URL once, in order.
  std::string Expected(const std::string& behind) {
    std::string text;
    for (int i = 0; i < kLines; ++i) {
      text += Url(i) + behind + "=1 ";
    }
    return text;
  }
};

TEST_F(WaitingTexts, AreWholeWhereverWindowsEnd) {
  std::string log;
  std::set<std::string> agents;
  for (int i = 0; i < kLines; ++i) {
    LogLine line;
    line.url = Url(i);
    line.agent = "agent " + Filler(i);
    agents.insert(line.agent);
    line.host = "h" + std::to_string(i) + ".example.org";
    log += ToText(line);
  }
  AddLog("a.log", log);
  EXPECT_EQ(Run(), "");
  EXPECT_EQ(Urls(), Expected(""));
  EXPECT_EQ(Counted(analysis_.domains.list), "example.org=3000 ");
  EXPECT_EQ(Counted(analysis_.domaintypes.list), "org=3000 ");
  EXPECT_EQ(TotalList(analysis_.browsers.list), kLines);
  EXPECT_EQ(list_length(analysis_.browsers.list), agents.size());
}

TEST_F(WaitingTexts, AreWholeBesideLinesThatAreTooLong) {
  std::string log;
  for (int i = 0; i < kLines; ++i) {
    LogLine line;
    line.url = Url(i);
    line.agent = "agent " + std::string(i % 3 == 0 ? 2000 : 10, 'x');
    log += ToText(line);
  }
  AddLog("a.log", log);
  EXPECT_EQ(Run(), "");
  EXPECT_EQ(Urls(), Expected(""));
}

// With nothing but long URLs as many wait as at no other time.
TEST_F(WaitingTexts, AreWholeWhereUrlsArePutTogether) {
  settings_.referrers.on = settings_.search.on = settings_.domains.on = settings_.domaintypes.on = 0;
  for (const int browsers : {0, 1}) {
    settings_.browsers.on = browsers;
    std::string log =
        "#Software: Microsoft Internet Information Services 7.5\n#Version: 1.0\n#Date: 2000-03-05 00:00:00\n"
        "#Fields: date time cs-method cs-uri-stem cs-uri-query c-ip cs(User-Agent) sc-status sc-bytes\n";
    std::string expected;
    for (int i = 0; i < kLines; ++i) {
      const std::string stem = "/page" + std::to_string(100000 + i);
      const std::string query = "q=" + std::string(220, static_cast<char>('a' + i % 26));
      log += "2000-03-05 10:00:00 GET " + stem + " " + query + " 192.0.2.9 a+%21 200 5\n";
      expected += stem + "?" + query + "=1 ";
    }
    AddLog("a.log", log);
    RunWith(kClassicCounting);
    EXPECT_EQ(Urls(), expected);
    EXPECT_EQ(Counted(analysis_.browsers.list), browsers == 0 ? "" : "a !=3000 ");
  }
}

TEST_F(WaitingTexts, OfSearchesAndNamesAreCopied) {
  settings_.dnslookupenabled = 1;
  mpResolver = [](const void*, socklen_t, int) -> hostent* {
    static char name[40];
    static hostent host{};
    snprintf(name, sizeof name, "a.desk%d.test", mLookUps++);
    host.h_name = name;
    return &host;
  };
  mLookUps = 0;
  std::string log;
  for (int i = 0; i < 500; ++i) {
    LogLine line;
    line.host = "192.0.2." + std::to_string(i % 200);
    line.referrer = "http://www.altavista.com/search?q=word" + std::to_string(i % 9);
    log += ToText(line);
  }
  AddLog("a.log", log);
  EXPECT_EQ(Run(), "");
  mpResolver = gethostbyaddr;
  EXPECT_EQ(list_length(analysis_.domains.list), 200U);
  EXPECT_EQ(TotalList(analysis_.domains.list), 500);
  for (const ListItem* item = KeyOrder(analysis_.domains.list); item != nullptr; item = item->next) {
    EXPECT_TRUE(item->key().starts_with("desk") && item->key().ends_with(".test")) << item->key();
  }
  EXPECT_EQ(Counted(analysis_.domaintypes.list), "test=500 ");
}

// ---- Reverse DNS ---------------------------------------------------------------------

class DriverDns : public CountingOfDriver {
 protected:
  DriverDns() {
    DestroyDNSCache();
    mpResolver = ResolveToDesk;
    mLookUps = 0;
    settings_.dnslookupenabled = 1;
    settings_.domains.on = 1;
  }

  ~DriverDns() override {
    DestroyDNSCache();
    mpResolver = gethostbyaddr;
  }

  std::string Domains() { return Counted(analysis_.domains.list); }
};

TEST_F(DriverDns, EmptyFilterLooksHostsUpForTheDomainReports) {
  settings_.domaintypes.on = 1;
  AddLog("a.log", {{.host = "192.0.2.1"}, {.host = "shop.example.com"}});
  Run();
  EXPECT_EQ(Domains(), "example.com=1 office.test=1 ");
  EXPECT_EQ(Counted(analysis_.domaintypes.list), "com=1 test=1 ");
  EXPECT_EQ(mLookUps, 1);
}

TEST_F(DriverDns, FilterOfAddressesIsAskedBeforeTheLookup) {
  CopyText(settings_.filter_domains, "192.0.2.,198.51.");
  AddLog("a.log", {{.host = "192.0.2.1"}, {.host = "203.0.113.1"}});
  Run();
  EXPECT_EQ(Domains(), "office.test=1 ");
  EXPECT_EQ(mLookUps, 1);
}

TEST_F(DriverDns, DomainTypesAloneLookHostsUp) {
  settings_.domains.on = 0;
  settings_.domaintypes.on = 1;
  AddLog("a.log", {{.host = "192.0.2.1"}});
  Run();
  EXPECT_EQ(Counted(analysis_.domaintypes.list), "test=1 ");
}

TEST_F(DriverDns, NothingIsLookedUpWithoutDomainReports) {
  settings_.domains.on = 0;
  AddLog("a.log", {{.host = "192.0.2.1"}});
  Run();
  EXPECT_EQ(mLookUps, 0);
}

TEST_F(DriverDns, FilterOfNamesIsAppliedToResolvedNamesAndSkipsTheRecord) {
  settings_.badurls.on = 1;
  settings_.search.on = 1;
  CopyText(settings_.filter_domains, "office.test");
  AddLog("a.log", {{.host = "192.0.2.1", .status = "404", .referrer = "http://www.google.com/search?q=red"}});
  Run();
  EXPECT_EQ(analysis_.hits, 0);
  EXPECT_EQ(Domains(), "");
  EXPECT_EQ(BadUrls(), "");
  EXPECT_EQ(analysis_.search.hits, 0);
}

TEST_F(DriverDns, FilterOfNamesLooksHostsUpEvenWithoutDomainReports) {
  settings_.domains.on = 0;
  CopyText(settings_.filter_domains, "office.test");
  AddLog("a.log", {{.host = "192.0.2.1"}});
  Run();
  EXPECT_EQ(analysis_.hits, 0);
  EXPECT_EQ(mLookUps, 1);
}

TEST_F(DriverDns, ResolvedNameThatPassesIsTheHost) {
  CopyText(settings_.filter_domains, "nowhere.test");
  AddLog("a.log", {{.host = "192.0.2.1"}});
  Run();
  EXPECT_EQ(Domains(), "office.test=1 ");
  EXPECT_EQ(analysis_.hits, 1);
}

// A name of 247 characters, of which the classic edition keeps 243.
static hostent* ResolveToLongName(const void*, socklen_t, int) {
  static std::string name = "desk." + std::string(230, 'x') + ".office.test";
  static hostent host{};
  host.h_name = name.data();
  return &host;
}

TEST_F(DriverDns, ClassicFilterSeesOfAResolvedNameWhatIsKept) {
  mpResolver = ResolveToLongName;
  CopyText(settings_.filter_domains, "office.test");
  AddLog("a.log", {{.host = "192.0.2.1"}});
  RunWith(kClassicCounting);
  EXPECT_EQ(analysis_.hits, 1);
}

TEST_F(DriverDns, ModernFilterSeesALongResolvedNameWhole) {
  mpResolver = ResolveToLongName;
  CopyText(settings_.filter_domains, "office.test");
  AddLog("a.log", {{.host = "192.0.2.1"}});
  RunWith(kModernCounting);
  EXPECT_EQ(analysis_.hits, 0);
}

TEST_F(DriverDns, UncountedRecordsAreNotLookedUp) {
  settings_.badurls.on = 1;
  CopyText(settings_.filter_domains, "office.test");
  CopyText(settings_.filter_filetypes, "gif");
  AddLog("a.log", {{.host = "192.0.2.1", .url = "/a.gif", .status = "404"}});
  Run();
  EXPECT_EQ(BadUrls(), "/a.gif=1 ");
  EXPECT_EQ(mLookUps, 0);
}

TEST_F(DriverDns, AddressWithoutANameStaysAsItIs) {
  mpResolver = [](const void*, socklen_t, int) -> hostent* { return nullptr; };
  CopyText(settings_.filter_domains, "office.test");
  AddLog("a.log", {{.host = "192.0.2.1"}});
  Run();
  EXPECT_EQ(Domains(), "192.0.2=1 ");
}

TEST_F(DriverDns, OffLooksNothingUp) {
  settings_.dnslookupenabled = 0;
  AddLog("a.log", {{.host = "192.0.2.1"}});
  Run();
  EXPECT_EQ(Domains(), "192.0.2=1 ");
  EXPECT_EQ(mLookUps, 0);
}

// ---- EndAnalysis ------------------------------------------------------------------------

TEST_F(Driver, EndAnalysisEmptiesTablesAndChain) {
  settings_.requests.on = 1;
  AddLog("a.log", {{}});
  Run();
  ASSERT_EQ(list_length(analysis_.urls.list), 1U);
  EndAnalysis(analysis_);
  EXPECT_EQ(list_length(analysis_.urls.list), 0U);
  EXPECT_EQ(gListInfo.first, nullptr);
  EXPECT_FALSE(SuperLog_LogFilesFound());
}

// ---- Figures, and the way back to the start -------------------------------------------

TEST_F(CountLogsTest, PeakIsTheCurrentFigureWhenNothingWasFreed) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.url = "/a"}, {.url = "/b"}});
  Run();
  EXPECT_EQ(analysis_.memory.maximum, 512);
  EXPECT_EQ(analysis_.memory.current, 512);
}

TEST_F(CountLogsTest, PeakIsThatOfTheReclaimsWhenMemoryWasFreed) {
  settings_.requests.on = 1;
  gSM_TotalBytesFreed = 256;
  gSM_MaximumBytesAllocated = 4096;
  AddLog("a.log", {{.url = "/a"}});
  Run();
  EXPECT_EQ(analysis_.memory.maximum, 4096);
  EXPECT_EQ(analysis_.memory.freed, 256);
}

TEST_F(CountLogsTest, FiguresOfTheLogsJoinTheRecord) {
  AddLog("a.log", {{}});
  AddLog("b.log", {{.time = "05/Mar/1999:10:00:00"}, {.time = "05/Mar/1999:10:00:00"}});
  Run();
  EXPECT_TRUE(analysis_.logs.in_range);
  EXPECT_EQ(analysis_.logs.bytes_read.units, ToText({}).size());
  EXPECT_TRUE(analysis_.search.built_in);
}

class ResetAnalysisTest : public Driver {
 protected:
  // All that a run leaves behind in the modules of the analysis, as a text.
  std::string Leave() {
    settings_.requests.on = settings_.search.on = settings_.domaintypes.on = settings_.dnslookupenabled = 1;
    settings_.find_pattern = 1;
    CopyText(settings_.find, "(/|x)*");
    CopyText(settings_.filter_domains, "hidden.test");
    CopyText(settings_.filter_filetypes, "gif");
    CopyText(settings_.Networks, WriteFile("names", "TEST " + description_ + "\n"));
    mpResolver = ResolveToDesk;
    EXPECT_EQ(Run(), "");
    char type[kTextSize] = "test";
    ResolveItem(type, settings_.Networks);
    const std::string left = std::to_string(analysis_.hits) + " hits, " + std::to_string(mLookUps) +
                             " queries, " + std::to_string(lbrace) + " groups, " +
                             std::to_string(mEnginesCount) + " engines, " +
                             std::to_string(analysis_.search.hits) + " phrases, " +
                             std::to_string(analysis_.memory.total) + " bytes, " + type;
    EndAnalysis(analysis_);
    return left;
  }

  std::string description_ = "a test";
};

TEST_F(ResetAnalysisTest, AnotherRunIsLikeTheFirst) {
  AddLog("a.log", {{.host = "192.0.2.1", .referrer = "http://finder.example/?q=a"},
                   {.host = "www.hidden.test"},
                   {.url = "/a.gif"}});
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  mLookUps = 0;
  EXPECT_EQ(Leave(), "1 hits, 1 queries, 2 groups, 1 engines, 1 phrases, 768 bytes, a test");
  ResetAnalysis();
  EXPECT_EQ(mpEngineHead, nullptr);
  EXPECT_EQ(mEnginesCount, 0);
  EXPECT_EQ(lbrace, 0);
  EXPECT_EQ(mpResolver, gethostbyaddr);
  EXPECT_EQ(mCacheCount, 0);
  EXPECT_EQ(gSM_TotalBytesAllocated, 0);
  mLookUps = 0;
  description_ = "b test";  // under the same path
  ParseSearchEngineDefinition("F;domain=finder.example;vars=q");
  EXPECT_EQ(Leave(), "1 hits, 1 queries, 2 groups, 1 engines, 1 phrases, 768 bytes, b test");
}

TEST_F(ResetAnalysisTest, DropsWhatWaitsToBeCounted) {
  AddLog("a.log", {{}});
  ASSERT_TRUE(BeginAnalysis(settings_, kClassicCounting, analysis_));
  const WithRoom key("/a");
  queue_item(analysis_.urls.list, analysis_.urls.info, key, {}, false);
  ResetAnalysis();
  EXPECT_EQ(list_length(analysis_.urls.list), 0U);
  EXPECT_EQ(gSM_TotalBytesAllocated, 0);
}

// ---- Logs in any order ----

class WholeLogs : public Driver {
 protected:
  WholeLogs() { settings_.rules.whole_logs = true; }

  static LogLine At(const std::string& time) {
    LogLine line;
    line.time = time;
    return line;
  }

  void Count() {
    ASSERT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis_));
    CountLogs(settings_, analysis_);
    CloseRange(settings_, analysis_);
  }
};

TEST_F(WholeLogs, RecordsBehindTheRangeEndNoFile) {
  AddLog("a.log", {At("09/Apr/2000:01:00:00"), At("05/Mar/2000:01:00:00"), At("28/Feb/2000:23:00:00"),
                   At("06/Mar/2000:01:00:00"), At("01/Jan/1999:00:00:00")});
  Count();
  EXPECT_EQ(analysis_.hits, 2);
  EXPECT_TRUE(analysis_.logs.in_range);
}

TEST_F(WholeLogs, FilesInOrderEndAtTheRangeWithoutTheRule) {
  settings_.rules.whole_logs = false;
  AddLog("a.log", {At("04/Mar/2000:01:00:00"), At("09/Apr/2000:01:00:00"), At("05/Mar/2000:01:00:00")});
  Count();
  EXPECT_EQ(analysis_.hits, 1);
}

TEST_F(WholeLogs, AllDaysAreThoseOfTheRecords) {
  AddLog("a.log", {At("05/Mar/2000:10:00:00"), At("09/Apr/2000:01:00:00"), At("28/Feb/2000:23:00:00"),
                   At("05/Mar/2000:10:00:00")});
  AddLog("b.log", {{}});
  settings_.from_first = settings_.to_last = true;
  Count();
  EXPECT_EQ(analysis_.hits, 5);
  EXPECT_STREQ(settings_.start_date, "02282000");
  EXPECT_STREQ(settings_.end_date, "04092000");
  EXPECT_EQ(analysis_.range_first, 951696000);  // 2000-02-28 00:00:00
  EXPECT_EQ(analysis_.range_last, 955324799);   // 2000-04-09 23:59:59
}

TEST_F(WholeLogs, OneEndCanBeThatOfTheLogs) {
  AddLog("a.log", {At("09/Apr/2000:01:00:00"), At("28/Feb/2000:23:00:00"), At("05/Mar/2000:10:00:00")});
  settings_.to_last = true;
  Count();
  EXPECT_EQ(analysis_.hits, 2);
  EXPECT_STREQ(settings_.start_date, "03012000");
  EXPECT_STREQ(settings_.end_date, "04092000");
}

TEST_F(WholeLogs, OtherEndCanBeThatOfTheLogs) {
  AddLog("a.log", {At("09/Apr/2000:01:00:00"), At("28/Feb/2000:23:00:00"), At("05/Mar/2000:10:00:00")});
  settings_.from_first = true;
  Count();
  EXPECT_EQ(analysis_.hits, 2);
  EXPECT_STREQ(settings_.start_date, "02282000");
  EXPECT_STREQ(settings_.end_date, "03312000");
}

TEST_F(WholeLogs, RangeBehindTheLogsIsOneDay) {
  AddLog("a.log", {At("28/Feb/2000:23:00:00")});
  settings_.to_last = true;
  Count();
  EXPECT_EQ(analysis_.hits, 0);
  EXPECT_FALSE(analysis_.logs.in_range);
  EXPECT_STREQ(settings_.start_date, "03012000");
  EXPECT_STREQ(settings_.end_date, "03012000");
}

TEST_F(WholeLogs, AllDaysOfLogsWithoutRecordsAreThoseOfTheSettings) {
  AddLog("a.log", "nothing\n");
  settings_.from_first = settings_.to_last = true;
  Count();
  EXPECT_STREQ(settings_.start_date, "03012000");
}
