#include "config/account_line.h"

#include <gtest/gtest.h>

#include <string>

static std::string Inserted(std::string_view item, std::string_view username) {
  char out[kAccountItemSize];
  InsertUserName(out, item, username);
  return out;
}

TEST(InsertUserName, ReplacesTheToken) {
  EXPECT_EQ(Inserted("logs=/home/%user%/logs/*.log", "ann"), "logs=/home/ann/logs/*.log");
}

TEST(InsertUserName, ReplacesEveryToken) {
  EXPECT_EQ(Inserted("logs=/%user%/%user%.log", "ann"), "logs=/ann/ann.log");
  EXPECT_EQ(Inserted("%user%%user%", "ann"), "annann");
}

TEST(InsertUserName, LeavesOtherTextAlone) {
  EXPECT_EQ(Inserted("title=100% of %users", "ann"), "title=100% of %users");
  EXPECT_EQ(Inserted("", "ann"), "");
}

TEST(InsertUserName, TokenIsMatchedInLowerCaseOnly) {
  EXPECT_EQ(Inserted("find=/%USER%/%User%/", "ann"), "find=/%USER%/%User%/");
}

TEST(InsertUserName, EmptyNameRemovesTheToken) {
  EXPECT_EQ(Inserted("find=/%user%/", ""), "find=//");
}

TEST(InsertUserName, NameThatHoldsTheTokenIsNotSearchedAgain) {
  EXPECT_EQ(Inserted("find=/%user%/", "%user%"), "find=/%user%/");
  EXPECT_EQ(Inserted("find=%user%ser%", "%u"), "find=%user%");
}

TEST(InsertUserName, LongestItemWithLongestNameFits) {
  std::string item;
  std::string expected;
  const std::string name(99, 'n');
  while (item.size() + kUserToken.size() <= kLineMax) {
    item += kUserToken;
    expected += name;
  }
  while (item.size() < kLineMax) {
    item += "x";
    expected += "x";
  }
  EXPECT_EQ(Inserted(item, name), expected);
}

TEST(InsertUserName, DropsWhatExceedsItsRoom) {
  std::string item;
  for (int i = 0; i < 300; ++i) {
    item += kUserToken;
  }
  EXPECT_EQ(Inserted(item, std::string(99, 'n')), std::string(kAccountItemSize - 1, 'n'));
}

class ParseUserDataTest : public testing::Test {
 protected:
  Settings settings{};
};

TEST_F(ParseUserDataTest, AppliesEachItem) {
  CopyText(settings.username, "ann");
  ParseUserData("user=ann;logs=/logs/%user%*.log;url=http://www.example.com/;title=Ann's site;requests=1,10",
                settings);
  EXPECT_STREQ(settings.logs, "/logs/ann*.log");
  EXPECT_STREQ(settings.url, "http://www.example.com");
  EXPECT_STREQ(settings.title, "Ann's site");
  EXPECT_EQ(settings.requests.on, 1);
  EXPECT_EQ(settings.requests.top, 10);
}

TEST_F(ParseUserDataTest, FirstItemNamesNoParameter) {
  CopyText(settings.username, "title");
  ParseUserData("user=title;subdirs=1;", settings);
  EXPECT_STREQ(settings.username, "title");
  EXPECT_STREQ(settings.title, "");
  EXPECT_EQ(settings.subdirs, 1);
}

TEST_F(ParseUserDataTest, FormOnlyParametersAreNotTaken) {
  ParseUserData("user=ann;username=bob;config=other.conf;password=secret;find=/www/", settings);
  EXPECT_STREQ(settings.username, "");
  EXPECT_STREQ(settings.config, "");
  EXPECT_STREQ(settings.password_form, "");
  EXPECT_STREQ(settings.password_account, "secret");
  EXPECT_STREQ(settings.find_account, "/www/");
  EXPECT_STREQ(settings.find_form, "");
}

TEST_F(ParseUserDataTest, ItemCannotHoldASemicolon) {
  ParseUserData("user=ann;extraheader=<b>one&nbsp;two</b>;subdirs=1", settings);
  EXPECT_STREQ(settings.extra_header, "<b>one&nbsp");
  EXPECT_EQ(settings.subdirs, 1);
  free(settings.extra_header);
}

TEST_F(ParseUserDataTest, ItemAsLongAsALineIsAccepted) {
  const std::string value(kLineMax, 'x');
  ParseUserData("user=ann;title=" + value, settings);
  EXPECT_EQ(settings.title, value.substr(0, kTextMax));
}

TEST_F(ParseUserDataTest, EmptyItemsDoNothing) {
  ParseUserData("user=ann;;;title=x;;", settings);
  EXPECT_STREQ(settings.title, "x");
}
