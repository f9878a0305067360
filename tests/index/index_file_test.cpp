#include "index/index_file.h"

#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "index/made_reports.h"

class IndexFile : public testing::Test {
 protected:
  IndexFile() : folder_(OpenFolder(path_)) {}
  ~IndexFile() override { close(folder_); }

  std::string index() const { return path_ + "/index.html"; }
  void WriteIndex(const char* content) const {
    std::FILE* const file = BeginIndex(folder_);
    ASSERT_NE(file, nullptr);
    fputs(content, file);
    EXPECT_TRUE(FinishIndex(folder_, file));
  }
  size_t Files() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

  const std::string path_ = NewFolder();
  const int folder_;
  const std::string ours_ = std::string(kPageTop.text()) + Written(PutIndexMark) + "<title>";
};

TEST_F(IndexFile, IsWrittenAndReplaced) {
  WriteIndex("old");
  WriteIndex("new");
  EXPECT_EQ(ReadFile(index()), "new");
  EXPECT_EQ(Files(), 1U);
}

TEST_F(IndexFile, CanBeReadByWhomTheMaskLets) {
  umask(027);
  WriteIndex("x");
  struct stat info;
  ASSERT_EQ(stat(index().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640U);
}

TEST_F(IndexFile, IsOursWhenAbsentOrMade) {
  EXPECT_TRUE(IsIndexOurs(folder_));
  Write(index(), ours_);
  EXPECT_TRUE(IsIndexOurs(folder_));
}

TEST_F(IndexFile, OtherPagesAreNotOurs) {
  for (const std::string& page :
       {std::string(), std::string("<html>"), PageOf(Made("", "", kDay, kDay)), " " + ours_}) {
    Write(index(), page);
    EXPECT_FALSE(IsIndexOurs(folder_)) << page;
  }
}

TEST_F(IndexFile, WhatIsNoPlainFileIsNotOurs) {
  Write(path_ + "/real", ours_);
  std::filesystem::create_symlink("real", index());
  EXPECT_FALSE(IsIndexOurs(folder_));
  std::filesystem::remove(index());
  std::filesystem::create_symlink("absent", index());
  EXPECT_FALSE(IsIndexOurs(folder_));
  std::filesystem::remove(index());
  std::filesystem::create_directory(index());
  EXPECT_FALSE(IsIndexOurs(folder_));
  std::filesystem::remove(index());
  ASSERT_EQ(mkfifo(index().c_str(), 0600), 0);
  EXPECT_FALSE(IsIndexOurs(folder_));
}

// What stands under the hidden name is removed, never written to.
TEST_F(IndexFile, TakesTheHiddenNameFromWhateverHasIt) {
  Write(path_ + "/victim", "safe");
  std::filesystem::create_symlink("victim", path_ + "/.index.html.new");
  WriteIndex("new");
  EXPECT_EQ(ReadFile(path_ + "/victim"), "safe");
  EXPECT_FALSE(std::filesystem::is_symlink(index()));
  std::filesystem::create_hard_link(path_ + "/victim", path_ + "/.index.html.new");
  WriteIndex("newer");
  EXPECT_EQ(ReadFile(path_ + "/victim"), "safe");
  EXPECT_EQ(ReadFile(index()), "newer");
}

TEST_F(IndexFile, AFolderUnderTheHiddenNameIsAFailure) {
  std::filesystem::create_directory(path_ + "/.index.html.new");
  EXPECT_EQ(BeginIndex(folder_), nullptr);
}

TEST_F(IndexFile, TheOldOneStaysWhenTheNewOneCannotBeWritten) {
  WriteIndex("old");
  signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{.rlim_cur = 1000, .rlim_max = RLIM_INFINITY};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  std::FILE* const file = BeginIndex(folder_);
  ASSERT_NE(file, nullptr);
  fputs(std::string(100000, 'x').c_str(), file);
  EXPECT_FALSE(FinishIndex(folder_, file));
  EXPECT_EQ(ReadFile(index()), "old");
  EXPECT_EQ(Files(), 1U);
}

TEST_F(IndexFile, TheOldOneStaysWhenTheNewOneCannotTakeItsPlace) {
  std::filesystem::create_directories(index() + "/x");
  std::FILE* const file = BeginIndex(folder_);
  ASSERT_NE(file, nullptr);
  EXPECT_FALSE(FinishIndex(folder_, file));
  EXPECT_EQ(Files(), 1U);
}

TEST_F(IndexFile, OneAtATime) {
  WaitForTurn(folder_);
  const int other = OpenFolder(path_);
  EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0);
  close(other);
}
