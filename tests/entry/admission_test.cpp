#include "entry/admission.h"

#include <crypt.h>
#include <gmock/gmock.h>

#include <ctime>
#include <vector>

#include "entry/login_limits.h"
#include "entry/visitor.h"
#include "support/text_file.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// ---- What the program asks of the system, noted down ----

static int mHashes = 0;
static std::vector<timespec> mWaits;

extern "C" char* __real_crypt(const char* typed, const char* stored);
extern "C" char* __wrap_crypt(const char* typed, const char* stored) {
  ++mHashes;
  return __real_crypt(typed, stored);
}

extern "C" int __wrap_clock_nanosleep(clockid_t, int, const timespec* moment, timespec*) {
  mWaits.push_back(*moment);
  return 0;
}

// "Right password", hashed in little time.
static constexpr char kStoredHash[] =
    "$5$rounds=1000$hHrFWepvJi/knQ/p$9F5/FWOhI1Hjcxg3s1uERv/S.Qvickp4rUxr/yv.Dv0";

class AdmitTest : public testing::Test {
 protected:
  Settings settings{};
  Environment env{};
  bool account_found = true;

  void SetUp() override {
    mHashes = 0;
    mWaits.clear();
    CopyText(settings.username, "shop");
    CopyText(settings.stored_password, kStoredHash);
    CopyText(settings.ErrorLog, NewPath("error.log"));
    CopyText(settings.LoginLimits, NewPath("limits"));
    CopyText(env.REMOTE_ADDR, "203.0.113.9");
    CopyText(env.REQUEST_METHOD, "POST");
  }

  Refusal Ask(const char* password = "") {
    CopyText(settings.typed_password, password);
    MeetVisitor(env, settings.TrustedProxies);
    return Admit(account_found, env, settings);
  }
  Error Answer(const char* password = "") { return Ask(password).error; }

  std::string Log() { return ReadFile(settings.ErrorLog); }

  // Which neither counted nor hashed anything, as passwords are.
  bool EntersWithoutAPassword() {
    const bool admitted = Answer("") == kNoError;
    EXPECT_EQ(mHashes, admitted ? 0 : 1);
    EXPECT_EQ(access(settings.LoginLimits, F_OK) == 0, !admitted);
    unlink(settings.LoginLimits);
    mHashes = 0;
    return admitted;
  }
};

// ---- Passwords ----

TEST_F(AdmitTest, ThePasswordOfTheHashAdmits) {
  EXPECT_EQ(Answer("Right password"), kNoError);
  EXPECT_EQ(mHashes, 1);
  EXPECT_TRUE(mWaits.empty());
  EXPECT_EQ(Log(), "");
}

TEST_F(AdmitTest, AnotherPasswordIsRefused) {
  for (const char* const typed : {"", "right password", "Right password ", kStoredHash, "*"}) {
    SetUp();
    EXPECT_EQ(Answer(typed), kErrorRejected) << typed;
    EXPECT_EQ(mHashes, 1);
    EXPECT_EQ(mWaits.size(), 1U);
    EXPECT_THAT(Log(), EndsWith("] 203.0.113.9 \"shop\" refused: wrong password\n"));
  }
}

TEST_F(AdmitTest, AHashOfTheFileAdmits) {
  CopyText(settings.stored_password, "");
  CopyText(settings.UserPasswords, WriteFile("passwords", std::string("SHOP:") + kStoredHash + ":more\n"));
  EXPECT_EQ(Answer("Right password"), kNoError);
  EXPECT_EQ(Answer("wrong"), kErrorRejected);
}

TEST_F(AdmitTest, OnlyTheLineOpensAnAccountByAStar) {
  CopyText(settings.stored_password, "*");
  EXPECT_TRUE(EntersWithoutAPassword());
  CopyText(settings.stored_password, "");
  for (const char* const stored : {"*", "!", ""}) {
    CopyText(settings.UserPasswords, WriteFile("passwords", std::string("shop:") + stored + "\n"));
    EXPECT_EQ(Answer(stored), kErrorRejected) << stored;
    EXPECT_THAT(Log(), EndsWith("refused: no password rule\n"));
  }
}

TEST_F(AdmitTest, NoPasswordRuleAdmitsNobody) {
  CopyText(settings.stored_password, "");
  EXPECT_EQ(Answer(""), kErrorRejected);
  EXPECT_THAT(Log(), EndsWith("] 203.0.113.9 \"shop\" refused: no password rule\n"));
}

