#include "entry/login_limits.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <random>
#include <thread>
#include <vector>

#include "dates/clock.h"
#include "support/text_file.h"

static constexpr std::int64_t kNow = 1'700'000'000;

static Address VisitorOf(int number) {
  Address address = {};
  for (size_t i = 0; i < 4; ++i) {
    address.bytes[12 + i] = static_cast<std::uint8_t>(number >> 8 * (3 - i));
  }
  address.bytes[10] = address.bytes[11] = 0xff;
  return address;
}

struct Outcome {
  LoginVerdict verdict;
  int retry_after;
  bool operator==(const Outcome&) const = default;
};
static constexpr Outcome kTries{LoginVerdict::kTry, 0};
static constexpr Outcome kNotUsable{LoginVerdict::kNoStore, 0};
static Outcome TooMany(int seconds) {
  return {LoginVerdict::kTooMany, seconds};
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << static_cast<int>(outcome.verdict) << '/' << outcome.retry_after;
}

// A whole attempt.
static Outcome TryAt(const std::string& file, std::int64_t now, int visitor, std::string_view account,
                     bool right = false) {
  SetCurrentTimeForTest(now);
  LoginAttempt attempt{.file = file.c_str(), .visitor = VisitorOf(visitor), .account = account};
  Outcome outcome;
  outcome.verdict = BeginLogin(attempt, outcome.retry_after);
  if (outcome.verdict == LoginVerdict::kTry && right) {
    LoginSucceeded(attempt);
  }
  EndLogin(attempt);
  return outcome;
}

static void RefuseTimes(int times, const std::string& file, std::int64_t now, int visitor,
                        std::string_view account) {
  for (int i = 0; i < times; ++i) {
    ASSERT_EQ(TryAt(file, now, visitor, account), kTries) << i;
  }
}

// ---- Each limit by itself ----

class LoginLimits : public testing::Test {
 protected:
  const std::string file = NewPath("limits");
};

TEST_F(LoginLimits, LetTenTriesOfAVisitorAtAnAccountBeRefused) {
  RefuseTimes(10, file, kNow, 1, "shop");
  EXPECT_EQ(TryAt(file, kNow, 1, "shop"), TooMany(600));
  EXPECT_EQ(TryAt(file, kNow, 1, "SHOP"), TooMany(600));
  EXPECT_EQ(TryAt(file, kNow, 1, "shop", true), TooMany(600));
  EXPECT_EQ(TryAt(file, kNow, 1, "other"), kTries);
  EXPECT_EQ(TryAt(file, kNow, 2, "shop"), kTries);
}

TEST_F(LoginLimits, SlideBySeconds) {
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(TryAt(file, kNow + i, 1, "shop"), kTries);
  }
  EXPECT_EQ(TryAt(file, kNow + 9, 1, "shop"), TooMany(591));
  EXPECT_EQ(TryAt(file, kNow + 599, 1, "shop"), TooMany(1));
  EXPECT_EQ(TryAt(file, kNow + 600, 1, "shop"), kTries);
  EXPECT_EQ(TryAt(file, kNow + 600, 1, "shop"), TooMany(1));
  EXPECT_EQ(TryAt(file, kNow + 601, 1, "shop"), kTries);
}

TEST_F(LoginLimits, LetFiftyTriesOfAVisitorBeRefused) {
  for (int account = 0; account < 50; ++account) {
    ASSERT_EQ(TryAt(file, kNow, 1, "a" + std::to_string(account)), kTries);
  }
  EXPECT_EQ(TryAt(file, kNow + 10, 1, "shop"), TooMany(590));
  EXPECT_EQ(TryAt(file, kNow + 10, 2, "shop"), kTries);
}

TEST_F(LoginLimits, ARightPasswordTakesItsOwnRefusalBackAndNoOther) {
  RefuseTimes(9, file, kNow, 1, "shop");
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(TryAt(file, kNow + 1, 1, "shop", true), kTries);
  }
  EXPECT_EQ(TryAt(file, kNow + 1, 1, "shop"), kTries);
  EXPECT_EQ(TryAt(file, kNow + 1, 1, "shop"), TooMany(599));
}

