#include "layouts/pattern.h"

#include <gtest/gtest.h>

#include <memory>

#include "layouts/server_words.h"

// The words that the tests use are nginx's.
class SplitByPatternTest : public testing::Test {
 protected:
  bool Split(std::string_view words, std::string_view line) {
    fields_ = {};
    line_ = line;
    EXPECT_TRUE(CompileWords(words, *pattern_)) << words;
    SplitStop stop;
    const bool fits = SplitByPattern(*pattern_, line_, fields_, stop);
    fits_ = stop.fits;
    return fits;
  }
  std::string_view operator[](Field field) { return fields_[field]; }

  std::unique_ptr<Pattern> pattern_ = std::make_unique<Pattern>();
  std::string line_;
  LineFields fields_;
  size_t fits_ = 0;
};

static constexpr std::string_view kCombined =
    R"($remote_addr - $remote_user [$time_local] "$request" $status $body_bytes_sent "$http_referer" "$http_user_agent")";
static constexpr std::string_view kStart = R"(192.0.2.7 - ann [05/Mar/2024:07:06:11 +0000] )";

TEST_F(SplitByPatternTest, CutsALineIntoItsFields) {
  ASSERT_TRUE(
      Split(kCombined, std::string(kStart) + R"("GET /a HTTP/1.1" 200 12 "http://example.com/" "Lynx/2.8")"));
  EXPECT_EQ((*this)[Field::kHost], "192.0.2.7");
  EXPECT_EQ((*this)[Field::kUser], "ann");
  EXPECT_EQ((*this)[Field::kMoment], "05/Mar/2024:07:06:11 +0000");
  EXPECT_EQ((*this)[Field::kRequest], "GET /a HTTP/1.1");
  EXPECT_EQ((*this)[Field::kStatus], "200");
  EXPECT_EQ((*this)[Field::kBytes], "12");
  EXPECT_EQ((*this)[Field::kReferrer], "http://example.com/");
  EXPECT_EQ((*this)[Field::kAgent], "Lynx/2.8");
  EXPECT_EQ(fits_, 8U);
}

TEST_F(SplitByPatternTest, LooksAtNothingBehindTheLastField) {
  EXPECT_TRUE(Split(kCombined, std::string(kStart) + R"("GET /a HTTP/1.1" 200 12 "-" "Lynx" 0.5 "more")"));
  EXPECT_EQ((*this)[Field::kAgent], "Lynx");
}

TEST_F(SplitByPatternTest, LetsALineEndBehindWhatItNeeds) {
  EXPECT_TRUE(Split(kCombined, std::string(kStart) + R"("GET /a HTTP/1.1" 200 12)"));
  EXPECT_EQ((*this)[Field::kBytes], "12");
  EXPECT_EQ((*this)[Field::kAgent].data(), nullptr);
  EXPECT_FALSE(Split(kCombined, std::string(kStart) + R"("GET /a HTTP/1.1")"));
  EXPECT_EQ(fits_, 3U);
  EXPECT_FALSE(Split(kCombined, std::string(kStart) + R"("GET /a HTTP/1.1" 200 12 and other words)"));
}

TEST_F(SplitByPatternTest, EndsAQuotedFieldAtTheQuoteThatIsNotEscaped) {
  ASSERT_TRUE(
      Split(kCombined, std::string(kStart) + R"("GET /\" 1 2 \"x HTTP/1.1" 200 12 "a\\" "b \" \"c")"));
  EXPECT_EQ((*this)[Field::kRequest], R"(GET /\" 1 2 \"x HTTP/1.1)");
  EXPECT_EQ((*this)[Field::kReferrer], R"(a\\)");
  EXPECT_EQ((*this)[Field::kAgent], R"(b \" \"c)");
}

TEST_F(SplitByPatternTest, TakesTheQuotesOfAServerThatEscapesNothing) {
  ASSERT_TRUE(Split(kCombined, std::string(kStart) + R"("GET /a"b HTTP/1.1" 200 12 "C:\" "say "x"!")"));
  EXPECT_EQ((*this)[Field::kRequest], R"(GET /a"b HTTP/1.1)");
  EXPECT_EQ((*this)[Field::kReferrer], R"(C:\)");
  EXPECT_EQ((*this)[Field::kAgent], R"(say "x"!)");
}

TEST_F(SplitByPatternTest, LetsAUserHoldBlanksAndBrackets) {
  ASSERT_TRUE(Split(kCombined, R"(192.0.2.7 - a [b] c [05/Mar/2024:07:06:11 +0000] "GET / HTTP/1.1" 200 1)"));
  EXPECT_EQ((*this)[Field::kUser], "a [b] c");
}

TEST_F(SplitByPatternTest, TakesOwnQuotesOfAField) {
  ASSERT_TRUE(
      Split("$time_iso8601,$remote_addr,$uri,$status", R"("2024-03-05T07:06:11Z","192.0.2.7","/a,b",200)"));
  EXPECT_EQ((*this)[Field::kMoment], "2024-03-05T07:06:11Z");
  EXPECT_EQ((*this)[Field::kUrl], "/a,b");
}

TEST_F(SplitByPatternTest, TakesAnyNumberOfBlanksForTwo) {
  for (const char* line : {"1700000000 /a 200", "1700000000    /a 200"}) {
    EXPECT_TRUE(Split("$msec  $uri $status", line)) << line;
    EXPECT_EQ((*this)[Field::kUrl], "/a");
  }
}

TEST_F(SplitByPatternTest, TakesNoFieldOfBlanksBetweenBlanks) {
  EXPECT_FALSE(Split("$msec $uri - $status", "1700000000 /a b - 200"));
  EXPECT_TRUE(Split("$msec $x $uri $status", "1700000000 192.0.2.1, 192.0.2.2 /a 200"));
  EXPECT_EQ((*this)[Field::kUrl], "/a");
}

TEST_F(SplitByPatternTest, TakesTheFirstOfTwoFieldsThatIsNotEmpty) {
  ASSERT_TRUE(Split("$http_x_forwarded_for $remote_addr $msec $uri", "- 192.0.2.7 1700000000 /a"));
  EXPECT_EQ((*this)[Field::kHost], "192.0.2.7");
  ASSERT_TRUE(Split("$http_x_forwarded_for $remote_addr $msec $uri", "192.0.2.8 192.0.2.7 1700000000 /a"));
  EXPECT_EQ((*this)[Field::kHost], "192.0.2.8");
}

TEST(EndPattern, WantsATimeAndARequest) {
  auto pattern = std::make_unique<Pattern>();
  EXPECT_FALSE(CompileWords("$remote_addr $request", *pattern));
  EXPECT_FALSE(CompileWords("$remote_addr $time_local", *pattern));
  EXPECT_TRUE(CompileWords("$time_local $request", *pattern));
}

TEST(AddField, HasAnEnd) {
  auto pattern = std::make_unique<Pattern>();
  std::string words = "$time_local $request";
  for (size_t i = 0; i < kMostElements; ++i) {
    words += " $x";
  }
  EXPECT_FALSE(CompileWords(words, *pattern));
  EXPECT_FALSE(CompileWords("$time_local $request" + std::string(kLongestLiterals, 'x'), *pattern));
}
