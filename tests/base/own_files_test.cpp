#include "base/own_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "support/text_file.h"

namespace {

class OwnFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    folder = NewPath("own");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    path = folder + "/file";
    std::ofstream(path) << "text";
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
  }

  bool Opens() {
    struct stat info;
    const int file = OpenOwnFile(path.c_str(), info);
    if (file >= 0) {
      EXPECT_EQ(info.st_size, 4);
      close(file);
    }
    return file >= 0;
  }

  std::string folder;
  std::string path;
};

TEST_F(OwnFilesTest, FolderIsOneThatNobodyElseWritesInto) {
  EXPECT_TRUE(IsOwnFolder(folder.c_str()));
  for (const mode_t mode : {0700, 0755, 0500}) {
    chmod(folder.c_str(), mode);
    EXPECT_TRUE(IsOwnFolder(folder.c_str())) << std::oct << mode;
  }
  for (const mode_t mode : {0720, 0702, 01777}) {
    chmod(folder.c_str(), mode);
    EXPECT_FALSE(IsOwnFolder(folder.c_str())) << std::oct << mode;
  }
}

TEST_F(OwnFilesTest, LinkFileAndNothingAreNoFolder) {
  const std::string link = folder + "/link";
  ASSERT_EQ(symlink(folder.c_str(), link.c_str()), 0);
  EXPECT_FALSE(IsOwnFolder(link.c_str()));
  EXPECT_FALSE(IsOwnFolder(path.c_str()));
  EXPECT_FALSE(IsOwnFolder((folder + "/missing").c_str()));
  EXPECT_FALSE(IsOwnFolder(""));
}

TEST_F(OwnFilesTest, FileIsOneThatNobodyElseWritesInto) {
  EXPECT_TRUE(Opens());
  for (const mode_t mode : {0644, 0400}) {
    chmod(path.c_str(), mode);
    EXPECT_TRUE(Opens()) << std::oct << mode;
  }
  for (const mode_t mode : {0620, 0602, 0666}) {
    chmod(path.c_str(), mode);
    EXPECT_FALSE(Opens()) << std::oct << mode;
  }
}

TEST_F(OwnFilesTest, FileOfTwoNamesMayBeAnotherOnes) {
  ASSERT_EQ(link(path.c_str(), (folder + "/other").c_str()), 0);
  EXPECT_FALSE(Opens());
  unlink((folder + "/other").c_str());
  EXPECT_TRUE(Opens());
}

TEST_F(OwnFilesTest, LinkPipeAndFolderAreNoFile) {
  rename(path.c_str(), (folder + "/other").c_str());
  EXPECT_FALSE(Opens()) << "nothing";
  ASSERT_EQ(symlink((folder + "/other").c_str(), path.c_str()), 0);
  EXPECT_FALSE(Opens()) << "a link";
  unlink(path.c_str());
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  alarm(20);  // for who waits
  EXPECT_FALSE(Opens()) << "a pipe";
  alarm(0);
  unlink(path.c_str());
  ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  EXPECT_FALSE(Opens()) << "a folder";
}

TEST_F(OwnFilesTest, OthersOwnTheirs) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give files away";
  }
  ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
  EXPECT_FALSE(Opens());
  ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
  EXPECT_FALSE(IsOwnFolder(folder.c_str()));
}

}  // namespace
