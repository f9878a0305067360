#include "layouts/given_keys.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "layouts/server_words.h"

class FindGivenKeysTest : public testing::Test {
 protected:
  // The keys of the words with what they mean, "none" where there are none.
  std::string Keys(std::string_view words) {
    constexpr std::string_view kNames[kFieldCount] = {
        "nothing", "host",    "user",   "site",  "moment",       "date",         "time",        "request",
        "url",     "query",   "status", "bytes", "referrer",     "agent",        "method",      "protocol",
        "tls",     "seconds", "then",   "last",  "milliseconds", "microseconds", "nanoseconds", "by form"};
    EXPECT_TRUE(CompileWords(words, *pattern_)) << words;
    FindGivenKeys(*pattern_, *given_);
    std::string keys;
    for (size_t i = 0; i < given_->count; ++i) {
      const GivenKey& key = given_->keys[i];
      keys += keys.empty() ? "" : " ";
      keys += std::string(key.name.data(), key.size) + "=";
      keys += kNames[static_cast<size_t>(key.field)];
    }
    return keys.empty() ? "none" : keys;
  }

  // Of words that also have a time and a request.
  std::string KeysBehind(const std::string& members) {
    const std::string keys = Keys(R"({"t":"%t","r":"%r")" + members + "}");
    constexpr std::string_view kFirst = "t=moment r=request";
    return keys.starts_with(kFirst) ? keys.substr(kFirst.size()) : keys;
  }

  std::unique_ptr<Pattern> pattern_ = std::make_unique<Pattern>();
  std::unique_ptr<GivenKeys> given_ = std::make_unique<GivenKeys>();
};

TEST_F(FindGivenKeysTest, TakesTheWordsOfEachServer) {
  EXPECT_EQ(Keys(R"({"t": "%t", "h": "%h", "r": "%r", "s": %>s, "b" : %b , "ms":%D})"),
            "t=moment h=host r=request s=status b=bytes ms=microseconds");
  EXPECT_EQ(Keys(R"(LogFormat "{\"t\":\"%t\",\"r\":\"%r\",\"a\":\"%{User-Agent}i\"}" json)"),
            "t=moment r=request a=agent");
  EXPECT_EQ(Keys("log_format main escape=json '{'\n  '\"zeit\":\"$time_iso8601\",'\n  "
                 "'\"adr\":\"$remote_addr:$remote_port\",\"u\":\"$request_uri\",\"s\":$status' '}';"),
            "zeit=moment adr=host u=url s=status");
  EXPECT_EQ(Keys(R"({"t":"%Ts","c":"%ci","r":%{+Q}r,"s":%ST})"), "t=moment c=host r=request s=status");
  EXPECT_EQ(Keys(R"({"t":%ts.%03tu,"c":"%>a","u":"%ru","s":%>Hs})"), "t=moment c=host u=url s=status");
}

TEST_F(FindGivenKeysTest, TakesMethodPathAndQueryOfKeysOfTheirOwn) {
  EXPECT_EQ(Keys(R"({"t":"%t","m":"%m","u":"%U","q":"%q"})"), "t=moment m=method u=url q=query");
  EXPECT_EQ(Keys(R"({"t":"%t","u":"%U%q"})"), "t=moment u=url");
  EXPECT_EQ(Keys(R"({"t":"%t","r":"%m %U%q %H"})"), "t=moment r=request");
  EXPECT_EQ(Keys(R"({"t":"%t","r":"%m %U%q"})"), "none");
}

TEST_F(FindGivenKeysTest, TakesTimesAsServersPutThemTogether) {
  EXPECT_EQ(Keys(R"({"t":"%{%Y-%m-%dT%H:%M:%S}t.%{msec_frac}t%{%z}t","r":"%r"})"), "t=moment r=request");
  EXPECT_EQ(Keys(R"({"t":"%{%Y-%m-%d}tT%{%T}t.%{msec_frac}tZ","r":"%r"})"), "t=moment r=request");
  EXPECT_EQ(Keys(R"({"t":"%{%F %T}t","r":"%r"})"), "t=moment r=request");
  EXPECT_EQ(Keys(R"({"t":"[%{%d/%b/%Y:%T}t.%{msec_frac}t %{%z}t]","r":"%r"})"), "t=moment r=request");
  EXPECT_EQ(Keys(R"({"d":"%{%F}t","t":"%{%T}t %{%z}t","r":"%r"})"), "d=date t=time r=request");
  EXPECT_EQ(Keys(R"({"t":%{msec}t,"r":"%r"})"), "t=moment r=request");
  EXPECT_EQ(Keys(R"({"t":"%{%F}t at %{%T}t","r":"%r"})"), "none");
  EXPECT_EQ(Keys(R"({"t":"at %t","r":"%r"})"), "none");
}

TEST_F(FindGivenKeysTest, TakesKeysThatMeanNothing) {
  EXPECT_EQ(KeysBehind(R"(,"host":"web1","size":%I,"tls":true,"tags":["a",{"%D":"}"}],"x":{"y":"%D"})"),
            " host=nothing size=nothing tls=nothing tags=nothing x=nothing");
  EXPECT_EQ(KeysBehind(R"(,"":"","a\\"b":"%h","é":"%u","a b":"%v")"),
            R"( =nothing a\"b=host é=user a b=site)");
}

