#include "layouts/near_miss.h"

#include <gtest/gtest.h>

#include <memory>

#include "layouts/recognition.h"

class FindNearMissTest : public testing::Test {
 protected:
  // The layout's name, and the text of the line from where it stops to fit.
  std::string Nearest(std::string_view line) {
    miss_ = FindNearMiss(ReadyLayouts(), line, *room_);
    if (miss_.layout == 0) {
      return "none";
    }
    const std::string name(ReadyLayouts()[miss_.layout - size_t{1}].name);
    return miss_.character == 0 ? name : name + " < " + std::string(line.substr(miss_.character - size_t{1}));
  }

  NearMiss miss_;
  std::unique_ptr<SplitRoom> room_ = std::make_unique<SplitRoom>();
};

TEST_F(FindNearMissTest, StopsAtAFieldThatIsNone) {
  EXPECT_EQ(Nearest("192.0.2.7 - - [05/Foo/2000:07:06:11 +0000] \"GET /\" 200 34"),
            "combined < 05/Foo/2000:07:06:11 +0000] \"GET /\" 200 34");
  EXPECT_EQ(miss_.field, Field::kMoment);
  EXPECT_EQ(Nearest("www.example.com 192.0.2.7 - - [05/Mar/2000:07:06:11] \"GET /\" 2x0 34 \"-\" \"x\""),
            "vhost_combined < 2x0 34 \"-\" \"x\"");
  EXPECT_EQ(miss_.field, Field::kStatus);
}

TEST_F(FindNearMissTest, StopsWhereTheLineEndsTooEarly) {
  EXPECT_EQ(Nearest("1709622371.123 1 192.0.2.7 TCP/200 12"), "squid < ");
}

TEST_F(FindNearMissTest, StopsWhereATextIsMissing) {
  EXPECT_EQ(
      Nearest(
          "[24/Jan/2022:16:51:02 +0000] - 404 404 - GET http a.example \"/x\" [Client 192.0.2.7] {Length 5}"),
      "proxy_manager < 192.0.2.7] {Length 5}");
  EXPECT_EQ(miss_.field, Field::kHost);
}

TEST_F(FindNearMissTest, NamesTheKeyThatIsMissing) {
  EXPECT_EQ(Nearest(R"({"status":200,"uri":"/a"})"), "json");
  EXPECT_EQ(miss_.field, Field::kMoment);
  EXPECT_EQ(Nearest(R"({"time":"2024-03-05T07:06:11Z","status":200})"), "json");
  EXPECT_EQ(miss_.field, Field::kRequest);
  EXPECT_EQ(Nearest("time:05/Mar/2000:07:06:11 +0000\thost:192.0.2.7\treq:GET / HTTP/1.1"), "ltsv");
  EXPECT_EQ(miss_.field, Field::kStatus);
}

TEST_F(FindNearMissTest, LooksIntoWhatIsAroundALine) {
  EXPECT_EQ(
      Nearest(
          "Feb  2 04:05:24 h haproxy[1]: 192.0.2.7:1 [03/Feb/2012:08:34:45.135] a b/c 2/0/1/1/1 4x4 638 - - "
          "---- 6/6/6/2/0 0/0 \"GET / HTTP/1.1\""),
      "haproxy < 4x4 638 - - ---- 6/6/6/2/0 0/0 \"GET / HTTP/1.1\"");
}

TEST_F(FindNearMissTest, KnowsNoPlaceInALineThatWasWrittenAnew) {
  EXPECT_EQ(Nearest(R"({"log":"192.0.2.7 - - [05/Mar/2000:07:06:11 +0000] \"GET / HTTP/1.0\" abc 3\n"})"),
            "combined");
  EXPECT_EQ(miss_.field, Field::kStatus);
}

TEST_F(FindNearMissTest, SaysOfALineThatFitsThatItDoes) {
  EXPECT_EQ(Nearest("192.0.2.7 - - [05/Mar/2000:07:06:11 +0000] \"GET / HTTP/1.0\" 200 34"), "combined");
  EXPECT_EQ(miss_.field, Field::kIgnored);
}

TEST_F(FindNearMissTest, FindsNothingNearAnyText) {
  for (const char* const line : {"", "hello world, this is no log", "192.0.2.7", "- - - - - -"}) {
    EXPECT_EQ(Nearest(line), "none") << line;
  }
}

TEST_F(FindNearMissTest, TakesTheOnlyLayoutHoweverFarItIs) {
  auto layout = std::make_unique<Layout>();
  ASSERT_TRUE(MakeLayoutOfWords("$msec|$remote_addr|$request_uri|$status", *layout));
  const NearMiss miss = FindNearMiss({layout.get(), 1}, "hello", *room_);
  EXPECT_EQ(miss.layout, 1);
  EXPECT_EQ(miss.character, 6U);
  EXPECT_EQ(miss.field, Field::kHost);
}

TEST_F(FindNearMissTest, NamesWhatTheKeysOfWordsLack) {
  auto layout = std::make_unique<Layout>();
  ASSERT_TRUE(MakeLayoutOfWords(R"({"t":"%t","r":"%r","s":%s})", *layout));
  const auto missing = [&](std::string_view line) {
    miss_ = FindNearMiss({layout.get(), 1}, line, *room_);
    return miss_.layout == 1 && miss_.character == 0 ? miss_.field : Field::kIgnored;
  };
  EXPECT_EQ(missing(R"({"s":200,"r":"/a"})"), Field::kMoment);
  EXPECT_EQ(missing(R"({"s":200,"t":"2024-03-05T07:06:11Z"})"), Field::kRequest);
  EXPECT_EQ(missing(R"({"r":"/a","t":"2024-03-05T07:06:11Z"})"), Field::kStatus);
  EXPECT_EQ(missing("hello"), Field::kMoment);
}

TEST_F(FindNearMissTest, HoldsALineAgainstOneLayoutAlone) {
  const auto combined = ReadyLayouts()[FindLayout("combined") - KnownLayouts().data()];
  const auto miss = [&](Wrapper wrapper, std::string_view line) {
    return FindMissOf(combined, wrapper, line, *room_);
  };
  const std::string_view timeless = "192.0.2.7 - - [99/Foo/2024] \"GET / HTTP/1.1\" 200 1";
  EXPECT_EQ(miss(Wrapper::kNone, timeless), (NearMiss{combined.number, Field::kMoment, 16}));
  EXPECT_EQ(miss(Wrapper::kSyslog, timeless), NearMiss{});
  EXPECT_EQ(miss(Wrapper::kSyslog, "Mar  5 07:06:11 host httpd: " + std::string(timeless)),
            (NearMiss{combined.number, Field::kMoment, 44}));
  EXPECT_EQ(miss(Wrapper::kNone, R"({"time":"2024-03-05T07:06:11Z"})"), NearMiss{});
  EXPECT_EQ(FindMissOfTold(combined, "x", *room_), (NearMiss{1, Field::kIgnored, 2}));
}
