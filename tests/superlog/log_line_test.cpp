#include "superlog/log_line.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "base/text.h"
#include "dates/local_time.h"
#include "log_text.h"
#include "superlog/byte_scan.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/superlog.h"

using Text = std::optional<std::string>;

// A record whose texts outlive the next line.
struct Kept {
  Text host, url, referrer, agent, realm, user;
  int64_t status, bytes;
  int64_t time;
  tm local;
};

static Text Keep(std::string_view text) {
  if (text.data() == nullptr) {
    return std::nullopt;
  }
  EXPECT_LE(text.size(), mLogLimits.item);
  EXPECT_EQ(text.find('\0'), std::string_view::npos);
  return std::string(text);
}

static void SetZone(const char* zone) {
  setenv("TZ", zone, 1);
  tzset();
  ResetLocalTime();
  InitLogDates();
}

class ParseNextLineTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetLineReader();
    ResetLogFormat();
    ResetLogDates();
    SetZone("UTC");
    mLogLimits = kClassicLimits;
  }
  void TearDown() override { SetUp(); }

  static std::vector<Kept> ParseAll(const std::string& log) {
    OpenLogText(log);
    ResetFileFormat();
    std::vector<Kept> kept;
    SuperLogRecord r;
    while (SuperLog_ParseNextLine(r)) {
      EXPECT_TRUE(r.host.data() == nullptr || r.host.data()[r.host.size()] == '\0');
      kept.push_back({Keep(r.host), Keep(r.url), Keep(r.referrer), Keep(r.agent), Keep(r.realm), Keep(r.user),
                      r.status, r.bytes, r.time, r.local});
    }
    CloseLog();
    return kept;
  }

  // The only record of a log.
  static Kept ParseOne(const std::string& log) {
    const std::vector<Kept> kept = ParseAll(log);
    EXPECT_EQ(kept.size(), 1u) << log;
    return kept.size() == 1 ? kept[0] : Kept{};
  }

  // One line in a layout; the layouts of these tests keep date and URL first.
  static Kept ParseAs(const std::string& format, const std::string& line) {
    SuperLog_SetLogFormat(format.c_str(), kLevelForm);
    return ParseOne(line + "\n");
  }

  static size_t CountAs(const std::string& format, const std::string& line) {
    SuperLog_SetLogFormat(format.c_str(), kLevelForm);
    return ParseAll(line + "\n").size();
  }
};

static constexpr int32_t k10Oct2000 = 971186136;  // 10 October 2000, 13:55:36 UTC

// --- One log of each family -------------------------------------------------------

TEST_F(ParseNextLineTest, ExtendedLogFormat) {
  const Kept r = ParseOne(
      "www.example.com realm bob [10/Oct/2000:13:55:36 -0700] \"GET /a.html?x=1 HTTP/1.0\" 404 2326 "
      "\"http://www.example.org/start\" \"Browser/4.08 [en] (X; I)\"\n");
  EXPECT_EQ(r.host, "www.example.com");
  EXPECT_EQ(r.realm, "realm");
  EXPECT_EQ(r.user, "bob");
  EXPECT_EQ(r.time, k10Oct2000);  // the zone is ignored
  EXPECT_EQ(r.url, "/a.html?x=1");
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(r.bytes, 2326);
  EXPECT_EQ(r.referrer, "http://www.example.org/start");
  EXPECT_EQ(r.agent, "Browser/4.08 [en] (X; I)");
}

TEST_F(ParseNextLineTest, CommonLogLineLeavesReferrerAndAgentAbsent) {
  const Kept r = ParseOne("10.0.0.1 - - [10/Oct/2000:13:55:36 -0700] \"GET /a HTTP/1.0\" 200 2326\r\n");
  EXPECT_EQ(r.host, "10.0.0.1");
  EXPECT_EQ(r.realm, std::nullopt);
  EXPECT_EQ(r.user, std::nullopt);
  EXPECT_EQ(r.referrer, std::nullopt);
  EXPECT_EQ(r.agent, std::nullopt);
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.bytes, 2326);
}

TEST_F(ParseNextLineTest, AllFieldsOfTheLocalTimeAreFilled) {
  const Kept r = ParseOne("10.0.0.1 - - [10/Oct/2000:13:55:36 -0700] \"GET /a HTTP/1.0\" 200 1\n");
  EXPECT_EQ(r.local.tm_sec, 36);
  EXPECT_EQ(r.local.tm_min, 55);
  EXPECT_EQ(r.local.tm_hour, 13);
  EXPECT_EQ(r.local.tm_mday, 10);
  EXPECT_EQ(r.local.tm_mon, 9);
  EXPECT_EQ(r.local.tm_year, 100);
  EXPECT_EQ(r.local.tm_wday, 2);
  EXPECT_EQ(r.local.tm_yday, 283);
  EXPECT_EQ(r.local.tm_isdst, 0);
}

TEST_F(ParseNextLineTest, IisCommaFormat) {
  const Kept r = ParseOne(
      "192.0.2.7, ANONYMOUS, 10/10/00, 13:55:36, W3SVC2, WEB1, 198.51.100.1, 502, 279, 1,604, 200, 0, GET, "
      "/docs/a.html, q=1, http://www.example.com/, Browser/2.0, \r\n");
  EXPECT_EQ(r.host, "192.0.2.7");
  EXPECT_EQ(r.user, "ANONYMOUS");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.realm, "198.51.100.1");
  EXPECT_EQ(r.bytes, 1);  // a thousands comma ends the number
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.url, "/docs/a.html?q=1");
  EXPECT_EQ(r.referrer, "http://www.example.com/");
  EXPECT_EQ(r.agent, "Browser/2.0");
}

TEST_F(ParseNextLineTest, IisServiceMustBeginWithW3svc) {
  const std::string begin = "192.0.2.7, -, 10/10/00, 13:55:36, ";
  const std::string end = ", WEB1, 198.51.100.1, 502, 279, 604, 200, 0, GET, /a, -, \n";
  const std::vector<Kept> kept =
      ParseAll(begin + "W3SVC2" + end + begin + "MSFTPSVC1" + end + begin + "w3svc1" + end + begin + "W3SV" +
               end + begin + "W3SVC1893743816" + end);
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].url, "/a");
}

TEST_F(ParseNextLineTest, WebSiteWindowsFormat) {
  const Kept r = ParseOne(
      "10/10/00 13:55:36\t192.0.2.7\tx\twww.example.com\tbob\tGET\t/a b.html\thttp://www.example.org/\t-\t"
      "Browser/4.0 (W)\t200\t512\t77\n");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.host, "192.0.2.7");
  EXPECT_EQ(r.realm, "www.example.com");
  EXPECT_EQ(r.user, "bob");
  EXPECT_EQ(r.url, "/a b.html");
  EXPECT_EQ(r.referrer, "http://www.example.org/");
  EXPECT_EQ(r.agent, "Browser/4.0 (W)");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.bytes, 512);
}

TEST_F(ParseNextLineTest, MacHttpTabFormat) {
  const Kept r = ParseOne("10/10/00\t13:55:36\tOK  \twww.example.com.\t:docs:index.html\t512\n");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.host, "www.example.com");
  EXPECT_EQ(r.url, "/docs/index.html");
  EXPECT_EQ(r.bytes, 512);
}

TEST_F(ParseNextLineTest, WebStarLogFormatLine) {
  const Kept r = ParseOne(
      "!!LOG_FORMAT DATE TIME RESULT HOSTNAME URL BYTES_SENT AGENT REFERER USER SEARCH_ARGS\n"
      "Tue, 10 Oct 2000\t13:55:36\tPRIV\twww.example.com\t:a:b\t9\tBrowser/1\t\tbob\tx y\n");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.status, 403);
  EXPECT_EQ(r.host, "www.example.com");
  EXPECT_EQ(r.url, "/a/b?x y");
  EXPECT_EQ(r.bytes, 9);
  EXPECT_EQ(r.agent, "Browser/1");
  EXPECT_EQ(r.referrer, std::nullopt);
  EXPECT_EQ(r.user, "bob");
}

TEST_F(ParseNextLineTest, WebStarCommonLogFormat) {
  const Kept r = ParseOne(
      "!!LOG_FORMAT COMMON_LOG_FORMAT\n10.0.0.1 - - [10/Oct/2000:13:55:36 +0000] \"GET /a HTTP/1.0\" 200 "
      "5\n");
  EXPECT_EQ(r.url, "/a");
  EXPECT_EQ(r.time, k10Oct2000);
}

