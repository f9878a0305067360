#include "base/plain_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/text_file.h"

namespace {

// All that a file holds; "none" where it cannot be opened. Who waits is ended.
std::string ContentOf(const std::string& path) {
  alarm(20);
  FILE* const file = OpenPlainFile(path.c_str());
  if (file == nullptr) {
    return "none";
  }
  std::string content;
  for (int c; content.size() < 100 && (c = fgetc(file)) != EOF;) {
    content += static_cast<char>(c);
  }
  fclose(file);
  alarm(0);
  return content;
}

TEST(OpenPlainFile, ReadsAFile) {
  EXPECT_EQ(ContentOf(WriteFile("text", "one\ntwo\n")), "one\ntwo\n");
}

TEST(OpenPlainFile, FollowsALink) {
  const std::string link = NewPath("link");
  ASSERT_EQ(symlink(WriteFile("text", "one\n").c_str(), link.c_str()), 0);
  EXPECT_EQ(ContentOf(link), "one\n");
}

TEST(OpenPlainFile, MissingFileIsNone) {
  EXPECT_EQ(ContentOf(NewPath("missing")), "none");
}

TEST(OpenPlainFile, FolderHoldsNothing) {
  const std::string folder = NewPath("folder");
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  EXPECT_EQ(ContentOf(folder), "");
}

TEST(OpenPlainFile, PipeIsNotWaitedForAndHoldsNothing) {
  const std::string pipe = NewPath("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(ContentOf(pipe), "");
}

TEST(OpenPlainFile, DeviceHoldsNothing) {
  EXPECT_EQ(ContentOf("/dev/zero"), "");
}

}  // namespace
