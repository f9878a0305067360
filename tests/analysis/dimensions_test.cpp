#include "analysis/dimensions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "analysis/country_database.h"
#include "analysis/driver.h"
#include "analysis/rules.h"
#include "analysis/url_times.h"
#include "cgi/parameters.h"
#include "support/account_logs.h"
#include "support/counted.h"

namespace {

class DimensionsTest : public AccountLogs {
 protected:
  ~DimensionsTest() override {
    if (counted_) {
      EndAnalysis(analysis_);
    }
  }

  static size_t RowOf(std::string_view parameter) {
    const Dimension* const found =
        std::find_if(kDimensions, kDimensions + kDimensionCount,
                     [parameter](const Dimension& dimension) { return parameter == dimension.parameter; });
    EXPECT_NE(found, kDimensions + kDimensionCount) << parameter;
    return static_cast<size_t>(found - kDimensions);
  }

  void Ask(std::string_view parameter) { settings_.dimensions[RowOf(parameter)].on = 1; }
  CountedReport& Of(std::string_view parameter) { return analysis_.dimensions[RowOf(parameter)]; }

  void Run(std::initializer_list<LogLine> lines) {
    AddLog("a.log", lines);
    Run();
  }
  void Run() {
    ASSERT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis_));
    counted_ = true;
    CountLogs(settings_, analysis_);
  }

  Analysis analysis_{};
  bool counted_ = false;
};

TEST_F(DimensionsTest, TableHasOneRowOfEachNameWithOneSource) {
  std::set<std::string> names;
  for (size_t row = 0; row < kDimensionCount; ++row) {
    const Dimension& dimension = kDimensions[row];
    EXPECT_TRUE(names.insert(dimension.parameter).second) << dimension.parameter;
    const bool of_requests = dimension.from == SummedFrom::kRequests ||
                             dimension.from == SummedFrom::kHosts || !dimension.mark.title.text().empty();
    EXPECT_EQ(dimension.of_request != nullptr, of_requests) << dimension.parameter;
    EXPECT_EQ(dimension.of_logs != nullptr, dimension.from == SummedFrom::kLogs) << dimension.parameter;
    EXPECT_EQ(dimension.of_visits != nullptr, dimension.from == SummedFrom::kVisits) << dimension.parameter;
    const bool of_items = dimension.from != SummedFrom::kRequests && IsOfRequests(dimension);
    EXPECT_EQ((dimension.of_item != nullptr) != (dimension.of_levels != nullptr), of_items)
        << dimension.parameter;
  }
}

TEST_F(DimensionsTest, NothingIsCountedThatNobodyAsksFor) {
  const Rules rules = ResolveRules(settings_, kModernCounting);
  EXPECT_EQ(rules.dimensions, 0U);
  EXPECT_FALSE(rules.urls || rules.url_total || rules.referrers || rules.browsers || rules.texts.host ||
               rules.texts.user);
  Run({{.user = "ann"}});
  for (const CountedReport& report : analysis_.dimensions) {
    EXPECT_EQ(report.info, nullptr);
  }
}

TEST_F(DimensionsTest, EachAsksForWhatItIsMadeOfAndForNothingElse) {
  Ask("hosts");
  const Rules hosts = ResolveRules(settings_, kModernCounting);
  EXPECT_TRUE(hosts.texts.host);
  EXPECT_FALSE(hosts.texts.user || hosts.texts.agent || hosts.texts.referrer || hosts.urls);
  Ask("users");
  Ask("directories");
  const Rules urls = ResolveRules(settings_, kModernCounting);
  EXPECT_TRUE(urls.texts.user && urls.urls);
  EXPECT_FALSE(urls.texts.agent || urls.texts.referrer || urls.referrers);
  Ask("referringsites");
  const Rules sites = ResolveRules(settings_, kModernCounting);
  EXPECT_TRUE(sites.texts.referrer && sites.referrers);
}

TEST_F(DimensionsTest, RequestsCountByHostAndUser) {
  Ask("hosts");
  Ask("users");
  Run({{.host = "192.0.2.1", .user = "ann"}, {.host = "192.0.2.1"}, {.host = "a.example", .user = "Ann"}});
  EXPECT_EQ(Counted(Of("hosts").list), "192.0.2.1=2 a.example=1 ");
  EXPECT_EQ(Of("hosts").total, 3);
  EXPECT_EQ(Counted(Of("users").list), "Ann=1 ann=1 ");
  EXPECT_EQ(Of("users").total, 2);
}

