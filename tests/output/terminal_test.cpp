#include "output/terminal.h"

#include <gtest/gtest.h>

#include <cstdlib>

class TerminalTest : public testing::Test {
 protected:
  TerminalTest() {
    for (const char* name : {"COLUMNS", "NO_COLOR", "CLICOLOR_FORCE", "TERM"}) {
      unsetenv(name);
    }
  }

  static size_t Width(const char* columns) {
    setenv("COLUMNS", columns, 1);
    return TerminalOf(true).width;
  }
};

TEST_F(TerminalTest, WidthIsThatOfTheVariableWithinReason) {
  EXPECT_EQ(Width("120"), 120U);
  EXPECT_EQ(Width("3"), 40U);
  EXPECT_EQ(Width("1000000"), 1000U);
}

TEST_F(TerminalTest, ColoursCanBeForcedAndForbidden) {
  setenv("CLICOLOR_FORCE", "0", 1);
  testing::internal::CaptureStdout();  // no terminal
  EXPECT_FALSE(TerminalOf(true).colours);
  setenv("CLICOLOR_FORCE", "1", 1);
  EXPECT_TRUE(TerminalOf(true).colours);
  EXPECT_FALSE(TerminalOf(false).colours);
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(TerminalOf(true).colours);
  setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(TerminalOf(true).colours);
  testing::internal::GetCapturedStdout();
}

TEST_F(TerminalTest, AFileIsAsWideAsUsual) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(TerminalOf(true).width, 80U);
  EXPECT_EQ(Width("-5"), 80U);
  EXPECT_EQ(Width("x"), 80U);
  EXPECT_EQ(TerminalOf(false).width, 80U);
  testing::internal::GetCapturedStdout();
}
