#include "layouts/json_line.h"

#include <gtest/gtest.h>

#include <memory>

class SplitJsonTest : public testing::Test {
 protected:
  bool Split(std::string_view line) {
    fields_ = {};
    return SplitJson(line, *memory_, fields_);
  }
  std::string_view operator[](Field field) { return fields_[field]; }

  std::unique_ptr<KeyMemory> memory_ = std::make_unique<KeyMemory>();
  LineFields fields_;
};

TEST_F(SplitJsonTest, TakesTextsNumbersAndFirstTextsOfLists) {
  ASSERT_TRUE(Split(
      R"({"ts":1700000000.5,"request":{"remote_ip":"192.0.2.7","uri":"/a","headers":{"User-Agent":["x","y"]}},"status": 200 ,"size":12})"));
  EXPECT_EQ((*this)[Field::kMoment], "1700000000.5");
  EXPECT_EQ((*this)[Field::kHost], "192.0.2.7");
  EXPECT_EQ((*this)[Field::kUrl], "/a");
  EXPECT_EQ((*this)[Field::kAgent], "x");
  EXPECT_EQ((*this)[Field::kStatus], "200");
  EXPECT_EQ((*this)[Field::kBytes], "12");
}

TEST_F(SplitJsonTest, PassesOverWhatIsNoPartOfTheRequest) {
  ASSERT_TRUE(
      Split(R"({"resp_headers":{"status":"1","x":[{"uri":"/no}"}]},"status":404,"ok":true,"none":null})"));
  EXPECT_EQ((*this)[Field::kStatus], "404");
  EXPECT_EQ((*this)[Field::kUrl].data(), nullptr);
}

TEST_F(SplitJsonTest, PrefersTheKeysThatStandFirstInTheTable) {
  Split(R"({"uri":"/a","request_uri":"/a?b=c"})");
  EXPECT_EQ((*this)[Field::kUrl], "/a?b=c");
  Split(R"({"request_uri":"/a?b=c","uri":"/a"})");
  EXPECT_EQ((*this)[Field::kUrl], "/a?b=c");
  Split(R"({"request_uri":"","uri":"/a"})");
  EXPECT_EQ((*this)[Field::kUrl], "/a");
}

TEST_F(SplitJsonTest, TellsARequestThatIsNothingFromNone) {
  for (const char* line : {R"({"request":""})", R"({"request":"-"})", R"({"request":null})"}) {
    Split(line);
    EXPECT_NE((*this)[Field::kRequest].data(), nullptr) << line;
    EXPECT_EQ((*this)[Field::kRequest], "") << line;
  }
  Split(R"({"agent":"","size":null})");
  EXPECT_EQ((*this)[Field::kAgent].data(), nullptr);
  EXPECT_EQ((*this)[Field::kBytes].data(), nullptr);
  Split(R"({"request":"GET / HTTP/1.0","request":""})");
  EXPECT_EQ((*this)[Field::kRequest], "GET / HTTP/1.0");
}

TEST_F(SplitJsonTest, TellsAStatusThatIsNothingFromNone) {
  for (const char* line : {R"({"status":""})", R"({"status":"-"})", R"({"status":null})"}) {
    Split(line);
    EXPECT_NE((*this)[Field::kStatus].data(), nullptr) << line;
    EXPECT_EQ((*this)[Field::kStatus], "") << line;
  }
  Split(R"({"status":404,"status":""})");
  EXPECT_EQ((*this)[Field::kStatus], "404");
  Split(R"({"status":"","response":"404"})");
  EXPECT_EQ((*this)[Field::kStatus], "404");
  Split(R"({"size":1})");
  EXPECT_EQ((*this)[Field::kStatus].data(), nullptr);
}

TEST_F(SplitJsonTest, TakesFractionsThatAreNoneOffNumbers) {
  Split(R"({"status":200.0,"size":"3428.00","uri":"/1.0"})");
  EXPECT_EQ((*this)[Field::kStatus], "200");
  EXPECT_EQ((*this)[Field::kBytes], "3428");
  EXPECT_EQ((*this)[Field::kUrl], "/1.0");
  for (const char* number : {"3428.5", "3428.", ".0", "3428.0x", "1.0.0"}) {
    const std::string line = std::string(R"({"size":")") + number + "\"}";
    Split(line);
    EXPECT_EQ((*this)[Field::kBytes], number);
  }
}

