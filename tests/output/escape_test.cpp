#include "output/escape.h"

#include <gtest/gtest.h>

#include <string>

#include "output/written.h"

using namespace std::string_view_literals;

static std::string Html(std::string_view text) {
  return Written([&](Sink& sink) { PutHtml(sink, text); });
}
static std::string Attribute(std::string_view text) {
  return Written([&](Sink& sink) { PutAttribute(sink, text); });
}
static std::string AddressText(std::string_view site, std::string_view path) {
  return Written([&](Sink& sink) { PutAddress(sink, site, path); });
}
static std::string Json(std::string_view text) {
  return Written([&](Sink& sink) { PutJson(sink, text); });
}
static std::string Csv(std::string_view text, bool guarded = true) {
  return Written([&](Sink& sink) { PutCsv(sink, text, guarded); });
}
static std::string Plain(std::string_view text, size_t width = 1000) {
  return Written([&](Sink& sink) { PutPlain(sink, text, width); });
}

TEST(Html, EscapesMarkup) {
  EXPECT_EQ(Html("<b title='x'>\"a\" & `b`</b>"),
            "&lt;b title=&#39;x&#39;&gt;&quot;a&quot; &amp; &#96;b&#96;&lt;/b&gt;");
  EXPECT_EQ(Html(""), "");
}

TEST(Html, ShowsWhatCannotBeSeen) {
  EXPECT_EQ(Html("a\x1b[31m\n\t\x7f\0z"sv),
            "a<i>\\x1B</i>[31m<i>\\x0A</i><i>\\x09</i><i>\\x7F</i><i>\\x00</i>z");
  EXPECT_EQ(Html("\xe2\x80\xae"
                 "gpj.exe"),
            "<i>\\u202E</i>gpj.exe");
  EXPECT_EQ(Html("\xf3\xa0\x81\x81"), "<i>\\u{E0041}</i>");
  EXPECT_EQ(Html("\xf4\x8f\xbf\xbd"), "<i>\\u{10FFFD}</i>");
  EXPECT_EQ(Html("caf\xe9"), "caf<i>\\xE9</i>");
  EXPECT_EQ(Html("\xc0\xbcscript>"), "<i>\\xC0</i><i>\\xBC</i>script&gt;");
}

TEST(Html, KeepsLettersOfTheWorld) {
  EXPECT_EQ(Html("caf\xc3\xa9 \xe4\xb8\xad \xf0\x9f\x98\x80"), "caf\xc3\xa9 \xe4\xb8\xad \xf0\x9f\x98\x80");
}

TEST(Attribute, HoldsNoMarkupAtAll) {
  EXPECT_EQ(Attribute("\"><script>\x01"), "&quot;&gt;&lt;script&gt;\\x01");
}

TEST(AddressPart, IsNoSchemeAndNoPath) {
  const auto part = [](std::string_view name) {
    return Written([&](Sink& sink) { PutAddressPart(sink, name); });
  };
  EXPECT_EQ(part("2026-11-21_a~b.html"), "2026-11-21_a~b.html");
  EXPECT_EQ(part("javascript:x"), "javascript%3Ax");
  EXPECT_EQ(part("//evil/%2e?a&b=c#d"), "%2F%2Fevil%2F%252e%3Fa%26b%3Dc%23d");
  EXPECT_EQ(part("\"'<>\n \x7F\xFF"), "%22%27%3C%3E%0A%20%7F%FF");
}

TEST(AddressPart, EveryByteIsALetterADigitOrEncoded) {
  std::string all;
  std::string wanted;
  for (int byte = 1; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    all += c;
    char encoded[4];
    snprintf(encoded, sizeof encoded, "%%%02X", byte);
    wanted += (byte < 128 && isalnum(byte)) || strchr("-._~", byte) != nullptr ? std::string(1, c) : encoded;
  }
  testing::internal::CaptureStdout();
  Sink sink;
  PutAddressPart(sink, all);
  FlushSink(sink);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), wanted);
}

TEST(WebAddress, HasAHostBehindItsScheme) {
  for (const std::string_view address : {"http://a", "HTTPS://example.com/x", "https://[::1]/"}) {
    EXPECT_TRUE(IsWebAddress(address)) << address;
  }
  for (const std::string_view address :
       {"", "http:", "http://", "http:///x", "https://?", "https://#a", "https://\\evil",
        "javascript:alert(1)", "data:text/html,x", "/path", " http://a", "httpx://a"}) {
    EXPECT_FALSE(IsWebAddress(address)) << address;
  }
}

TEST(Address, EncodesWhatMayNotStandInOne) {
  EXPECT_EQ(AddressText("https://www.example.com", "/a b\"<>'`\x01\xe9?x=1&y=%20"),
            "https://www.example.com/a%20b%22%3C%3E%27%60%01%E9?x=1&amp;y=%20");
  EXPECT_EQ(AddressText("", "http://a/\xe2\x80\xae{}|\\^"), "http://a/%E2%80%AE%7B%7D%7C%5C%5E");
}

