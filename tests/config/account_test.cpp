#include "config/account.h"

#include <arpa/inet.h>

#include "analysis/dns_cache.h"
#include "analysis/dns_cache_internal.h"
#include "support/text_file.h"

class AccountTest : public testing::Test {
 protected:
  Settings settings{};
  Environment env{};

  void SetUp() override { CopyText(settings.username, "ann"); }

  void Type(const char* password) { CopyText(settings.password_form, password); }

  void UsePasswordFile(const std::string& content) {
    CopyText(settings.UserPasswords, WriteFile("passwords", content));
  }

  bool Verified(const char* typed) {
    Type(typed);
    return VerifyPassword(settings) == kNoError;
  }
};

// ---- ValidateSession ----

using ValidateSessionTest = AccountTest;

TEST_F(ValidateSessionTest, InternalRequesterNeedsNoPassword) {
  CopyText(settings.InternalIp, "192.168.");
  CopyText(settings.password_account, "secret");
  CopyText(env.REMOTE_ADDR, "192.168.0.7");
  EXPECT_EQ(ValidateSession(env, settings), kNoError);
}

TEST_F(ValidateSessionTest, StarPasswordAcceptsEverybody) {
  CopyText(settings.password_account, "*");
  Type("anything");
  EXPECT_EQ(ValidateSession(env, settings), kNoError);
}

TEST_F(ValidateSessionTest, PasswordIgnoresCaseDeliberately) {
  CopyText(settings.password_account, "SeCret");
  Type("sEcreT");
  EXPECT_EQ(ValidateSession(env, settings), kNoError);
}

TEST_F(ValidateSessionTest, WrongPasswordIsError2) {
  CopyText(settings.password_account, "secret");
  for (const char* typed : {"", "secre", "secret1", "*"}) {
    SCOPED_TRACE(typed);
    Type(typed);
    EXPECT_EQ(ValidateSession(env, settings), kErrorRejected);
  }
}

TEST_F(ValidateSessionTest, StarWithMoreIsAPassword) {
  CopyText(settings.password_account, "**");
  EXPECT_EQ(ValidateSession(env, settings), kErrorRejected);
}

TEST_F(ValidateSessionTest, AccountPasswordKeepsThePasswordFileOut) {
  UsePasswordFile("ann:*\n");
  CopyText(settings.password_account, "secret");
  Type("other");
  EXPECT_EQ(ValidateSession(env, settings), kErrorRejected);
}

TEST_F(ValidateSessionTest, WithoutAnyPasswordTheAccountIsOpen) {
  EXPECT_EQ(ValidateSession(env, settings), kNoError);
}

TEST_F(ValidateSessionTest, PasswordFileDecidesForAnAccountWithoutPassword) {
  UsePasswordFile("ann:*\nbob:secret\n");
  Type("anything");
  EXPECT_EQ(ValidateSession(env, settings), kNoError);
  CopyText(settings.username, "bob");
  EXPECT_EQ(ValidateSession(env, settings), kErrorRejected);
}

// ---- LocalIP ----

static int mQueries;

// Knows one address by name.
static hostent* OneHostResolver(const void* address, socklen_t, int) {
  ++mQueries;
  static char name[] = "host.example.test";
  static hostent record = {};
  record.h_name = name;
  const in_addr_t known = inet_addr("192.0.2.7");
  return memcmp(address, &known, sizeof known) == 0 ? &record : nullptr;
}

class LocalIPTest : public testing::Test {
 protected:
  void SetUp() override {
    mpResolver = OneHostResolver;
    mQueries = 0;
  }
  void TearDown() override { DestroyDNSCache(); }

  static bool Local(const char* internal_ip, const char* host, const char* address) {
    Settings settings{};
    CopyText(settings.InternalIp, internal_ip);
    return LocalIP(settings, host, address);
  }
};

TEST_F(LocalIPTest, EmptyListAdmitsNobody) {
  EXPECT_FALSE(Local("", "", ""));
  EXPECT_FALSE(Local("", "visitor.example.com", "192.0.2.1"));
}

TEST_F(LocalIPTest, FragmentMayStandAnywhereInTheAddress) {
  EXPECT_TRUE(Local("192.168.", "", "192.168.0.7"));
  EXPECT_TRUE(Local("10.1.", "", "192.10.1.7"));
  EXPECT_FALSE(Local("10.1.", "", "10.2.0.1"));
}

TEST_F(LocalIPTest, FragmentMayStandAnywhereInTheName) {
  EXPECT_TRUE(Local("example.test", "host.example.test.example.com", "192.0.2.1"));
  EXPECT_FALSE(Local("example.test", "host.example.com", "192.0.2.1"));
}