TEST_F(SplitJsonTest, TakesFewHeadersAndOnlyWhereNothingElseTells) {
  const std::string headers =
      R"("headers":{"Uri":["/no"],"Request-Uri":["/no"],"Status":["1"],"Size":["1"],"Ts":["1700000000"],)"
      R"("Client-Ip":["no"],"X-Forwarded-For":["a"],"Host":["b"],"Referer":["c"],"User-Agent":["d"],"Referrer":["no"],)"
      R"("Http-User-Agent":["no"],"request":{"uri":"/no","headers":{"Referer":["no"]}}})";
  const std::string alone = "{" + headers + "}";
  Split(alone);
  for (const Field field : {Field::kUrl, Field::kStatus, Field::kBytes, Field::kMoment}) {
    EXPECT_EQ((*this)[field].data(), nullptr) << static_cast<int>(field);
  }
  EXPECT_EQ((*this)[Field::kHost], "a");
  EXPECT_EQ((*this)[Field::kSite], "b");
  EXPECT_EQ((*this)[Field::kReferrer], "c");
  EXPECT_EQ((*this)[Field::kAgent], "d");
  const std::string others = R"("client":"e","domain":"f","cs_referer":"g","ua":"h","path":"/i")";
  for (const std::string& line : {"{" + headers + "," + others + "}", "{" + others + "," + headers + "}",
                                  R"({"request":{)" + headers + "," + others + "}}"}) {
    Split(line);
    EXPECT_EQ((*this)[Field::kHost], "e") << line;
    EXPECT_EQ((*this)[Field::kSite], "f") << line;
    EXPECT_EQ((*this)[Field::kReferrer], "g") << line;
    EXPECT_EQ((*this)[Field::kAgent], "h") << line;
    EXPECT_EQ((*this)[Field::kUrl], "/i") << line;
  }
}

TEST_F(SplitJsonTest, TakesTheHeaderThatIsSpeltAsServersKnowIt) {
  for (const char* headers : {R"("X_Forwarded_For":"no","X-Forwarded-For":"yes")",
                              R"("x-forwarded-for":"yes","XForwarded-For":"no")"}) {
    const std::string line = std::string(R"({"headers":{)") + headers + "}}";
    Split(line);
    EXPECT_EQ((*this)[Field::kHost], "yes") << headers;
  }
}

TEST_F(SplitJsonTest, TakesNothingOfHeadersOfAResponseOrABodyOfARequest) {
  Split(
      R"({"response":{"headers":{"Host":"no"},"body":{"bytes":12},"request":{"headers":{"Referer":"no"}}},"status":200})");
  EXPECT_EQ((*this)[Field::kSite].data(), nullptr);
  EXPECT_EQ((*this)[Field::kReferrer].data(), nullptr);
  EXPECT_EQ((*this)[Field::kBytes], "12");
  EXPECT_EQ((*this)[Field::kStatus], "200");
  Split(R"({"http":{"request":{"body":{"status":"1","bytes":3},"uri":"/a"}},"body":{"status":200}})");
  EXPECT_EQ((*this)[Field::kStatus], "200");
  EXPECT_EQ((*this)[Field::kBytes].data(), nullptr);
  EXPECT_EQ((*this)[Field::kUrl], "/a");
}

TEST_F(SplitJsonTest, RemembersKeysBehindHeadersOfAnyNumber) {
  for (const char* headers : {R"("A":"1")", R"("A":"1","Status":"2","B":"3")", ""}) {
    const std::string line = std::string(R"({"headers":{)") + headers + R"(},"status":200,"uri":"/a"})";
    Split(line);
    EXPECT_EQ((*this)[Field::kStatus], "200") << headers;
    EXPECT_EQ((*this)[Field::kUrl], "/a") << headers;
  }
}

TEST_F(SplitJsonTest, TakesBracketsOffTimes) {
  Split(R"({"time":"[05/Mar/2024:07:06:11 +0000]"})");
  EXPECT_EQ((*this)[Field::kMoment], "05/Mar/2024:07:06:11 +0000");
}

TEST_F(SplitJsonTest, TakesTheUnitOfADurationFromHowItIsWritten) {
  Split(R"({"Duration":12345})");
  EXPECT_EQ((*this)[Field::kTakenNanoseconds], "12345");
  Split(R"({"duration":12345})");
  EXPECT_EQ((*this)[Field::kTakenByForm], "12345");
  Split(R"({"Duration":0.5})");
  EXPECT_EQ((*this)[Field::kTakenByForm], "0.5");
  Split(R"({"OriginDuration":5,"reqtime_microsec":"7"})");
  EXPECT_EQ((*this)[Field::kTakenMicroseconds], "7");
  EXPECT_EQ((*this)[Field::kTakenNanoseconds].data(), nullptr);
}

TEST_F(SplitJsonTest, TakesTheVersionOfTlsOfAnObjectOfThatName) {
  Split(
      R"({"version":"1","tls":{"proto":"h2","server_name":"no","version":772},"request":{"proto":"HTTP/2.0"}})");
  EXPECT_EQ((*this)[Field::kTls], "772");
  EXPECT_EQ((*this)[Field::kProtocol], "HTTP/2.0");
  EXPECT_EQ((*this)[Field::kSite].data(), nullptr);
  Split(R"({"protocol":"https"})");
  EXPECT_EQ((*this)[Field::kProtocol].data(), nullptr);
}