TEST_F(LoginLimits, AnAttemptThatIsCutOffCounts) {
  SetCurrentTimeForTest(kNow);
  for (int i = 0; i < 10; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      LoginAttempt attempt{.file = file.c_str(), .visitor = VisitorOf(1), .account = "shop"};
      int retry_after;
      BeginLogin(attempt, retry_after);
      raise(SIGKILL);
    }
    waitpid(child, nullptr, 0);
  }
  EXPECT_EQ(TryAt(file, kNow, 1, "shop"), TooMany(600));
}

TEST_F(LoginLimits, LeaveStrangersThreeTriesAtAnAccountThatIsGuessedFromEverywhere) {
  ASSERT_EQ(TryAt(file, kNow, 1000, "shop", true), kTries);
  for (int visitor = 0; visitor < 87; ++visitor) {
    RefuseTimes(1, file, kNow, visitor, "shop");
  }
  RefuseTimes(10, file, kNow, 200, "shop");
  RefuseTimes(3, file, kNow + 5, 250, "shop");
  RefuseTimes(1, file, kNow + 5, 250, "shop");  // a hundred are not more than a hundred
  EXPECT_EQ(TryAt(file, kNow + 5, 250, "shop"), TooMany(595));
  RefuseTimes(3, file, kNow + 6, 300, "shop");
  EXPECT_EQ(TryAt(file, kNow + 6, 300, "shop"), TooMany(594));
  RefuseTimes(10, file, kNow + 6, 1000, "shop");
  EXPECT_EQ(TryAt(file, kNow + 6, 1000, "shop"), TooMany(600));
  // Who entered another account is a stranger here.
  ASSERT_EQ(TryAt(file, kNow + 6, 400, "other", true), kTries);
  RefuseTimes(3, file, kNow + 6, 400, "shop");
  EXPECT_EQ(TryAt(file, kNow + 6, 400, "shop"), TooMany(594));
  EXPECT_EQ(TryAt(file, kNow + 6, 400, "other"), kTries);
}

TEST_F(LoginLimits, AStrangerWhoKnowsThePasswordGetsInAtAnyTime) {
  for (int visitor = 0; visitor < 2000; ++visitor) {
    ASSERT_EQ(TryAt(file, kNow, visitor, "shop"), kTries);
  }
  EXPECT_EQ(TryAt(file, kNow, 5000, "shop", true), kTries);
}

// ---- Against a plain form of the rules ----

struct PlainRefusal {
  std::int64_t time;
  int visitor;
  std::string account;
};

class PlainLimits {
 public:
  // Seconds to wait; 0 when the attempt may be made.
  int Wait(std::int64_t now, int visitor, const std::string& account) const {
    int too_few = -1;
    int enough = 600;
    while (enough - too_few > 1) {  // the more time has passed, the fewer refusals count
      const int seconds = (too_few + enough) / 2;
      (MayTry(now, seconds, visitor, account) ? enough : too_few) = seconds;
    }
    return enough;
  }
  void Refuse(std::int64_t now, int visitor, const std::string& account) {
    refusals_.push_back({now, visitor, account});
  }
  void Enter(int visitor, const std::string& account) { entered_.emplace_back(visitor, account); }
  void Forget(const std::string& account) {
    std::erase_if(refusals_, [&](const PlainRefusal& refusal) { return refusal.account == account; });
  }

 private:
  // As if nothing more happened until then; what lies in the future now never counts.
  bool MayTry(std::int64_t now, int later, int visitor, const std::string& account) const {
    int pair = 0, of_visitor = 0, of_account = 0;
    for (const PlainRefusal& refusal : refusals_) {
      if (refusal.time <= now && refusal.time > now + later - 600) {
        pair += refusal.visitor == visitor && refusal.account == account;
        of_visitor += refusal.visitor == visitor;
        of_account += refusal.account == account;
      }
    }
    const bool known = std::ranges::count(entered_, std::pair(visitor, account)) > 0;
    return of_visitor < 50 && pair < (of_account > 100 && !known ? 3 : 10);
  }