TEST_F(LocalIPTest, MatchIsCaseSensitive) {
  EXPECT_FALSE(Local("Example.test", "host.example.test", "192.0.2.1"));
}

TEST_F(LocalIPTest, EachFragmentIsTried) {
  EXPECT_TRUE(Local("10.,example.test,198.51.", "host.example.com", "198.51.100.1"));
  EXPECT_TRUE(Local("10.,example.test,198.51.", "host.example.test", "203.0.113.1"));
  EXPECT_FALSE(Local("10.,example.test,198.51.", "host.example.com", "203.0.113.1"));
}

TEST_F(LocalIPTest, SemicolonSeparatesNothing) {
  EXPECT_FALSE(Local("10.;198.51.", "", "198.51.100.1"));
}

TEST_F(LocalIPTest, EmptyFragmentAdmitsEverybodyDeliberately) {
  for (const char* list : {"10.,", ",10.", "10.,,example.test", ","}) {
    SCOPED_TRACE(list);
    EXPECT_TRUE(Local(list, "", ""));
    EXPECT_TRUE(Local(list, "host.example.com", "203.0.113.1"));
  }
}

TEST_F(LocalIPTest, NumericHostIsNotLookedUpWhenAllFragmentsAreNumeric) {
  EXPECT_TRUE(Local("203.0.;1,192.0.", "192.0.2.7", ""));
  EXPECT_FALSE(Local("10.", "192.0.2.7", ""));
  EXPECT_EQ(mQueries, 0);
}

TEST_F(LocalIPTest, NumericHostIsReplacedByItsNameWhenAFragmentIsAName) {
  EXPECT_TRUE(Local("example.test", "192.0.2.7", "203.0.113.1"));
  EXPECT_EQ(mQueries, 1);
  EXPECT_FALSE(Local("192.0.,example.com", "192.0.2.7", "203.0.113.1")) << "the name is tested instead";
  EXPECT_TRUE(Local("192.0.,example.com", "192.0.2.7", "192.0.2.7")) << "the address is tested always";
}

TEST_F(LocalIPTest, NumericHostWithoutNameIsTestedAsItStands) {
  EXPECT_TRUE(Local("example.test,198.51.", "198.51.100.1", ""));
  EXPECT_FALSE(Local("example.test", "198.51.100.1", "192.0.2.1"));
  EXPECT_EQ(mQueries, 1);
}

TEST_F(LocalIPTest, HostNameOrAbsentHostIsNeverLookedUp) {
  EXPECT_FALSE(Local("example.test", "host.example.com", "192.0.2.7"));
  EXPECT_FALSE(Local("example.test", "", "192.0.2.7"));
  EXPECT_EQ(mQueries, 0);
}

TEST_F(LocalIPTest, EmptyListAsksNobody) {
  EXPECT_FALSE(Local("", "192.0.2.7", "192.0.2.7"));
  EXPECT_EQ(mQueries, 0);
}

TEST_F(LocalIPTest, LongestFragmentIsTriedWhole) {
  const std::string fragment(kTextMax, 'x');
  EXPECT_FALSE(Local(fragment.c_str(), std::string(99, 'x').c_str(), ""));
  EXPECT_TRUE(Local(fragment.c_str(), fragment.c_str(), ""));
}

// ---- VerifyPassword ----

using VerifyPasswordTest = AccountTest;

TEST_F(VerifyPasswordTest, WithoutPasswordFileEverybodyIsAccepted) {
  EXPECT_TRUE(Verified("anything"));
}

TEST_F(VerifyPasswordTest, MissingPasswordFileIsError10) {
  CopyText(settings.UserPasswords, NewPath("missing"));
  EXPECT_EQ(VerifyPassword(settings), kErrorPasswordFile);
  EXPECT_EQ(ValidateSession(env, settings), kErrorPasswordFile);
}

TEST_F(VerifyPasswordTest, SystemIsAPathDeliberately) {
  const std::string folder = NewPath("system_is_a_path");
  ASSERT_TRUE(std::filesystem::create_directory(folder));
  ASSERT_EQ(chdir(folder.c_str()), 0);
  const std::string path = folder + "/system";
  std::ofstream(path) << "ann:secret\n";
  CopyText(settings.UserPasswords, "system");
  EXPECT_TRUE(Verified("secret"));
  EXPECT_FALSE(Verified("wrong"));
  unlink(path.c_str());
  EXPECT_EQ(VerifyPassword(settings), kErrorPasswordFile);
}

TEST_F(VerifyPasswordTest, FolderHoldsNoUser) {
  CopyText(settings.UserPasswords, testing::TempDir());
  EXPECT_FALSE(Verified(""));
}