TEST(Json, EscapesAsTheStandardSays) {
  EXPECT_EQ(Json("a\"b\\c/<>"), R"("a\"b\\c/<>")");
  EXPECT_EQ(Json("\n\x1f\0"sv), R"("\u000A\u001F\u0000")");
  EXPECT_EQ(Json("\xe2\x80\xa8"), R"("\u2028")");
  EXPECT_EQ(Json("\xf3\xa0\x81\x81"), R"("\uDB40\uDC41")");
  EXPECT_EQ(Json("caf\xe9!"), R"("caf\uFFFD!")");
  EXPECT_EQ(Json("caf\xc3\xa9"), "\"caf\xc3\xa9\"");
}

TEST(Utf8, IsRecognised) {
  EXPECT_TRUE(IsUtf8(""));
  EXPECT_TRUE(IsUtf8("caf\xc3\xa9 \x01"));
  EXPECT_FALSE(IsUtf8("caf\xe9"));
  EXPECT_FALSE(IsUtf8("aaaaaaaaaaaaaaaaaaaaaaaa\xff"));
}

TEST(Base64, FollowsTheStandardsExamples) {
  const auto base64 = [](std::string_view bytes) {
    return Written([&](Sink& sink) { PutBase64(sink, bytes); });
  };
  EXPECT_EQ(base64(""), "");
  EXPECT_EQ(base64("f"), "Zg==");
  EXPECT_EQ(base64("fo"), "Zm8=");
  EXPECT_EQ(base64("foo"), "Zm9v");
  EXPECT_EQ(base64("foobar"), "Zm9vYmFy");
  EXPECT_EQ(base64("\xff\xfe\xfd"), "//79");
}

TEST(Csv, QuotesWhatNeedsIt) {
  EXPECT_EQ(Csv("plain text"), "plain text");
  EXPECT_EQ(Csv("a,b"), "\"a,b\"");
  EXPECT_EQ(Csv("say \"hi\""), "\"say \"\"hi\"\"\"");
  EXPECT_EQ(Csv(" a"), "\" a\"");
  EXPECT_EQ(Csv("a\r\nb"), "a\\x0D\\x0Ab");
}

TEST(Csv, MakesFormulasHarmless) {
  EXPECT_EQ(Csv("=1+2"), "'=1+2");
  EXPECT_EQ(Csv("+1"), "'+1");
  EXPECT_EQ(Csv("-1"), "'-1");
  EXPECT_EQ(Csv("@SUM(A1)"), "'@SUM(A1)");
  EXPECT_EQ(Csv("\xef\xbc\x9d"
                "1"),
            "'\xef\xbc\x9d"
            "1");
  EXPECT_EQ(Csv("a;=cmd|'/C calc'!A0"), "\"a;'=cmd|'/C calc'!A0\"");
  EXPECT_EQ(Csv("a\",=1"), "\"a\"\",'=1\"");
  EXPECT_EQ(Csv("\t=1"), "\\x09'=1");
  EXPECT_EQ(Csv("/a-b=c"), "/a-b=c");
  EXPECT_EQ(Csv("=1+2", false), "=1+2");
}

TEST(Plain, PassesNoControlOn) {
  EXPECT_EQ(Plain("\x1b]0;owned\x07\x9b"
                  "31m\r\n"),
            "\\x1B]0;owned\\x07\\x9B31m\\x0D\\x0A");
}

TEST(Plain, ShortensInTheMiddle) {
  EXPECT_EQ(Plain("abcdefghij", 10), "abcdefghij");
  EXPECT_EQ(Plain("abcdefghijk", 10), "abcd..hijk");
  EXPECT_EQ(Plain("abcdefghijk", 9), "abcd..ijk");
  EXPECT_EQ(Plain("abcdef", 2), "ab");
  EXPECT_EQ(Plain("abcdef", 0), "");
}

TEST(Plain, CountsColumns) {
  EXPECT_EQ(PlainWidth("a\xe4\xb8\xad"
                       "e\xcc\x81\x01"),
            1 + 2 + 1 + 4);
  // A wide character that does not fit leaves its column free.
  EXPECT_EQ(Plain("\xe4\xb8\xad\xe4\xb8\xad\xe4\xb8\xad\xe4\xb8\xad", 7), "\xe4\xb8\xad..\xe4\xb8\xad");
}

TEST(Html, MiddleIsCutBetweenCharacters) {
  const Shortened whole = WithoutMiddle("abcdef", 6);
  EXPECT_EQ(whole.begin, "abcdef");
  EXPECT_EQ(whole.end, "");
  const Shortened ascii = WithoutMiddle("abcdefghij", 6);
  EXPECT_EQ(ascii.begin, "abcd");
  EXPECT_EQ(ascii.end, "ij");
  const Shortened wide = WithoutMiddle("\u00e9\u20ac\u00e9\u20ac\u00e9\u20ac\u00e9", 6);
  EXPECT_EQ(wide.begin, "\u00e9\u20ac\u00e9\u20ac");
  EXPECT_EQ(wide.end, "\u20ac\u00e9");
  const Shortened broken = WithoutMiddle("\xff\xff\xff\xff\xff\xff\xff", 6);
  EXPECT_EQ(broken.begin.size(), 4U);
  EXPECT_EQ(broken.end.size(), 2U);
}