  std::vector<PlainRefusal> refusals_;
  std::vector<std::pair<int, std::string>> entered_;
};

// Few accounts and many visitors, so that every limit is met, and a clock that also
// goes back now and then.
static void CompareWithPlainLimits(const std::string& file, unsigned seed, int visitors, int steps) {
  std::mt19937 random(seed);
  const auto below = [&random](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  PlainLimits plain;
  std::int64_t now = kNow;
  for (int step = 0; step < steps; ++step) {
    now += below(300) == 0 ? below(1400) - 700 : below(10) == 0;
    const int visitor = below(visitors);
    const std::string account = "a" + std::to_string(below(8) < 5 ? 0 : below(9));
    const bool right = below(20) == 0;
    const int wait = plain.Wait(now, visitor, account);
    ASSERT_EQ(TryAt(file, now, visitor, account, right), wait == 0 ? kTries : TooMany(wait))
        << "step " << step;
    if (wait == 0 && right) {
      plain.Enter(visitor, account);
    } else if (wait == 0) {
      plain.Refuse(now, visitor, account);
    }
    if (below(500) == 0) {
      plain.Forget(account);
      ASSERT_TRUE(ForgetRefusals(file.c_str(), account, ""));
    }
  }
}

TEST_F(LoginLimits, AreThePlainOnes) {
  for (const int visitors : {2, 12, 60, 300}) {
    CompareWithPlainLimits(NewPath("limits"), static_cast<unsigned>(visitors), visitors, 1500);
  }
}

// ---- Many runs at once ----

static int SumOfExitStatuses(const std::vector<pid_t>& children) {
  int sum = 0;
  for (const pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    sum += WEXITSTATUS(status);
  }
  return sum;
}

TEST_F(LoginLimits, HoldForRunsSideBySide) {
  std::vector<pid_t> children;
  for (int i = 0; i < 24; ++i) {
    children.push_back(fork());
    if (children.back() == 0) {
      int tried = 0;
      for (int attempt = 0; attempt < 10; ++attempt) {
        tried += TryAt(file, kNow, 1, "shop").verdict == LoginVerdict::kTry;
      }
      _exit(tried);
    }
  }
  EXPECT_EQ(SumOfExitStatuses(children), 10);
}

TEST_F(LoginLimits, RunsSideBySideWithTheRightPasswordAreNotInEachOthersWay) {
  std::vector<pid_t> children;
  for (int i = 0; i < 4; ++i) {
    children.push_back(fork());
    if (children.back() == 0) {
      int tried = 0;
      for (int attempt = 0; attempt < 10; ++attempt) {
        tried += TryAt(file, kNow, 1, "shop", true).verdict == LoginVerdict::kTry;
      }
      _exit(tried);
    }
  }
  EXPECT_EQ(SumOfExitStatuses(children), 40);
  RefuseTimes(10, file, kNow, 1, "shop");
  EXPECT_EQ(TryAt(file, kNow, 1, "shop"), TooMany(600));
}

TEST_F(LoginLimits, ALockThatIsKeptIsWaitedForNoLongerThanTheyPromise) {
  ASSERT_EQ(TryAt(file, kNow, 1, "shop"), kTries);
  const int other = OpenLoginFile(file.c_str(), false);
  ASSERT_TRUE(TakeLoginLock(other, LoginLock::kData, 0));
  const auto start = std::chrono::steady_clock::now();
  int retry_after;
  LoginAttempt one{.file = file.c_str(), .visitor = VisitorOf(1), .account = "shop", .lock_wait = 200};
  EXPECT_EQ(BeginLogin(one, retry_after), LoginVerdict::kNoStore);
  EndLogin(one);
  const auto passed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(passed, std::chrono::milliseconds(199));
  EXPECT_LT(passed, std::chrono::seconds(5));
  close(other);
  EXPECT_EQ(TryAt(file, kNow, 1, "shop"), kTries);
}

TEST_F(LoginLimits, AreNotLockedWhileAPasswordIsChecked) {
  SetCurrentTimeForTest(kNow);
  LoginAttempt one{.file = file.c_str(), .visitor = VisitorOf(1), .account = "shop"};
  int retry_after;
  ASSERT_EQ(BeginLogin(one, retry_after), LoginVerdict::kTry);
  EXPECT_EQ(TryAt(file, kNow, 2, "shop"), kTries);
  EndLogin(one);
}

// Ten tries of the visitor at the account, written down by others who hold the file.
static void WriteRefusals(int file, std::int64_t now) {
  LoginFileHeader header;
  ASSERT_TRUE(ReadLoginHeader(file, header));
  const LoginRecord refusal{now, HashOfVisitor(header.key, VisitorOf(1)), HashOfAccount(header.key, "shop")};
  for (std::size_t i = 0; i < 10; ++i) {
    ASSERT_TRUE(WriteAt(file, &refusal, sizeof refusal, kRefusalsStart + i * sizeof refusal));
  }
}

// What others write down while an attempt waits for its turn is no refusal of the future.
TEST_F(LoginLimits, CountWhatOthersWriteDownWhileAnAttemptWaits) {
  SetCurrentTimeForTest(kNow);
  const int others = OpenLoginFile(file.c_str(), true);
  ASSERT_TRUE(TakeLoginLock(others, LoginLock::kData, 0));
  Outcome outcome{};
  std::thread slow([&] {
    LoginAttempt attempt{.file = file.c_str(), .visitor = VisitorOf(1), .account = "shop"};
    outcome.verdict = BeginLogin(attempt, outcome.retry_after);
    EndLogin(attempt);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  WriteRefusals(others, kNow + 1);
  SetCurrentTimeForTest(kNow + 1);
  DropLoginLock(others, LoginLock::kData);
  slow.join();
  close(others);
  EXPECT_EQ(outcome, TooMany(600));
}

// ---- Room ----

TEST_F(LoginLimits, RememberSoManyRefusalsAndForgetTheOldestFirst) {
  RefuseTimes(10, file, kNow, 1, "shop");
  RefuseTimes(10, file, kNow + 1, 2, "shop");
  for (std::uint32_t i = 0; i < kRememberedRefusals - 20; ++i) {
    ASSERT_EQ(TryAt(file, kNow + 2, 1000 + static_cast<int>(i), "a" + std::to_string(i % 200)), kTries);
  }
  EXPECT_EQ(TryAt(file, kNow + 2, 1, "shop"), TooMany(598));
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(TryAt(file, kNow + 3, 50000 + i, "other"), kTries);
  }
  EXPECT_EQ(TryAt(file, kNow + 3, 2, "shop"), TooMany(598));
  EXPECT_EQ(TryAt(file, kNow + 3, 1, "shop"), kTries);
}

TEST_F(LoginLimits, RememberSoManyEntriesAndForgetTheOldestFirst) {
  ASSERT_EQ(TryAt(file, kNow, 1, "shop", true), kTries);
  ASSERT_EQ(TryAt(file, kNow + 1, 2, "shop", true), kTries);
  ASSERT_EQ(TryAt(file, kNow + 2, 1, "shop", true), kTries);  // again: the newest now
  for (std::uint32_t i = 0; i < kRememberedEntries - 2 + 1; ++i) {
    ASSERT_EQ(TryAt(file, kNow + 3, 1000 + static_cast<int>(i), "other", true), kTries);
  }
  for (int i = 0; i < 100; ++i) {
    RefuseTimes(1, file, kNow + 3, 100 + i, "shop");
  }
  RefuseTimes(10, file, kNow + 3, 1, "shop");
  RefuseTimes(3, file, kNow + 3, 2, "shop");
  EXPECT_EQ(TryAt(file, kNow + 3, 2, "shop").verdict, LoginVerdict::kTooMany);
}

TEST_F(LoginLimits, HoldNoNames) {
  ASSERT_EQ(TryAt(file, kNow, 0x41424344, "verysecretaccount", true), kTries);
  RefuseTimes(1, file, kNow, 0x41424344, "verysecretaccount");
  const std::string content = ReadFile(file);
  EXPECT_EQ(content.size(), kLoginFileSize);
  EXPECT_EQ(content.find("verysecret"), std::string::npos);
  EXPECT_EQ(content.find("ABCD"), std::string::npos);
}

// ---- Clocks that step ----

TEST_F(LoginLimits, RefusalsInTheFutureCountNoMore) {
  RefuseTimes(10, file, kNow, 1, "shop");
  EXPECT_EQ(TryAt(file, kNow - 1, 1, "shop"), kTries);
  EXPECT_EQ(TryAt(file, kNow, 1, "shop").verdict, LoginVerdict::kTooMany);
}

TEST_F(LoginLimits, TakeTimesFarApart) {
  for (const std::int64_t now : {std::int64_t{1}, INT64_MAX, std::int64_t{5000}, kNow, INT64_MAX - 1}) {
    RefuseTimes(10, file, now, 1, "shop");
    EXPECT_EQ(TryAt(file, now, 1, "shop"), TooMany(600)) << now;
  }
}

// ---- Files that are none of theirs ----

TEST_F(LoginLimits, TakeNoOtherFile) {
  const std::string passwords = WriteFile("passwords", "shop:secret\n");
  const std::string folder = NewPath("folder");
  const std::string pipe = NewPath("pipe");
  mkdir(folder.c_str(), 0700);
  mkfifo(pipe.c_str(), 0600);
  for (const std::string& path :
       {passwords, folder, pipe, folder + "/absent/limits", std::string("/dev/full"), std::string()}) {
    errno = 0;
    EXPECT_EQ(TryAt(path, kNow, 1, "shop"), kNotUsable) << path;
    EXPECT_NE(errno, 0) << path;
    EXPECT_TRUE(!ForgetRefusals(path.c_str(), "", "") || errno == ENOENT) << path;
  }
  EXPECT_EQ(ReadFile(passwords), "shop:secret\n");
}

TEST_F(LoginLimits, ForgetNothingButAByteOfADamagedRecord) {
  RefuseTimes(9, file, kNow, 1, "shop");
  const std::string sound = ReadFile(file);
  for (size_t i = kRefusalsStart; i < kRefusalsStart + 12 * sizeof(LoginRecord); ++i) {
    std::string damaged = sound;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x80);
    const std::string path = WriteFile("damaged", damaged);
    int tried = 0;
    while (TryAt(path, kNow, 1, "shop") == kTries) {
      ++tried;
    }
    EXPECT_TRUE(tried == 1 || tried == 2) << i;
    unlink(path.c_str());
  }
}

TEST_F(LoginLimits, HoldAgainAfterTheFileWasBegunAnew) {
  RefuseTimes(10, file, kNow, 1, "shop");
  ASSERT_EQ(truncate(file.c_str(), 1000), 0);
  RefuseTimes(10, file, kNow, 1, "shop");
  EXPECT_EQ(TryAt(file, kNow, 1, "shop"), TooMany(600));
}

TEST_F(LoginLimits, ASuccessAfterTheFileWasBegunAnewTakesNothingBack) {
  SetCurrentTimeForTest(kNow);
  LoginAttempt attempt{.file = file.c_str(), .visitor = VisitorOf(1), .account = "shop"};
  int retry_after;
  ASSERT_EQ(BeginLogin(attempt, retry_after), LoginVerdict::kTry);
  ASSERT_EQ(truncate(file.c_str(), 0), 0);
  RefuseTimes(10, file, kNow, 1, "shop");
  LoginSucceeded(attempt);
  EndLogin(attempt);
  EndLogin(attempt);
  EXPECT_EQ(TryAt(file, kNow, 1, "shop"), TooMany(600));
}

// ---- The waiting turn ----

TEST_F(LoginLimits, OneRunWaitsAtATime) {
  SetCurrentTimeForTest(kNow);
  LoginAttempt one{.file = file.c_str(), .visitor = VisitorOf(1), .account = "shop"};
  LoginAttempt other = one;
  int retry_after;
  EXPECT_FALSE(TakeWaitingTurn(one));
  ASSERT_EQ(BeginLogin(one, retry_after), LoginVerdict::kTry);
  ASSERT_EQ(BeginLogin(other, retry_after), LoginVerdict::kTry);
  EXPECT_TRUE(TakeWaitingTurn(one));
  EXPECT_FALSE(TakeWaitingTurn(other));
  EXPECT_EQ(TryAt(file, kNow, 2, "shop"), kTries);  // the turn keeps nobody from trying
  EndLogin(one);
  EXPECT_TRUE(TakeWaitingTurn(other));
  EndLogin(other);
}

// ---- Forgetting ----

TEST(ForgetRefusals, ForgetsThoseOfAnAccountAnAddressOrAll) {
  const std::string file = NewPath("limits");
  const auto fill = [&file] {
    for (int visitor = 1; visitor <= 2; ++visitor) {
      RefuseTimes(10, file, kNow, visitor, "shop");
      RefuseTimes(10, file, kNow, visitor, "other");
    }
  };
  const auto refused = [&file] {
    std::string text;
    for (int visitor = 1; visitor <= 2; ++visitor) {
      for (const char* const account : {"shop", "other"}) {
        text += TryAt(file, kNow, visitor, account, true) == kTries ? '-' : 'x';
      }
    }
    return text;
  };
  fill();
  EXPECT_EQ(refused(), "xxxx");
  EXPECT_TRUE(ForgetRefusals(file.c_str(), "SHOP", "0.0.0.1"));
  EXPECT_EQ(refused(), "-xxx");
  EXPECT_TRUE(ForgetRefusals(file.c_str(), "shop", ""));
  EXPECT_EQ(refused(), "-x-x");
  EXPECT_TRUE(ForgetRefusals(file.c_str(), "", "0.0.0.1"));
  EXPECT_EQ(refused(), "---x");
  EXPECT_TRUE(ForgetRefusals(file.c_str(), "", ""));
  EXPECT_EQ(refused(), "----");
}

TEST(ForgetRefusals, TakesTheWholeNetworkOfAnAddress) {
  SetCurrentTimeForTest(kNow);
  const std::string file = NewPath("limits");
  Address address;
  ASSERT_TRUE(ParseAddress("2001:db8:1:2:3::4", address));
  LoginAttempt attempt{.file = file.c_str(), .visitor = NetworkOfVisitor(address), .account = "shop"};
  int retry_after;
  while (BeginLogin(attempt, retry_after) == LoginVerdict::kTry) {
    EndLogin(attempt);
  }
  EndLogin(attempt);
  EXPECT_TRUE(ForgetRefusals(file.c_str(), "", "2001:db8:1:2::9"));
  EXPECT_EQ(BeginLogin(attempt, retry_after), LoginVerdict::kTry);
  EndLogin(attempt);
}

TEST(ForgetRefusals, MakesNoFileAndTakesNoName) {
  const std::string file = NewPath("limits");
  EXPECT_TRUE(ForgetRefusals(file.c_str(), "", ""));
  EXPECT_NE(access(file.c_str(), F_OK), 0);
  EXPECT_FALSE(ForgetRefusals(file.c_str(), "", "www.example.com"));
  EXPECT_EQ(errno, EINVAL);
}
