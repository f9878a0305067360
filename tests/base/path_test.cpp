#include "base/path.h"

#include <gtest/gtest.h>

TEST(FolderLength, EndsBehindTheLastSlash) {
  EXPECT_EQ(FolderLength("/var/log/a.log"), 9U);
  EXPECT_EQ(FolderLength("/a.log"), 1U);
  EXPECT_EQ(FolderLength("logs/"), 5U);
  EXPECT_EQ(FolderLength("//"), 2U);
}

TEST(FolderLength, PathWithoutSlashHasNone) {
  EXPECT_EQ(FolderLength("a.log"), 0U);
  EXPECT_EQ(FolderLength(""), 0U);
}
