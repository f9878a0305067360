#include "run/store_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/text_file.h"

namespace {

class ChooseStoreTest : public testing::Test {
 protected:
  void SetUp() override {
    home = NewPath("home");
    ASSERT_EQ(mkdir(home.c_str(), 0700), 0);
    for (const char* name : {"ORVELLIS_CACHE", "XDG_CACHE_HOME", "HOME"}) {
      unsetenv(name);
    }
  }

  static std::string Chosen(bool from_shell) {
    char folder[kPathSize] = "before";
    ChooseStore(folder, from_shell);
    return folder;
  }

  std::string home;
};

TEST_F(ChooseStoreTest, WebServersHaveOne) {
  setenv("HOME", home.c_str(), 1);
  EXPECT_EQ(Chosen(false), "/var/cache/orvellis");
  EXPECT_TRUE(std::filesystem::is_empty(home));
}

TEST_F(ChooseStoreTest, UsersHaveTheirOwn) {
  EXPECT_EQ(Chosen(true), "");
  setenv("HOME", home.c_str(), 1);
  EXPECT_EQ(Chosen(true), home + "/.cache/orvellis");
  struct stat info;
  ASSERT_EQ(stat((home + "/.cache/orvellis").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);
  setenv("XDG_CACHE_HOME", (home + "/xdg").c_str(), 1);
  EXPECT_EQ(Chosen(true), home + "/xdg/orvellis");
  EXPECT_TRUE(std::filesystem::is_directory(home + "/xdg/orvellis"));
  setenv("XDG_CACHE_HOME", "relative", 1);
  EXPECT_EQ(Chosen(true), home + "/.cache/orvellis");
}

TEST_F(ChooseStoreTest, TheVariableNamesAnotherOrNone) {
  setenv("HOME", home.c_str(), 1);
  for (const bool from_shell : {false, true}) {
    setenv("ORVELLIS_CACHE", "/another", 1);
    EXPECT_EQ(Chosen(from_shell), "/another");
    setenv("ORVELLIS_CACHE", "", 1);
    EXPECT_EQ(Chosen(from_shell), "");
    setenv("ORVELLIS_CACHE", std::string(kPathSize, '/').c_str(), 1);
    EXPECT_EQ(Chosen(from_shell), "");
  }
  EXPECT_TRUE(std::filesystem::is_empty(home));
}

TEST_F(ChooseStoreTest, TooLongAHomeHasNone) {
  setenv("HOME", ("/" + std::string(kPathSize, 'h')).c_str(), 1);
  EXPECT_EQ(Chosen(true), "");
  setenv("HOME", ("/" + std::string(kPathSize - 10, 'h')).c_str(), 1);
  EXPECT_EQ(Chosen(true), "");
}

class SettlePartCacheTest : public ChooseStoreTest {
 protected:
  void SetUp() override {
    ChooseStoreTest::SetUp();
    setenv("ORVELLIS_CACHE", "/store", 1);
    settings.rules.whole_logs = true;
  }

  std::string Settled(const std::string& given, bool from_shell = true) {
    CopyText(settings.part_cache, given);
    SettlePartCache(settings, from_shell);
    return settings.part_cache;
  }

  Settings settings{};
};

TEST_F(SettlePartCacheTest, ItIsTheStoreOrNoneOrAFolder) {
  EXPECT_EQ(Settled("1"), "/store");
  EXPECT_EQ(Settled("0"), "");
  EXPECT_EQ(Settled(""), "");
  EXPECT_EQ(Settled(home + "/1"), home + "/1");
  setenv("ORVELLIS_CACHE", "", 1);
  EXPECT_EQ(Settled("1"), "");
  unsetenv("ORVELLIS_CACHE");
  EXPECT_EQ(Settled("1", false), "/var/cache/orvellis");
}

TEST_F(SettlePartCacheTest, AShellMakesTheLastPieceForItsUserAlone) {
  umask(0);
  Settled(home + "/counts");
  struct stat info;
  ASSERT_EQ(stat((home + "/counts").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);
  Settled(home + "/not/there");
  Settled(home + "/of_a_server", false);
  EXPECT_FALSE(std::filesystem::exists(home + "/not"));
  EXPECT_FALSE(std::filesystem::exists(home + "/of_a_server"));
}

TEST_F(SettlePartCacheTest, AStoreThatThereIsNotIsThere) {
  Settled("0");
  EXPECT_STREQ(settings.store, "");
  Settled(home + "/counts");
  EXPECT_EQ(settings.store, home + "/counts");
  Settled(home + "/others");
  EXPECT_EQ(settings.store, home + "/counts");
  settings.store[0] = '\0';
  settings.rules.whole_logs = false;
  Settled(home + "/counts");
  EXPECT_STREQ(settings.store, "");
}

}  // namespace