TEST_F(SplitJsonTest, TakesNoDurationForATime) {
  for (const char* duration : {"0.046", "100000.123", "17", "99999999"}) {
    const std::string line =
        std::string(R"({"request_time":")") + duration + R"(","time":"2024-01-01T10:00:00Z"})";
    Split(line);
    EXPECT_EQ((*this)[Field::kMoment], "2024-01-01T10:00:00Z") << duration;
    EXPECT_EQ((*this)[Field::kTakenSeconds], duration);
  }
  Split(R"({"request_time":"1700000000.5"})");
  EXPECT_EQ((*this)[Field::kMoment], "1700000000.5");
  EXPECT_EQ((*this)[Field::kTakenSeconds].data(), nullptr);
}

TEST_F(SplitJsonTest, TakesAnyEscapeAndAnyByte) {
  ASSERT_TRUE(Split("{\"agent\":\"a\\x22b\\\"\xFF\",\"status\":200}"));
  EXPECT_EQ((*this)[Field::kAgent], "a\\x22b\\\"\xFF");
  EXPECT_TRUE(fields_.escaped[static_cast<size_t>(Field::kAgent)]);
  EXPECT_EQ((*this)[Field::kStatus], "200");
}

TEST_F(SplitJsonTest, GivesWhatABrokenLineHeld) {
  ASSERT_TRUE(Split(R"({"status":200,"uri":"/a)"));
  EXPECT_EQ((*this)[Field::kStatus], "200");
  EXPECT_EQ((*this)[Field::kUrl], "/a");
  EXPECT_TRUE(Split("{"));
  EXPECT_FALSE(Split("[1]"));
  EXPECT_FALSE(Split(""));
}

TEST_F(SplitJsonTest, RemembersKeysByTheirPlaces) {
  for (int i = 0; i < 2; ++i) {
    Split(R"({"status":200,"size":1})");
    EXPECT_EQ((*this)[Field::kStatus], "200");
    Split(R"({"size":2,"status":404})");
    EXPECT_EQ((*this)[Field::kStatus], "404");
    EXPECT_EQ((*this)[Field::kBytes], "2");
  }
}

TEST_F(SplitJsonTest, NestsWithoutEnd) {
  EXPECT_TRUE(Split(R"({"x":)" + std::string(60000, '[')));
  EXPECT_TRUE(Split(std::string(60000, '{')));
}

TEST(SplitLtsv, TakesLabelsAndValues) {
  LineFields fields = {};
  ASSERT_TRUE(
      SplitLtsv("time:[05/Mar/2024:07:06:11 +0000]\thost:192.0.2.7\treq:GET /a "
                "HTTP/1.1\tstatus:200\tsize:12\tua:x:y\tbad",
                fields));
  EXPECT_EQ(fields[Field::kMoment], "05/Mar/2024:07:06:11 +0000");
  EXPECT_EQ(fields[Field::kHost], "192.0.2.7");
  EXPECT_EQ(fields[Field::kRequest], "GET /a HTTP/1.1");
  EXPECT_EQ(fields[Field::kBytes], "12");
  EXPECT_EQ(fields[Field::kAgent], "x:y");
  EXPECT_FALSE(SplitLtsv("no label\tstatus:200", fields));
}

static std::string Decoded(std::string text) {
  text.resize(DecodeJsonText(text.data(), text.size()));
  return text;
}

TEST(DecodeJsonText, TakesEscapesOut) {
  EXPECT_EQ(Decoded(R"(a\"b\\c\/d\u0026e)"), R"(a"b\c/d&e)");
  EXPECT_EQ(Decoded(R"(\u00e4\u20ac\ud83d\ude00)"), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(DecodeJsonText, LeavesWhatIsNoneOrNoText) {
  for (const char* text : {R"(\x22)", R"(\n)", R"(\u000a)", R"(\u0000)", R"(\u12)", R"(\ud83d)", R"(\ude00x)",
                           R"(\u12g4)", "\\"}) {
    EXPECT_EQ(Decoded(text), text);
  }
}

TEST(FindJsonText, FindsATextOfTheOuterObjectAlone) {
  bool escaped = true;
  EXPECT_EQ(FindJsonText(R"({"a":1,"b":{"message":"no"},"message":"yes","log":"x"})", "message", escaped),
            "yes");
  EXPECT_FALSE(escaped);
  EXPECT_EQ(FindJsonText(R"({"MESSAGE":"a\"b"})", "message", escaped), R"(a\"b)");
  EXPECT_TRUE(escaped);
  EXPECT_EQ(FindJsonText(R"({"a":"message","b":"c"})", "message", escaped).data(), nullptr);
  EXPECT_EQ(FindJsonText("message", "message", escaped).data(), nullptr);
}