TEST_F(ParseNextLineTest, WebStarFieldsHeader) {
  const Kept r = ParseOne(
      "#Fields: DATE TIME RESULT CS-IP CS-HOST CS-URI BYTES HOST\n"
      "2000-10-10\t13:55:36\t404\t192.0.2.1\twww.example.com\t/a\t3\twww.example.net\n");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.status, 404);
  EXPECT_EQ(r.host, "www.example.com");
  EXPECT_EQ(r.realm, "www.example.net");
}

TEST_F(ParseNextLineTest, W3cIis) {
  const Kept r = ParseOne(
      "#Software: Microsoft Internet Information Services 7.5\n#Version: 1.0\n#Date: 2000-10-10 00:00:00\n"
      "#Fields: date time s-ip cs-method cs-uri-stem cs-uri-query s-port cs-username c-ip cs(User-Agent) "
      "cs(Referer) sc-status sc-bytes\n"
      "2000-10-10 13:55:36 198.51.100.1 GET /a/b.asp x=1&y=2 80 - 192.0.2.9 Browser/4.0+(a;+b%21) "
      "http://www.example.com/c+d 304 77\n");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.realm, "198.51.100.1");
  EXPECT_EQ(r.url, "/a/b.asp?x=1&y=2");
  EXPECT_EQ(r.user, std::nullopt);
  EXPECT_EQ(r.host, "192.0.2.9");
  EXPECT_EQ(r.agent, "Browser/4.0 (a; b!)");
  EXPECT_EQ(r.referrer, "http://www.example.com/c+d");  // only the agent is decoded
  EXPECT_EQ(r.status, 304);
  EXPECT_EQ(r.bytes, 77);
}

TEST_F(ParseNextLineTest, W3cWebStar) {
  const Kept r = ParseOne(
      "#Software: WebSTAR/2.1 ID/1\n#Fields: DATE TIME C-DNS C-IP CS-URI-STEM C-URI-QUERY SC-STATUS BYTES "
      "CS(USER-AGENT)\n10/10/2000\t13:55:36\t-\t192.0.2.1\t/a\t-\t200\t4\tBrowser+1\n");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.host, "192.0.2.1");
  EXPECT_EQ(r.url, "/a");
  EXPECT_EQ(r.agent, "Browser+1");  // only the agents of IIS are decoded
}

TEST_F(ParseNextLineTest, Netscape) {
  const Kept r = ParseOne(
      "format=%Ses->client.ip% - %Req->vars.auth-user% [%SYSDATE%] \"%Req->reqpb.clf-request%\" "
      "%Req->srvhdrs.clf-status% %Req->srvhdrs.content-length%\n"
      "192.0.2.1 - bob [10/Oct/2000:13:55:36 -0700] \"GET /a HTTP/1.1\" 200 6\n");
  EXPECT_EQ(r.host, "192.0.2.1");
  EXPECT_EQ(r.realm, std::nullopt);
  EXPECT_EQ(r.user, "bob");
  EXPECT_EQ(r.url, "/a");
  EXPECT_EQ(r.bytes, 6);
}

TEST_F(ParseNextLineTest, UserLayout) {
  const Kept r =
      ParseAs("S?h??1qrcfa",
              "www.example.com:80 192.0.2.1 - - [10/Oct/2000:13:55:36 +0000] \"GET /a HTTP/1.1\" 200 6");
  EXPECT_EQ(r.host, "192.0.2.1");
  EXPECT_EQ(r.url, "/a");
}

// --- Lines ------------------------------------------------------------------------

static std::string Clf(const std::string& url) {
  return "10.0.0.1 - - [10/Oct/2000:13:55:36 +0000] \"GET " + url + " HTTP/1.0\" 200 5\n";
}

TEST_F(ParseNextLineTest, FieldsHeaderMidwayIsFollowed) {
  const std::vector<Kept> kept = ParseAll(
      "#Software: Dolphin Speedstar\n#Fields: date time cs-uri-stem c-ip\n2000-10-10 13:55:36 /a 192.0.2.1\n"
      "#Fields: c-ip cs-uri-stem time date\n192.0.2.2 /b 13:55:36 2000-10-10\n");
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].host, "192.0.2.1");
  EXPECT_EQ(kept[1].host, "192.0.2.2");
  EXPECT_EQ(kept[1].url, "/b");
  EXPECT_EQ(kept[1].time, k10Oct2000);
}

TEST_F(ParseNextLineTest, HeaderInTheFileWinsOverAUserLayoutDeliberately) {
  SuperLog_SetLogFormat("Sx1", kLevelAccount);
  const std::vector<Kept> kept =
      ParseAll("#Software: Dolphin Speedstar\n#Fields: date time cs-uri-stem\n2000-10-10 13:55:36 /a\n");
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].url, "/a");
}

TEST_F(ParseNextLineTest, CommentsAndNulLinesAreSkipped) {
  const std::vector<Kept> kept = ParseAll(
      std::string("; comment with many spaces in it here\n").append("\0", 1) + Clf("/nul") + Clf("/a"));
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].url, "/a");
  EXPECT_EQ(ParseOne(";a comment\twith\tfive\ttabs\tin\tit\n;" + Clf("/comment") + Clf("/a")).url, "/a");
}

TEST_F(ParseNextLineTest, NulEndsTheTextOfALine) {
  EXPECT_EQ(ParseOne(std::string("10.0.0.1 - - [10/Oct/2000:13:55:36 +0000] \"GET /abc").append("\0", 1) +
                     "def\" 200 5\n")
                .url,
            "/abc");
}

TEST_F(ParseNextLineTest, OneExclamationMarkIsData) {
  EXPECT_EQ(ParseOne(std::string("!").append(Clf("/a"))).host, "!10.0.0.1");
  EXPECT_EQ(ParseAll(std::string("!!").append(Clf("/a"))).size(), 0u);
}

TEST_F(ParseNextLineTest, UnrecognisedLinesAreDroppedUntilOneIsRecognised) {
  const std::vector<Kept> kept =
      ParseAll("too few\nspaces in this line\n" + Clf("/a") + "short\n" + Clf("/b"));
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[1].url, "/b");
}

TEST_F(ParseNextLineTest, RecordIsClearedAtTheEnd) {
  OpenLogText(Clf("/a"));
  SuperLogRecord r;
  ASSERT_TRUE(SuperLog_ParseNextLine(r));
  ASSERT_FALSE(SuperLog_ParseNextLine(r));
  EXPECT_EQ(r.url.data(), nullptr);
  EXPECT_EQ(r.time, 0);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.local.tm_isdst, -1);
}

// --- What is asked for ------------------------------------------------------------

static const std::string kWholeLine =
    "host.example m w [10/Oct/2000:13:55:36 +0000] \"GET /a HTTP/1.0\" 404 5 \"ref\" \"agent\"\n";

TEST_F(ParseNextLineTest, OnlyTextsThatAreAskedForArePresent) {
  for (int text = 0; text < 6; ++text) {
    SCOPED_TRACE(text);
    SuperLog_AskFor({text == 0, text == 1, text == 2, text == 3, text == 4});
    const Kept r = ParseOne(kWholeLine);
    EXPECT_EQ(r.host, text == 0 ? Text("host.example") : std::nullopt);
    EXPECT_EQ(r.referrer, text == 1 ? Text("ref") : std::nullopt);
    EXPECT_EQ(r.agent, text == 2 ? Text("agent") : std::nullopt);
    EXPECT_EQ(r.realm, text == 3 ? Text("m") : std::nullopt);
    EXPECT_EQ(r.user, text == 4 ? Text("w") : std::nullopt);
    EXPECT_EQ(r.url, "/a");
    EXPECT_EQ(r.status, 404);
    EXPECT_EQ(r.bytes, 5);
    EXPECT_EQ(r.time, k10Oct2000);
  }
}

TEST_F(ParseNextLineTest, NameAndAddressAreHosts) {
  const std::string format = "Snpx1r";
  const std::string line = "name 10.0.0.1 /a [10/Oct/2000:13:55:36 +0000] 200";
  EXPECT_EQ(ParseAs(format, line).host, "name");
  SuperLog_AskFor({.host = false, .referrer = true, .agent = true, .realm = true, .user = true});
  EXPECT_EQ(ParseAs(format, line).host, std::nullopt);
}