// Agents that are one robot are marked together, and nobody who is none.
TEST_F(DimensionsTest, RobotsAreMarkedThatAskForRobotsTxt) {
  Ask("robots");
  settings_.with_bytes = 1;
  Run({{.url = "/", .agent = "Wget/1.20"},
       {.url = "/robots.txt?x", .agent = "Wget/1.21"},
       {.url = "/robots.txt.old", .agent = "curl/8.5.0"},
       {.url = "http://www.example.com/robots.txt", .agent = "Googlebot/2.1"},
       {.url = "/robots.txt", .agent = "Mozilla/5.0 (X11; Linux) Firefox/115.0"},
       {.url = "/robots.txt"}});
  EXPECT_EQ(Counted(Of("robots").list),
            "Googlebot=1:100(robots_txt=1 ) Wget=2:200(robots_txt=1 ) curl=1:100 ");
  EXPECT_EQ(Of("robots").total, 4);
}

TEST_F(DimensionsTest, BrowsersAreDividedByVersion) {
  Ask("browserfamilies");
  settings_.with_bytes = 1;
  Run({{.agent = "Mozilla/5.0 (X11; Linux) Gecko/20100101 Firefox/115.0"},
       {.agent = "Mozilla/5.0 (X11; Linux) Gecko/20100101 Firefox/115.0"},
       {.agent = "Mozilla/5.0 (X11; Linux) Gecko/20100101 Firefox/115.9"},
       {.agent = "Mozilla/5.0 (X11; Linux) Gecko/20100101 Firefox/128.0"},
       {.agent = "Mozilla/5.0 (X11; Linux) Gecko/20100101 Firefox"},
       {.agent = "curl/8.5.0"}});
  EXPECT_EQ(Counted(Of("browserfamilies").list), "Firefox=5:500(Firefox 115=3 Firefox 128=1 ) ");
  EXPECT_EQ(Of("browserfamilies").total, 5);
}

TEST_F(DimensionsTest, HostsTellWhenTheyWereSeen) {
  Ask("hosts");
  Run({{.host = "192.0.2.1", .time = "05/Mar/2000:10:00:09"},
       {.host = "192.0.2.1", .time = "05/Mar/2000:10:00:05"},
       {.host = "a.example", .time = "06/Mar/2000:10:00:00"},
       {.host = "192.0.2.1", .time = "05/Mar/2000:10:00:07"}});
  EXPECT_EQ(Of("hosts").total, 4);
  const ListItem* const first = KeyOrder(Of("hosts").list);
  EXPECT_EQ(SpanOf(*first).first, 952250405);
  EXPECT_EQ(SpanOf(*first).last, 952250409);
  EXPECT_EQ(SpanOf(*first->next).first, 952336800);
  EXPECT_EQ(SpanOf(*first->next).last, 952336800);
}

// The amounts of other tables are bytes, whatever stands before and behind them.
TEST_F(DimensionsTest, TimesCountByUrlWithTheirSum) {
  Ask("slow");
  Ask("methods");
  settings_.requests.on = 1;
  settings_.with_bytes = 1;
  AddLog("a.log",
         "952250400.123    17 192.0.2.7 TCP/200 12 GET /a - X/- -\n"
         "952250401.123     3 192.0.2.7 TCP/200 13 GET /b?x - X/- -\n"
         "952250402.123    -1 192.0.2.7 TCP/200 14 GET /a - X/- -\n"
         "952250403.123    19 192.0.2.7 TCP/200 15 GET /a - X/- -\n");
  Run();
  CountedReport& slow = Of("slow");
  EXPECT_EQ(Counted(slow.list), "/a=2:36000(0578=1 0586=1 ) /b=1:3000(0413=1 ) ");
  EXPECT_EQ(slow.total, 39000);
  for (const ListItem* item = slow.list.first; item != nullptr; item = item->next) {
    const TimesTaken times = TimesOf(*item);
    EXPECT_EQ(times.sum, item->key() == "/a" ? 36000 : 3000);
    EXPECT_EQ(times.median, item->key() == "/a" ? MiddleOf(BucketOf(17000)) : 3000);
    EXPECT_EQ(times.of_95, item->key() == "/a" ? MiddleOf(BucketOf(19000)) : 3000);
  }
  for (List* list : {&analysis_.urls.list, &Of("methods").list}) {
    int64_t bytes = 0;
    for (const ListItem* item = list->first; item != nullptr; item = item->next) {
      bytes += AmountOf(*item);
    }
    EXPECT_EQ(bytes, 54);
  }
}

