#include "base/foreign_link.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/text_file.h"

namespace {

class ForeignLinkTest : public testing::Test {
 protected:
  void SetUp() override {
    folder = NewPath("folder");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    link = folder + "/link";
    ASSERT_EQ(symlink("file", link.c_str()), 0);
  }
  void Expect(bool foreign) {
    EXPECT_EQ(FollowOwnLinksOnly(link.c_str()), foreign ? O_NOFOLLOW : 0);
    EXPECT_EQ(IsForeignLink(link.c_str()), foreign);
  }

  std::string folder;
  std::string link;
};

TEST_F(ForeignLinkTest, OwnFolderHasOwnLinks) {
  Expect(false);
  chmod(folder.c_str(), 0755);
  Expect(false);
}

TEST_F(ForeignLinkTest, WhereOthersWriteLinksAreTheirs) {
  for (const mode_t mode : {0770, 0703, 01777}) {
    chmod(folder.c_str(), mode);
    Expect(true);
  }
}

TEST_F(ForeignLinkTest, WhatIsNoLinkIsNoForeignOne) {
  chmod(folder.c_str(), 01777);
  std::ofstream(folder + "/file") << "text";
  EXPECT_FALSE(IsForeignLink((folder + "/file").c_str()));
  EXPECT_FALSE(IsForeignLink((folder + "/none").c_str()));
  EXPECT_EQ(FollowOwnLinksOnly((folder + "/none/file").c_str()), 0);
}

TEST_F(ForeignLinkTest, FolderOfSomebodyElseIsForeignAndRootsIsNot) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a folder away";
  }
  ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
  Expect(true);
  EXPECT_EQ(FollowOwnLinksOnly("/etc/passwd"), 0);
}

}  // namespace