TEST_F(ParseNextLineTest, WhatIsAskedForDecidesNothingAboutTheLine) {
  const std::string log =
      "no record\n" + kWholeLine + "h - - [x] \"-\" 200 5 \"ref\" \"agent\"\n" + kWholeLine;
  const int64_t before = SuperLog_GetLinesNotUnderstood();
  EXPECT_EQ(ParseAll(log).size(), 2u);
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood() - before, 2);
  SuperLog_AskFor({});
  EXPECT_EQ(ParseAll(log).size(), 2u);
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood() - before, 4);
}

TEST_F(ParseNextLineTest, NoLineIsReadBeyondWhatIsAskedFor) {
  SuperLog_AskFor({.host = true, .referrer = true, .agent = false, .realm = false, .user = false});
  ParseOne(kWholeLine);
  EXPECT_STREQ(mKnownFormatBuf, "Sh??1qrcf");
  ResetLogFormat();
  ParseOne(kWholeLine);
  EXPECT_STREQ(mKnownFormatBuf, LOG_FORMAT_STR_ELF);
}

TEST_F(ParseNextLineTest, NothingIsCarriedOverFromALineToTheNext) {
  const std::vector<Kept> kept = ParseAll(
      "host.example m w [10/Oct/2000:13:55:36 +0000] \"GET /a HTTP/1.0\" 200 5 \"ref\" \"agent\"\n"
      "h - - [10/Oct/2000:13:55:36 +0000] /b\n");
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[1].url, "/b");
  EXPECT_EQ(kept[1].realm, std::nullopt);
  EXPECT_EQ(kept[1].user, std::nullopt);
  EXPECT_EQ(kept[1].referrer, std::nullopt);
  EXPECT_EQ(kept[1].agent, std::nullopt);
  EXPECT_EQ(kept[1].status, 0);
  EXPECT_EQ(kept[1].bytes, 0);
}

// --- Field letters ----------------------------------------------------------------

TEST_F(ParseNextLineTest, DateLetters) {
  struct {
    const char* format;
    const char* line;
    int32_t time;
  } const rows[] = {
      {"T0u", "971186136\t/a", k10Oct2000},
      {"T1u", "10/Oct/2000:13:55:36 +0000\t/a", k10Oct2000},
      {"T29u", "10/11/00\t13:55:36\t/a", k10Oct2000 + 86400},
      {"T2u", "10/11/2000\t/a", 971222400},
      {"T39u", "2000-10-11\t13:55:36\t/a", k10Oct2000 + 86400},
      {"T4u", "10/11/00 13:55:36\t/a", k10Oct2000 + 86400},
      {"T4u", "10/11/00\t/a", 971222400},
      {"T59u", "Wed, 11 Oct 2000\t13:55:36\t/a", k10Oct2000 + 86400},
      {"T93u", "13:55:36\t2000-10-11\t/a", k10Oct2000 + 86400},
      {"T39u", "2000-10-11\t13:55\t/a", k10Oct2000 + 86400 - 36},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(ParseAs(row.format, row.line).time, row.time);
  }
}

// deliberate: the day is taken for a month, of which 31 reach into the year after next
TEST_F(ParseNextLineTest, MonthsBeyondTheYearAreCarried) {
  SuperLog_SetDateFormat("YMD", kLevelForm);
  EXPECT_EQ(ParseAs("S2u", "31/12/99 /a").time, 994896000);  // 12 July 2001
}

TEST_F(ParseNextLineTest, TimeAloneIsNoDate) {
  EXPECT_EQ(CountAs("S9u", "13:55:36 /a"), 0u);
}

TEST_F(ParseNextLineTest, TextLetters) {
  const Kept r = ParseAs("S0uafmwh", "971186136 /u agent ref realm user host");
  EXPECT_EQ(r.url, "/u");
  EXPECT_EQ(r.agent, "agent");
  EXPECT_EQ(r.referrer, "ref");
  EXPECT_EQ(r.realm, "realm");
  EXPECT_EQ(r.user, "user");
  EXPECT_EQ(r.host, "host");
}

TEST_F(ParseNextLineTest, OtherLettersSkipAField) {
  const Kept r = ParseAs("S0?z %uB8h", "971186136 a b c d /u e f host");
  EXPECT_EQ(r.url, "/u");
  EXPECT_EQ(r.host, "host");
}

TEST_F(ParseNextLineTest, SeparatorMayChangeWithinALine) {
  const Kept r = ParseAs("S0TuSh", "971186136 /a b\thost rest");
  EXPECT_EQ(r.url, "/a b");
  EXPECT_EQ(r.host, "host");
}