TEST_F(AdmitTest, APlainTextAdmitsNobodyAndIsNotShown) {
  CopyText(settings.stored_password, "Secret7");
  EXPECT_EQ(Answer("Secret7"), kErrorRejected);
  EXPECT_THAT(Log(), EndsWith("refused: password not hashed, which is mended by \"orvellis-passwd shop\"\n"));
  CopyText(settings.stored_password, "");
  CopyText(settings.UserPasswords, WriteFile("passwords", "shop:Secret7\n"));
  EXPECT_EQ(Answer("Secret7"), kErrorRejected);
  EXPECT_THAT(Log(), Not(HasSubstr("Secret7")));
}

TEST_F(AdmitTest, AnUnreadablePasswordFileIsARefusalLikeOthers) {
  CopyText(settings.stored_password, "");
  CopyText(settings.UserPasswords, NewPath("missing"));
  EXPECT_EQ(Answer("x"), kErrorRejected);
  EXPECT_EQ(mHashes, 1);
  EXPECT_THAT(Log(), EndsWith("password file cannot be read: \"No such file or directory\"\n"));
}

TEST_F(AdmitTest, AnUnreadablePasswordFileMattersOnlyToWhomItIsFor) {
  CopyText(settings.UserPasswords, NewPath("missing"));
  EXPECT_EQ(Answer("Right password"), kNoError);
  EXPECT_EQ(Log(), "");
}

// ---- What a refusal tells ----

TEST_F(AdmitTest, EveryRefusalCostsOneHashAndOneSecond) {
  const auto ask = [this] {
    SetUp();
    timespec before;
    clock_gettime(CLOCK_MONOTONIC, &before);
    const Refusal refusal = Ask("guess");
    EXPECT_EQ(refusal.error, kErrorRejected);
    EXPECT_EQ(refusal.retry_after, 0);
    EXPECT_EQ(mHashes, 1);
    ASSERT_EQ(mWaits.size(), 1U);
    EXPECT_GE(mWaits[0].tv_sec, before.tv_sec + 1);
  };
  ask();
  account_found = false;
  ask();
  EXPECT_THAT(Log(), EndsWith("] 203.0.113.9 \"shop\" refused: no such account\n"));
}

TEST_F(AdmitTest, AnAccountThatDoesNotExistHasNoPassword) {
  account_found = false;
  EXPECT_EQ(Answer("Right password"), kErrorRejected);
  CopyText(settings.stored_password, "*");
  CopyText(settings.signon, "*");
  CopyText(env.AUTH_TYPE, "Basic");
  CopyText(env.REMOTE_USER, "alice");
  CopyText(settings.internal_networks, "203.0.113.0/24");
  EXPECT_EQ(Answer(""), kErrorRejected);
}

TEST_F(AdmitTest, NobodyForgesALineOfTheLog) {
  account_found = false;
  CopyText(settings.username, "x\n[01/Jan/2000:00:00:00] 192.0.2.1 \"shop\" refused\x1b[2J\\");
  CopyText(env.REMOTE_ADDR, "1\n\"");
  EXPECT_EQ(Answer(""), kErrorRejected);
  const std::string log = Log();
  EXPECT_EQ(log.find('\n'), log.size() - 1);
  EXPECT_EQ(log.find('\x1b'), std::string::npos);
  EXPECT_THAT(
      log, HasSubstr("] 1?? \"x?[01/Jan/2000:00:00:00] 192.0.2.1 \\\"shop\\\" refused?[2J\\\\\" refused: "));
}

// ---- Limits ----

TEST_F(AdmitTest, TooManyRefusalsCostNeitherAHashNorASecond) {
  for (int i = 0; i < kRefusalsOfVisitorAndAccount; ++i) {
    EXPECT_EQ(Answer("guess"), kErrorRejected);
  }
  mHashes = 0;
  mWaits.clear();
  const Refusal refusal = Ask("Right password");
  EXPECT_EQ(refusal.error, kErrorLimited);
  EXPECT_GE(refusal.retry_after, 1);
  EXPECT_LE(refusal.retry_after, 600);
  EXPECT_EQ(mHashes, 0);
  EXPECT_TRUE(mWaits.empty());
  EXPECT_THAT(Log(), EndsWith("\"shop\" refused: too many refusals\n"));
}

TEST_F(AdmitTest, LimitsAreTheSameWhereThereIsNoAccount) {
  account_found = false;
  for (int i = 0; i < kRefusalsOfVisitorAndAccount; ++i) {
    EXPECT_EQ(Answer("guess"), kErrorRejected);
  }
  EXPECT_EQ(Answer("guess"), kErrorLimited);
}

TEST_F(AdmitTest, WhoEntersIsNotCounted) {
  for (int i = 0; i < 2 * kRefusalsOfVisitorAndAccount; ++i) {
    EXPECT_EQ(Answer("Right password"), kNoError);
  }
}

