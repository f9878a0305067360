#include "analysis/anonymity.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "analysis/countries.h"
#include "analysis/country_database.h"
#include "cgi/parameters.h"

namespace {

class AnonymityTest : public testing::Test {
 protected:
  AnonymityTest() { settings_.rules.later_names = settings_.rules.whole_values = true; }
  ~AnonymityTest() override {
    ForgetCountries();
    CloseCountryDatabase();
  }

  void Take(const std::string& line, ParamSource source = ParamSource::kForm) {
    EXPECT_TRUE(CompareParam(line.c_str(), settings_, source, kLevelForm)) << line;
  }

  bool Allows(const std::string& line) {
    settings_ = {};
    settings_.rules.later_names = settings_.rules.whole_values = true;
    Take("anonymise=1");
    Take(line);
    return SettleAnonymity(settings_);
  }

  Settings settings_{};
};

TEST_F(AnonymityTest, AnybodyCanAskForItAndNobodyTakesItBack) {
  EXPECT_EQ(settings_.anonymise, 0);
  Take("anonymise=0");
  EXPECT_EQ(settings_.anonymise, 0);
  EXPECT_TRUE(settings_.anonymise_asked);
  Take("anonymise=1", ParamSource::kStranger);
  Take("anonymise=0", ParamSource::kAccount);
  Take("anonymise=", ParamSource::kShell);
  EXPECT_EQ(settings_.anonymise, 1);
}

TEST_F(AnonymityTest, LooksUpNoNames) {
  Take("dnslookupenabled=1");
  EXPECT_TRUE(SettleAnonymity(settings_));
  EXPECT_EQ(settings_.dnslookupenabled, 1);
  Take("anonymise=1");
  EXPECT_TRUE(SettleAnonymity(settings_));
  EXPECT_EQ(settings_.dnslookupenabled, 0);
}

TEST_F(AnonymityTest, FiltersByNoPerson) {
  for (const char* line : {"authuser=ann", "only_users=ann", "exclude_users=*", "only_hosts=192.0.2.7",
                           "exclude_hosts=192.0.2.0/25", "only_hosts=a.example,2001:db8::/49",
                           "filter_domains=x,192.0.2.7", "filter_domains=2001:db8::1"}) {
    EXPECT_FALSE(Allows(line)) << line;
  }
  for (const char* line :
       {"authrealm=x", "only_hosts=192.0.2.0/24", "only_hosts=192.0.2.", "exclude_hosts=2001:db8::/48",
        "only_hosts=::/0", "filter_domains=example.com,192.0.2.0/24", "only_vhosts=192.0.2.7",
        "only_countries=DE"}) {
    EXPECT_TRUE(Allows(line)) << line;
  }
}

TEST_F(AnonymityTest, WithoutItFiltersByAnything) {
  Take("only_users=ann");
  Take("filter_domains=192.0.2.7");
  EXPECT_TRUE(SettleAnonymity(settings_));
}

TEST_F(AnonymityTest, TakesOutOfRecordsWhoAsked) {
  ASSERT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone);
  SuperLogRecord record{};
  for (const auto& [host, country, left] :
       {std::array{"192.0.2.1", "DE", "192.0.2.0"}, std::array{"192.0.2.70", "FR", "192.0.2.0"},
        std::array{"a.b.example.com", "(no address)", "b.example.com"}}) {
    record.host = host;
    record.user = "ann";
    TakePersonOut(record, true);
    EXPECT_EQ(CountryOfVisitor(record), country) << "of the whole address, whatever the record before it was";
    EXPECT_EQ(record.host, left);
    EXPECT_TRUE(record.user.empty());
  }
  TakePersonOut(record, false);
  EXPECT_EQ(record.country.data(), nullptr);
}

}  // namespace
