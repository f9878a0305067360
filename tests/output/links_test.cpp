#include "output/links.h"

#include <gtest/gtest.h>

static bool Links(const char* site, const char* item) {
  SectionRow row{};
  row.site = site;
  row.item = item;
  return HasLink(row);
}

TEST(HasLink, PathsOfTheSite) {
  EXPECT_TRUE(Links("http://www.example.com", "/a"));
  EXPECT_FALSE(Links("http://www.example.com", "@elsewhere.example/"));
  EXPECT_FALSE(Links("http://www.example.com", ".elsewhere.example/"));
  EXPECT_FALSE(Links("http://www.example.com", ""));
  EXPECT_FALSE(Links("ftp://www.example.com", "/a"));
}

TEST(HasLink, WebAddresses) {
  EXPECT_TRUE(Links("", "http://www.example.com/"));
  EXPECT_FALSE(Links("", "javascript:alert(1)"));
  EXPECT_FALSE(Links("", "/a"));
}

TEST(HasLink, NotEveryRowMay) {
  EXPECT_FALSE(Links(nullptr, "http://www.example.com/"));
}
