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

// Lines of words that are a JSON object.
class SplitByKeysTest : public SplitLineTest {
 protected:
  bool SplitWords(std::string_view words, std::string_view line) {
    fields_ = {};
    return MakeLayoutOfWords(words, *layout_) && SplitLine(*layout_, line, *room_, fields_);
  }

  // One field of the line; "none" where the line is none of the words.
  std::string Read(std::string_view words, std::string_view line, Field field) {
    return SplitWords(words, line) ? std::string(fields_[field]) : "none";
  }

  static constexpr std::string_view kWords =
      R"({"t":"%t","h":"%h","r":"%r","s":%>s,"b":%b,"a":"%{User-Agent}i"})";
};

TEST_F(SplitByKeysTest, TakesKeysInAnyOrderAndSpacing) {
  for (
      const char* line :
      {R"({"t":"[05/Mar/2000:07:06:11 +0000]","h":"192.0.2.7","r":"GET /a HTTP/1.0","s":200,"b":12,"a":"Lynx"})",
       R"({"a":"Lynx","b":12,"s":200,"r":"GET /a HTTP/1.0","h":"192.0.2.7","t":"[05/Mar/2000:07:06:11 +0000]"})",
       R"( { "h" : "192.0.2.7" , "s" :"200","t" : "05/Mar/2000:07:06:11 +0000",  "b":"12" , "r": "GET /a HTTP/1.0","a":"Lynx"})"}) {
    ASSERT_TRUE(SplitWords(kWords, line)) << line;
    EXPECT_EQ(fields_[Field::kMoment].substr(fields_[Field::kMoment].starts_with('[') ? 1 : 0, 11),
              "05/Mar/2000");
    EXPECT_EQ(fields_[Field::kHost], "192.0.2.7");
    EXPECT_EQ(fields_[Field::kRequest], "GET /a HTTP/1.0");
    EXPECT_EQ(fields_[Field::kStatus], "200");
    EXPECT_EQ(fields_[Field::kBytes], "12");
    EXPECT_EQ(fields_[Field::kAgent], "Lynx");
  }
}

TEST_F(SplitByKeysTest, TakesFurtherKeysWhereverTheyStand) {
  for (const std::string further : {R"("x":"y")", R"("x":{"r":"no","s":1,"h":[1]})", R"("x":["no",{"s":1}])",
                                    R"("x":null)", R"("x":1.5)"}) {
    for (const std::string& line :
         {"{" + further +
              R"(,"t":"[05/Mar/2000:07:06:11 +0000]","h":"192.0.2.7","r":"/a","s":200,"b":1,"a":"b"})",
          R"({"t":"[05/Mar/2000:07:06:11 +0000]","h":"192.0.2.7",)" + further +
              R"(,"r":"/a","s":200,"b":1,"a":"b"})",
          R"({"t":"[05/Mar/2000:07:06:11 +0000]","h":"192.0.2.7","r":"/a",)" + further +
              R"(,"s":200,"b":1,"a":"b"})",
          R"({"t":"[05/Mar/2000:07:06:11 +0000]","h":"192.0.2.7","r":"/a","s":200,"b":1,"a":"b",)" + further +
              "}"}) {
      ASSERT_TRUE(SplitWords(kWords, line)) << line;
      EXPECT_EQ(fields_[Field::kHost], "192.0.2.7") << line;
      EXPECT_EQ(fields_[Field::kRequest], "/a") << line;
      EXPECT_EQ(fields_[Field::kStatus], "200") << line;
      EXPECT_EQ(fields_[Field::kAgent], "b") << line;
    }
  }
}

TEST_F(SplitByKeysTest, PrefersGivenKeysToUsualOnesWhereverTheyStand) {
  constexpr std::string_view kLines[] = {
      R"({"client_ip":"no","status":500,"uri":"/no","args":"no","ts":1700000000,"t":"2000-03-05T07:06:11Z","h":"yes","r":"/a","s":200})",
      R"({"t":"2000-03-05T07:06:11Z","h":"yes","r":"/a","s":200,"client_ip":"no","status":500,"uri":"/no","args":"no","ts":1700000000})"};
  for (const std::string_view line : kLines) {
    ASSERT_TRUE(SplitWords(kWords, line));
    EXPECT_EQ(fields_[Field::kHost], "yes");
    EXPECT_EQ(fields_[Field::kMoment], "2000-03-05T07:06:11Z");
    EXPECT_EQ(fields_[Field::kRequest], "/a");
    EXPECT_EQ(fields_[Field::kUrl].data(), nullptr);
    EXPECT_EQ(fields_[Field::kQuery].data(), nullptr);
    EXPECT_EQ(fields_[Field::kStatus], "200");
  }
  constexpr std::string_view kApart = R"({"d":"%{%F}t","c":"%{%T}t","u":"%U"})";
  ASSERT_TRUE(SplitWords(kApart, R"({"ts":1700000000,"c":"07:06:11","d":"2000-03-05","u":"/a","args":"b"})"));
  EXPECT_EQ(fields_[Field::kMoment].data(), nullptr);
  EXPECT_EQ(fields_[Field::kDate], "2000-03-05");
  EXPECT_EQ(fields_[Field::kTime], "07:06:11");
  EXPECT_EQ(fields_[Field::kUrl], "/a");
  EXPECT_EQ(fields_[Field::kQuery], "b");
}

