#include "entry/visitor.h"

#include <gtest/gtest.h>

#include <string>

class VisitorTest : public testing::Test {
 protected:
  Environment env{};

  std::string Visitor(const char* peer, const std::string& told, std::string_view trusted) {
    CopyText(env.REMOTE_ADDR, peer);
    CopyText(env.HTTP_X_FORWARDED_FOR, told);
    const ::Visitor visitor = FindVisitor(env, trusted);
    char text[kAddressTextSize];
    WriteAddress(visitor.address, text);
    return visitor.known ? text : "unknown";
  }
};

TEST_F(VisitorTest, WithoutTrustedProxiesThePeerIsTheVisitor) {
  EXPECT_EQ(Visitor("203.0.113.9", "192.0.2.1", ""), "203.0.113.9");
  EXPECT_EQ(Visitor("203.0.113.9", "192.0.2.1", ","), "203.0.113.9");
  EXPECT_EQ(Visitor("203.0.113.9", "192.0.2.1", "10.0.0.0/8"), "203.0.113.9");
  EXPECT_EQ(Visitor("2001:db8::9", "192.0.2.1", "0.0.0.0/0"), "2001:db8::9");
}

TEST_F(VisitorTest, ATrustedProxyTellsTheVisitor) {
  EXPECT_EQ(Visitor("10.0.0.1", "203.0.113.9", "10.0.0.0/8"), "203.0.113.9");
  EXPECT_EQ(Visitor("::1", "2001:db8::9", "::1"), "2001:db8::9");
  EXPECT_EQ(Visitor("::ffff:10.0.0.1", "::ffff:203.0.113.9", "10.0.0.1"), "203.0.113.9");
}

TEST_F(VisitorTest, WhatTheVisitorSaysOfItselfCountsForNothing) {
  EXPECT_EQ(Visitor("10.0.0.1", "127.0.0.1, 203.0.113.9", "10.0.0.0/8"), "203.0.113.9");
  EXPECT_EQ(Visitor("10.0.0.1", "10.0.0.7,203.0.113.9", "10.0.0.0/8"), "203.0.113.9");
  EXPECT_EQ(Visitor("10.0.0.1", "evil, 203.0.113.9", "10.0.0.0/8"), "203.0.113.9");
}

TEST_F(VisitorTest, TrustedProxiesOnTheWayAreLeftOut) {
  EXPECT_EQ(Visitor("10.0.0.1", "192.0.2.1, 203.0.113.9 ,\t10.0.0.3, 10.0.0.2", "10.0.0.0/8"), "203.0.113.9");
  EXPECT_EQ(Visitor("10.0.0.1", "203.0.113.9,198.51.100.3", "10.0.0.1,198.51.100.0/24"), "203.0.113.9");
}

TEST_F(VisitorTest, WithTrustedProxiesAloneTheFarthestIsTheVisitor) {
  EXPECT_EQ(Visitor("10.0.0.1", "10.0.0.3,10.0.0.2", "10.0.0.0/8"), "10.0.0.3");
  EXPECT_EQ(Visitor("10.0.0.1", "", "10.0.0.0/8"), "10.0.0.1");
}

TEST_F(VisitorTest, WhatIsNoAddressEndsTheSearch) {
  for (const char* const entry :
       {"unknown", "", "_hidden", "host.example", "10.1", "1.2.3.4.5", "::1::", "[::1",
        "1.2.3.4:", "1.2.3.4:x", "1.2.3.4:80:80", "[1.2.3.4]:80", ":80", "[]:80", "%00"}) {
    EXPECT_EQ(Visitor("10.0.0.1", std::string("203.0.113.9,") + entry, "10.0.0.0/8"), "10.0.0.1") << entry;
    EXPECT_EQ(Visitor("10.0.0.1", std::string("203.0.113.9,") + entry + ", 10.0.0.2", "10.0.0.0/8"),
              "10.0.0.2")
        << entry;
  }
}

TEST_F(VisitorTest, PortsAreUnderstood) {
  EXPECT_EQ(Visitor("10.0.0.1", "203.0.113.9:5678", "10.0.0.1"), "203.0.113.9");
  EXPECT_EQ(Visitor("10.0.0.1", "[2001:db8::9]:80", "10.0.0.1"), "2001:db8::9");
  EXPECT_EQ(Visitor("10.0.0.1", "[2001:db8::9]", "10.0.0.1"), "2001:db8::9");
  EXPECT_EQ(Visitor("10.0.0.1", "2001:db8::9:80", "10.0.0.1"), "2001:db8::9:80");
}

TEST_F(VisitorTest, AServerThatNamesNoAddressHasUnknownVisitors) {
  for (const char* const peer : {"", "unix:", "localhost", "10.1"}) {
    EXPECT_EQ(Visitor(peer, "203.0.113.9", "0.0.0.0/0,::/0"), "unknown") << peer;
  }
}

TEST_F(VisitorTest, ManyEntriesAreReadToTheirEnd) {
  std::string told = "203.0.113.9";
  while (told.size() + 5 < sizeof env.HTTP_X_FORWARDED_FOR) {
    told += ",::1";
  }
  EXPECT_EQ(Visitor("::1", told, "::1"), "203.0.113.9");
}

TEST_F(VisitorTest, WhoeverAsksLaterIsToldOfTheVisitor) {
  CopyText(env.REMOTE_ADDR, "10.0.0.1");
  CopyText(env.HTTP_X_FORWARDED_FOR, "::ffff:203.0.113.9");
  MeetVisitor(env, "10.0.0.1");
  EXPECT_STREQ(env.REMOTE_ADDR, "203.0.113.9");
  CopyText(env.REMOTE_ADDR, "unix:/run/x");
  MeetVisitor(env, "10.0.0.1");
  EXPECT_STREQ(env.REMOTE_ADDR, "unix:/run/x");
}
