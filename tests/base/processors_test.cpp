#include "base/processors.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/text_file.h"

namespace {

class Processors : public testing::Test {
 protected:
  void SetUp() override {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    ASSERT_EQ(sched_getaffinity(0, sizeof processors, &processors), 0);
    allowed_ = CPU_COUNT(&processors);
    groups_ = NewPath("groups");
    std::filesystem::create_directories(groups_ + "/a/b");
    SetOwn("0::/a/b\n");
  }

  void SetOwn(const std::string& text) { own_ = WriteFile("own", text); }

  void SetQuota(const std::string& group, const std::string& text) const {
    std::ofstream(groups_ + group + "/cpu.max") << text;
  }

  int Usable() const { return UsableProcessors(groups_.c_str(), own_.c_str()); }

  int allowed_ = 0;
  std::string groups_;
  std::string own_;
};

TEST_F(Processors, AreThoseOfTheProcessWithoutQuota) {
  EXPECT_EQ(Usable(), allowed_);
  SetQuota("", "max 100000\n");
  SetQuota("/a", "max 100000\n");
  SetQuota("/a/b", "max 100000\n");
  EXPECT_EQ(Usable(), allowed_);
}

TEST_F(Processors, AreNoMoreThanTheQuotaOfAnyGroupAboveLeaves) {
  for (const char* const group : {"", "/a", "/a/b"}) {
    SetQuota(group, "100000 100000\n");
    EXPECT_EQ(Usable(), 1) << group;
    SetQuota(group, "max 100000\n");
  }
  EXPECT_EQ(Usable(), allowed_);
}

TEST_F(Processors, OfAQuotaAreRoundedUp) {
  if (allowed_ < 2) {
    GTEST_SKIP() << "there is one processor";
  }
  SetQuota("/a/b", "100001 100000\n");
  EXPECT_EQ(Usable(), 2);
  SetQuota("/a/b", "1000 100000\n");
  EXPECT_EQ(Usable(), 1);
}

TEST_F(Processors, OfAGroupOfAnotherKindAreNotAskedFor) {
  SetQuota("/a", "100000 100000\n");
  SetOwn("12:cpu:/a\n1:name=systemd:/a\n");
  EXPECT_EQ(Usable(), allowed_);
  SetOwn("12:cpu:/\n0::/a/\n");
  EXPECT_EQ(Usable(), 1);
}

TEST_F(Processors, AreNoFewerForWhatIsNoQuota) {
  for (const char* const text :
       {"", "\n", "max", "x y\n", "-5 100000\n", "100000\n", "100000 0\n", "0 100000\n", "nan nan\n"}) {
    SetQuota("/a/b", text);
    EXPECT_EQ(Usable(), allowed_) << text;
  }
  EXPECT_EQ(UsableProcessors("/nowhere", "/nowhere"), allowed_);
}

}  // namespace
