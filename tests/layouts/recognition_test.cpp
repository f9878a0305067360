#include "layouts/recognition.h"

#include <gtest/gtest.h>

#include <memory>

class RecognitionTest : public testing::Test {
 protected:
  std::string Recognised(std::string_view line, std::string_view ahead = "") {
    const bool found = RecogniseLayout(line, {ahead}, so_far_, *room_, *layout_);
    return found ? std::string(layout_->name) : "none";
  }

  LogSoFar so_far_;
  std::unique_ptr<SplitRoom> room_ = std::make_unique<SplitRoom>();
  std::unique_ptr<Layout> layout_ = std::make_unique<Layout>();
};

static std::string SquidLine(std::string_view status) {
  return "1709622371.123 1 192.0.2.7 TCP/" + std::string(status) + " 12 GET /a - X/- -\n";
}

static std::string Repeated(std::string_view text, size_t times) {
  std::string all;
  for (size_t i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

TEST_F(RecognitionTest, WantsNinetyFiveOfAHundredLinesToAgree) {
  const std::string line = SquidLine("200").substr(0, SquidLine("200").size() - 1);
  EXPECT_EQ(Recognised(line, Repeated(SquidLine("200"), 94) + Repeated(SquidLine("OK"), 5)), "squid");
  EXPECT_EQ(Recognised(line, Repeated(SquidLine("200"), 93) + Repeated(SquidLine("OK"), 6)), "none");
}

TEST_F(RecognitionTest, LooksAtTwoHundredLines) {
  const std::string line = SquidLine("200").substr(0, SquidLine("200").size() - 1);
  EXPECT_EQ(Recognised(line, Repeated(SquidLine("200"), 199) + Repeated(SquidLine("OK"), 1000)), "squid");
}

TEST_F(RecognitionTest, PassesOverLinesOfOtherKinds) {
  const std::string line = SquidLine("200").substr(0, SquidLine("200").size() - 1);
  EXPECT_EQ(Recognised(line, Repeated("the server was stopped\n# a comment\n\n", 100) + SquidLine("404")),
            "squid");
}

TEST_F(RecognitionTest, LeavesOutALineThatBreaksOff) {
  const std::string line = SquidLine("200").substr(0, SquidLine("200").size() - 1);
  EXPECT_EQ(Recognised(line, "1709622371.123 1 192.0.2.7 TCP/2x"), "squid");
}

TEST_F(RecognitionTest, TellsWhatIsAroundTheLines) {
  EXPECT_EQ(Recognised("Feb  2 04:05:24 host squid[1]: " + SquidLine("200").substr(0, 50)), "squid");
  EXPECT_EQ(layout_->wrapper, Wrapper::kSyslog);
  EXPECT_EQ(
      Recognised(
          R"({"log":"192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] \"GET / HTTP/1.1\" 200 1\n","stream":"stdout"})"),
      "combined");
  EXPECT_EQ(layout_->wrapper, Wrapper::kMessage);
  EXPECT_EQ(
      Recognised(R"("192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] ""GET / HTTP/1.1"" 200 1 ""-"" ""x""")"),
      "combined");
  EXPECT_EQ(layout_->wrapper, Wrapper::kQuotes);
  EXPECT_EQ(
      Recognised(
          R"(2024-03-05T07:06:11Z stdout F [2024-03-05T07:06:11.123Z] "GET /a HTTP/2" 200 - 154 12 226 100 "192.0.2.7, 192.0.2.8" "Lynx" "c" "www.example.com" "x")"),
      "envoy");
  EXPECT_EQ(layout_->wrapper, Wrapper::kIsoHead);
}

TEST_F(RecognitionTest, TakesAnyTextForARequest) {
  EXPECT_EQ(
      Recognised(
          R"(www.example.com 192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] "\x16\x03\x01" 400 12 "-" "-")"),
      "vhost_combined");
  EXPECT_EQ(Recognised("www.example.com 192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] \"\xFF\xFE\" 400 12"),
            "vhost_combined");
}

TEST_F(RecognitionTest, NeverGuesses) {
  for (const char* line :
       {"", "a b c d e f g h", R"({"level":"info","msg":"started"})", "2024-03-05 07:06:11 [info] GET /a 200",
        R"(192.0.2.7 - - [99/Mar/2024:07:06:11 +0000] "GET / HTTP/1.1" 200 1)"}) {
    EXPECT_EQ(Recognised(line), "none") << line;
  }
}

TEST_F(RecognitionTest, LeavesTheLayoutWhenNoneIsFound) {
  EXPECT_EQ(Recognised("1709622371.123 1 192.0.2.7 TCP/200 12 GET /a - X/- -"), "squid");
  EXPECT_EQ(Recognised("nothing"), "none");
  EXPECT_EQ(layout_->name, "squid");
}

// Lines further ahead than those at hand.
static std::string mFarText;
static int mFarAsked = 0;
static std::string_view FarText() {
  ++mFarAsked;
  return mFarText;
}

TEST_F(RecognitionTest, LooksFurtherAheadWhereTooFewLinesAreAtHand) {
  const std::string line = SquidLine("200").substr(0, SquidLine("200").size() - 1);
  const std::string near = Repeated(SquidLine("200"), 50);
  mFarAsked = 0;
  mFarText = near + Repeated(SquidLine("200"), 200);
  EXPECT_TRUE(RecogniseLayout(line, {near, FarText}, so_far_, *room_, *layout_));
  mFarText = near + Repeated(SquidLine("OK"), 20);
  EXPECT_FALSE(RecogniseLayout(line, {near, FarText}, so_far_, *room_, *layout_));
  EXPECT_EQ(mFarAsked, 2);
}

TEST_F(RecognitionTest, LooksNoFurtherWhereEnoughLinesAreAtHand) {
  const std::string line = SquidLine("200").substr(0, SquidLine("200").size() - 1);
  const std::string near = Repeated(SquidLine("200"), 200);
  mFarAsked = 0;
  EXPECT_TRUE(RecogniseLayout(line, {near, FarText}, so_far_, *room_, *layout_));
  EXPECT_FALSE(RecogniseLayout("no layout explains this line", {"", FarText}, so_far_, *room_, *layout_));
  EXPECT_EQ(mFarAsked, 0);
}

static std::string LineWithoutEnd(const std::string& line) {
  return line.substr(0, line.size() - 1);
}

static std::string CombinedLine(std::string_view user) {
  return "192.0.2.7 - " + std::string(user) + " [05/Mar/2024:07:06:11 +0000] \"GET / HTTP/1.1\" 200 12\n";
}

static std::string VhostLine(std::string_view status) {
  return "www.example.com 192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] \"GET / HTTP/1.1\" " +
         std::string(status) + " 12\n";
}

TEST_F(RecognitionTest, CountsLinesOfOtherKnownLayoutsForNothing) {
  const std::string vhost = VhostLine("200");
  const std::string balancer =
      "h2 2024-03-05T07:06:11.1Z app/lb/1 192.0.2.7:40512 - 0.0 0.1 0.0 200 200 34 12 \"GET / HTTP/2.0\" "
      "\"Lynx\" - - arn\n";
  const std::string proxy =
      "192.0.2.7:33317 [05/Mar/2024:07:06:11.655] in be/s1 0/0/0/0/0 200 12 - - ---- 1/1/1/1/0 0/0 "
      "\"GET /a HTTP/1.1\"\n";
  EXPECT_EQ(Recognised(LineWithoutEnd(CombinedLine("-")), Repeated(vhost, 199)), "combined");
  EXPECT_EQ(Recognised(LineWithoutEnd(vhost), Repeated(CombinedLine("- a"), 199)), "vhost_combined");
  EXPECT_EQ(Recognised(LineWithoutEnd(balancer), Repeated(proxy, 199)), "alb");
  EXPECT_EQ(Recognised(LineWithoutEnd(proxy), Repeated(balancer, 199)), "haproxy");
}

TEST_F(RecognitionTest, CountsLinesOfHeldLayoutsForNothing) {
  const std::string named = SquidLine("OK");
  ASSERT_EQ(Recognised(LineWithoutEnd(SquidLine("200")), named), "none");
  const auto held = std::make_unique<Layout>();
  ASSERT_TRUE(MakeLayoutOfWords("$msec $x $remote_addr TCP/OK $x $request_method $request_uri $x", *held));
  so_far_ = {{held.get(), 1}};
  EXPECT_EQ(Recognised(LineWithoutEnd(SquidLine("200")), named), "squid");
}

TEST_F(RecognitionTest, WeighsARefusedLayoutAgainBehindTheFirstLineAgainstIt) {
  const std::string line = LineWithoutEnd(SquidLine("200"));
  const auto is_recognised = [&](int64_t offset) {
    return RecogniseLayout(line, {{}, FarText, offset}, so_far_, *room_, *layout_);
  };
  mFarAsked = 0;
  mFarText = SquidLine("200") + SquidLine("OK");
  const auto against = static_cast<int64_t>(1000 + SquidLine("200").size());
  EXPECT_FALSE(is_recognised(1000));
  EXPECT_EQ(mFarAsked, 1);
  mFarText = SquidLine("200");
  EXPECT_FALSE(is_recognised(1001));
  EXPECT_FALSE(is_recognised(against));
  EXPECT_EQ(mFarAsked, 1);
  EXPECT_TRUE(is_recognised(against + 1));
  EXPECT_EQ(mFarAsked, 2);
}
