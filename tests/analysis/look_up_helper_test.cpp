#include "analysis/look_up_helper.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Taken(const std::string& text) {
  char name[kLongestHostName + 1];
  return TakeHostName(text.c_str(), name) ? name : "no name";
}

TEST(TakeHostName, TakesNamesInLowerCase) {
  EXPECT_EQ(Taken("www.example.com"), "www.example.com");
  EXPECT_EQ(Taken("WWW.Example.COM."), "www.example.com");
  EXPECT_EQ(Taken("web1"), "web1");
  EXPECT_EQ(Taken("_a-b.xn--p1ai"), "_a-b.xn--p1ai");
  EXPECT_EQ(Taken("4.3.2.1.in-addr.example.net"), "4.3.2.1.in-addr.example.net");
  const std::string longest = std::string(249, 'a') + ".com";
  EXPECT_EQ(Taken(longest), longest);
}

TEST(TakeHostName, TakesNothingElse) {
  for (const char* const text : {"", ".", "..", "a b.example.com", "<script>alert(1)</script>.com",
                                 "a\nb.com", "a\x1b[2J.com", "a\x7f.com", "\xc3\xa4.example.com", "a\"b.com",
                                 "a&b.com", "a/b.com", "a:b.com", "2001:db8::1", "a,b.com", "=1+1.com"}) {
    EXPECT_EQ(Taken(text), "no name") << text;
  }
  EXPECT_EQ(Taken(std::string(250, 'a') + ".com"), "no name");
  EXPECT_EQ(Taken(std::string(1024, 'a')), "no name");
}

// Whoever has an address chooses its name, and may choose another network's number.
TEST(TakeHostName, TakesNothingThatCouldBeReadAsAnAddress) {
  for (const char* const text : {"10.0.0.1", "10.0.0", "1", "host.10.0.0.1", "10.0.0.x1"}) {
    EXPECT_EQ(Taken(text), "no name") << text;
  }
}

}  // namespace