TEST_F(DimensionsTest, StatusesCountWithoutThoseOfNoAnswer) {
  Ask("statuses");
  Run({{.status = "200"}, {.status = "599"}, {.status = "200"}, {.status = "-"}, {.status = "007"}});
  EXPECT_EQ(Counted(Of("statuses").list), "007=1 200=2 599=1 ");
  EXPECT_EQ(Of("statuses").total, 4);
}

TEST_F(DimensionsTest, OwnSiteIsNoReferringSite) {
  Ask("referringsites");
  Run({{.referrer = "http://site.example/a"},
       {.referrer = "http://www.other.example/"},
       {.referrer = "https://Other.example:444/x"},
       {.referrer = "mailbox"}});
  EXPECT_EQ(Counted(Of("referringsites").list), "(no address)=1 other.example=2 ");
  EXPECT_EQ(Of("referringsites").total, 3);
}

TEST_F(DimensionsTest, CountriesAreThoseOfHostsThatNeedNotBeShown) {
  Ask("countries");
  const Rules rules = ResolveRules(settings_, kModernCounting);
  EXPECT_EQ(rules.dimensions, 1U << RowOf("hosts"));
  EXPECT_TRUE(rules.texts.host);
  EXPECT_FALSE(rules.by_country);
  ASSERT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone);
  Run({{.host = "192.0.2.1"},
       {.host = "192.0.2.2"},
       {.host = "a.example"},
       {.host = "9.9.9.9"},
       {.host = "192.0.2.1"}});
  EXPECT_EQ(Counted(Of("countries").list), "(no address)=1 (unknown)=1 DE=3 ");
  EXPECT_EQ(Of("countries").total, 5);
  EXPECT_EQ(Of("hosts").total, 5);
}

TEST_F(DimensionsTest, CountriesNeedTheirDatabaseWhereTheyAreShownOrFilter) {
  EXPECT_FALSE(NeedsCountryDatabase(settings_));
  Ask("countries");
  EXPECT_TRUE(NeedsCountryDatabase(settings_));
  settings_.part = "-";
  EXPECT_FALSE(NeedsCountryDatabase(settings_)) << "who adds the part tells them";
  settings_.rules.later_names = true;
  ASSERT_TRUE(CompareParam("only_countries=DE", settings_, ParamSource::kForm, kLevelForm));
  EXPECT_TRUE(NeedsCountryDatabase(settings_));
  EXPECT_TRUE(ResolveRules(settings_, kModernCounting).by_country);
  settings_.plan = "4K";
  EXPECT_FALSE(NeedsCountryDatabase(settings_));
}

TEST_F(DimensionsTest, CountriesAreCountedBeforeHostsAreCut) {
  Ask("countries");
  Ask("hosts");
  settings_.anonymise = 1;
  const Rules rules = ResolveRules(settings_, kModernCounting);
  EXPECT_TRUE(rules.anonymise && rules.by_country);
  EXPECT_EQ(rules.dimensions, 1U << RowOf("hosts") | 1U << RowOf("countries"));
  settings_.part = "-";
  EXPECT_TRUE(NeedsCountryDatabase(settings_));
  settings_.part = nullptr;
  ASSERT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone);
  Run({{.host = "192.0.2.1"}, {.host = "192.0.2.70"}, {.host = "192.0.2.2"}, {.host = "a.b.example"}});
  EXPECT_EQ(Counted(Of("hosts").list), "192.0.2.0=3 b.example=1 ");
  EXPECT_EQ(Counted(Of("countries").list), "(no address)=1 DE=2 FR=1 ");
  EXPECT_EQ(Of("countries").total, 4);
}