TEST_F(ParseNextLineTest, NumbersWrapAndNonNumbersRead0) {
  struct {
    const char* text;
    int value;
  } const rows[] = {{"0", 0},
                    {"200", 200},
                    {"-", 0},
                    {"", 0},
                    {"-5", -5},
                    {"+7", 7},
                    {"12ab", 12},
                    {"ab", 0},
                    {"999999999", 999999999},
                    {"2147483647", 2147483647},
                    {"2147483648", INT32_MIN},
                    {"4294967297", 1},
                    {"0000000000012", 12},
                    {"99999999999999999999", -1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const Kept r = ParseAs("T0ucr", std::string("971186136\t/u\t") + row.text + "\t" + row.text + "\tx");
    EXPECT_EQ(r.bytes, row.value);
    EXPECT_EQ(r.status, row.value);
  }
}

TEST_F(ParseNextLineTest, ResultWordSetsTheStatusOnlyWhenNoneIsSet) {
  EXPECT_EQ(ParseAs("S0urk", "971186136 /u 304 OK").status, 304);
  EXPECT_EQ(ParseAs("S0urk", "971186136 /u 0 OK").status, 200);
  EXPECT_EQ(ParseAs("S0ukr", "971186136 /u OK 304").status, 304);
  EXPECT_EQ(ParseAs("S0ukk", "971186136 /u ERR! OK").status, 404);
}

TEST_F(ParseNextLineTest, DashAndEmptyBecomeAbsent) {
  for (const std::string value : {"-", ""}) {
    const Kept r = ParseAs("T0xefamwh", "971186136\t/x\t" + value + "\t" + value + "\t" + value + "\t" +
                                            value + "\t" + value + "\thost");
    EXPECT_EQ(r.url, "/x");
    EXPECT_EQ(r.referrer, std::nullopt);
    EXPECT_EQ(r.agent, std::nullopt);
    EXPECT_EQ(r.realm, std::nullopt);
    EXPECT_EQ(r.user, std::nullopt);
  }
  EXPECT_EQ(ParseAs("T0ufa", "971186136\t/u\t--\t -").referrer, "--");
}

TEST_F(ParseNextLineTest, QuotedDashAndEmptyQuotedAgentBecomeAbsent) {
  const Kept r = ParseOne("10.0.0.1 - - [10/Oct/2000:13:55:36 +0000] \"GET /a HTTP/1.0\" 200 5 \"-\" \"\"\n");
  EXPECT_EQ(r.referrer, std::nullopt);
  EXPECT_EQ(r.agent, std::nullopt);
}

TEST_F(ParseNextLineTest, ModernRequestsNeedNoUrl) {
  const auto line = [](const std::string& request) {
    return "192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] \"" + request + "\" 408 5\n";
  };
  for (const auto& [request, url] :
       std::vector<std::pair<std::string, std::string>>{{"-", "(no request)"},
                                                        {"", "(no request)"},
                                                        {R"(\x16\x03\x01)", "(not HTTP)"},
                                                        {"GET * HTTP/1.0", "*"}}) {
    mLogLimits = kModernLimits;
    const Kept r = ParseOne(line(request));
    EXPECT_EQ(r.url, url);
    EXPECT_EQ(r.status, 408) << request;
  }
  EXPECT_EQ(ParseAs("T0xe", "971186136\t-\t-").url, "(no request)");
  EXPECT_EQ(ParseAs("T0xeq", "971186136\ts\tq").url, "s?q");
  EXPECT_EQ(ParseAs("T0u", "971186136\tindex.html").url, "index.html");
  mLogLimits = kClassicLimits;
  EXPECT_EQ(ParseAll("192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] \"-\" 408 5\n").size(), 0u);
}

// --- Lines that are cut off ----------------------------------------------------------

TEST_F(ParseNextLineTest, ModernLastLineThatIsCutOffIsARecordOnlyWithItsStatus) {
  mLogLimits = kModernLimits;
  const std::string begin = R"(192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] "GET /a HTTP/1.0" 200)";
  const std::string line = begin + R"( 532 "http://a.example/\"" "M x")";
  const std::string before = line + "\n" + line + "\n";
  for (size_t size = 1; size <= line.size(); ++size) {
    const bool in_referrer = size > line.find("\"http") && size < line.find(" \"M");
    const bool in_agent = size > line.find("\"M") && size < line.size();
    const size_t expected = size >= begin.size() && !in_referrer && !in_agent ? 3 : 2;
    const int64_t not_understood = LinesNotUnderstood();
    EXPECT_EQ(ParseAll(before + line.substr(0, size)).size(), expected) << size;
    EXPECT_EQ(LinesNotUnderstood() - not_understood, expected == 2 ? 1 : 0) << size;
    if (size > line.find("\"G")) {  // a line end says that nothing is missing
      EXPECT_EQ(ParseAll(before + line.substr(0, size) + "\n").size(), 3u) << size;
    }
  }
  mLogLimits = kClassicLimits;
  EXPECT_EQ(ParseAll(before + line.substr(0, line.find(" HTTP"))).size(), 3u);
}

TEST_F(ParseNextLineTest, ModernLastLinesOfOtherLayoutsNeedTheirStatus) {
  mLogLimits = kModernLimits;
  const std::string ltsv = "time:05/Mar/2000:10:00:00 +0000\treq:GET /a HTTP/1.0\tstatus:200";
  const std::string names = "#Fields: date time c-ip cs-uri-stem sc-status\n";
  const std::string iis = "#Software: Microsoft Internet Information Services 6.0\n" + names;
  const std::string w3c = "2000-03-05 10:00:00 192.0.2.7 /a 200";
  for (const auto& [head, line] :
       std::vector<std::pair<std::string, std::string>>{{"", ltsv}, {names, w3c}, {iis, w3c}}) {
    const std::string before = head + line + "\n";
    EXPECT_EQ(ParseAll(before + line).size(), 2u) << before;
    EXPECT_EQ(ParseAll(before + line.substr(0, line.size() - 1)).size(), 1u) << before;
    EXPECT_EQ(ParseAll(before + line.substr(0, line.size() - 1) + "\n").size(), 2u) << before;
    EXPECT_EQ(ParseAll(before + line.substr(0, line.size() - 4)).size(), 1u) << before;
  }
}

TEST_F(ParseNextLineTest, ModernLineWithANulIsARecordOnlyUpToThere) {
  mLogLimits = kModernLimits;
  const std::string line = R"(192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] "GET /a HTTP/1.0" 200 5 "-" "M")";
  const std::string nul(1, '\0');
  EXPECT_EQ(ParseAll(nul + nul + line + "\n" + line + "\n").size(), 2u);
  EXPECT_EQ(ParseAll(line + "\n" + line + nul + nul + "\n" + line + "\n").size(), 3u);
  const int64_t not_understood = LinesNotUnderstood();
  EXPECT_EQ(ParseAll(line + "\n" + line.substr(0, 55) + nul + line + "\n" + line + "\n").size(), 2u);
  EXPECT_EQ(LinesNotUnderstood() - not_understood, 1);
  EXPECT_EQ(ParseAll(line + "\n" + line.substr(0, line.size() - 1) + nul + "\"\n").size(), 1u);
}

// --- URLs -------------------------------------------------------------------------

TEST_F(ParseNextLineTest, UrlFromStemAndQuery) {
  EXPECT_EQ(ParseAs("S0xe", "971186136 /s -").url, "/s");
  EXPECT_EQ(ParseAs("S0xe", "971186136 /s a=b").url, "/s?a=b");
  EXPECT_EQ(ParseAs("S0ex", "971186136 a=b /s").url, "/s?a=b");
  EXPECT_EQ(ParseAs("S0xe", "971186136 /s").url, "/s");
  EXPECT_EQ(ParseAs("S0uxe", "971186136 /u /s a=b").url, "/u");
  EXPECT_EQ(ParseAs("S0xeq", "971186136 /s a=b \"GET /q HTTP/1.0\"").url, "/q");
  EXPECT_EQ(CountAs("S0e", "971186136 a=b"), 0u);
}

TEST_F(ParseNextLineTest, EmptyIsNotAbsent) {
  const Kept r = ParseAs("T0uhm", "971186136\t\t\tx");
  EXPECT_EQ(r.url, "");
  EXPECT_EQ(r.host, "");
  EXPECT_EQ(ParseAs("T0xem", "971186136\t\tq\tx").url, "?q");
}

TEST_F(ParseNextLineTest, MacPaths) {
  EXPECT_EQ(ParseAs("S0u", "971186136 :docs:index.html").url, "/docs/index.html");
  EXPECT_EQ(ParseAs("S0u", "971186136 :docs:find?a:b:c").url, "/docs/find?a:b:c");
  EXPECT_EQ(ParseAs("S0u", "971186136 http://www.example.com:80/").url, "http://www.example.com:80/");
  EXPECT_EQ(ParseAs("S0xe", "971186136 :a:b c:d").url, "/a/b?c:d");
}

TEST_F(ParseNextLineTest, LineWithoutUrlIsDropped) {
  EXPECT_EQ(CountAs("S0u", "971186136"), 0u);
  EXPECT_EQ(CountAs("S0u", "971186136 -"), 0u);
  EXPECT_EQ(CountAs("S0q", "971186136 \"GET - HTTP/1.0\""), 0u);
  EXPECT_EQ(CountAs("S0u", "971186136 --"), 1u);
}

TEST_F(ParseNextLineTest, ValuesAreCutTo243Characters) {
  const std::string longest(kTextMax, 'x');
  EXPECT_EQ(ParseAs("S0uh", "971186136 " + longest + " host").url, longest);
  EXPECT_EQ(ParseAs("S0uh", "971186136 " + longest + "y host").url, longest);
  const Kept r = ParseAs("S0uh", "971186136 " + longest + std::string(57, 'y').append(" host"));
  EXPECT_EQ(r.url, longest);
  EXPECT_EQ(r.host, "host");
}

TEST_F(ParseNextLineTest, RequestIsCutBeforeItsUrlIsTaken) {
  const Kept r = ParseOne(Clf(std::string("/").append(299, 'x')));
  EXPECT_EQ(r.url, std::string("/").append(kTextMax - 5, 'x'));  // "GET " and "/" precede
  EXPECT_EQ(r.status, 200);
}

TEST_F(ParseNextLineTest, CombinedUrlIsCutTo243Characters) {
  const std::string stem(kTextMax, 's');
  const std::string query(kTextMax, 'q');
  EXPECT_EQ(ParseAs("S0xe", "971186136 " + stem + " " + query).url, stem);
  EXPECT_EQ(ParseAs("S0xe", "971186136 " + stem.substr(1) + " " + query).url, stem.substr(1) + "?");
  EXPECT_EQ(ParseAs("S0xe", "971186136 /s " + query).url, "/s?" + query.substr(3));
}

TEST_F(ParseNextLineTest, ModernValuesAreCutTo2048Characters) {
  mLogLimits = kModernLimits;
  for (const size_t length : {243u, 244u, 2047u, 2048u, 2049u, 9000u}) {
    const std::string value(length, 'v');
    const std::string kept = value.substr(0, 2048);
    const Kept r = ParseAs("T0uhfamw", "971186136\t" + value + "\t" + value + "\t" + value + "\t" + value +
                                           "\t" + value + "\t" + value);
    for (const Text* text : {&r.url, &r.host, &r.referrer, &r.agent, &r.realm, &r.user}) {
      EXPECT_EQ(*text, kept) << length;
    }
  }
}

TEST_F(ParseNextLineTest, ModernRequestIsCutBehindItsUrl) {
  mLogLimits = kModernLimits;
  const std::string url = "/" + std::string(2046, 'u');
  EXPECT_EQ(ParseAs("S1q", "[10/Oct/2000:13:55:36 +0000] \"GET " + url + "x HTTP/1.0\"").url, url + "x");
  EXPECT_EQ(ParseAs("S1q", "[10/Oct/2000:13:55:36 +0000] \"GET " + url + "xy HTTP/1.0\"").url, url + "x");
  EXPECT_EQ(ParseAs("S1q", "[10/Oct/2000:13:55:36 +0000] \"" + url + "xy\"").url, url + "x");
}

TEST_F(ParseNextLineTest, ModernCombinedUrlIsCutTo2048Characters) {
  mLogLimits = kModernLimits;
  EXPECT_EQ(ParseAs("T0xe", "971186136\t/" + std::string(1000, 's') + "\t" + std::string(1046, 'q')).url,
            "/" + std::string(1000, 's') + "?" + std::string(1046, 'q'));
  EXPECT_EQ(ParseAs("T0xe", "971186136\t/" + std::string(1000, 's') + "\t" + std::string(1047, 'q')).url,
            "/" + std::string(1000, 's') + "?" + std::string(1046, 'q'));
  EXPECT_EQ(ParseAs("T0xe", "971186136\t/" + std::string(2047, 's') + "\tq").url,
            "/" + std::string(2047, 's'));
}

TEST_F(ParseNextLineTest, ModernLineOf64KiBIsRead) {
  mLogLimits = kModernLimits;
  const std::string front = "971186136\t" + std::string(65000, 'u') + "\t";
  const std::string agent(65536 - front.size(), 'a');
  EXPECT_EQ(ParseAs("T0ua", front + agent).agent, agent);
  EXPECT_EQ(ParseAs("T0ua", front + agent + "b").agent, agent);
}

TEST_F(ParseNextLineTest, ModernNumbersSaturateAt64Bits) {
  mLogLimits = kModernLimits;
  struct {
    const char* text;
    int64_t number;
  } const rows[] = {{"2147483648", 2147483648},
                    {"4294967700", 4294967700},
                    {"9223372036854775807", INT64_MAX},
                    {"9300000000000000000", INT64_MAX},
                    {"99999999999999999999999", INT64_MAX},
                    {"-99999999999999999999999", INT64_MIN},
                    {"-5", -5},
                    {"x", 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const Kept r = ParseAs("T0ucr", std::string("971186136\t/\t") + row.text + "\t" + row.text);
    EXPECT_EQ(r.bytes, row.number);
    EXPECT_EQ(r.status, row.number);
  }
}

TEST_F(ParseNextLineTest, ModernTimesHave64Bits) {
  mLogLimits = kModernLimits;
  struct {
    const char* format;
    const char* line;
    int64_t time;
  } const rows[] = {
      {"T1u", "01/Jan/1900:00:00:00 +0000\t/a", -2208988800},
      {"T1u", "13/Dec/1901:20:45:51 +0000\t/a", -2147483649},
      {"T1u", "19/Jan/2038:03:14:08 +0000\t/a", 2147483648},
      {"T1u", "01/Jan/2039:00:00:00 +0000\t/a", 2177452800},
      {"T39u", "2100-03-01\t00:00:00\t/a", 4107542400},
      {"T2u", "03/01/2100\t/a", 4107542400},
      {"T4u", "03/01/2100 00:00:01\t/a", 4107542401},
      {"T5u", "Mon, 1 Mar 2100\t/a", 4107542400},
      {"T0u", "4107542400\t/a", 4107542400},
      {"T0u", "-2208988800\t/a", -2208988800},
      {"T0u", "3057164896\t/a", 971186400},  // counted from 1904
      {"T1u", "01/Jan/9999:00:00:00 +0000\t/a", 253370764800},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(ParseAs(row.format, row.line).time, row.time);
  }
}

TEST_F(ParseNextLineTest, ModernDatesThatAreNoneAreDroppedStill) {
  mLogLimits = kModernLimits;
  for (const char* line : {"10-Oct-2000\t/a", "10/Foo/2000:13:55:36\t/a", "\t/a"}) {
    EXPECT_EQ(CountAs("T1u", line), 0u) << line;
    EXPECT_EQ(CountAs("T19u", std::string(line).insert(strcspn(line, "\t"), "\t10:00")), 0u) << line;
  }
  EXPECT_EQ(CountAs("T0u", "99999999999999999999\t/a"), 0u);
  EXPECT_EQ(CountAs("T0u", "-99999999999999999999\t/a"), 0u);
}

// A line as servers write it, with what a visitor chose in it.
static std::string Combined(const std::string& user, const std::string& url, const std::string& referrer,
                            const std::string& agent) {
  return "192.0.2.7 - " + user + " [10/Oct/2000:13:55:36 +0000] \"GET " + url + " HTTP/1.1\" 401 639 \"" +
         referrer + "\" \"" + agent + "\"\n";
}

TEST_F(ParseNextLineTest, ModernFieldsAreNotShiftedByWhatAVisitorChose) {
  mLogLimits = kModernLimits;
  for (const char* user : {"-", "bob", "a b", " ", "a [b", "[", "'", R"(a\"q\\b)", R"(\" 1)", "- [", "- [x ",
                           "a [01/Jan/2000:00:00:00 +0000]", "[01/Jan/2000:00:00:00 +0000]",
                           R"(a [01/Jan/2000:00:00:00 +0000] \"GET / HTTP/1.0\" 200 1 \"-\" \"-\")",
                           "a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q"}) {
    for (const char* text :
         {R"(x\"y)", R"(x\\)", R"(\" 200 5 \"forged\" \"forged)", R"(\\\")", R"(\\\\)", R"(x\x22 200 5)",
          "x [01/Jan/2000:00:00:00 +0000] ", "a, , , , , , , , , , , , , , , b"}) {
      SCOPED_TRACE(std::string(user) + " " + text);
      const Kept r = ParseOne(Combined(user, R"(/\"x)", text, text));
      EXPECT_EQ(r.host, "192.0.2.7");
      EXPECT_EQ(r.user, std::string_view(user) == "-" ? std::nullopt : Text(user));
      EXPECT_EQ(r.time, k10Oct2000);
      EXPECT_EQ(r.url, R"(/\"x)");
      EXPECT_EQ(r.status, 401);
      EXPECT_EQ(r.bytes, 639);
      EXPECT_EQ(r.referrer, text);
      EXPECT_EQ(r.agent, text);
    }
  }
}

TEST_F(ParseNextLineTest, ClassicFieldsAreShiftedDeliberately) {
  EXPECT_EQ(ParseOne(Combined("-", R"(/\" 200 5 \"-\" \"forged)", "-", "-")).status, 200);
  EXPECT_EQ(ParseOne(Combined("-", "/", R"(x\" \"forged)", "-")).agent, R"(\"forged")");
  EXPECT_EQ(ParseAll(Combined("a b", "/", "-", "-")).size(), 0u);
}

TEST_F(ParseNextLineTest, ModernEmptyAndQuotedUsersAreReadAsBefore) {
  mLogLimits = kModernLimits;
  EXPECT_EQ(ParseOne(Combined("\"\"", "/", "-", "-")).user, std::nullopt);
  EXPECT_EQ(ParseOne(Combined("\"a b\"", "/", "-", "-")).user, "a b");
  EXPECT_EQ(ParseOne(Combined("", "/", "-", "-")).user, std::nullopt);
}

TEST_F(ParseNextLineTest, ModernLinesOfServersWithoutEscapesAreNotLost) {
  mLogLimits = kModernLimits;
  const Kept r = ParseOne(Combined("-", "/", "C:\\", "D:\\"));
  EXPECT_EQ(r.referrer, "C:\\");
  EXPECT_EQ(r.agent, "D:\\");
  EXPECT_EQ(ParseOne("192.0.2.7 - - [10/Oct/2000:13:55:36 +0000] \"GET /a\\\" 404 7\n").status, 404);
}

TEST_F(ParseNextLineTest, ModernCutLineForgesNothing) {
  mLogLimits = kModernLimits;
  const std::string referrer = R"(x\" \"forged)" + std::string(70000, 'x');
  const Kept r = ParseOne(Combined("-", "/", referrer, "real"));
  EXPECT_EQ(r.referrer, referrer.substr(0, 2048));
  EXPECT_EQ(r.agent, std::nullopt);
}

TEST_F(ParseNextLineTest, ModernByte0xFFIsACharacter) {
  mLogLimits = kModernLimits;
  EXPECT_EQ(ParseOne(Combined("-", "/\xFF", "-", "x\xFF\xFF")).agent, "x\xFF\xFF");
}

TEST(TrimFullRequest, KeepsTheUrl) {
  struct {
    const char* request;
    const char* url;
  } const rows[] = {
      {"GET /a HTTP/1.0", "/a"},
      {"GET /a", "/a"},
      {"GET", "GET"},
      {"-", "-"},
      {"", ""},
      {"GET  /a HTTP/1.0", ""},
      {"GET ", ""},
      {" /a b", "/a"},
      {"GET /a b c d", "/a"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.request);
    const std::string buffer = row.request + std::string(kScanOverread, ' ');
    std::string_view text(buffer.data(), strlen(row.request));
    TrimFullRequest(text);
    EXPECT_EQ(text, row.url);
  }
}

TEST(TrimFullRequest, KeepsAUrlOfAnyLength) {
  for (size_t length = 0; length < 200; ++length) {
    const std::string url(length, 'u');
    for (const char* behind : {"", " HTTP/1.0", " HTTP/1.0 "}) {
      const std::string request = "GET " + url + behind;
      const std::string buffer = request + std::string(kScanOverread, ' ');
      std::string_view text(buffer.data(), request.size());
      TrimFullRequest(text);
      ASSERT_EQ(text, url);
    }
  }
}

TEST_F(ParseNextLineTest, RequestOfOnlyAMethodWordIsTheUrl) {
  EXPECT_EQ(ParseOne("10.0.0.1 - - [10/Oct/2000:13:55:36 +0000] \"QUIT\" 400 5\n").url, "QUIT");
}

TEST(TranslateWebStarResultCode, LooksAtTheFirstTwoCharacters) {
  EXPECT_EQ(TranslateWebStarResultCode("OK"), 200);
  EXPECT_EQ(TranslateWebStarResultCode("OKAY"), 200);
  EXPECT_EQ(TranslateWebStarResultCode("PRIV"), 403);
  EXPECT_EQ(TranslateWebStarResultCode("PR"), 403);
  EXPECT_EQ(TranslateWebStarResultCode("ERR!"), 404);
  EXPECT_EQ(TranslateWebStarResultCode("ok"), 404);
  EXPECT_EQ(TranslateWebStarResultCode("O"), 404);
  EXPECT_EQ(TranslateWebStarResultCode(""), 404);
}

// --- Hosts ------------------------------------------------------------------------

static std::string TrimHost(const char* host) {
  char buffer[64 + kScanOverread] = {};
  CopyText(buffer, host);
  std::string_view text = buffer;
  TrimPort(text);
  TrimTrailingDot(text);
  EXPECT_EQ(text.data()[text.size()], '\0');
  return std::string(text);
}

TEST(TrimPort, CutsPortThenOneDot) {
  EXPECT_EQ(TrimHost("www.example.com.:8080"), "www.example.com");
  EXPECT_EQ(TrimHost("www.example.com"), "www.example.com");
  EXPECT_EQ(TrimHost("www.example.com.."), "www.example.com.");
  EXPECT_EQ(TrimHost("a:b:c"), "a");
  EXPECT_EQ(TrimHost("::1"), "");
  EXPECT_EQ(TrimHost("."), "");
  EXPECT_EQ(TrimHost(""), "");
}

struct HostTaken {
  std::string host;
  bool ipv6;
};

static HostTaken TakeHost(const char* host) {
  char buffer[128 + kScanOverread] = {};
  CopyText(buffer, host);
  std::string_view text = buffer;
  const Address* const ipv6 = TakeHostWithColon(text);
  EXPECT_EQ(text.data()[text.size()], '\0');
  Address address{};
  EXPECT_EQ(ipv6 != nullptr, text.find(':') != std::string_view::npos && ParseAddress(text, address));
  EXPECT_TRUE(ipv6 == nullptr || *ipv6 == address);
  return {std::string(text), ipv6 != nullptr};
}

TEST(TakeHostWithColon, AddressesOfIpv6AreWholeAndWrittenInOneWay) {
  for (const char* const host : {"2001:db8::1", "2001:DB8:0:0:0:0:0:1", "[2001:db8::1]", "[2001:db8::1]:443",
                                 "[2001:db8::1]:", "2001:db8::1%eth0", "[2001:db8::1%25eth0]:80"}) {
    const HostTaken taken = TakeHost(host);
    EXPECT_EQ(taken.host, "2001:db8::1") << host;
    EXPECT_TRUE(taken.ipv6) << host;
  }
  EXPECT_EQ(TakeHost("::1").host, "::1");
  EXPECT_EQ(TakeHost("::").host, "::");
}

TEST(TakeHostWithColon, AddressesOfIpv4LoseTheFormOfIpv6) {
  for (const char* const host : {"::ffff:192.0.2.7", "::FFFF:C000:207", "[::ffff:192.0.2.7]:80"}) {
    const HostTaken taken = TakeHost(host);
    EXPECT_EQ(taken.host, "192.0.2.7") << host;
    EXPECT_FALSE(taken.ipv6) << host;
  }
}

TEST(TakeHostWithColon, OtherHostsLoseTheirPort) {
  EXPECT_EQ(TakeHost("192.0.2.1:443").host, "192.0.2.1");
  EXPECT_EQ(TakeHost("www.example.com.:80").host, "www.example.com.");
  EXPECT_EQ(TakeHost("host:").host, "host");
  EXPECT_EQ(TakeHost(":80").host, "");
}

TEST(TakeHostWithColon, WhatIsNoAddressAndHasSeveralColonsStays) {
  for (const char* const host : {"2001:db8::zz", "a:b:c", "[::1", "[::1]x", "[::1]443", "[x]:1:2",
                                 ":::", "::1::2", "[[::1]]:443", "1:2:3:4:5:6:7:8:9"}) {
    const HostTaken taken = TakeHost(host);
    EXPECT_EQ(taken.host, host);
    EXPECT_FALSE(taken.ipv6) << host;
  }
}

TEST_F(ParseNextLineTest, ModernHostsMayBeAddressesOfIpv6) {
  const std::string rest = " - - [05/Mar/2000:10:00:00 +0000] \"GET /a HTTP/1.0\" 200 7\n";
  for (const char* const host : {"2001:db8::1", "[2001:db8::1]", "[2001:db8::1]:443"}) {
    mLogLimits = kModernLimits;
    const Kept r = ParseOne(host + rest);
    EXPECT_EQ(r.host, "2001:db8::1") << host;
    EXPECT_EQ(r.url, "/a") << host;
    EXPECT_EQ(r.bytes, 7) << host;
  }
  mLogLimits = kClassicLimits;
  EXPECT_EQ(ParseOne("2001:db8::1" + rest).host, "2001");
  EXPECT_EQ(ParseOne("[2001:db8::1]" + rest).host, "2001");
}

TEST_F(ParseNextLineTest, HostFromNameOrAddress) {
  EXPECT_EQ(ParseAs("S0unp", "971186136 /u www.example.com.:80 192.0.2.1").host, "www.example.com");
  EXPECT_EQ(ParseAs("S0unp", "971186136 /u - 192.0.2.1").host, "192.0.2.1");
  EXPECT_EQ(ParseAs("S0unp", "971186136 /u -x 192.0.2.1").host, "192.0.2.1");
  EXPECT_EQ(ParseAs("S0unp", "971186136 /u - -").host, std::nullopt);
  EXPECT_EQ(ParseAs("S0upn", "971186136 /u 192.0.2.1 www.example.com").host, "www.example.com");
  EXPECT_EQ(ParseAs("S0unph", "971186136 /u www.example.com 192.0.2.1 -").host, "-");
  EXPECT_EQ(ParseAs("T0unpr", "971186136\t/u\t\t192.0.2.1\t1").host, "");
  EXPECT_EQ(ParseAs("S0u", "971186136 /u").host, std::nullopt);
}

// --- Times ------------------------------------------------------------------------

TEST_F(ParseNextLineTest, TimesOf0AndMinus1AreDropped) {
  EXPECT_EQ(CountAs("S39u", "1970-01-01 00:00:00 /a"), 0u);
  EXPECT_EQ(CountAs("S39u", "1969-12-31 23:59:59 /a"), 0u);
  EXPECT_EQ(CountAs("S39u", "1970-01-01 00:00:01 /a"), 1u);
  EXPECT_EQ(CountAs("S0u", "0 /a"), 0u);
}

TEST_F(ParseNextLineTest, TimesOutside32BitsAreDropped) {
  EXPECT_EQ(CountAs("S1u", "[10/Oct/00:13:55:36 +0000] /a"), 0u);  // the year 1900
  EXPECT_EQ(CountAs("S39u", "1901-12-13 20:45:51 /a"), 0u);
  EXPECT_EQ(ParseAs("S39u", "1901-12-13 20:45:52 /a").time, INT32_MIN);
  EXPECT_EQ(ParseAs("S39u", "2038-01-19 03:14:07 /a").time, INT32_MAX);
  EXPECT_EQ(CountAs("S39u", "2038-01-19 03:14:08 /a"), 0u);
}

TEST_F(ParseNextLineTest, FieldsBeyondTheirRangeAreNormalised) {
  const Kept r = ParseAs("S39u", "2000-09-40 13:54:96 /a");
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(r.local.tm_mon, 9);
  EXPECT_EQ(r.local.tm_mday, 10);
  EXPECT_EQ(r.local.tm_sec, 36);
}

TEST_F(ParseNextLineTest, LocalZoneAndSummerTime) {
  SetZone("EST5EDT,M4.1.0,M10.5.0");
  const Kept r = ParseOne("10.0.0.1 - - [10/Jul/2000:13:55:36 -0400] \"GET /a HTTP/1.0\" 200 1\n");
  EXPECT_EQ(r.time, 963251736);
  EXPECT_EQ(r.local.tm_hour, 13);
  EXPECT_EQ(r.local.tm_isdst, 1);
}

class ZonesOfLinesTest : public ParseNextLineTest {
 protected:
  void SetUp() override {
    ParseNextLineTest::SetUp();
    mLogLimits = kModernLimits;
    SetZone("EST5EDT,M4.1.0,M10.5.0");
  }

  static std::string Line(const std::string& time) {
    return "10.0.0.1 - - [" + time + "] \"GET /a HTTP/1.0\" 200 1 \"-\" \"Lynx\"\n";
  }
  static std::vector<time_t> Times(const std::string& log) {
    std::vector<time_t> times;
    for (const Kept& record : ParseAll(log)) {
      times.push_back(record.time);
    }
    return times;
  }
};

using Instants = std::vector<time_t>;

// The instants were worked out with date -u -d TIME +%s.
TEST_F(ZonesOfLinesTest, ATimeIsThatOfTheZoneBesideIt) {
  const Kept r = ParseOne(Line("10/Jul/2000:13:55:36 +0200"));
  EXPECT_EQ(r.time, 963230136);
  EXPECT_EQ(r.local.tm_hour, 7);
  EXPECT_EQ(r.local.tm_isdst, 1);
  EXPECT_EQ(r.local.tm_mday, 10);
  EXPECT_EQ(ParseOne(Line("10/Jul/2000:13:55:36")).time, 963251736);
  EXPECT_EQ(ParseOne(Line("11/Jul/2000:03:30:00 +0530")).local.tm_mday, 10);
}

// The hour of the last time is remembered with its zone, by either way of reading a line.
TEST_F(ZonesOfLinesTest, ZonesMayChangeFromLineToLine) {
  const std::string odd = "10.0.0.1 - - [10/Jul/2000:13:55:36 +0530] \"GET /a\" 200 -\n";
  EXPECT_EQ(Times(Line("10/Jul/2000:13:55:36 +0200") + Line("10/Jul/2000:13:55:37 +0200") +
                  Line("10/Jul/2000:13:55:36 -0200") + Line("10/Jul/2000:13:55:36 +0200") + odd +
                  Line("10/Jul/2000:13:55:37 +0530") + Line("10/Jul/2000:13:55:36") + odd +
                  Line("10/Jul/2000:13:55:36 +2460") + Line("10/Jul/2000:13:55:36 -0200")),
            (Instants{963230136, 963230137, 963244536, 963230136, 963217536, 963217537, 963251736, 963217536,
                      963251736, 963244536}));
}

TEST_F(ZonesOfLinesTest, BothHalvesOfARepeatedHourAreTold) {
  EXPECT_EQ(Times(Line("29/Oct/2000:01:30:00 -0400") + Line("29/Oct/2000:01:30:00 -0500") +
                  Line("29/Oct/2000:01:30:01 -0400")),
            (Instants{972797400, 972801000, 972797401}));
}

TEST_F(ZonesOfLinesTest, TheLineBeforeHasNoSayInATimeThatTheClocksLeaveOut) {
  const std::string gap = Line("02/Apr/2000:02:30:00");
  const Instants alone = Instants{954660600};  // 03:30 in summer time
  EXPECT_EQ(Times(gap), alone);
  for (const char* before : {"02/Apr/2000:01:30:00", "02/Apr/2000:03:30:00", "10/Jul/2000:01:30:00",
                             "10/Jan/2000:01:30:00", "29/Oct/2000:01:30:00"}) {
    EXPECT_EQ(Times(Line(before) + gap).back(), alone[0]) << before;
  }
}

TEST_F(ZonesOfLinesTest, OddTimesAreNoneAsWithoutAZone) {
  for (const char* time :
       {"00/Jan/1900:00:00:00 +0000", "30/Feb/2000:05:00:01 +0000", "28/Feb/2000:24:00:01 +0000"}) {
    EXPECT_TRUE(Times(Line(time) + Line(time)).empty()) << time;
  }
  // In the hour of the line before, too.
  EXPECT_EQ(Times(Line("29/Feb/2000:05:00:00 +0000") + Line("29/Feb/2000:05:60:00 +0000") +
                  Line("29/Feb/2000:05:00:61 +0000") + Line("29/Feb/2000:05:00:60 +0000")),
            (Instants{951800400, 951800460}));
}

TEST_F(ZonesOfLinesTest, TheFirstSecondOf1970IsATimeAsTheOthers) {
  for (const char* time :
       {"01/Jan/1970:00:00:00 +0000", "01/Jan/1970:02:00:00 +0200", "31/Dec/1969:19:00:00"}) {
    EXPECT_EQ(Times(Line(time) + Line(time)), (Instants{0, 0})) << time;
  }
  EXPECT_EQ(Times(Line("31/Dec/1969:23:59:58 +0000") + Line("31/Dec/1969:23:59:59 +0000") +
                  Line("01/Jan/1970:00:00:00 +0000") + Line("01/Jan/1970:00:00:01 +0000") +
                  Line("01/Jan/1970:00:00:00 +0000")),
            (Instants{-2, -1, 0, 1, 0}));
  for (const char* time : {"1969-12-31T23:59:59Z", "1969-12-31T18:59:59"}) {
    EXPECT_EQ(Times("{\"time\":\"" + std::string(time) + "\",\"request\":\"GET /a\",\"status\":200}\n"),
              Instants{-1})
        << time;
  }
}

TEST_F(ZonesOfLinesTest, GmtIsForTimesWithoutAZone) {
  SuperLog_SetFixGmt("1", kLevelForm);
  InitLogDates();
  EXPECT_EQ(Times(Line("10/Jul/2000:13:55:36") + Line("10/Jul/2000:13:55:36 +0200")),
            (Instants{963237336, 963230136}));
  EXPECT_EQ(Times("{\"time\":\"2000-07-10T13:55:36\",\"request\":\"GET /a\",\"status\":200}\n"),
            Instants{963237336});
  SuperLog_SetFixGmt("0", kLevelForm);
  EXPECT_EQ(Times("{\"time\":\"2000-07-10T13:55:36\",\"request\":\"GET /a\",\"status\":200}\n"),
            Instants{963251736});
}

TEST_F(ZonesOfLinesTest, W3cIsGmt) {
  const std::string head = "#Software: Microsoft Internet Information Services 10.0\n";
  const std::string lines =
      "#Fields: date time c-ip cs-method cs-uri-stem sc-status\n"
      "2000-07-10 13:55:36 10.0.0.1 GET /a 200\n";
  EXPECT_EQ(Times(head + lines), Instants{963237336});
  EXPECT_EQ(Times(lines), Instants{963237336});
  EXPECT_EQ(Times("#Software: WebSTAR/2.1\n#Fields: DATE TIME SC-STATUS HOSTNAME URL BYTES_SENT\n"
                  "07/10/00\t13:55:36\t200\t10.0.0.1\t/a\t1\n"),
            Instants{963251736});
  mLogLimits = kClassicLimits;
  EXPECT_EQ(Times(head + lines), Instants{963251736});
}

// What mktime makes of a repeated hour depends on the call before.
TEST_F(ParseNextLineTest, LineWithoutUrlDecidesTheRepeatedHourOfTheNext) {
  SetZone("EST5EDT,M4.1.0,M10.5.0");
  const auto plain = [](int month, int day, int hour) {
    tm parts = {};
    parts.tm_year = 100;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = 30;
    parts.tm_isdst = -1;
    return mktime(&parts);
  };
  plain(7, 10, 12);
  plain(11, 10, 12);
  const time_t expected = plain(10, 29, 1);
  ResetLocalTime();
  SuperLog_SetLogFormat("S39u", kLevelForm);
  const std::vector<Kept> kept =
      ParseAll("2000-07-10 12:30:00 /a\n2000-11-10 12:30:00 -\n2000-10-29 01:30:00 /b\n");
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[1].time, expected);
}

TEST_F(ParseNextLineTest, EpochInTheRepeatedHourKeepsItsHalf) {
  SetZone("EST5EDT,M4.1.0,M10.5.0");
  EXPECT_EQ(ParseAs("S0u", "972797400 /a").time, 972797400);  // 01:30 in summer time
  EXPECT_EQ(ParseAs("S0u", "972801000 /a").time, 972801000);  // 01:30 an hour later
}

TEST_F(ParseNextLineTest, GmtOffsetIsAddedAndTheSumIsTested) {
  SetZone("UTC-2");
  SuperLog_SetFixGmt("1", kLevelForm);
  InitLogDates();
  ASSERT_EQ(mGmtOffset, 7200);
  const Kept r = ParseAs("S39u", "2000-10-10 13:55:36 /a");
  EXPECT_EQ(r.local.tm_hour, 15);
  EXPECT_EQ(r.time, k10Oct2000);
  EXPECT_EQ(CountAs("S39u", "1970-01-01 00:00:00 /a"), 0u);
  EXPECT_EQ(CountAs("S39u", "1969-12-31 23:59:59 /a"), 0u);
  EXPECT_EQ(CountAs("S39u", "1970-01-01 02:00:00 /a"), 1u);  // 0 before the offset is added
  EXPECT_EQ(CountAs("S39u", "1970-01-01 01:59:59 /a"), 1u);  // -1 before
}

TEST_F(ParseNextLineTest, GmtOffsetDoesNotBringATimeBackInto32Bits) {
  SetZone("UTC2");
  SuperLog_SetFixGmt("1", kLevelForm);
  InitLogDates();
  ASSERT_EQ(mGmtOffset, -7200);
  EXPECT_EQ(CountAs("S39u", "2038-01-19 01:14:08 /a"), 0u);
  EXPECT_EQ(ParseAs("S39u", "2038-01-19 01:14:07 /a").time, INT32_MAX - 7200);
  EXPECT_EQ(CountAs("S39u", "1901-12-13 19:00:00 /a"), 0u);  // in 32 bits only before the offset is added
}

// --- Junk -------------------------------------------------------------------------

// Bytes that the layouts give a meaning to, in any order, behind every header.
TEST_F(ParseNextLineTest, JunkIsReadSafelyInEveryLayout) {
  const std::string alphabet =
      std::string("\0\xFF\x80", 3)
          .append("\r\n\n\n\n  \t\t,,,\"\"'[]:/?#!;-.%+0123456789abAGSTC\x01Jan:format=");
  const char* const headers[] = {
      "",
      "#Software: Dolphin Speedstar\n#Fields: date time c-ip cs-uri-stem cs-uri-query cs(User-Agent) "
      "sc-status\n",
      "#Software: WebSTAR/2.1\n#Fields: DATE TIME C-DNS C-IP CS-URI-STEM C-URI-QUERY RESULT BYTES\n",
      "!!LOG_FORMAT DATE TIME RESULT HOSTNAME URL BYTES_SENT AGENT\n",
      "format=%SYSDATE% %Req->reqpb.clf-request% %Ses->client.ip%\n",
  };
  std::mt19937 random(11);
  for (const char* user_format : {"", "S1qh", "C2vnpxe0k", "T4u59SwCm"}) {
    SuperLog_SetLogFormat(user_format, kLevelForm);
    for (const char* header : headers) {
      std::string log(20000, '\0');
      for (char& c : log) {
        c = alphabet[random() % alphabet.size()];
      }
      for (const Kept& r : ParseAll(header + log)) {
        EXPECT_TRUE(r.url.has_value());
        EXPECT_NE(r.url, "-");
        EXPECT_TRUE(r.time != 0 && r.time != -1);
      }
    }
  }
}

// Lines of the usual form, with something changed in each, read as such and, behind a layout that asks for
// one field more than they have, by their fields.
static std::string AlmostUsualLog(std::mt19937& random) {
  const std::string alphabet = "\"\"  '[]\\\\-/:?.01a";
  std::string log;
  for (int i = 0; i < 400; ++i) {
    std::string line = "192.0.2." + std::to_string(random() % 20) + " - user [05/Mar/2000:0" +
                       std::to_string(random() % 64 == 0) + ":06:1" + std::to_string(random() % 10) +
                       " +0000] \"GET /" + std::string(random() % 90, 'u') + " HTTP/1.0\" " +
                       (random() % 8 == 0 ? "404" : "200") + " " + std::to_string(random() % 100000);
    if (random() % 8 != 0) {
      line += random() % 4 == 0 ? " \"-\" \"-\""
                                : " \"http://example.com/\" \"" + std::string(random() % 300, 'a') + '"';
    }
    for (size_t changes = random() % 3; changes > 0; --changes) {
      line[random() % line.size()] = alphabet[random() % alphabet.size()];
    }
    log += line + "\n";
  }
  return log;
}

TEST_F(ParseNextLineTest, UsualLinesAreReadAsOthersAre) {
  std::mt19937 random(12);
  size_t records = 0;
  for (int i = 0; i < 60; ++i) {
    mLogLimits = i % 2 == 0 ? kClassicLimits : kModernLimits;
    const std::string log = AlmostUsualLog(random);
    SuperLog_SetLogFormat("Shmw1qrcfa", kLevelForm);
    const std::vector<Kept> usual = ParseAll(log);
    SuperLog_SetLogFormat("Shmw1qrcfa_", kLevelForm);
    const std::vector<Kept> split = ParseAll(log);
    ASSERT_EQ(usual.size(), split.size());
    records += usual.size();
    for (size_t n = 0; n < usual.size(); ++n) {
      const Kept& a = usual[n];
      const Kept& b = split[n];
      ASSERT_EQ(std::tie(a.host, a.url, a.referrer, a.agent, a.realm, a.user, a.status, a.bytes, a.time,
                         a.local.tm_yday),
                std::tie(b.host, b.url, b.referrer, b.agent, b.realm, b.user, b.status, b.bytes, b.time,
                         b.local.tm_yday));
    }
  }
  EXPECT_GT(records, 10000u);
}

TEST_F(ParseNextLineTest, LineOfTheGreatestLength) {
  const std::string line = "10.0.0.1 - - [10/Oct/2000:13:55:36 +0000] \"GET /a HTTP/1.0\" 200 5 \"r\" \"";
  const std::vector<Kept> kept = ParseAll(line + std::string(2000, 'a').append("\"\n") + Clf("/b"));
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].agent, std::string(kTextMax, 'a'));
  EXPECT_EQ(kept[1].url, "/b");
}

TEST(SuperLogParseTest, ReadsTheRestAndCloses) {
  ResetLineReader();
  ResetLogFormat();
  OpenLogText(Clf("/a") + Clf("/b"));
  SuperLog_ParseTest();
  EXPECT_FALSE(IsLogOpen());
  EXPECT_EQ(TotalLogBytesRead().units, (Clf("/a") + Clf("/b")).size());
  ResetLineReader();
}
