#include "layouts/wrappers.h"

#include <gtest/gtest.h>

#include <memory>

static std::string Inner(Wrapper wrapper, std::string_view line) {
  static auto room = std::make_unique<Unwrapped>();
  const std::string_view inner = Unwrap(wrapper, line, *room);
  return inner.data() == nullptr ? "none" : std::string(inner);
}

TEST(Unwrap, TakesOffTheHeadsOfSyslog) {
  for (const char* line :
       {"Feb  2 04:05:24 host haproxy[98]: GET /", "<134>Feb 12 04:05:24 192.0.2.1 nginx: GET /",
        "<134>1 2024-02-02T04:05:24Z host app 98 id - GET /",
        R"(<134>1 2024-02-02T04:05:24Z host app 98 id [a b="c"] GET /)"}) {
    EXPECT_EQ(Inner(Wrapper::kSyslog, line), "GET /") << line;
  }
  EXPECT_EQ(Inner(Wrapper::kSyslog, "192.0.2.7 - - [05/Mar/2024:07:06:11 +0000]"), "none");
  EXPECT_EQ(Inner(Wrapper::kSyslog, "<134>1 2024"), "none");
}

TEST(Unwrap, TakesOffHeadsWithIsoTimes) {
  for (const char* line :
       {"2024-02-02T04:05:24.123456789+01:00 stdout F GET /",
        "2024-02-02T04:05:24-08:00 host haproxy[98]: GET /", "2024-02-02T04:05:24Z stderr P GET /"}) {
    EXPECT_EQ(Inner(Wrapper::kIsoHead, line), "GET /") << line;
  }
  EXPECT_EQ(Inner(Wrapper::kIsoHead, R"(2024-02-02T04:05:24Z 192.0.2.1  { "a": 1})"), R"({ "a": 1})");
  EXPECT_EQ(Inner(Wrapper::kIsoHead, "2024-02-32T04:05:24Z host GET /"), "none");
  EXPECT_EQ(Inner(Wrapper::kIsoHead, ""), "none");
}

TEST(Unwrap, FindsTheLineInJson) {
  EXPECT_EQ(Inner(Wrapper::kMessage, R"({"log":"say \"x\"\n","stream":"stdout"})"), R"(say "x")");
  EXPECT_EQ(Inner(Wrapper::kMessage, R"({"_PID":"1","MESSAGE":"web nginx: GET /"})"), "GET /");
  EXPECT_EQ(Inner(Wrapper::kMessage, R"({"log":"{\"status\": 200}"})"), R"({"status": 200})");
  EXPECT_EQ(Inner(Wrapper::kMessage, R"({"status":200})"), "none");
  EXPECT_EQ(Inner(Wrapper::kMessage, "GET /"), "none");
}

TEST(Unwrap, TakesOffQuotes) {
  EXPECT_EQ(Inner(Wrapper::kQuotes, R"("a ""b"" c")"), R"(a "b" c)");
  EXPECT_EQ(Inner(Wrapper::kQuotes, R"("a \"b\" c")"), R"(a "b" c)");
  EXPECT_EQ(Inner(Wrapper::kQuotes, R"("a)"), "none");
  EXPECT_EQ(Inner(Wrapper::kQuotes, R"(")"), "none");
}

TEST(Unwrap, LeavesALineAsItIs) {
  EXPECT_EQ(Inner(Wrapper::kNone, "GET /"), "GET /");
}