TEST_F(AdmitTest, AVisitorIsOneBehindEveryAddressOfAHousehold) {
  for (int i = 0; i < kRefusalsOfVisitorAndAccount; ++i) {
    CopyText(env.REMOTE_ADDR, "2001:db8::" + std::to_string(i));
    EXPECT_EQ(Answer("guess"), kErrorRejected);
  }
  CopyText(env.REMOTE_ADDR, "2001:db8::ffff");
  EXPECT_EQ(Answer("guess"), kErrorLimited);
}

TEST_F(AdmitTest, ProxiesAreNotTheVisitor) {
  CopyText(settings.TrustedProxies, "10.0.0.0/8");
  for (int i = 0; i < 2 * kRefusalsOfVisitorAndAccount; ++i) {
    CopyText(env.REMOTE_ADDR, "10.0.0.1");
    CopyText(env.HTTP_X_FORWARDED_FOR, "192.0.2.1, 203.0.113." + std::to_string(i));
    EXPECT_EQ(Answer("guess"), kErrorRejected);
  }
  EXPECT_THAT(Log(), HasSubstr("] 203.0.113.3 \"shop\" refused: "));
}

TEST_F(AdmitTest, WhileAnotherWaitsTheAnswerComesAtOnce) {
  LoginAttempt other{.file = settings.LoginLimits, .visitor = {}, .account = "other"};
  int retry_after = 0;
  ASSERT_EQ(BeginLogin(other, retry_after), LoginVerdict::kTry);
  ASSERT_TRUE(TakeWaitingTurn(other));
  const Refusal refusal = Ask("guess");
  EXPECT_EQ(refusal.error, kErrorLimited);
  EXPECT_EQ(refusal.retry_after, 1);
  EXPECT_EQ(mHashes, 1);
  EXPECT_TRUE(mWaits.empty());
  EXPECT_THAT(Log(), EndsWith("refused: wrong password\n"));
  EXPECT_EQ(Answer("Right password"), kNoError);
  EndLogin(other);
  EXPECT_EQ(Answer("guess"), kErrorRejected);
}

TEST_F(AdmitTest, WithoutAFileOfRefusalsThereIsWaitingAlone) {
  CopyText(settings.LoginLimits, "/nowhere/limits");
  for (int i = 0; i < 2 * kRefusalsOfVisitorAndAccount; ++i) {
    EXPECT_EQ(Answer("guess"), kErrorRejected);
  }
  EXPECT_EQ(mWaits.size(), 2U * kRefusalsOfVisitorAndAccount);
  EXPECT_EQ(Answer("Right password"), kNoError);
  EXPECT_THAT(Log(),
              EndsWith("\"shop\" is not counted (No such file or directory), as LoginLimits cannot be used: "
                       "\"/nowhere/limits\"\n"));
}

TEST_F(AdmitTest, AShellIsNeitherCountedNorKeptWaiting) {
  env.command_line = 1;
  for (int i = 0; i < 2 * kRefusalsOfVisitorAndAccount; ++i) {
    EXPECT_EQ(Answer("guess"), kErrorRejected);
  }
  EXPECT_EQ(Answer("Right password"), kNoError);
  EXPECT_TRUE(mWaits.empty());
  EXPECT_NE(access(settings.LoginLimits, F_OK), 0);
}

// ---- InternalIp ----

TEST_F(AdmitTest, TheOwnNetworkNeedsNoPassword) {
  CopyText(settings.internal_networks, "2001:db8::/32, 203.0.113.0/24");
  EXPECT_TRUE(EntersWithoutAPassword());
  CopyText(env.REMOTE_ADDR, "::ffff:203.0.113.9");
  EXPECT_TRUE(EntersWithoutAPassword());
  CopyText(env.REMOTE_ADDR, "203.0.114.9");
  EXPECT_FALSE(EntersWithoutAPassword());
}

TEST_F(AdmitTest, TextsOfAnAddressAreNoNetwork) {
  CopyText(env.REMOTE_ADDR, "210.1.2.3");
  CopyText(env.REMOTE_HOST, "host.example");
  for (const char* const list :
       {"10.1", "10.1.2.3", "host.example", "210.1.2.3/33", "10.0.0.0/8,", ",", ""}) {
    CopyText(settings.internal_networks, list);
    EXPECT_FALSE(EntersWithoutAPassword()) << list;
  }
  EXPECT_THAT(Log(), HasSubstr("InternalIp holds what is no network and matches nobody: \"10.1\"\n"));
  EXPECT_THAT(Log(), HasSubstr("InternalIp holds what is no network and matches nobody: \"host.example\"\n"));
  EXPECT_THAT(Log(), HasSubstr("InternalIp holds what is no network and matches nobody: \"210.1.2.3/33\"\n"));
}

