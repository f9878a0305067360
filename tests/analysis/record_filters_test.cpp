#include "analysis/record_filters.h"

#include "analysis/known_agents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "analysis/rules.h"
#include "base/network.h"
#include "cgi/parameters.h"

namespace {

class RecordFiltersTest : public testing::Test {
 protected:
  RecordFiltersTest() { settings_.rules.later_names = settings_.rules.whole_values = true; }
  ~RecordFiltersTest() override { ForgetKnownAgents(); }

  void Take(const char* line, ParamSource source = ParamSource::kForm) {
    EXPECT_TRUE(CompareParam(line, settings_, source, kLevelForm)) << line;
  }

  // Whether the record counts where only what the list names does.
  bool Is(const std::string& filter, const SuperLogRecord& record) {
    settings_ = {};
    settings_.rules.later_names = settings_.rules.whole_values = true;
    Take(("only_" + filter).c_str());
    return PassesFilters(ActiveFiltersOf(settings_), record);
  }

  Settings settings_{};
};

TEST_F(RecordFiltersTest, WithoutListsEveryRecordPasses) {
  EXPECT_EQ(ActiveFiltersOf(settings_).count, 0U);
  EXPECT_TRUE(PassesFilters(ActiveFiltersOf(settings_), {}));
}

TEST_F(RecordFiltersTest, AllThatAreGivenHold) {
  Take("only_statuses=2xx,404");
  Take("exclude_users=ann");
  const ActiveFilters filters = ActiveFiltersOf(settings_);
  EXPECT_EQ(filters.count, 2U);
  SuperLogRecord record{};
  record.status = 404;
  EXPECT_TRUE(PassesFilters(filters, record));
  record.user = "Ann";
  EXPECT_FALSE(PassesFilters(filters, record));
  record.user = "anna";
  EXPECT_TRUE(PassesFilters(filters, record));
  record.status = 500;
  EXPECT_FALSE(PassesFilters(filters, record));
}

TEST_F(RecordFiltersTest, AskForTheTextsThatTheyLookAt) {
  Take("only_hosts=10.");
  Take("exclude_robots=1");
  const AskedTexts asked = WithTextsOfFilters(ActiveFiltersOf(settings_), {.user = true});
  EXPECT_TRUE(asked.host && asked.agent && asked.user);
  EXPECT_FALSE(asked.referrer || asked.site || asked.realm);
  EXPECT_TRUE(ResolveRules(settings_, kModernCounting).texts.agent);
}

TEST_F(RecordFiltersTest, AccountsSayWhatRequestsCannotChange) {
  Take("only_hosts=10.", ParamSource::kAccount);
  Take("only_hosts=192.");
  Take("exclude_hosts=172.");
  EXPECT_STREQ(ActiveFiltersOf(settings_).filters[0].list.data(), "10.");
  EXPECT_STREQ(ActiveFiltersOf(settings_).filters[1].list.data(), "172.");
  Take("exclude_hosts=10.1.", ParamSource::kAccount);
  EXPECT_STREQ(ActiveFiltersOf(settings_).filters[1].list.data(), "10.1.");
}

TEST_F(RecordFiltersTest, NamesAreThoseOfTheTable) {
  for (const char* line : {"only_=x", "only_colours=x", "onlystatuses=x", "statuses_only=x"}) {
    EXPECT_FALSE(CompareParam(line, settings_, ParamSource::kForm, kLevelForm)) << line;
  }
  Take("EXCLUDE_Statuses=404");
  EXPECT_EQ(ActiveFiltersOf(settings_).count, 1U);
  settings_.rules.later_names = false;
  EXPECT_FALSE(CompareParam("only_hosts=x", settings_, ParamSource::kForm, kLevelForm));
}

TEST_F(RecordFiltersTest, Statuses) {
  SuperLogRecord record{};
  record.status = 404;
  for (const char* list : {"404", "4xx", "40X", "xxx", "200,404", " 404 "}) {
    EXPECT_TRUE(Is(std::string("statuses=") + list, record)) << list;
  }
  for (const char* list : {"403", "5xx", "4", "4xxx", "abc", ","}) {
    EXPECT_FALSE(Is(std::string("statuses=") + list, record)) << list;
  }
  for (const int64_t status : {int64_t{0}, int64_t{-404}, int64_t{1404}}) {
    record.status = status;
    EXPECT_FALSE(Is("statuses=xxx", record)) << status;
  }
}

TEST_F(RecordFiltersTest, Hosts) {
  SuperLogRecord record{};
  record.host = "10.1.2.30";
  for (const char* list : {"10.1.2.30", "10.0.0.0/8", "10.1.", "10.1.2.*", "10.1.2.3?"}) {
    EXPECT_TRUE(Is(std::string("hosts=") + list, record)) << list;
  }
  for (const char* list : {"10.1.2.3", "10.1", "11.0.0.0/8", "30", "::/0"}) {
    EXPECT_FALSE(Is(std::string("hosts=") + list, record)) << list;
  }
  record.host = "www.Example.com";
  for (const char* list : {"example.com", ".example.com", "www.example.com", "*.COM", "com"}) {
    EXPECT_TRUE(Is(std::string("hosts=") + list, record)) << list;
  }
  for (const char* list : {"xample.com", "w.example.com", "*.org", "10.0.0.0/8", "www"}) {
    EXPECT_FALSE(Is(std::string("hosts=") + list, record)) << list;
  }
  Address address;
  ASSERT_TRUE(ParseAddress("2001:db8::7", address));
  record.host = "2001:db8::7";
  record.ipv6 = &address;
  EXPECT_TRUE(Is("hosts=2001:db8::/32", record));
  EXPECT_FALSE(Is("hosts=2001:db9::/32", record));
  EXPECT_FALSE(Is("hosts=0.0.0.0/0", record));
}

TEST_F(RecordFiltersTest, AgentsAndRobots) {
  SuperLogRecord record{};
  EXPECT_FALSE(Is("agents=x", record));
  EXPECT_FALSE(Is("robots=1", record));
  record.agent = "Mozilla/5.0 (compatible; Googlebot/2.1; +http://www.google.com/bot.html)";
  for (const char* list : {"agents=googleBOT", "agents=Mozilla*html)", "robots=1", "robots=feeds,SEARCH"}) {
    EXPECT_TRUE(Is(list, record)) << list;
    EXPECT_TRUE(Is(list, record)) << list << ", and once more";
  }
  EXPECT_FALSE(Is("agents=Googlebot*", record));
  EXPECT_FALSE(Is("robots=training,0", record));
  record.agent = "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0";
  EXPECT_FALSE(Is("robots=1", record));
  const std::string longer = "Googlebot/2.1 " + std::string(1000, 'x');
  record.agent = longer;
  EXPECT_TRUE(Is("robots=search", record));
}

// Whatever else was looked at before: more different agents than are kept.
TEST_F(RecordFiltersTest, RobotsAreToldApartHoweverManyAgentsThereAre) {
  Take("only_robots=1");
  const ActiveFilters filters = ActiveFiltersOf(settings_);
  for (int round = 0; round < 2; ++round) {
    for (int number = 0; number < 10000; ++number) {
      const std::string agent = number % 2 == 0
                                    ? "curl/" + std::to_string(number)
                                    : "Mozilla/5.0 (X11; Linux x86_64; rv:" + std::to_string(number) +
                                          ".0) Gecko/20100101 Firefox/" + std::to_string(number) + ".0";
      SuperLogRecord record{};
      record.agent = agent;
      ASSERT_EQ(PassesFilters(filters, record), number % 2 == 0) << agent;
    }
  }
}

TEST_F(RecordFiltersTest, ReferrersAndSites) {
  SuperLogRecord record{};
  EXPECT_FALSE(Is("vhosts=*", record));
  record.referrer = "https://www.Google.com:443/search?q=example.org";
  record.site = "www.example.com:8080";
  for (const char* list :
       {"referrers=google.com", "referrers=*q=example*", "vhosts=WWW.example.com", "vhosts=*.com"}) {
    EXPECT_TRUE(Is(list, record)) << list;
  }
  for (const char* list :
       {"referrers=example.org", "referrers=oogle.com", "vhosts=example.com", "vhosts=*8080"}) {
    EXPECT_FALSE(Is(list, record)) << list;
  }
  record.site = "[2001:db8::1]:80";
  EXPECT_TRUE(Is("vhosts=[2001:db8::1]", record));
}

TEST_F(RecordFiltersTest, MethodsAsTheyAreCounted) {
  SuperLogRecord record{};
  EXPECT_FALSE(Is("methods=GET,(other)", record));
  record.method = "GET";
  EXPECT_TRUE(Is("methods=POST, GET", record));
  for (const char* list : {"methods=get", "methods=G*", "methods=GE", "methods=(other)"}) {
    EXPECT_FALSE(Is(list, record)) << list;
  }
  record.method = "SSH-2.0";
  EXPECT_TRUE(Is("methods=(other)", record));
  EXPECT_FALSE(Is("methods=SSH-2.0", record));
}

TEST_F(RecordFiltersTest, HoursAndWeekdays) {
  SuperLogRecord record{};
  record.local.tm_hour = 23;
  record.local.tm_wday = 0;
  for (const char* list :
       {"hours=23", "hours=8-23", "hours=22-5", "weekdays=sun", "weekdays=Sunday", "weekdays=sat-mon"}) {
    EXPECT_TRUE(Is(list, record)) << list;
  }
  for (const char* list : {"hours=8-17", "hours=24", "hours=-", "hours=1-", "hours=99999999999",
                           "weekdays=mon-sat", "weekdays=su", "weekdays=sundays", "weekdays=-"}) {
    EXPECT_FALSE(Is(list, record)) << list;
  }
}

// Patterns that others take years for.
TEST_F(RecordFiltersTest, PatternsOfManyStarsTakeNoTime) {
  const std::string text(8000, 'a');
  SuperLogRecord record{};
  record.agent = text;
  EXPECT_FALSE(Is("agents=*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*b", record));
  EXPECT_TRUE(Is("agents=*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*", record));
}

}  // namespace
