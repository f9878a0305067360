#include "base/network.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

static Address Parsed(std::string_view text) {
  Address address{};
  EXPECT_TRUE(ParseAddress(text, address)) << text;
  return address;
}

static bool Parses(std::string_view text) {
  Address address{};
  return ParseAddress(text, address);
}

static std::string Written(std::string_view text) {
  char out[kAddressTextSize];
  WriteAddress(Parsed(text), out);
  return out;
}

static bool Holds(std::string_view networks, std::string_view address) {
  return IsInNetworks(Parsed(address), networks);
}

// ---- ParseAddress ----

TEST(ParseAddressTest, Ipv4IsItsIpv6Form) {
  const Address expected{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 192, 0, 2, 7}};
  EXPECT_EQ(Parsed("192.0.2.7"), expected);
  EXPECT_EQ(Parsed("::ffff:192.0.2.7"), expected);
  EXPECT_EQ(Parsed("::FFFF:c000:207"), expected);
  EXPECT_EQ(Parsed("0:0:0:0:0:ffff:c000:0207"), expected);
}

TEST(ParseAddressTest, Ipv6MayStandInBrackets) {
  const Address expected{{0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
  EXPECT_EQ(Parsed("2001:db8::1"), expected);
  EXPECT_EQ(Parsed("[2001:DB8::1]"), expected);
  EXPECT_EQ(Parsed("2001:0db8:0000:0000:0000:0000:0000:0001"), expected);
  EXPECT_EQ(Parsed("2001:0db8:0000:0000:0000:0000:0.0.0.1"), expected);
}

TEST(ParseAddressTest, EverythingElseIsRefused) {
  for (const char* const text :
       {"",
        " ",
        "10.1",
        "10.1.2",
        "10.1.2.",
        ".10.1.2.3",
        "10.1.2.3.4",
        "10.1.2.256",
        "10.1.2.-1",
        "010.1.2.3",
        "0x0a.1.2.3",
        "167772161",
        "host.example",
        "localhost",
        "1.2.3.4 ",
        " 1.2.3.4",
        "1.2.3.4/32",
        "1.2.3.4:80",
        "[1.2.3.4]",
        "[]",
        "[",
        "]",
        "[::1",
        "::1]",
        "[::1]:80",
        "[[::1]]",
        ":",
        ":::",
        "1::2::3",
        "::12345",
        "::g",
        "1:2:3:4:5:6:7",
        "1:2:3:4:5:6:7:8:9",
        "fe80::1%eth0",
        "::1.2.3",
        "*",
        "1.2.3.4\n",
        "::1\r\n",
        "0000000000000000000000000000000000000000000000000000000000000000000001.2.3.4"}) {
    EXPECT_FALSE(Parses(text)) << text;
  }
  EXPECT_FALSE(Parses(std::string_view("1.2.3.4\0", 8)));
  EXPECT_FALSE(Parses(std::string_view("1.2.3.4\0x", 9)));
  EXPECT_FALSE(Parses({}));
}

TEST(ParseAddressTest, ARefusedTextLeavesTheAddress) {
  Address address = Parsed("192.0.2.7");
  EXPECT_FALSE(ParseAddress("1:2:3:4:5:6:7:x", address));
  EXPECT_EQ(address, Parsed("192.0.2.7"));
}

TEST(ParseAddressTest, OnlyWhatIsViewedIsRead) {
  EXPECT_EQ(Parsed(std::string_view("192.0.2.78").substr(0, 9)), Parsed("192.0.2.7"));
}

// ---- WriteAddress ----

TEST(WriteAddressTest, OneSpellingForEachAddress) {
  EXPECT_EQ(Written("::ffff:192.0.2.7"), "192.0.2.7");
  EXPECT_EQ(Written("[2001:0DB8:0:0::0001]"), "2001:db8::1");
  EXPECT_EQ(Written("::"), "::");
  EXPECT_EQ(Written("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"), "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
}

TEST(WriteAddressTest, TheLongestRowOfZerosIsLeftOutAndTheFirstOfSeveral) {
  EXPECT_EQ(Written("1:0:0:2:0:0:0:3"), "1:0:0:2::3");
  EXPECT_EQ(Written("1:0:0:2:3:0:0:4"), "1::2:3:0:0:4");
  EXPECT_EQ(Written("1:0:2:3:4:5:6:7"), "1:0:2:3:4:5:6:7");
  EXPECT_EQ(Written("0:0:1:2:3:4:5:6"), "::1:2:3:4:5:6");
  EXPECT_EQ(Written("1:2:3:4:5:6:0:0"), "1:2:3:4:5:6::");
  EXPECT_EQ(Written("::102:304"), "::102:304");
}

// Groups are zero as often as not; the library writes the last two of some as IPv4.
TEST(WriteAddressTest, IsWhatTheLibraryWritesOfRandomAddresses) {
  std::mt19937 random(5);
  for (int i = 0; i < 20000; ++i) {
    Address address{};
    for (int group = 0; group < 8; ++group) {
      if (random() % 2 == 0 || group == 0) {
        address.bytes[2 * group] = static_cast<std::uint8_t>(random() % 3 == 0 ? 0 : random());
        address.bytes[2 * group + 1] = static_cast<std::uint8_t>(random() | (group == 0 ? 1 : 0));
      }
    }
    char expected[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, address.bytes.data(), expected, sizeof expected);
    char written[kAddressTextSize];
    WriteAddress(address, written);
    ASSERT_STREQ(written, expected);
  }
}

// ---- Networks ----

TEST(IsInNetworksTest, ASingleAddressHoldsItselfAlone) {
  EXPECT_TRUE(Holds("10.1.0.1", "10.1.0.1"));
  EXPECT_TRUE(Holds("10.1.0.1", "::ffff:10.1.0.1"));
  EXPECT_TRUE(Holds("::ffff:10.1.0.1", "10.1.0.1"));
  EXPECT_TRUE(Holds("[::1]", "::1"));
  EXPECT_FALSE(Holds("10.1.0.1", "10.1.0.10"));
  EXPECT_FALSE(Holds("10.1.0.1", "210.1.0.1"));
  EXPECT_FALSE(Holds("::1", "0.0.0.1"));
}

TEST(IsInNetworksTest, NetworksEndAtTheirBits) {
  EXPECT_TRUE(Holds("10.0.0.0/8", "10.255.255.255"));
  EXPECT_FALSE(Holds("10.0.0.0/8", "11.0.0.0"));
  EXPECT_TRUE(Holds("172.16.0.0/12", "172.31.255.255"));
  EXPECT_FALSE(Holds("172.16.0.0/12", "172.32.0.0"));
  EXPECT_TRUE(Holds("192.0.2.0/31", "192.0.2.1"));
  EXPECT_FALSE(Holds("192.0.2.0/31", "192.0.2.2"));
  EXPECT_TRUE(Holds("192.0.2.3/32", "192.0.2.3"));
  EXPECT_TRUE(Holds("2001:db8::/32", "2001:db8:ffff::1"));
  EXPECT_FALSE(Holds("2001:db8::/32", "2001:db9::"));
  EXPECT_TRUE(Holds("fc00::/7", "fdff::1"));
  EXPECT_FALSE(Holds("fc00::/7", "fe00::1"));
  EXPECT_TRUE(Holds("::1/128", "::1"));
}

TEST(IsInNetworksTest, WhatIsBehindTheBitsDoesNotCount) {
  EXPECT_TRUE(Holds("10.1.2.3/8", "10.9.9.9"));
  EXPECT_TRUE(Holds("2001:db8::1/64", "2001:db8::2"));
}

TEST(IsInNetworksTest, FamiliesStayApart) {
  EXPECT_TRUE(Holds("0.0.0.0/0", "203.0.113.1"));
  EXPECT_FALSE(Holds("0.0.0.0/0", "2001:db8::1"));
  EXPECT_TRUE(Holds("::/0", "2001:db8::1"));
  EXPECT_FALSE(Holds("::/0", "203.0.113.1"));
  EXPECT_FALSE(Holds("::/95", "203.0.113.1"));
  EXPECT_TRUE(Holds("::ffff:0:0/96", "203.0.113.1"));
  EXPECT_TRUE(Holds("::ffff:10.0.0.0/104", "10.9.9.9"));
}

TEST(IsInNetworksTest, EmptyItemsHoldNobody) {
  for (const char* const list : {"", ",", ",,", " , ", "10.0.0.0/8,", ",10.0.0.0/8", "10.0.0.0/8,,", "\t"}) {
    EXPECT_FALSE(Holds(list, "203.0.113.1")) << list;
  }
  EXPECT_TRUE(Holds(",, 10.0.0.0/8\t,", "10.1.1.1"));
}

TEST(IsInNetworksTest, BadItemsHoldNobody) {
  for (const char* const list : {"10.1",
                                 "10.",
                                 "10",
                                 "host.example",
                                 "*",
                                 "1.2.3.4/33",
                                 "1.2.3.4/-1",
                                 "1.2.3.4/+8",
                                 "1.2.3.4/ 8",
                                 "1.2.3.4/",
                                 "/0",
                                 "0.0.0.0/0x0",
                                 "0.0.0.0/0.0.0.0",
                                 "0.0.0.0/4294967296",
                                 "0.0.0.0/99999999999999999999999",
                                 "::/129",
                                 "0.0.0.0//0",
                                 "0.0.0.0/0/0",
                                 "::/",
                                 "[0.0.0.0]/0",
                                 "[::/0]",
                                 "0.0.0.0/0;",
                                 "0.0.0.0 /0",
                                 "0.0.0.0-1.2.3.4"}) {
    EXPECT_FALSE(Holds(list, "1.2.3.4")) << list;
    EXPECT_FALSE(Holds(list, "::1")) << list;
  }
}

TEST(IsInNetworksTest, GoodItemsStandBesideBadOnes) {
  EXPECT_TRUE(Holds("10.1,host.example,192.0.2.0/24", "192.0.2.200"));
  EXPECT_TRUE(Holds("[2001:db8::]/32", "2001:db8::1"));
}

// Against bits that are compared one by one.
TEST(IsInNetworkTest, IsWhatComparingBitsTells) {
  const auto bit = [](const Address& address, int n) { return address.bytes[n / 8] >> (7 - n % 8) & 1; };
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    Network network{Parsed("2001:db8::"), static_cast<int>(random() % 129)};
    Address address = network.address;
    const int changed = static_cast<int>(random() % 128);
    address.bytes[changed / 8] ^= static_cast<std::uint8_t>(0x80 >> changed % 8);
    bool expected = true;
    for (int n = 0; n < network.bits; ++n) {
      expected = expected && bit(address, n) == bit(network.address, n);
    }
    ASSERT_EQ(IsInNetwork(address, network), expected) << changed << " of " << network.bits;
  }
}

TEST(ParseNetworkTest, ARefusedTextLeavesTheNetwork) {
  Network network{Parsed("192.0.2.0"), 120};
  EXPECT_FALSE(ParseNetwork("10.0.0.0/33", network));
  EXPECT_FALSE(ParseNetwork("10.1", network));
  EXPECT_EQ(network.address, Parsed("192.0.2.0"));
  EXPECT_EQ(network.bits, 120);
}

// ---- FirstBits ----

TEST(FirstBitsTest, WhatIsBehindThemIsZero) {
  const Address all = Parsed("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
  EXPECT_EQ(FirstBits(all, 0), Parsed("::"));
  EXPECT_EQ(FirstBits(all, 1), Parsed("8000::"));
  EXPECT_EQ(FirstBits(all, 48), Parsed("ffff:ffff:ffff::"));
  EXPECT_EQ(FirstBits(all, 51), Parsed("ffff:ffff:ffff:e000::"));
  EXPECT_EQ(FirstBits(all, 127), Parsed("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe"));
  EXPECT_EQ(FirstBits(all, 128), all);
}

// ---- NetworkOfVisitor ----

TEST(NetworkOfVisitorTest, Ipv4StaysWholeAndIpv6IsAHousehold) {
  EXPECT_EQ(NetworkOfVisitor(Parsed("192.0.2.7")), Parsed("192.0.2.7"));
  EXPECT_EQ(NetworkOfVisitor(Parsed("2001:db8:1:2:3:4:5:6")), Parsed("2001:db8:1:2::"));
  EXPECT_NE(NetworkOfVisitor(Parsed("2001:db8:1:3:3:4:5:6")), Parsed("2001:db8:1:2::"));
}