TEST_F(DimensionsTest, CountriesAreLeftOutWhereNoDatabaseIsNamed) {
  Ask("countries");
  CopyText(settings_.country_database, "some.mmdb");
  LeaveOutCountries(settings_);
  EXPECT_FALSE(settings_.countries_left_out);
  EXPECT_TRUE(AreDimensionsAsked(settings_));
  settings_.country_database[0] = '\0';
  LeaveOutCountries(settings_);
  EXPECT_TRUE(settings_.countries_left_out);
  EXPECT_FALSE(AreDimensionsAsked(settings_));
}

TEST_F(DimensionsTest, PathsHaveDirectoriesAndTypes) {
  Ask("directories");
  Ask("filetypes");
  settings_.showquery = 1;
  Run({{.url = "/a/b/c.HTML?x=/y.gif"},
       {.url = "/a"},
       {.url = "http://x.example/a/d.js"},
       {.url = "http://x.example"}});
  EXPECT_EQ(Counted(Of("directories").list), "/=2 /a/=2 ");
  EXPECT_EQ(Counted(Of("filetypes").list), "(directory)=1 (none)=1 .html=1 .js=1 ");
}

TEST_F(DimensionsTest, DirectoriesHaveAsManyLevelsAsAreAskedFor) {
  Ask("directories");
  CopyText(settings_.directory_depth, "2");
  Run({{.url = "/a/b/c/d.html"},
       {.url = "/a/b/"},
       {.url = "/a/b"},
       {.url = "/x"},
       {.url = "http://x.example/a/b/c"}});
  EXPECT_EQ(Counted(Of("directories").list), "/=1 /a/=1 /a/b/=3 ");
}

TEST(DirectoryDepthOf, IsWithinItsBoundsWhateverIsAskedFor) {
  Settings settings{};
  EXPECT_EQ(DirectoryDepthOf(settings), 1);
  for (const char* asked : {"1", "0", "-1", "-99999999999999999999", "text", "x2", "\xff"}) {
    CopyText(settings.directory_depth, asked);
    EXPECT_EQ(DirectoryDepthOf(settings), 1) << asked;
  }
  for (const char* asked : {"20", "21", "4294967297", "99999999999999999999"}) {
    CopyText(settings.directory_depth, asked);
    EXPECT_EQ(DirectoryDepthOf(settings), kMostDirectoryDepth) << asked;
  }
  CopyText(settings.directory_depth, "7");
  EXPECT_EQ(DirectoryDepthOf(settings), 7);
}

TEST_F(DimensionsTest, RequestsWithoutUrlAreDirectoriesAndTypesOfTheirOwn) {
  Ask("directories");
  Ask("filetypes");
  CopyText(settings_.find, "/");
  AddLog("a.log", "h.example - - [05/Mar/2000:10:00:00 +0000] \"-\" 408 0\n");
  Run();
  EXPECT_EQ(Counted(Of("directories").list), "(no request)=1 ");
  EXPECT_EQ(Counted(Of("filetypes").list), "(no request)=1 ");
}

// Items that come from thinned tables are thinned, and nothing is taken while they are summed up.
TEST_F(DimensionsTest, BudgetTakesFromWhatTheyAreMadeOf) {
  Ask("directories");
  settings_.SmartMemoryMaxMemoryToAllocate = 500;
  settings_.SmartMemoryKeepEntries = 10;
  settings_.SmartMemoryReclaimSize = 100;
  std::string log;
  for (int number = 0; number < 4000; ++number) {
    LogLine line;
    line.url = "/d" + std::to_string(number) + "/a";
    log += ToText(line);
  }
  AddLog("a.log", log);
  Run();
  const auto left = static_cast<int32_t>(list_length(analysis_.urls.list));
  EXPECT_GT(analysis_.urls.info->reclaimed, 0);
  EXPECT_EQ(left + analysis_.urls.info->reclaimed, 4000);
  EXPECT_EQ(list_length(Of("directories").list), static_cast<size_t>(left));
  EXPECT_EQ(Of("directories").info->reclaimed, analysis_.urls.info->reclaimed);
  EXPECT_EQ(Of("directories").total, 4000);
}

}  // namespace
