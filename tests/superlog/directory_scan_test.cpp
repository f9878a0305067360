#include "superlog/directory_scan.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/text_file.h"

namespace {

std::vector<std::string> Scan(const std::string& pattern) {
  std::vector<std::string> files;
  DirectoryScan scan;
  FoundFile found;
  if (FindFirst(scan, pattern.c_str(), found)) {
    do {
      files.push_back(std::string(found.name) + ":" + std::to_string(found.size));
    } while (FindNext(scan, found));
    FindClose(scan);
  }
  return files;
}

class DirectoryScanTest : public testing::Test {
 protected:
  void SetUp() override {
    directory = NewPath("scan");
    ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
  }

  void Write(const std::string& name, const std::string& content) {
    std::ofstream(directory + "/" + name) << content;
  }

  std::string directory;
};

using Files = std::vector<std::string>;

TEST_F(DirectoryScanTest, MatchesComeSortedByNameWithTheirSizes) {
  Write("b.log", "12345");
  Write("a.log", "");
  Write("c.txt", "x");
  EXPECT_EQ(Scan(directory + "/*.log"), (Files{"a.log:0", "b.log:5"}));
}

TEST_F(DirectoryScanTest, PatternWithoutWildcardMatchesItsFile) {
  Write("a.log", "123");
  EXPECT_EQ(Scan(directory + "/a.log"), Files{"a.log:3"});
}

TEST_F(DirectoryScanTest, EmptyPatternAndNoMatchGiveNothing) {
  EXPECT_EQ(Scan(""), Files{});
  EXPECT_EQ(Scan(directory + "/*"), Files{});
  EXPECT_EQ(Scan(directory + "/missing/a.log"), Files{});
}

TEST_F(DirectoryScanTest, HiddenFilesNeedAnExplicitDot) {
  Write(".hidden", "x");
  EXPECT_EQ(Scan(directory + "/*"), Files{});
  EXPECT_EQ(Scan(directory + "/.hid*"), Files{".hidden:1"});
}

TEST_F(DirectoryScanTest, FileThatCannotBeExaminedHasSizeZero) {
  ASSERT_EQ(symlink("nowhere", (directory + "/a.log").c_str()), 0);
  EXPECT_EQ(Scan(directory + "/*.log"), Files{"a.log:0"});
}

TEST_F(DirectoryScanTest, NamedPipeHasSizeZero) {
  ASSERT_EQ(mkfifo((directory + "/a.log").c_str(), 0600), 0);
  EXPECT_EQ(Scan(directory + "/*"), Files{"a.log:0"});
}

}  // namespace
