#include "superlog/directory_scan.h"

#include <glob.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/text_file.h"

namespace {

std::vector<std::string> Scan(const std::string& pattern) {
  std::vector<std::string> files;
  DirectoryScan scan;
  FoundFile found;
  StartScan(scan, pattern.c_str());
  while (FindNext(scan, found)) {
    files.push_back(std::string(found.name) + ":" + std::to_string(found.size));
  }
  FindClose(scan);
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

TEST_F(DirectoryScanTest, NamesAloneThenTheFilesAsTheyAreThen) {
  for (const std::string& pattern :
       {directory + "/*.log", directory.substr(0, directory.size() - 1) + "?/[ab].log"}) {
    SCOPED_TRACE(pattern);
    Write("a.log", "1");
    Write("b.log", "1");
    DirectoryScan scan;
    StartScan(scan, pattern.c_str());
    EXPECT_STREQ(NextName(scan).name, "a.log");
    EXPECT_STREQ(NextName(scan).name, "b.log");
    EXPECT_EQ(NextName(scan).name, nullptr);
    Write("a.log", "1234");
    Write("aa.log", "found too late");
    RewindScan(scan);
    FoundFile found;
    ASSERT_TRUE(FindNext(scan, found));
    EXPECT_STREQ(found.name, "a.log");
    EXPECT_EQ(found.size, 4);
    ASSERT_TRUE(FindNext(scan, found));
    EXPECT_STREQ(found.name, "b.log");
    EXPECT_FALSE(FindNext(scan, found));
    FindClose(scan);
    unlink((directory + "/aa.log").c_str());
  }
}

TEST_F(DirectoryScanTest, NeitherFoldersNorLinksArePlainFiles) {
  ASSERT_EQ(mkdir((directory + "/folder").c_str(), 0700), 0);
  ASSERT_EQ(symlink("folder", (directory + "/link").c_str()), 0);
  Write("plain", "");
  DirectoryScan scan;
  StartScan(scan, (directory + "/*").c_str());
  EXPECT_FALSE(NextName(scan).plain_file) << "folder";
  EXPECT_FALSE(NextName(scan).plain_file) << "link";
  const FoundName last = NextName(scan);
  EXPECT_STREQ(last.name, "plain");
  EXPECT_FALSE(NextName(scan).plain_file) << "none";
  FindClose(scan);
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

// What the system's glob finds, by name.
Files Globbed(const std::string& pattern) {
  Files files;
  glob_t matches = {};
  if (glob(pattern.c_str(), 0, nullptr, &matches) == 0) {
    for (size_t i = 0; i < matches.gl_pathc; ++i) {
      const std::string path = matches.gl_pathv[i];
      struct stat info;
      const long size = stat(path.c_str(), &info) == 0 ? static_cast<long>(info.st_size) : 0;
      files.push_back(path.substr(path.rfind('/') + 1) + ":" + std::to_string(size));
    }
  }
  globfree(&matches);
  return files;
}

TEST_F(DirectoryScanTest, FindsWhatGlobFinds) {
  for (const char* name :
       {"a.log", "b.log", "A.log", "a[b", "a*b", "a\\b", ".hidden", "ab", "\xE9.log", "x y.log"}) {
    Write(name, name);
  }
  const std::string by_wildcard = directory.substr(0, directory.size() - 1) + "[" + directory.back() + "]";
  size_t matches = 0;
  for (const char* pattern :
       {"*",      "*.log",   "?.log",   "[ab].log", "[!a].log", "a[b",    "a\\[b",     "a\\*b",
        "a\\\\b", "\\a.log", "a*",      "*b",       ".*d*",     ".",      "..",        "[",
        "[a",     "a.log",   "missing", "*y.log",   "\xE9.log", "\xE9*",  "[.]hidden", "?hidden",
        "",       "/",       "a.log/",  "a.log//",  "*.log/",   "/a.log", "ab\\",      "missing/"}) {
    EXPECT_EQ(Scan(directory + "/" + pattern), Globbed(directory + "/" + pattern)) << pattern;
    EXPECT_EQ(Scan(by_wildcard + "/" + pattern), Globbed(by_wildcard + "/" + pattern)) << pattern;
    matches += Scan(directory + "/" + pattern).size();
  }
  EXPECT_GT(matches, 30u);
}

TEST_F(DirectoryScanTest, PatternWithoutDirectoryIsOfTheWorkingFolder) {
  Write("a.log", "123");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory);
  EXPECT_EQ(Scan("*.log"), Files{"a.log:3"});
  EXPECT_EQ(Scan("a.log"), Files{"a.log:3"});
  std::filesystem::current_path(before);
}

}  // namespace
