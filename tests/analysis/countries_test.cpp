#include "analysis/countries.h"

#include <gtest/gtest.h>

#include <string>

#include "analysis/country_database.h"

namespace {

class CountriesTest : public testing::Test {
 protected:
  CountriesTest() { EXPECT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone); }
  ~CountriesTest() override {
    ForgetCountries();
    CloseCountryDatabase();
  }

  static std::string_view OfVisitor(std::string_view host) {
    SuperLogRecord record{};
    record.host = host;
    return CountryOfVisitor(record);
  }
};

TEST_F(CountriesTest, HostsAreAddressesOrNot) {
  EXPECT_EQ(CountryOfHost("192.0.2.1"), "DE");
  EXPECT_EQ(CountryOfHost("[2001:db8::1]"), "SE");
  for (const char* host :
       {"", "-", "a.example.com", "192.0.2", "192.0.2.1.", "192.0.2.256", "192.0.2.1:80", "::g"}) {
    EXPECT_EQ(CountryOfHost(host), "(no address)") << host;
  }
}

TEST_F(CountriesTest, DatabaseIsAskedBeforeNetworksArePrivate) {
  EXPECT_EQ(CountryOfHost("10.9.1.1"), "CH");
  EXPECT_EQ(CountryOfHost("203.0.113.7"), "XX");
  for (const char* host :
       {"10.8.255.255", "203.0.113.8", "127.0.0.1", "255.255.255.255", "172.31.0.1", "0.0.0.0", "::1",
        "::", "fe80::1", "fd00::1", "ff02::1", "2001:db8:3::", "198.51.100.200"}) {
    EXPECT_EQ(CountryOfHost(host), "(private network)") << host;
  }
  for (const char* host :
       {"172.32.0.1", "9.255.255.255", "11.0.0.0", "2001:db9::", "::2", "100.128.0.0", "223.255.255.255"}) {
    EXPECT_EQ(CountryOfHost(host), "(unknown)") << host;
  }
}

// More of them than are remembered, each twice.
TEST_F(CountriesTest, VisitorsAreToldApartHoweverManyThereAre) {
  for (int round = 0; round < 2; ++round) {
    for (int number = 0; number < 20000; ++number) {
      const std::string host = "10." + std::to_string(8 + number % 2) + "." + std::to_string(number / 256) +
                               "." + std::to_string(number % 256);
      ASSERT_EQ(OfVisitor(host), number % 2 == 0 ? "(private network)" : "CH") << host;
    }
  }
  EXPECT_EQ(OfVisitor(""), "(no address)");
  EXPECT_EQ(OfVisitor(std::string(100, '1')), "(no address)");
}

TEST_F(CountriesTest, WhatIsRememberedIsForgotten) {
  EXPECT_EQ(OfVisitor("192.0.2.1"), "DE");
  ASSERT_EQ(OpenCountryDatabase(OTHER_DATABASE), DatabaseFault::kNone);
  EXPECT_EQ(OfVisitor("192.0.2.1"), "DE");
  ForgetCountries();
  EXPECT_EQ(OfVisitor("192.0.2.1"), "(private network)");
}

}  // namespace
