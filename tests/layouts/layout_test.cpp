#include "layouts/layout.h"

#include <gtest/gtest.h>

#include <memory>

#include "layouts/known_layouts.h"

class SplitLineTest : public testing::Test {
 protected:
  bool Split(std::string_view name, std::string_view line, Wrapper wrapper = Wrapper::kNone) {
    MakeLayout(*FindLayout(name), *layout_);
    layout_->wrapper = wrapper;
    fields_ = {};
    return SplitLine(*layout_, line, *room_, fields_);
  }

  std::unique_ptr<SplitRoom> room_ = std::make_unique<SplitRoom>();
  std::unique_ptr<Layout> layout_ = std::make_unique<Layout>();
  LineFields fields_;
};

TEST_F(SplitLineTest, WantsStatusAndSizeToBeNumbers) {
  EXPECT_TRUE(Split("squid", "1709622371.123 1 192.0.2.7 TCP/200 12 GET /a - X/- -"));
  EXPECT_TRUE(Split("squid", "1709622371.123 1 192.0.2.7 TCP/- - GET /a - X/- -"));
  EXPECT_FALSE(Split("squid", "1709622371.123 1 192.0.2.7 TCP/OK 12 GET /a - X/- -"));
  EXPECT_FALSE(Split("squid", "1709622371.123 1 192.0.2.7 TCP/2000 12 GET /a - X/- -"));
  EXPECT_FALSE(Split("squid", "1709622371.123 1 192.0.2.7 TCP/200 12k GET /a - X/- -"));
}

TEST_F(SplitLineTest, WantsAStatusOfJson) {
  EXPECT_TRUE(Split("json", R"({"ts":1700000000.5,"uri":"/a","status":200})"));
  EXPECT_FALSE(Split("json", R"({"ts":1700000000.5,"uri":"/a","msg":"started"})"));
  EXPECT_FALSE(Split("json", R"({"ts":1700000000.5,"status":200})"));
  EXPECT_FALSE(Split("json", R"({"uri":"/a","status":200})"));
}

TEST_F(SplitLineTest, TakesNoUserForASiteAndNoTextForAClient) {
  EXPECT_FALSE(
      Split("vhost_combined", R"(192.0.2.7 - - joe [05/Mar/2024:07:06:11 +0000] "GET /a HTTP/1.1" 200 12)"));
  EXPECT_FALSE(Split("combined", R"("x - - [05/Mar/2024:07:06:11 +0000] "GET /a HTTP/1.1" 200 12)"));
}

TEST_F(SplitLineTest, TakesOffWhatIsAroundALine) {
  EXPECT_TRUE(Split("json", R"(2024-03-05T07:06:11Z stdout F {"ts":1700000000,"uri":"/a","status":200})",
                    Wrapper::kIsoHead));
  EXPECT_EQ(fields_[Field::kUrl], "/a");
  EXPECT_FALSE(Split("json", R"({"ts":1700000000,"uri":"/a","status":200})", Wrapper::kIsoHead));
}

TEST(IsStatus, TakesUpToThreeDigits) {
  for (const char* text : {"", "-", "-1", "0", "000", "200"}) {
    EXPECT_TRUE(IsStatus(text)) << text;
  }
  for (const char* text : {"2000", "2x", "--", "-2"}) {
    EXPECT_FALSE(IsStatus(text)) << text;
  }
}

TEST(IsSize, TakesNumbers) {
  for (const char* text : {"", "-", "0", "+12", "123456789012345678"}) {
    EXPECT_TRUE(IsSize(text)) << text;
  }
  for (const char* text : {"1.5", "12x", "+", "1234567890123456789"}) {
    EXPECT_FALSE(IsSize(text)) << text;
  }
}

TEST_F(SplitLineTest, TakesAnyTextForAUser) {
  const std::string tail = " [05/Mar/2024:07:06:11 +0000] \"GET /a HTTP/1.1\" 200 12";
  for (const std::string user : {"-", "- a", "- - a", "- -", R"(- \")", R"(a\" [b)", "17 - a"}) {
    const std::string combined = "192.0.2.7 - " + user + tail;
    const std::string vhost = "www.example.com:443 " + combined;
    EXPECT_TRUE(Split("vhost_combined", vhost)) << user;
    EXPECT_EQ(fields_[Field::kHost], "192.0.2.7");
    EXPECT_EQ(fields_[Field::kUser], user);
    EXPECT_TRUE(Split("combined", combined)) << user;
    EXPECT_EQ(fields_[Field::kHost], "192.0.2.7");
    EXPECT_EQ(fields_[Field::kUser], user);
    EXPECT_FALSE(Split("combined", vhost)) << user;
  }
}

// Nothing stands before a user that comes first.
TEST_F(SplitLineTest, TakesAnyTextForAUserWhereverItStands) {
  const auto user_of = [this](std::string_view words, std::string_view line) {
    fields_ = {};
    return MakeLayoutOfWords(words, *layout_) && SplitLine(*layout_, line, *room_, fields_)
               ? std::string(fields_[Field::kUser])
               : "none";
  };
  EXPECT_EQ(user_of("$remote_addr - $remote_user [$msec] $uri", "192.0.2.7 - - a [1709622371] /a"), "- a");
  EXPECT_EQ(user_of("$remote_addr $x \"$remote_user\" $msec $uri", "192.0.2.7 x \"- a\" 1709622371 /a"),
            "- a");
  EXPECT_EQ(user_of("$remote_user [$msec] $remote_addr $uri", "- a [1709622371] 192.0.2.7 /a"), "- a");
}
