#include "report/page_end.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/text_file.h"

namespace {

// Standard output goes to a file of its own, standard error to another.
class FinishPageTest : public testing::Test {
 protected:
  void SetUp() override {
    fflush(stdout);
    stdout_before_ = dup(STDOUT_FILENO);
    stderr_before_ = dup(STDERR_FILENO);
    SendTo(page_, STDOUT_FILENO);
    SendTo(errors_, STDERR_FILENO);
  }

  void TearDown() override {
    fflush(stdout);
    clearerr(stdout);
    dup2(stdout_before_, STDOUT_FILENO);
    dup2(stderr_before_, STDERR_FILENO);
    close(stdout_before_);
    close(stderr_before_);
  }

  static void SendTo(const std::string& path, int descriptor) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ASSERT_EQ(dup2(file, descriptor), descriptor);
    close(file);
  }

  const std::string page_ = NewPath("page");
  const std::string errors_ = NewPath("errors");
  int stdout_before_ = -1;
  int stderr_before_ = -1;
};

TEST_F(FinishPageTest, PageThatGoesOut) {
  fputs("page", stdout);
  EXPECT_EQ(FinishPage(), 0);
  EXPECT_EQ(ReadFile(page_), "page");
  EXPECT_EQ(ReadFile(errors_), "");
}

TEST_F(FinishPageTest, EndThatIsLost) {
  fputs("beginning", stdout);
  fflush(stdout);
  SendTo("/dev/full", STDOUT_FILENO);
  fputs("end", stdout);
  EXPECT_EQ(FinishPage(), 2);
  EXPECT_EQ(ReadFile(errors_), "orvellis: the page could not be written: No space left on device\n");
}

// A disk that has room again for the rest.
TEST_F(FinishPageTest, BeginningThatIsLost) {
  SendTo("/dev/full", STDOUT_FILENO);
  fputs("beginning", stdout);
  fflush(stdout);
  SendTo(page_, STDOUT_FILENO);
  fputs("end", stdout);
  EXPECT_EQ(FinishPage(), 2);
  EXPECT_EQ(ReadFile(errors_).substr(0, 41), "orvellis: the page could not be written: ");
}

// What was lost may have been all.
TEST_F(FinishPageTest, NothingLeftToSend) {
  SendTo("/dev/full", STDOUT_FILENO);
  fputs("page", stdout);
  fflush(stdout);
  SendTo(page_, STDOUT_FILENO);
  EXPECT_EQ(FinishPage(), 2);
}

}  // namespace