TEST_F(FindGivenKeysTest, TakesNoneWhereAFieldStandsOtherwise) {
  for (const char* members : {R"(,"h":"%h %l")", R"(,"h":"x%h")", R"(,"h":"%hx")", R"(,"h":["%h"])",
                              R"(,"o":{"h":"%h"})", R"(,"o":["x",{"%h":1}])", R"(,"h":%h)", R"(,"%h":1)",
                              R"(,"h":"%h","h":1)", R"(,"t":"%D")", R"( "h":"%h")", R"(,"h" "%h")",
                              R"(,"h":"%h)", R"(,)", R"(,"a  b":"%h")", R"(,"h":"%h"} {"u":"%u")"}) {
    EXPECT_EQ(KeysBehind(members), "none") << members;
  }
  EXPECT_EQ(Keys(R"([%t] {"r":"%r"})"), "none");
  EXPECT_EQ(Keys(R"({"t":"%t","r":"%r")"), "none");
  EXPECT_EQ(Keys("{\"t\":\"%t\",\"r\":\"%r\",\"x\":\"\x02\"}"), "none");
  EXPECT_EQ(Keys("%t %r"), "none");
}

TEST_F(FindGivenKeysTest, HasRoomForSoManyKeysOfSuchALength) {
  const std::string longest(kLongestGivenKey, 'k');
  EXPECT_EQ(KeysBehind(",\"" + longest + "\":\"%h\""), " " + longest + "=host");
  EXPECT_EQ(KeysBehind(",\"" + longest + "k\":\"%h\""), "none");
  std::string members;
  for (size_t i = 2; i < kMostGivenKeys; ++i) {
    members += ",\"k" + std::to_string(i) + "\":1";
  }
  KeysBehind(members);
  EXPECT_EQ(given_->count, kMostGivenKeys);
  EXPECT_EQ(KeysBehind(members + R"(,"k":1)"), "none");
}

TEST_F(FindGivenKeysTest, FindsAKeyFromAnyPlaceOn) {
  Keys(R"({"t":"%t","r":"%r","h":"%h"})");
  for (size_t from = 0; from <= given_->count; ++from) {
    EXPECT_EQ(PlaceOfKey(*given_, "t", from), 0U);
    EXPECT_EQ(PlaceOfKey(*given_, "r", from), 1U);
    EXPECT_EQ(PlaceOfKey(*given_, "h", from), 2U);
    for (const char* name : {"", "T", "tr", "x"}) {
      EXPECT_EQ(PlaceOfKey(*given_, name, from), given_->count) << name;
    }
  }
  given_->count = 0;
  EXPECT_EQ(PlaceOfKey(*given_, "", 0), 0U);
}
