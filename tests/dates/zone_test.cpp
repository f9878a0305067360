#include "dates/zone.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "dates/clock.h"
#include "dates/local_time.h"

namespace {

constexpr time_t kSummer = 1720180800;  // 2024-07-05 12:00:00 UTC

// A machine whose clock is two hours ahead, with a database of two zones.
class ZoneTest : public testing::Test {
 protected:
  void SetUp() override {
    folder = testing::TempDir() + "zones" + std::to_string(getpid());
    std::filesystem::create_directories(folder + "/Far");
    Write("Far/Away", std::string("TZif2", 5) + std::string(15, '\0'));
    Write("Text", "no zone");
    setenv("TZDIR", folder.c_str(), 1);
    setenv("TZ", "ABC-2", 1);
    ResetLocalTime();
  }
  void TearDown() override {
    SetCurrentTimeForTest(-1);
    ResetZone();
    std::filesystem::remove_all(folder);
  }
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(folder + "/" + name, std::ios::binary) << text;
  }
  static int HourNow() {
    tm local{};
    TimeToLocal(kSummer, local);
    return local.tm_hour;
  }
  static std::string Known() {
    char room[1000];
    return {room, ReadZone(room, sizeof room)};
  }

  std::string folder;
};

TEST_F(ZoneTest, IsThatOfTheMachineUntilOneIsNamed) {
  EXPECT_STREQ(ZoneName(kSummer), "ABC-2");
  EXPECT_EQ(HourNow(), 14);
  EXPECT_TRUE(UseZone(""));
  EXPECT_EQ(HourNow(), 14);
}

TEST_F(ZoneTest, ANameTakesItsPlaceAtOnce) {
  ASSERT_EQ(HourNow(), 14);
  EXPECT_TRUE(UseZone("UTC"));
  EXPECT_STREQ(ZoneName(kSummer), "UTC");
  EXPECT_EQ(HourNow(), 12);
  EXPECT_TRUE(UseZone("Far/Away"));
  EXPECT_STREQ(ZoneName(kSummer), "Far/Away");
}

TEST_F(ZoneTest, ReadsZonesOfTheMachinesDatabase) {
  unsetenv("TZDIR");
  if (!std::filesystem::exists("/usr/share/zoneinfo/America/New_York")) {
    GTEST_SKIP() << "no database of zones";
  }
  EXPECT_TRUE(UseZone("America/New_York"));
  EXPECT_EQ(HourNow(), 8);
  EXPECT_TRUE(UseZone("Etc/GMT+5"));
  EXPECT_EQ(HourNow(), 7);
}

TEST_F(ZoneTest, WhatIsNoNameOfAZoneChangesNothing) {
  Write("outside", "TZif");
  Write("lower", "TZif");
  Write("D\xc3\xb6rfer", "TZif");
  std::filesystem::create_directory(folder + "/Folder");
  ASSERT_EQ(mkfifo((folder + "/Pipe").c_str(), 0600), 0);
  for (const std::string& name :
       {std::string("Nowhere"),       std::string("Far/Nowhere"),     std::string("Far"),
        std::string("Far/"),          std::string("Far//Away"),       std::string("/Far/Away"),
        folder + "/Far/Away",         std::string("Far/../Far/Away"), std::string("../") + folder,
        std::string("./Far/Away"),    std::string("far/away"),        std::string("Far/Away "),
        std::string("Far/Away\n"),    std::string("lower"),           std::string("D\xc3\xb6rfer"),
        std::string("Text"),          std::string("Folder"),          std::string("Pipe"),
        std::string("ABC-2"),         std::string("UTC+3"),           std::string(":UTC"),
        std::string("Far/Away\0", 9), "A" + std::string(63, 'a'),     "A" + std::string(5000, 'a')}) {
    EXPECT_FALSE(UseZone(name)) << name;
    EXPECT_STREQ(ZoneName(kSummer), "ABC-2");
    EXPECT_EQ(HourNow(), 14);
  }
}

TEST_F(ZoneTest, TheMachineKeepsItsTime) {
  SetCurrentTimeForTest(kSummer);
  ASSERT_TRUE(UseZone("UTC"));
  ASSERT_TRUE(UseZone("Far/Away"));
  tm parts{};
  MachineTime(kSummer, parts);
  EXPECT_EQ(parts.tm_hour, 14);
  ResetZone();
  MachineTime(kSummer, parts);
  EXPECT_EQ(parts.tm_hour, 14);
}

TEST_F(ZoneTest, ResetReturnsToTheMachine) {
  ASSERT_TRUE(UseZone("UTC"));
  ResetZone();
  EXPECT_STREQ(getenv("TZ"), "ABC-2");
  EXPECT_EQ(HourNow(), 14);
  unsetenv("TZ");
  ResetLocalTime();
  ASSERT_TRUE(UseZone("UTC"));
  EXPECT_TRUE(UseZone(""));
  EXPECT_EQ(getenv("TZ"), nullptr);
}

TEST_F(ZoneTest, IsCalledByItsPlaceInTheDatabase) {
  for (const auto& [variable, name] : {std::pair{":UTC", "UTC"},
                                       {"/usr/share/zoneinfo/Europe/Berlin", "Europe/Berlin"},
                                       {":/usr/share/zoneinfo/UTC", "UTC"},
                                       {"/elsewhere/zone", "/elsewhere/zone"}}) {
    setenv("TZ", variable, 1);
    EXPECT_STREQ(ZoneName(kSummer), name);
  }
  unsetenv("TZ");
  EXPECT_STRNE(ZoneName(kSummer), "");
}

TEST_F(ZoneTest, IsKnownByNameAndContent) {
  EXPECT_EQ(Known(), std::string("ABC-2\0", 6));
  setenv("TZ", "Far/Away", 1);
  const std::string before = Known();
  EXPECT_EQ(before.substr(0, 14), std::string("Far/Away\0TZif2", 14));
  Write("Far/Away", "TZif other rules");
  EXPECT_NE(Known(), before);
  EXPECT_EQ(Known().substr(9), "TZif other rules");
}

TEST_F(ZoneTest, IsNotKnownWithoutItsContent) {
  Write("Far/Away", std::string(1000, 'x'));
  setenv("TZ", "Far/Away", 1);
  EXPECT_EQ(Known(), "");
  setenv("TZ", "Far", 1);
  EXPECT_EQ(Known(), "");
  setenv("TZ", std::string(2000, 'x').c_str(), 1);
  EXPECT_EQ(Known(), "");
}

}  // namespace