// As the words name them: of several that tell the same the first one that is not nothing.
TEST_F(SplitByKeysTest, PrefersTheKeyThatTheWordsNameFirst) {
  constexpr std::string_view kTwice = R"({"f":"%{X-Forwarded-For}i","h":"%h","t":"%t","r":"%r"})";
  for (const char* line : {R"({"f":"a","h":"b","t":"2000-03-05T07:06:11Z","r":"/"})",
                           R"({"h":"b","t":"2000-03-05T07:06:11Z","r":"/","f":"a"})",
                           R"({"f":"-","h":"a","t":"2000-03-05T07:06:11Z","r":"/"})",
                           R"({"h":"a","t":"2000-03-05T07:06:11Z","r":"/","f":""})",
                           R"({"h":"a","f":null,"t":"2000-03-05T07:06:11Z","r":"/"})",
                           R"({"h":"a","t":"2000-03-05T07:06:11Z","r":"/","h":"b"})"}) {
    EXPECT_EQ(Read(kTwice, line, Field::kHost), "a") << line;
  }
}

TEST_F(SplitByKeysTest, TakesUsualKeysForWhatTheLineTellsNowhereElse) {
  const std::string line =
      R"({"t":"2000-03-05T07:06:11Z","r":"/a","s":200,"h":null,"client_ip":"b","referer":"c","A":"d"})";
  ASSERT_TRUE(SplitWords(kWords, line));
  EXPECT_EQ(fields_[Field::kHost], "b");
  EXPECT_EQ(fields_[Field::kReferrer], "c");
  EXPECT_EQ(fields_[Field::kAgent].data(), nullptr);
}

TEST_F(SplitByKeysTest, TakesNothingOfKeysUnderWhichTheWordsHaveNothing) {
  constexpr std::string_view kSizes = R"({"time":%D,"host":"web1","size":%I,"at":"%t","r":"%r","s":%s})";
  const std::string line =
      R"({"size":12,"host":"web1","time":1700000000,"at":"2000-03-05T07:06:11Z","s":200,"r":"/a"})";
  ASSERT_TRUE(SplitWords(kSizes, line));
  EXPECT_EQ(fields_[Field::kBytes].data(), nullptr);
  EXPECT_EQ(fields_[Field::kSite].data(), nullptr);
  EXPECT_EQ(fields_[Field::kMoment], "2000-03-05T07:06:11Z");
}

TEST_F(SplitByKeysTest, TakesValuesOfAnyKind) {
  const auto status_of = [this](const std::string& status) {
    return Read(kWords, R"({"s":)" + status + R"(,"r":"/a","t":"2000-03-05T07:06:11Z"})", Field::kStatus);
  };
  for (const char* nothing : {"null", R"("")", R"("-")", "-"}) {
    EXPECT_EQ(status_of(nothing), "") << nothing;
  }
  EXPECT_EQ(status_of("200.0"), "200");
  EXPECT_EQ(status_of(R"(["404"])"), "404");
  for (const char* none : {R"("OK")", "2000", "true", R"({"s":200})", "[200]", "[]", "{}"}) {
    EXPECT_EQ(status_of(none), "none") << none;
  }
}

TEST_F(SplitByKeysTest, WantsATimeARequestAndAStatusWhereTheWordsNameOne) {
  EXPECT_FALSE(SplitWords(kWords, R"({"r":"/a","s":200})"));
  EXPECT_FALSE(SplitWords(kWords, R"({"t":"soon","r":"/a","s":200})"));
  EXPECT_FALSE(SplitWords(kWords, R"({"t":"2000-03-05T07:06:11Z","s":200})"));
  EXPECT_FALSE(SplitWords(kWords, R"({"t":"2000-03-05T07:06:11Z","r":"/a","b":1})"));
  EXPECT_FALSE(SplitWords(kWords, R"("t":"2000-03-05T07:06:11Z","r":"/a","s":200)"));
  EXPECT_TRUE(SplitWords(R"({"t":"%t","r":"%r"})", R"({"r":"/a","t":"2000-03-05T07:06:11Z"})"));
}