TEST_F(AdmitTest, TheVisitorBehindAProxyDecides) {
  CopyText(settings.internal_networks, "10.0.0.0/8");
  CopyText(settings.TrustedProxies, "10.0.0.1,proxy.example");
  CopyText(env.REMOTE_ADDR, "10.0.0.1");
  CopyText(env.HTTP_X_FORWARDED_FOR, "10.0.0.7, 203.0.113.9");
  EXPECT_FALSE(EntersWithoutAPassword());
  EXPECT_THAT(Log(),
              HasSubstr("TrustedProxies holds what is no network and matches nobody: \"proxy.example\"\n"));
  CopyText(env.REMOTE_ADDR, "10.0.0.1");
  CopyText(env.HTTP_X_FORWARDED_FOR, "203.0.113.9, 10.0.0.7");
  EXPECT_TRUE(EntersWithoutAPassword());
}

TEST_F(AdmitTest, WhoHasNoAddressIsNobodysNeighbour) {
  CopyText(settings.internal_networks, "0.0.0.0/0,::/0");
  CopyText(env.REMOTE_ADDR, "");
  EXPECT_FALSE(EntersWithoutAPassword());
}

// ---- signon ----

class SignOnTest : public AdmitTest {
 protected:
  bool Enters(const char* names, const std::string& user, const char* type = "Basic") {
    CopyText(settings.signon, names);
    CopyText(env.REMOTE_USER, user);
    CopyText(env.AUTH_TYPE, type);
    return EntersWithoutAPassword();
  }
};

TEST_F(SignOnTest, WhoIsNamedNeedsNoPassword) {
  EXPECT_TRUE(Enters("alice,bob", "alice"));
  EXPECT_TRUE(Enters("alice, bob", "bob"));
  EXPECT_TRUE(Enters("*", "anybody"));
  EXPECT_TRUE(Enters("alice,*", "anybody"));
}

TEST_F(SignOnTest, NamesAreComparedExactly) {
  for (const char* const user : {"Alice", "alic", "alice ", "alicebob", "alice,bob", ",", "*"}) {
    EXPECT_FALSE(Enters("alice,bob", user)) << user;
  }
  const std::string longest(243, 'a');
  EXPECT_TRUE(Enters(longest.c_str(), longest));
  EXPECT_FALSE(Enters(longest.c_str(), longest + "b"));
}

TEST_F(SignOnTest, ANameThatNobodyHasCheckedIsNone) {
  EXPECT_FALSE(Enters("alice", "alice", ""));
  EXPECT_FALSE(Enters("*", "alice", ""));
  EXPECT_FALSE(Enters("*", ""));
  EXPECT_FALSE(Enters("", ""));
  EXPECT_FALSE(Enters("", "alice"));
  EXPECT_FALSE(Enters(",", "alice"));
}

TEST_F(SignOnTest, WithoutAPasswordRuleTheLogNamesTheSignOn) {
  CopyText(settings.stored_password, "");
  EXPECT_FALSE(Enters("alice", "mallory"));
  EXPECT_THAT(Log(), EndsWith("refused: not signed on\n"));
}

TEST_F(SignOnTest, ThePasswordIsAnotherWayIn) {
  CopyText(settings.signon, "alice");
  EXPECT_EQ(Answer("Right password"), kNoError);
}

// ---- Addresses ----

TEST_F(AdmitTest, WhoNeedsNoPasswordIsToldWithoutATrace) {
  EXPECT_TRUE(NeedsPassword(true, env, settings));
  EXPECT_TRUE(NeedsPassword(false, env, settings));
  CopyText(settings.internal_networks, "203.0.113.0/24");
  EXPECT_FALSE(NeedsPassword(true, env, settings));
  EXPECT_TRUE(NeedsPassword(false, env, settings));
  CopyText(settings.internal_networks, "no network");
  CopyText(settings.stored_password, "*");
  EXPECT_FALSE(NeedsPassword(true, env, settings));
  EXPECT_TRUE(NeedsPassword(false, env, settings));
  CopyText(settings.stored_password, "");
  CopyText(settings.signon, "ann");
  CopyText(env.AUTH_TYPE, "Basic");
  CopyText(env.REMOTE_USER, "bob");
  EXPECT_TRUE(NeedsPassword(true, env, settings));
  CopyText(env.REMOTE_USER, "ann");
  EXPECT_FALSE(NeedsPassword(true, env, settings));
  EXPECT_EQ(mHashes, 0);
  EXPECT_TRUE(mWaits.empty());
  EXPECT_EQ(Log(), "");
  EXPECT_NE(access(settings.LoginLimits, F_OK), 0);
}
