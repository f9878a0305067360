#include "index/report_folder.h"

#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "index/made_reports.h"

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ReportFolder : public testing::Test {
 protected:
  FoundReports Find() const {
    FoundReports found;
    const int folder = OpenFolder(path_);
    EXPECT_TRUE(FindReports(folder, found));
    close(folder);
    return found;
  }

  static std::vector<std::string> Names(const FoundReports& found) {
    std::vector<std::string> names;
    names.reserve(found.reports.size());
    for (const FoundReport& report : found.reports) {
      names.push_back(report.folder + "/" + report.file);
    }
    return names;
  }

  std::string path_ = NewFolder();
  std::string page_ = PageOf(Made("", "", kDay, kDay, 7));
};

TEST_F(ReportFolder, FindsReportsBesideTheIndexAndInFolders) {
  std::filesystem::create_directories(path_ + "/shop/deeper");
  Write(path_ + "/a.html", page_);
  Write(path_ + "/shop/b.html", page_);
  Write(path_ + "/shop/deeper/c.html", page_);
  const FoundReports found = Find();
  EXPECT_THAT(Names(found), UnorderedElementsAre("/a.html", "shop/b.html"));
  EXPECT_EQ(found.reports[0].summary.requests, 7);
  EXPECT_EQ(found.others, 0);
}

TEST_F(ReportFolder, OtherNamesAreNotLookedAt) {
  std::filesystem::create_directories(path_ + "/.hidden");
  std::filesystem::create_directories(path_ + "/shop");
  for (const char* name : {"/index.html", "/shop/index.html", "/.a.html", "/.hidden/a.html", "/.html",
                           "/a.json", "/a.htm", "/a.HTML", "/a.html~", "/html"}) {
    Write(path_ + name, page_);
  }
  const FoundReports found = Find();
  EXPECT_THAT(Names(found), IsEmpty());
  EXPECT_EQ(found.others, 0);
}

TEST_F(ReportFolder, WhatIsNoReportIsCounted) {
  Write(path_ + "/empty.html", "");
  Write(path_ + "/classic.html", "<html><head><title>A report</title>");
  Write(path_ + "/zeros.html", std::string(100000, '\0'));
  Write(path_ + "/utf16.html", std::string("\xFF\xFE<\0!\0", 6));
  Write(path_ + "/late.html", std::string(70000, ' ') + page_);
  Write(path_ + "/good.html", page_ + std::string(1 << 20, 'x'));
  const FoundReports found = Find();
  EXPECT_THAT(Names(found), UnorderedElementsAre("/good.html"));
  EXPECT_EQ(found.others, 5);
}

// Neither waits nor opens: a pipe has no writer, and a link may lead anywhere.
TEST_F(ReportFolder, NothingButPlainFilesIsOpened) {
  Write(path_ + "/a.html", page_);
  ASSERT_EQ(mkfifo((path_ + "/pipe.html").c_str(), 0600), 0);
  std::filesystem::create_symlink("a.html", path_ + "/link.html");
  std::filesystem::create_symlink("loop.html", path_ + "/loop.html");
  std::filesystem::create_symlink("/dev/zero", path_ + "/device.html");
  std::filesystem::create_symlink("absent", path_ + "/nowhere.html");
  const int local = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path_.copy(address.sun_path, sizeof address.sun_path - 1);
  std::string("/s.html").copy(address.sun_path + path_.size(), 8);
  ASSERT_EQ(bind(local, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  const FoundReports found = Find();
  close(local);
  EXPECT_THAT(Names(found), UnorderedElementsAre("/a.html"));
  EXPECT_EQ(found.others, 6);
}

// Opening is what a device may act upon, and what a writer of a pipe waits for.
TEST_F(ReportFolder, APipeIsNotEvenOpened) {
  Write(path_ + "/a.html", page_);
  ASSERT_EQ(mkfifo((path_ + "/pipe.html").c_str(), 0600), 0);
  const int watch = inotify_init1(IN_NONBLOCK);
  ASSERT_GE(inotify_add_watch(watch, path_.c_str(), IN_OPEN), 0);
  Find();
  char events[4096] = "";
  const ssize_t length = read(watch, events, sizeof events);
  close(watch);
  ASSERT_GT(length, 0);
  const std::string opened(events, static_cast<size_t>(length));
  EXPECT_THAT(opened, testing::HasSubstr("a.html"));
  EXPECT_THAT(opened, testing::Not(testing::HasSubstr("pipe.html")));
}

TEST_F(ReportFolder, FoldersAreNoPagesAndTheirLinksAreNotFollowed) {
  std::filesystem::create_directories(path_ + "/folder.html");
  Write(path_ + "/folder.html/a.html", page_);
  std::filesystem::create_symlink(".", path_ + "/circle");
  std::filesystem::create_directories(path_ + "/shop/other.html");
  const FoundReports found = Find();
  EXPECT_THAT(Names(found), UnorderedElementsAre("folder.html/a.html"));
  EXPECT_EQ(found.others, 0);
}

// Root reads everything, and is somebody else here.
TEST_F(ReportFolder, WhatMustNotBeReadIsCounted) {
  std::filesystem::create_directories(path_ + "/closed");
  Write(path_ + "/a.html", page_);
  Write(path_ + "/b.html", page_);
  chmod((path_ + "/a.html").c_str(), 0);
  chmod((path_ + "/closed").c_str(), 0);
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  const FoundReports found = Find();
  ASSERT_EQ(seteuid(user), 0);
  chmod((path_ + "/closed").c_str(), 0700);
  EXPECT_THAT(Names(found), UnorderedElementsAre("/b.html"));
  EXPECT_EQ(found.others, 1);
  EXPECT_EQ(found.closed_folders, 1);
}

TEST_F(ReportFolder, OddNamesStayAsTheyAre) {
  const std::string odd = "/a \"<b>\n\xFF%2e&'.html";
  Write(path_ + odd, page_);
  EXPECT_THAT(Names(Find()), UnorderedElementsAre(odd));
}

TEST(FindReports, AFolderThatIsNoneIsToldOf) {
  FoundReports found;
  const int file = open(WriteFile("file", "").c_str(), O_RDONLY);
  EXPECT_FALSE(FindReports(file, found));
  close(file);
}
