#include "run/edition.h"

#include <vector>

#include "entry/admission.h"
#include "output/csv_output.h"
#include "output/json_output.h"
#include "output/modern_page.h"
#include "output/text_output.h"
#include "support/text_file.h"

TEST(FindEdition, KnowsTwoNamesIgnoringCase) {
  ASSERT_NE(FindEdition("classic"), nullptr);
  ASSERT_NE(FindEdition("modern"), nullptr);
  EXPECT_NE(FindEdition("classic"), FindEdition("modern"));
  EXPECT_EQ(FindEdition("Classic"), FindEdition("classic"));
  EXPECT_EQ(FindEdition("MODERN"), FindEdition("modern"));
}

TEST(FindEdition, KnowsNoOther) {
  for (const char* name : {"", "classi", "classics", " modern", "modern ", "1"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(FindEdition(name), nullptr);
  }
}

TEST(FindEdition, RulesOfTheRows) {
  const Edition& classic = *FindEdition("classic");
  EXPECT_EQ(classic.counting.limits.line, 1535U);
  EXPECT_EQ(classic.counting.limits.item, 243U);
  EXPECT_FALSE(classic.counting.limits.wide_figures);
  EXPECT_EQ(classic.counting.days, DayCounting::kByDayOfYear);
  EXPECT_EQ(classic.rules.last_year, 2038);
  EXPECT_FALSE(classic.rules.later_names);
  EXPECT_TRUE(classic.server_arguments);
  EXPECT_EQ(classic.form, ParamSource::kForm);
  EXPECT_EQ(classic.page, &kClassicPage);
  EXPECT_FALSE(classic.rules.whole_values);
  EXPECT_EQ(classic.asking, Asking::kAnyButGet);
  EXPECT_EQ(classic.needs_password, nullptr);
  EXPECT_FALSE(classic.rules.real_days);
  EXPECT_FALSE(classic.shuts_in);
  EXPECT_FALSE(classic.behind_proxies);
  const Edition& modern = *FindEdition("modern");
  EXPECT_EQ(modern.counting.limits.line, 65536U);
  EXPECT_EQ(modern.counting.limits.item, 2048U);
  EXPECT_TRUE(modern.counting.limits.wide_figures);
  EXPECT_EQ(modern.counting.days, DayCounting::kByDate);
  EXPECT_EQ(modern.rules.last_year, 9999);
  EXPECT_TRUE(modern.rules.later_names);
  EXPECT_FALSE(modern.server_arguments);
  EXPECT_EQ(modern.form, ParamSource::kStranger);
  EXPECT_EQ(modern.page, &kModernPage);
  EXPECT_TRUE(modern.rules.whole_values);
  EXPECT_EQ(modern.asking, Asking::kPostOrQuery);
  EXPECT_EQ(modern.needs_password, NeedsPassword);
  EXPECT_TRUE(modern.rules.real_days);
  EXPECT_TRUE(modern.shuts_in);
  EXPECT_TRUE(modern.behind_proxies);
}

TEST(FindOutput, ModernKnowsFourIgnoringCase) {
  const Edition& modern = *FindEdition("modern");
  EXPECT_EQ(FindOutput(modern, ""), modern.page);
  EXPECT_EQ(FindOutput(modern, "modern"), modern.page);
  EXPECT_EQ(FindOutput(modern, "JSON"), &kJsonOutput);
  EXPECT_EQ(FindOutput(modern, "csv"), &kCsvOutput);
  EXPECT_EQ(FindOutput(modern, "text"), &kTextOutput);
  for (const char* name : {"xml", "jso", "json ", "classic"}) {
    EXPECT_EQ(FindOutput(modern, name), nullptr) << name;
  }
}

TEST(FindOutput, ClassicIsAPageWhateverIsAskedFor) {
  const Edition& classic = *FindEdition("classic");
  for (const char* name : {"", "json", "xml", "modern"}) {
    EXPECT_EQ(FindOutput(classic, name), classic.page) << name;
  }
}

// Works in an empty folder, so that no default configuration is there.
class StartTest : public testing::Test {
 protected:
  void SetUp() override {
    const std::string folder = NewPath("folder");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    ASSERT_EQ(chdir(folder.c_str()), 0);
  }
  void TearDown() override { CloseConfigFile(config); }

  StartWords Words() {
    return {from_shell, pinned, static_cast<int>(arguments.size()),
            const_cast<char* const*>(arguments.data())};
  }

  // What is told on standard error stays in told.
  template <typename Function>
  auto Listen(Function choose) {
    testing::internal::CaptureStderr();
    const auto result = choose();
    told = testing::internal::GetCapturedStderr();
    return result;
  }
  bool ChosenConfig() {
    return Listen([&] { return ChooseConfig(Words(), config); });
  }
  std::string ChosenEdition() {
    EXPECT_TRUE(ChosenConfig());
    const Edition* const edition = Listen([&] { return ChooseEdition(Words(), config); });
    return edition == nullptr ? "none" : std::string(edition->name);
  }

  bool from_shell = true;
  const char* pinned = nullptr;
  std::vector<const char*> arguments = {"orvellis"};
  ConfigFile config;
  std::string told;
};

using ChooseConfigTest = StartTest;
using ChooseEditionTest = StartTest;

TEST_F(ChooseConfigTest, DefaultFile) {
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "orvellis.conf");
  EXPECT_TRUE(config.fall_back);
}

