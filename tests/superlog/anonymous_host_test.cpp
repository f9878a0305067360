#include "superlog/anonymous_host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Cut(std::string_view host) {
  SuperLogRecord record{};
  record.host = host;
  SuperLog_CutHost(record);
  return std::string(record.host);
}

TEST(SuperLog_CutHost, LeavesNetworksOfAddresses) {
  EXPECT_EQ(Cut("203.0.113.77"), "203.0.113.0");
  EXPECT_EQ(Cut("255.255.255.255"), "255.255.255.0");
  EXPECT_EQ(Cut("2001:db8:1:2:3:4:5:6"), "2001:db8:1::");
  EXPECT_EQ(Cut("2001:DB8::1"), "2001:db8::");
  EXPECT_EQ(Cut("::1"), "::");
  EXPECT_EQ(Cut("::ffff:192.0.2.77"), "192.0.2.0");
}

TEST(SuperLog_CutHost, TellsOfIpv6WhatIsLeft) {
  Address whole{};
  ASSERT_TRUE(ParseAddress("2001:db8:1:2::7", whole));
  SuperLogRecord record{};
  record.host = "2001:db8:1:2::7";
  record.ipv6 = &whole;
  SuperLog_CutHost(record);
  ASSERT_NE(record.ipv6, nullptr);
  EXPECT_EQ(*record.ipv6, FirstBits(whole, 48));
  record.host = "192.0.2.7";
  SuperLog_CutHost(record);
  EXPECT_EQ(record.ipv6, nullptr);
}

TEST(SuperLog_CutHost, LeavesDomainsOfNames) {
  EXPECT_EQ(Cut("localhost"), "localhost");
  EXPECT_EQ(Cut("example.com"), "example.com");
  EXPECT_EQ(Cut("a.example.com"), "example.com");
  EXPECT_EQ(Cut("a.b.example.com"), "b.example.com");
  EXPECT_EQ(Cut("7.0.0.10.dsl.example.net"), "dsl.example.net");
  EXPECT_EQ(Cut("10-0-0-7.Access.example.xn--p1ai"), "Access.example.xn--p1ai");
}

TEST(SuperLog_CutHost, HidesWhatIsNeither) {
  for (const char* host :
       {"-", "192.0.2", "192.0.2.777", "192.0.2.7.8", "192.0.2.7,198.51.100.1", "192.0.2.7:80x",
        "a b.example.com", "2001:db8::1::2", "a.example.7", ".", "example.", "caf\xE9.example.com"}) {
    EXPECT_EQ(Cut(host), "(other)") << host;
  }
}

TEST(SuperLog_CutHost, LeavesNothingOfNothing) {
  SuperLogRecord record{};
  SuperLog_CutHost(record);
  EXPECT_EQ(record.host.data(), nullptr);
  EXPECT_EQ(Cut(""), "");
}

// More of them than there is room for.
TEST(SuperLog_CutHost, TextsStayWhileTheyAreOfOneRecord) {
  for (int number = 0; number < 100'000; ++number) {
    SuperLogRecord record{};
    const std::string host =
        "10." + std::to_string(number / 256 % 256) + "." + std::to_string(number % 256) + ".9";
    record.host = host;
    SuperLog_CutHost(record);
    ASSERT_EQ(record.host, host.substr(0, host.size() - 1) + "0");
    ASSERT_EQ(record.host.data()[record.host.size()], '\0');
  }
}

}  // namespace