TEST_F(SplitByKeysTest, TakesKeysAsTheyStandAndOnTheTopLevel) {
  constexpr std::string_view kNamed = R"({"t":"%t","User-Agent":"%h","a\\"b":"%u","r":"%r","s":%s})";
  const std::string behind = R"("t":"2000-03-05T07:06:11Z","r":"/a","s":200})";
  EXPECT_EQ(Read(kNamed, R"({"a\"b":"c",)" + behind, Field::kUser), "c");
  EXPECT_EQ(Read(kNamed, R"({"a\u0022b":"c",)" + behind, Field::kUser), "");
  EXPECT_EQ(Read(kNamed, R"({"User-Agent":"c",)" + behind, Field::kHost), "c");
  const std::string nested = R"({"headers":{"User-Agent":"c","t":"no"},"request":{"r":"no"},)" + behind;
  EXPECT_EQ(Read(kNamed, nested, Field::kHost), "");
  EXPECT_EQ(fields_[Field::kAgent], "c");
  EXPECT_EQ(fields_[Field::kRequest], "/a");
}

TEST_F(SplitByKeysTest, MarksEscapesOfTexts) {
  const std::string line = R"({"a":"\"x\"","r":"/a","s":200,"t":"2000-03-05T07:06:11Z"})";
  EXPECT_EQ(Read(kWords, line, Field::kAgent), R"(\"x\")");
  EXPECT_TRUE(fields_.escaped[static_cast<size_t>(Field::kAgent)]);
  EXPECT_FALSE(fields_.escaped[static_cast<size_t>(Field::kRequest)]);
}

// Servers that mask no quotes write no JSON: the places of the words tell more.
TEST_F(SplitByKeysTest, ReadsByPlacesWhatIsNoJson) {
  const std::string front =
      R"({"t":"[05/Mar/2000:07:06:11 +0000]","h":"192.0.2.7","r":"GET /a HTTP/1.0","s":200,"b":12,)";
  for (const std::string agent : {R"(a"b)", R"(a"")", R"(say "x", y)", R"("a" "b")", R"(a","b)"}) {
    const std::string line = front + R"("a":")" + agent + "\"}";
    EXPECT_EQ(Read(kWords, line, Field::kAgent), agent) << line;
  }
  // Of a list that stands without brackets nobody can tell by its place where it ends.
  const std::string line =
      R"({"up":0.1, 0.2,"t":"2000-03-05T07:06:11Z","h":"192.0.2.7","r":"/a","s":200,"b":12,"a":"Lynx"})";
  EXPECT_EQ(Read(kWords, line, Field::kHost), "192.0.2.7");
  const std::string words = R"({"t":"$time_local $x","u":"$request_uri $x","s":$status})";
  EXPECT_EQ(Read(words, R"({"t":"05/Mar/2000:07:06:11 x","u":"/a b","s":200})", Field::kUrl), "/a");
}

TEST_F(SplitByKeysTest, ReadsByPlacesWhereTheKeyHoldsNoTime) {
  constexpr std::string_view kMore = R"({"t":"$time_local $x","u":"$request_uri","s":$status})";
  EXPECT_EQ(Read(kMore, R"({"t":"05/Mar/2000:07:06:11 x","u":"/a","s":200})", Field::kMoment),
            "05/Mar/2000:07:06:11");
}

TEST_F(SplitByKeysTest, LeavesOtherLayoutsAsTheyAre) {
  const std::string line = R"({"s":1,"status":200,"r":"/no","uri":"/a","t":"no","ts":1700000000})";
  EXPECT_EQ(Read(kWords, line, Field::kRequest), "/no");
  for (int i = 0; i < 2; ++i) {  // the second time keys are remembered
    ASSERT_TRUE(Split("json", line));
    EXPECT_EQ(layout_->keys.count, 0U);
    EXPECT_EQ(fields_[Field::kStatus], "200");
    EXPECT_EQ(fields_[Field::kUrl], "/a");
    EXPECT_EQ(fields_[Field::kRequest].data(), nullptr);
    SplitWords(kWords, line);
  }
  MakeLayoutOfWords(kWords, *layout_);
  MakeLayoutOfNames("date time cs-uri-stem", false, *layout_);
  EXPECT_EQ(layout_->keys.count, 0U);
}