TEST_F(ChooseConfigTest, LastArgumentOfThatNameAsParametersAreRead) {
  arguments = {"config=program", "config=first", "Config=a=b", "title=config=x"};
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "ab");
  EXPECT_TRUE(config.fall_back);
}

TEST_F(ChooseConfigTest, PathIsWholeWhereAnArgumentNamesSuchAnEdition) {
  arguments = {"orvellis", "config=a=b", "edition=Modern"};
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "a=b");
  arguments = {"orvellis", "config=a=b", "edition=modern", "edition=classic"};
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "ab");
  arguments = {"orvellis", "config=a=b", "edition=none"};
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "ab");
}

TEST_F(ChooseConfigTest, PinnedFileHasNoSubstitute) {
  pinned = "/etc/pinned.conf";
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "/etc/pinned.conf");
  EXPECT_FALSE(config.fall_back);
  arguments = {"orvellis", "config=other"};
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "other");
  EXPECT_FALSE(config.fall_back);
}

TEST_F(ChooseConfigTest, EmptyVariablePinsNothing) {
  pinned = "";
  ASSERT_TRUE(ChosenConfig());
  EXPECT_STREQ(config.path, "orvellis.conf");
  EXPECT_TRUE(config.fall_back);
}

TEST_F(ChooseConfigTest, PinnedPathIsNeverCut) {
  const std::string longest(kPathSize - 1, 'p');
  pinned = longest.c_str();
  ASSERT_TRUE(ChosenConfig());
  EXPECT_EQ(config.path, longest);
  const std::string longer = longest + "p";
  pinned = longer.c_str();
  EXPECT_FALSE(ChosenConfig());
  EXPECT_EQ(told, "orvellis: the path in ORVELLIS_CONFIG is longer than 259 characters\n");
  arguments = {"orvellis", "config=short"};
  EXPECT_TRUE(ChosenConfig()) << "the argument names the file";
}

TEST_F(ChooseConfigTest, OnlyAShellIsWaitedFor) {
  ASSERT_TRUE(ChosenConfig());
  EXPECT_EQ(config.pipes, Pipes::kKeep);
  from_shell = false;
  ASSERT_TRUE(ChosenConfig());
  EXPECT_EQ(config.pipes, Pipes::kNeverWait);
}

TEST_F(ChooseEditionTest, ClassicWithoutAnyWord) {
  EXPECT_EQ(ChosenEdition(), "classic");
  std::ofstream("orvellis.conf") << "user=ann;edition=modern\n";
  EXPECT_EQ(ChosenEdition(), "classic");
}

TEST_F(ChooseEditionTest, KeyOfTheConfiguration) {
  std::ofstream("orvellis.conf") << "Edition=modern\n";
  EXPECT_EQ(ChosenEdition(), "modern");
  arguments = {"orvellis", "config=missing.conf"};
  CloseConfigFile(config);
  EXPECT_EQ(ChosenEdition(), "modern") << "the default file takes its place";
}

TEST_F(ChooseEditionTest, LastArgumentBeatsTheKey) {
  std::ofstream("orvellis.conf") << "Edition=modern\n";
  arguments = {"orvellis", "edition=none", "EDITION=Classic"};
  EXPECT_EQ(ChosenEdition(), "classic");
  EXPECT_FALSE(config.opened) << "a pipe is not read for what it cannot decide";
}

TEST_F(ChooseEditionTest, UnknownNameIsTold) {
  arguments = {"orvellis", "edition=classic", "edition=modem"};
  EXPECT_EQ(ChosenEdition(), "none");
  EXPECT_EQ(told, "orvellis: there is no edition \"modem\", only classic and modern\n");
  arguments = {"orvellis"};
  std::ofstream("orvellis.conf") << "Edition=\n";
  EXPECT_EQ(ChosenEdition(), "none");
  EXPECT_EQ(told, "orvellis: there is no edition \"\", only classic and modern\n");
}
