#include "entry/stored_password.h"

#include <cerrno>

#include "support/text_file.h"

class StoredPasswordTest : public testing::Test {
 protected:
  Settings settings{};
  char stored[kTextSize] = "";

  void SetUp() override { CopyText(settings.username, "Ann"); }

  StoredPassword InFile(const std::string& content) {
    CopyText(settings.UserPasswords, WriteFile("passwords", content));
    return FindStoredPassword(settings, stored);
  }
};

TEST_F(StoredPasswordTest, TheAccountsLineComesFirst) {
  CopyText(settings.stored_password, "of the line");
  EXPECT_EQ(InFile("Ann:of the file\n"), StoredPassword::kFound);
  EXPECT_STREQ(stored, "of the line");
  CopyText(settings.UserPasswords, NewPath("missing"));
  EXPECT_EQ(FindStoredPassword(settings, stored), StoredPassword::kFound);
}

TEST_F(StoredPasswordTest, ThereMayBeNone) {
  EXPECT_EQ(FindStoredPassword(settings, stored), StoredPassword::kNone);
  EXPECT_EQ(InFile(""), StoredPassword::kNone);
  EXPECT_EQ(InFile("Anna:x\nAn:y\n#Ann:z\n;Ann:z\n Ann:z\nx:Ann:y\n"), StoredPassword::kNone);
  EXPECT_STREQ(stored, "");
}

TEST_F(StoredPasswordTest, TheFirstLineOfTheNameDecides) {
  EXPECT_EQ(InFile("bob:b\nann:first:more\nAnn:second\n"), StoredPassword::kFound);
  EXPECT_STREQ(stored, "first");
  EXPECT_EQ(InFile("ANN:with=equals\r\n"), StoredPassword::kFound);
  EXPECT_STREQ(stored, "with=equals");
  EXPECT_EQ(InFile("ann:\n"), StoredPassword::kFound);
  EXPECT_STREQ(stored, "");
}

TEST_F(StoredPasswordTest, LinesAreReadWhole) {
  EXPECT_EQ(InFile("bob:" + std::string(239, 'x') + "ann:forged\n"), StoredPassword::kNone);
  EXPECT_EQ(InFile("ann:" + std::string(243, 'x') + "\n"), StoredPassword::kFound);
  EXPECT_EQ(stored, std::string(243, 'x'));
  EXPECT_EQ(InFile("bob:" + std::string(100000, 'x') + "ann:forged\nann:own"), StoredPassword::kFound);
  EXPECT_STREQ(stored, "own");
}

TEST_F(StoredPasswordTest, ANameOfNothingHasNone) {
  CopyText(settings.username, "");
  EXPECT_EQ(InFile(":x\n"), StoredPassword::kNone);
}

TEST_F(StoredPasswordTest, AFileThatCannotBeOpenedIsTold) {
  CopyText(settings.UserPasswords, NewPath("missing"));
  EXPECT_EQ(FindStoredPassword(settings, stored), StoredPassword::kUnreadable);
  EXPECT_EQ(errno, ENOENT);
}