TEST_F(VerifyPasswordTest, UnknownUserIsRejected) {
  UsePasswordFile("bob:*\nanne:*\nan:*\nann\n ann:*\n");
  EXPECT_FALSE(Verified(""));
}

TEST_F(VerifyPasswordTest, CommentsAreSkipped) {
  CopyText(settings.username, "#ann");
  UsePasswordFile("#ann:*\n");
  EXPECT_FALSE(Verified(""));
  CopyText(settings.username, ";ann");
  UsePasswordFile(";ann:*\n");
  EXPECT_FALSE(Verified(""));
}

TEST_F(VerifyPasswordTest, UserNameIgnoresCase) {
  UsePasswordFile("ANN:secret\n");
  EXPECT_TRUE(Verified("secret"));
}

TEST_F(VerifyPasswordTest, FirstLineOfTheUserDecides) {
  UsePasswordFile("ann:first\nann:*\n");
  EXPECT_TRUE(Verified("first"));
  EXPECT_FALSE(Verified("second"));
}

TEST_F(VerifyPasswordTest, StoredPasswordEndsAtColonCrLfOrTheEnd) {
  for (const char* line : {"ann:secret:100:/home/ann\n", "ann:secret\r\n", "ann:secret\n", "ann:secret"}) {
    SCOPED_TRACE(line);
    UsePasswordFile(line);
    EXPECT_TRUE(Verified("secret"));
    EXPECT_TRUE(Verified("SECRET"));
    EXPECT_FALSE(Verified("secret:100"));
    EXPECT_FALSE(Verified(""));
  }
}

TEST_F(VerifyPasswordTest, StarAcceptsAnyPassword) {
  UsePasswordFile("ann:*\n");
  EXPECT_TRUE(Verified("anything"));
  EXPECT_TRUE(Verified(""));
  UsePasswordFile("ann:**\n");
  EXPECT_FALSE(Verified("anything"));
}

TEST_F(VerifyPasswordTest, EmptyStoredPasswordAcceptsAnEmptyTypedOne) {
  UsePasswordFile("ann::rest\n");
  EXPECT_TRUE(Verified(""));
  EXPECT_FALSE(Verified("x"));
}

TEST_F(VerifyPasswordTest, ClassicHashAcceptsItsPassword) {
  UsePasswordFile("ann:rl.3StKT.4T8M\n");
  EXPECT_TRUE(Verified("rasmuslerdorf"));
  EXPECT_FALSE(Verified("rasmus"));
  EXPECT_FALSE(Verified(""));
}

TEST_F(VerifyPasswordTest, OtherHashesOfTheSystemAreAccepted) {
  UsePasswordFile("ann:$1$rasmusle$rISCgZzpwk3UhDidwXvin0\n");
  EXPECT_TRUE(Verified("rasmuslerdorf"));
  EXPECT_FALSE(Verified("rasmus"));
}

TEST_F(VerifyPasswordTest, HashIgnoresCaseDeliberately) {
  UsePasswordFile("ann:rl.3STKT.4T8m\n");
  EXPECT_TRUE(Verified("rasmuslerdorf"));
}

TEST_F(VerifyPasswordTest, TextThatIsNoSaltMatchesOnlyItself) {
  for (const char* stored : {"*0", "*1", "x", "$9$unknown$scheme", "!!"}) {
    SCOPED_TRACE(stored);
    UsePasswordFile(std::string("ann:") + stored + "\n");
    EXPECT_FALSE(Verified("secret"));
    EXPECT_TRUE(Verified(stored));
  }
}

TEST_F(VerifyPasswordTest, PiecesOfALongLineAreTestedAsLines) {
  const std::string users_line = "ann:secret\n";
  const std::string comment = "#";
  const std::string piece(243, 'x');
  const std::string shorter(242, 'x');
  UsePasswordFile(piece + users_line);
  EXPECT_TRUE(Verified("secret"));
  UsePasswordFile(comment + shorter + users_line);
  EXPECT_TRUE(Verified("secret"));
  UsePasswordFile(shorter + users_line);
  EXPECT_FALSE(Verified("secret"));
}

TEST_F(VerifyPasswordTest, FirstPieceOfALongUsersLineDecides) {
  const std::string start = "ann:";
  const std::string rest_of_piece(239, 'x');
  UsePasswordFile(start + rest_of_piece + "ann:other\n");
  EXPECT_FALSE(Verified("other"));
  EXPECT_FALSE(Verified(std::string(99, 'x').c_str()));
}

TEST_F(VerifyPasswordTest, BinaryFileIsReadToItsEnd) {
  std::string junk;
  for (int i = 0; i < 5000; ++i) {
    junk += static_cast<char>(i * 7);
  }
  UsePasswordFile(junk + "\nann:secret\n");
  EXPECT_TRUE(Verified("secret"));
}
