#include "analysis/look_ups.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>

#include "analysis/fake_names.h"

namespace {

Address At(const std::string& text) {
  Address address{};
  EXPECT_TRUE(ParseAddress(text, address)) << text;
  return address;
}

std::string Told(const LookUpAnswer& answer) {
  return std::to_string(answer.number) + ":" + std::to_string(static_cast<int>(answer.outcome)) + ":" +
         answer.name;
}

// The answers to the addresses, numbered from 0, in any order; "end" where none comes.
std::multiset<std::string> AnswersTo(std::initializer_list<const char*> addresses) {
  uint32_t number = 0;
  for (const char* const address : addresses) {
    EXPECT_TRUE(AskForName({number++, At(address)}));
  }
  std::multiset<std::string> answers;
  for (size_t i = 0; i < addresses.size(); ++i) {
    LookUpAnswer answer;
    answers.insert(NextAnswer(answer) ? Told(answer) : "end");
  }
  return answers;
}

using Answers = std::multiset<std::string>;

TEST(NextAnswer, TellsNamesOfAddressesOfBothKinds) {
  UseNames({{"192.0.2.1", "www.example.com"}, {"2001:db8::1", "six.example.com"}, {"192.0.2.9", "?"}});
  EXPECT_EQ(AnswersTo({"192.0.2.1", "2001:db8::1", "::ffff:192.0.2.1", "203.0.113.9", "192.0.2.9"}),
            (Answers{"0:0:www.example.com", "1:0:six.example.com", "2:0:www.example.com", "3:1:", "4:2:"}));
  StopLookUps();
}

TEST(NextAnswer, ManyAreAskedForAtOnce) {
  UseNames({{"192.0.2.1", "www.example.com"}});
  mGathered = static_cast<int>(kMostAtOnce);  // it would never come one by one
  for (uint32_t i = 0; i < kMostAtOnce; ++i) {
    ASSERT_TRUE(AskForName({i, At("192.0.2.1")}));
  }
  std::set<uint32_t> numbers;
  LookUpAnswer answer;
  while (numbers.size() < kMostAtOnce && NextAnswer(answer)) {
    EXPECT_STREQ(answer.name, "www.example.com");
    numbers.insert(answer.number);
  }
  EXPECT_EQ(numbers.size(), kMostAtOnce);
  StopLookUps();
}

TEST(NextAnswer, ResolverThatNeverAnswersTakesNoMoreThanTheTime) {
  UseNames({{"192.0.2.1", "..."}, {"192.0.2.2", "..."}});
  LimitLookUps(1);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(AnswersTo({"192.0.2.1", "192.0.2.2"}), (Answers{"end", "end"}));
  EXPECT_TRUE(LookUpsAreOver());
  EXPECT_FALSE(AskForName({2, At("192.0.2.1")}));
  StopLookUps();
  const auto passed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(passed, std::chrono::milliseconds(999));
  EXPECT_LT(passed, std::chrono::seconds(100)) << "the end does not wait for answers";
}

TEST(NextAnswer, TheTimeIsThatOfAllWaitsTogether) {
  UseNames({{"192.0.2.1", "~"}});
  LimitLookUps(1);
  int answers = 0;
  while (answers < 10 && AskForName({0, At("192.0.2.1")})) {
    LookUpAnswer answer;
    answers += NextAnswer(answer) ? 1 : 0;
  }
  EXPECT_LE(answers, 2);
  EXPECT_TRUE(LookUpsAreOver());
  StopLookUps();
}

TEST(NextAnswer, HelperThatIsGoneIsNotWaitedFor) {
  UseNames({{"192.0.2.1", "!"}});
  EXPECT_EQ(AnswersTo({"192.0.2.1"}), Answers{"end"});
  EXPECT_FALSE(LookUpsAreOver());
  EXPECT_FALSE(AskForName({1, At("192.0.2.2")}));
  StopLookUps();
}

TEST(StopLookUps, MayBeCalledAtAnyTimeAndBegunAnew) {
  StopLookUps();
  UseNames({{"192.0.2.1", "www.example.com"}});
  StartLookUps();
  StartLookUps();
  StopLookUps();
  StopLookUps();
  EXPECT_EQ(AnswersTo({"192.0.2.1"}), Answers{"0:0:www.example.com"});
  StopLookUps();
}

}  // namespace
