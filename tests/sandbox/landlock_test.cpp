#include "sandbox/landlock.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "run/shut_in.h"
#include "support/attempts.h"
#include "support/text_file.h"

namespace {

constexpr PathRights kToRead{.file = kReadFile, .folder = kListFolder};

// A process that allowed nothing but what allow says, and then tries; 255 when it could not enter.
class LandlockTest : public testing::Test {
 protected:
  void SetUp() override {
    Landlock landlock;
    if (!kShutsIn || !BeginLandlock(landlock)) {
      GTEST_SKIP() << "nothing to enter";
    }
    files = landlock.file_rights;
    network = landlock.network_rights;
    close(landlock.rules);
    folder = NewPath("folder");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    std::ofstream(folder + "/a") << "a";
    std::ofstream(folder + "/b") << "b";
  }

  static int Inside(const std::function<void(Landlock&)>& allow, const Attempt& attempt) {
    return InChild([&] {
      Landlock landlock;
      BeginLandlock(landlock);
      allow(landlock);
      return EnterLandlock(landlock) == 0 ? attempt() : 255;
    });
  }

  std::string In(const char* name) const { return folder + "/" + name; }
  Attempt Open(const char* name, int flags) const {
    return [path = In(name), flags] { return TryOpen(path, flags); };
  }

  std::uint64_t files = 0;
  std::uint64_t network = 0;
  std::string folder;
};

TEST_F(LandlockTest, OnlyWhatWasAllowedCanBeRead) {
  const auto allow = [&](Landlock& landlock) { EXPECT_TRUE(AllowPath(landlock, In("a").c_str(), kToRead)); };
  EXPECT_EQ(Inside(allow, Open("a", O_RDONLY)), 0);
  EXPECT_EQ(Inside(allow, Open("a", O_WRONLY)), EACCES);
  EXPECT_EQ(Inside(allow, Open("b", O_RDONLY)), EACCES);
  EXPECT_EQ(Inside(allow, Open(".", O_RDONLY)), EACCES);
  EXPECT_EQ(InChild(Open("b", O_RDONLY)), 0) << "outside";
}

TEST_F(LandlockTest, FolderToListIsNotOneToReadIn) {
  const auto allow = [&](Landlock& landlock) { EXPECT_TRUE(AllowPath(landlock, folder.c_str(), kToRead)); };
  EXPECT_EQ(Inside(allow, Open(".", O_RDONLY)), 0);
  EXPECT_EQ(Inside(allow, Open("a", O_RDONLY)), EACCES);
}

TEST_F(LandlockTest, LinkAllowsWhereItLeads) {
  ASSERT_EQ(symlink("a", In("link").c_str()), 0);
  const auto allow = [&](Landlock& landlock) { AllowPath(landlock, In("link").c_str(), kToRead); };
  EXPECT_EQ(Inside(allow, Open("link", O_RDONLY)), 0);
  EXPECT_EQ(Inside(allow, Open("a", O_RDONLY)), 0);
  EXPECT_EQ(Inside(allow, Open("b", O_RDONLY)), EACCES);
}

TEST_F(LandlockTest, KnownFileIsAllowedLikeAnyPath) {
  const auto allow = [&](Landlock& landlock) {
    AllowFile(landlock, In("a").c_str(), kReadFile);
    AllowFile(landlock, In("missing").c_str(), kReadFile);
  };
  EXPECT_EQ(Inside(allow, Open("a", O_RDONLY)), 0);
  EXPECT_EQ(Inside(allow, Open("b", O_RDONLY)), EACCES);
}

TEST_F(LandlockTest, FolderToMakeFilesInLetsNoneBeReadOrRemoved) {
  const auto allow = [&](Landlock& landlock) {
    AllowPath(landlock, folder.c_str(), {.file = 0, .folder = kMakeFile | kWriteFile});
  };
  EXPECT_EQ(Inside(allow, Open("new", O_WRONLY | O_CREAT)), 0);
  EXPECT_EQ(Inside(allow, Open("a", O_RDONLY)), EACCES);
  EXPECT_EQ(Inside(allow, [&] { return ErrorOf(unlink(In("a").c_str())); }), EACCES);
  EXPECT_EQ(Inside(allow, [&] { return ErrorOf(mkdir(In("sub").c_str(), 0700)); }), EACCES);
  EXPECT_EQ(Inside(allow, [&] { return ErrorOf(symlink("a", In("link").c_str())); }), EACCES);
}

TEST_F(LandlockTest, WhatIsMissingOrOutOfReachAllowsNothing) {
  const auto allow = [&](Landlock& landlock) {
    EXPECT_FALSE(AllowPath(landlock, In("missing").c_str(), kToRead));
    EXPECT_FALSE(AllowPath(landlock, In("a/below").c_str(), kToRead));
    EXPECT_FALSE(AllowPath(landlock, "", kToRead));
    EXPECT_FALSE(AllowPath(landlock, std::string(10000, 'x').c_str(), kToRead));
  };
  EXPECT_EQ(Inside(allow, Open("a", O_RDONLY)), EACCES);
}

TEST_F(LandlockTest, PipeWithoutANameNeedsNoPermission) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string name = "/proc/self/fd/" + std::to_string(ends[0]);
  const auto allow = [&](Landlock& landlock) { EXPECT_TRUE(AllowPath(landlock, name.c_str(), kToRead)); };
  EXPECT_EQ(Inside(allow, [&] { return TryOpen(name, O_RDONLY | O_NONBLOCK); }), 0);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(LandlockTest, WhatIsOpenStaysOpen) {
  const int file = open(In("a").c_str(), O_RDONLY | O_CLOEXEC);
  char byte = 0;
  EXPECT_EQ(Inside([](Landlock&) {}, [&] { return read(file, &byte, 1) == 1 ? 0 : 1; }), 0);
  close(file);
}

TEST_F(LandlockTest, RuleThatCannotBeMadeKeepsTheProcessOutside) {
  const auto spoil = [&](Landlock& landlock) {
    close(landlock.rules);
    landlock.rules = open(In("a").c_str(), O_RDONLY | O_CLOEXEC);
    AllowPath(landlock, In("a").c_str(), kToRead);
  };
  EXPECT_EQ(Inside(spoil, Open("b", O_RDONLY)), 255);
  EXPECT_EQ(InChild([&] {
              Landlock landlock;
              BeginLandlock(landlock);
              spoil(landlock);
              return EnterLandlock(landlock) == EBADFD ? TryOpen(In("b"), O_RDONLY) : 255;
            }),
            0);
}

TEST_F(LandlockTest, NoProgramIsStarted) {
  const auto start = [] { return ErrorOf(execl("/bin/true", "true", nullptr)); };
  EXPECT_EQ(Inside([](Landlock&) {}, start), EACCES);
  EXPECT_EQ(InChild(start), 0) << "outside";
}

TEST_F(LandlockTest, TcpToAllowedPortsOnly) {
  if (network == 0) {
    GTEST_SKIP() << "the kernel knows no rules of ports";
  }
  const Listener allowed;
  const Listener other;
  const auto allow = [&](Landlock& landlock) { AllowTcpTo(landlock, static_cast<uint16_t>(allowed.Port())); };
  EXPECT_EQ(Inside(allow, [&] { return allowed.TryConnect(); }), 0);
  EXPECT_EQ(Inside(allow, [&] { return other.TryConnect(); }), EACCES);
  EXPECT_EQ(InChild([&] { return other.TryConnect(); }), 0) << "outside";
}

}  // namespace
