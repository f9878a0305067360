#include "analysis/address_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "analysis/fake_names.h"

namespace {

std::string NameOf(const char* address, LookUpFigures& figures) {
  char* const name = NameOfAddress(address, figures);
  const std::string text = name == nullptr ? "-" : name;
  free(name);
  return text;
}

TEST(NameOfAddress, AsksForEachAddressOnce) {
  UseNames({{"192.0.2.1", "www.example.com"}, {"2001:db8::1", "six.example.com"}, {"192.0.2.9", "?"}});
  LookUpFigures figures{};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(NameOf("192.0.2.1", figures), "www.example.com");
    EXPECT_EQ(NameOf("2001:db8::1", figures), "six.example.com");
    EXPECT_EQ(NameOf("2001:DB8:0::1", figures), "six.example.com");
    EXPECT_EQ(NameOf("203.0.113.9", figures), "-");
    EXPECT_EQ(NameOf("192.0.2.9", figures), "-");
    EXPECT_EQ(NameOf("www.example.com", figures), "-");
  }
  EXPECT_EQ(mSeen->queries, 4);
  EXPECT_EQ(figures.addresses, 4);
  EXPECT_EQ(figures.unanswered, 1);
  EXPECT_EQ(figures.left_out, 0);
  ForgetAddresses();
  StopLookUps();
}

// More than the table begins with.
TEST(NameOfAddress, RemembersThemAll) {
  UseNames({});
  LookUpFigures figures{};
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 3000; ++i) {
      const std::string address = "10.0." + std::to_string(i / 250) + "." + std::to_string(i % 250);
      EXPECT_EQ(NameOf(address.c_str(), figures), "-");
    }
  }
  EXPECT_EQ(mSeen->queries, 3000);
  EXPECT_EQ(figures.addresses, 3000);
  ForgetAddresses();
  StopLookUps();
}

TEST(NameOfAddress, LeavesOutWhatComesWhenTheTimeIsOver) {
  UseNames({{"192.0.2.1", "www.example.com"}});
  LookUpFigures figures{};
  EXPECT_EQ(NameOf("192.0.2.1", figures), "www.example.com");
  LimitLookUps(0);
  EXPECT_EQ(NameOf("192.0.2.1", figures), "www.example.com");
  EXPECT_EQ(NameOf("192.0.2.2", figures), "-");
  EXPECT_EQ(NameOf("192.0.2.2", figures), "-");
  EXPECT_EQ(figures.addresses, 2);
  EXPECT_EQ(figures.left_out, 1);
  ForgetAddresses();
  StopLookUps();
}

}  // namespace
