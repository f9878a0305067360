#include "report/extra_texts.h"

#include <gtest/gtest.h>

#include <string>

class ExtraTextsTest : public testing::Test {
 protected:
  Settings settings{};
  void TearDown() override { EndOrvellisCleanup(settings); }
};

TEST_F(ExtraTextsTest, NothingIsSetAtFirst) {
  EXPECT_EQ(settings.extra_header, nullptr);
  EXPECT_EQ(settings.extra_footer, nullptr);
}

TEST_F(ExtraTextsTest, TextsAreOwnedCopies) {
  char text[] = "<b>header</b>";
  log_SetExtraHeader(settings, text, kLevelForm);
  text[0] = 'x';
  EXPECT_STREQ(settings.extra_header, "<b>header</b>");
}

TEST_F(ExtraTextsTest, HeaderAndFooterAreIndependent) {
  log_SetExtraHeader(settings, "header", kLevelAccount);
  log_SetExtraFooter(settings, "footer", kLevelForm);
  EXPECT_STREQ(settings.extra_header, "header");
  EXPECT_STREQ(settings.extra_footer, "footer");
}

TEST_F(ExtraTextsTest, StrongerLevelReplaces) {
  log_SetExtraHeader(settings, "form", kLevelForm);
  log_SetExtraHeader(settings, "key", kLevelGlobalKey);
  log_SetExtraHeader(settings, "account", kLevelAccount);
  EXPECT_STREQ(settings.extra_header, "account");
}

TEST_F(ExtraTextsTest, EqualLevelReplaces) {
  log_SetExtraFooter(settings, "first", kLevelGlobalKey);
  log_SetExtraFooter(settings, "second", kLevelGlobalKey);
  EXPECT_STREQ(settings.extra_footer, "second");
}

TEST_F(ExtraTextsTest, WeakerLevelIsIgnored) {
  log_SetExtraHeader(settings, "account", kLevelAccount);
  log_SetExtraHeader(settings, "key", kLevelGlobalKey);
  log_SetExtraFooter(settings, "key", kLevelGlobalKey);
  log_SetExtraFooter(settings, "form", kLevelForm);
  EXPECT_STREQ(settings.extra_header, "account");
  EXPECT_STREQ(settings.extra_footer, "key");
}

TEST_F(ExtraTextsTest, EmptyTextCountsAsSet) {
  log_SetExtraHeader(settings, "", kLevelAccount);
  log_SetExtraHeader(settings, "key", kLevelGlobalKey);
  EXPECT_STREQ(settings.extra_header, "");
}

TEST_F(ExtraTextsTest, LongTextIsKeptWhole) {
  const std::string text(100000, 'x');
  log_SetExtraHeader(settings, text.c_str(), kLevelForm);
  EXPECT_EQ(settings.extra_header, text);
}

TEST_F(ExtraTextsTest, CleanupReleasesBothAndMayBeRepeated) {
  log_SetExtraHeader(settings, "header", kLevelForm);
  log_SetExtraFooter(settings, "footer", kLevelForm);
  for (int i = 0; i < 2; ++i) {
    EndOrvellisCleanup(settings);
    EXPECT_EQ(settings.extra_header, nullptr);
    EXPECT_EQ(settings.extra_footer, nullptr);
  }
}

TEST_F(ExtraTextsTest, CleanupForgetsTheLevels) {
  log_SetExtraHeader(settings, "account", kLevelAccount);
  EndOrvellisCleanup(settings);
  log_SetExtraHeader(settings, "form", kLevelForm);
  EXPECT_STREQ(settings.extra_header, "form");
}
