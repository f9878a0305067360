#include "analysis/domain_counts.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "analysis/driver.h"
#include "analysis/fake_names.h"
#include "support/account_logs.h"
#include "support/counted.h"

namespace {

class NameAddressesTest : public AccountLogs {
 protected:
  NameAddressesTest() {
    settings_.dnslookupenabled = 1;
    settings_.domains.on = settings_.domaintypes.on = 1;
    settings_.rules.looks_up_together = true;
    settings_.DNSLookupSeconds = 30;
  }
  ~NameAddressesTest() override {
    if (counted_) {
      EndAnalysis(analysis_);
    }
    StopLookUps();
  }

  void AddHosts(std::initializer_list<const char*> hosts) {
    std::string log;
    for (const char* const host : hosts) {
      LogLine line;
      line.host = host;
      log += ToText(line);
    }
    AddLog("a.log", log);
  }
  void Run() {
    ASSERT_TRUE(BeginAnalysis(settings_, kModernCounting, analysis_));
    counted_ = true;
    CountLogs(settings_, analysis_);
  }
  std::string Domains() { return Counted(analysis_.domains.list); }
  std::string Types() { return Counted(analysis_.domaintypes.list); }

  Analysis analysis_{};
  bool counted_ = false;
};

TEST_F(NameAddressesTest, AddressesOfOneNameAreCountedTogether) {
  UseNames({{"192.0.2.1", "www.example.com"},
            {"192.0.2.2", "MAIL.Example.com"},
            {"2001:db8:1::5", "six.example.com"}});
  AddHosts({"192.0.2.1", "192.0.2.2", "192.0.2.2", "2001:db8:1::5", "2001:DB8:1:0::5", "203.0.113.9",
            "2001:db8:2::7", "2001:db8:2::8", "pc.example.com", "1..2.5"});
  Run();
  EXPECT_EQ(Domains(), "1..2=1 2001:db8:2::/48=2 203.0.113=1 example.com=6 ");
  EXPECT_EQ(Types(), "UNKNOWN=4 com=6 ");
  EXPECT_EQ(analysis_.domains.total, 10);
  EXPECT_EQ(analysis_.domaintypes.total, 10);
  EXPECT_EQ(mSeen->queries, 6) << "of each address, once";
  EXPECT_EQ(analysis_.look_ups.addresses, 6);
  EXPECT_EQ(analysis_.look_ups.left_out + analysis_.look_ups.unanswered, 0);
}

// What is counted where nobody answers is what is counted without look-ups.
TEST_F(NameAddressesTest, WithoutNamesTheReportsAreThoseOfAddresses) {
  for (const int seconds : {0, 30}) {
    for (const int domains : {0, 1}) {
      settings_.domains.on = domains;
      UseNames(
          {{"192.0.2.1", seconds == 0 ? "www.example.com" : "?"}, {"10.1.2.3", "?"}, {"2001:db8:1::5", "?"}});
      AddHosts({"192.0.2.1", "192.0.2.1", "10.1.2.3", "2001:db8:1::5", "a.example.org"});
      settings_.DNSLookupSeconds = seconds;
      Run();
      const std::string looked_up = Domains() + Types() + std::to_string(analysis_.domains.total);
      EXPECT_EQ(analysis_.look_ups.addresses, 3);
      EXPECT_EQ(analysis_.look_ups.left_out, seconds == 0 ? 3 : 0);
      EXPECT_EQ(analysis_.look_ups.unanswered, seconds == 0 ? 0 : 3);
      EndAnalysis(analysis_);
      settings_.dnslookupenabled = 0;
      Run();
      EXPECT_EQ(looked_up, Domains() + Types() + std::to_string(analysis_.domains.total));
      EndAnalysis(analysis_);
      counted_ = false;
      settings_.dnslookupenabled = 1;
    }
  }
}

// Once nobody is left to ask, as all wait for answers that never come, the others are not looked up.
TEST_F(NameAddressesTest, ThoseOfTheMostRequestsComeFirst) {
  std::map<std::string, std::string> names = {{"192.0.2.1", "one.example.com"},
                                              {"192.0.2.2", "two.example.com"}};
  std::string log;
  LogLine line;
  for (int i = 0; i < 300; ++i) {
    line.host = "10.0." + std::to_string(i / 100) + "." + std::to_string(i % 100);
    names[line.host] = "...";
    log += ToText(line);
  }
  for (int i = 0; i < 5; ++i) {
    line.host = i % 2 == 0 ? "192.0.2.1" : "192.0.2.2";
    log += ToText(line);
  }
  AddLog("a.log", log);
  UseNames(std::move(names));
  LookUpAnswer answer;
  ASSERT_TRUE(AskForName({0, {}}) && NextAnswer(answer)) << "so that its start takes none of the time";
  settings_.DNSLookupSeconds = 2;
  Run();
  EXPECT_EQ(Domains(), "10.0.0=100 10.0.1=100 10.0.2=100 example.com=5 ");
  EXPECT_EQ(analysis_.look_ups.addresses, 302);
  EXPECT_EQ(analysis_.look_ups.left_out, 300);
  EXPECT_EQ(analysis_.domains.total, 305);
}

TEST_F(NameAddressesTest, WhatTheMemoryBudgetTookIsMissingFromTheReports) {
  UseNames({});
  std::string log;
  LogLine line;
  for (int i = 0; i < 20000; ++i) {
    line.host = "10." + std::to_string(i / 10000) + "." + std::to_string(i / 100 % 100) + "." +
                std::to_string(i % 100);
    log += ToText(line);
  }
  AddLog("a.log", log);
  settings_.SmartMemoryMaxMemoryToAllocate = 1000;
  settings_.SmartMemoryReclaimSize = 100;
  Run();
  EXPECT_GT(analysis_.domains.info->reclaimed, 0);
  EXPECT_GT(analysis_.domaintypes.info->reclaimed, 0);
  EXPECT_EQ(analysis_.addresses.info->reclaimed, 0) << "there is no section of that name";
  EXPECT_LT(TotalList(analysis_.domaintypes.list), 20000);
  EXPECT_EQ(analysis_.domaintypes.total, 20000);
}

TEST_F(NameAddressesTest, NamesThatAreFilteredAreAskedForOnTheWay) {
  UseNames({{"192.0.2.1", "www.example.com"}, {"192.0.2.2", "crawl.example.net"}});
  CopyText(settings_.filter_domains, "crawl");
  AddHosts({"192.0.2.1", "192.0.2.2", "192.0.2.1", "203.0.113.9"});
  Run();
  EXPECT_EQ(analysis_.hits, 3);
  EXPECT_EQ(Domains(), "203.0.113=1 example.com=2 ");
  EXPECT_EQ(mSeen->queries, 3);
  EXPECT_EQ(analysis_.look_ups.addresses, 3);
}

TEST_F(NameAddressesTest, NobodyIsAskedWhereNoNameIsShownOrFiltered) {
  UseNames({});
  settings_.domains.on = settings_.domaintypes.on = 0;
  CopyText(settings_.filter_domains, "10.0.0.0/8");
  AddHosts({"192.0.2.1", "10.0.0.1"});
  Run();
  EXPECT_EQ(analysis_.hits, 1);
  EXPECT_EQ(mSeen->queries, 0);
}

}  // namespace
