// Methods, protocols, versions of TLS and times taken of records, from every way in which lines are read.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "log_text.h"
#include "superlog/field_record.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/superlog.h"

// Records as "method protocol tls", "~" for a text that is absent.
class MoreTextsTest : public testing::Test {
 protected:
  using Records = std::vector<std::string>;

  void SetUp() override {
    ResetSuperLog();
    setenv("TZ", "UTC", 1);
    mLogLimits = kModernLimits;
    InitLogDates();
  }
  void TearDown() override { ResetSuperLog(); }

  static std::string Shown(std::string_view text) { return text.data() == nullptr ? "~" : std::string(text); }

  static Records Read(const std::string& log,
                      const AskedTexts& asked = {.method = true, .protocol = true, .tls = true}) {
    SuperLog_AskFor(asked);
    OpenLogText(log);
    ResetFileFormat();
    Records records;
    for (SuperLogRecord record{}; SuperLog_ParseNextLine(record);) {
      records.push_back(Shown(record.method) + " " + Shown(record.protocol) + " " + Shown(record.tls));
    }
    CloseLog();
    return records;
  }

  static std::string Line(const std::string& request, const std::string& head = "192.0.2.7") {
    return head + " - - [05/Mar/2024:07:06:11 +0000] \"" + request + "\" 200 12 \"-\" \"Lynx\"\n";
  }
};

TEST_F(MoreTextsTest, StandInWholeRequests) {
  EXPECT_EQ(Read(Line("GET /a HTTP/1.1") + Line("POST /b HTTP/2.0") + Line("PUT /c") + Line("-") +
                 Line("\\x16\\x03")),
            (Records{"GET HTTP/1.1 ~", "POST HTTP/2.0 ~", "PUT ~ ~", "~ ~ ~", "\\x16\\x03 ~ ~"}));
  const std::string split = "192.0.2.7 - a b [05/Mar/2024:07:06:11 +0000] \"HEAD /a\\\" HTTP/1.0\" 200 12\n";
  EXPECT_EQ(Read(split + Line("GET /a HTTP/1.1")), (Records{"HEAD HTTP/1.0 ~", "GET HTTP/1.1 ~"}));
}

TEST_F(MoreTextsTest, StandInLongRequests) {
  const std::string url = "/" + std::string(3000, 'u');
  EXPECT_EQ(Read(Line("GET " + url + " HTTP/1.1") + Line("POST /b") + Line("GET " + url)),
            (Records{"GET HTTP/1.1 ~", "POST ~ ~", "GET ~ ~"}));
}

TEST_F(MoreTextsTest, StandInLinesOfKnownLayouts) {
  EXPECT_EQ(Read(Line("GET /a HTTP/1.1", "www.example.com 192.0.2.7")), (Records{"GET HTTP/1.1 ~"}));
  EXPECT_EQ(Read("1709622371.123   1 192.0.2.7 TCP/200 12 PURGE http://www.example.com/e - X/- -\n"),
            (Records{"PURGE ~ ~"}));
  EXPECT_EQ(Read(R"([05/Mar/2024:07:06:11 +0000] 192.0.2.7 TLSv1.3 TLS_AES "GET /a HTTP/1.1" 12)"
                 "\n"),
            (Records{"GET HTTP/1.1 TLSv1.3"}));
}

TEST_F(MoreTextsTest, StandInJson) {
  EXPECT_EQ(
      Read(R"({"ts":1709622371,"request":{"proto":"HTTP/3.0","method":"GET","host":"h.example","uri":"/a",)"
           R"("tls":{"resumed":false,"version":772,"proto":"h2","server_name":"no"}},"status":200})"
           "\n"
           R"({"ts":1709622371,"request":"P\u004fST \/a HTTP\/1.1","status":200})"
           "\n"
           R"({"ts":1709622371,"request":"POST /a HTTP/1.1","request_uri":"/a","method":"-","status":200})"
           "\n"
           R"({"ts":1709622371,"request":"POST /a HTTP/1.1","verb":"QUERY","protocol":"https","status":200})"
           "\n"),
      (Records{"GET HTTP/3.0 772", "POST HTTP/1.1 ~", "POST HTTP/1.1 ~", "QUERY HTTP/1.1 ~"}));
}

TEST_F(MoreTextsTest, StandInFieldsOfW3c) {
  const std::string data = "2024-03-05 07:06:11 HEAD /a 192.0.2.7 HTTP/1.1 200\n";
  EXPECT_EQ(Read("#Software: Microsoft Internet Information Services 10.0\n"
                 "#Fields: date time cs-method cs-uri-stem c-ip cs-version sc-status\n" +
                 data),
            (Records{"HEAD HTTP/1.1 ~"}));
  EXPECT_EQ(Read("#Fields: date time cs-method cs-uri-stem c-ip cs-protocol-version sc-status ssl-protocol\n"
                 "2024-03-05 07:06:11 HEAD /a 192.0.2.7 HTTP/2.0 200 TLSv1.2\n"),
            (Records{"HEAD HTTP/2.0 TLSv1.2"}));
  EXPECT_EQ(
      Read("192.0.2.7, -, 03/05/00, 07:06:11, W3SVC1, WEB4, 10.0.0.4, 120, 310, 3428, 200, 0, GET, /a, -, -, "
           "Lynx/2.8.2,\n"),
      (Records{"GET ~ ~"}));
}

TEST_F(MoreTextsTest, AreAbsentWhereNobodyAsksForThem) {
  const std::string log = Line("GET /a HTTP/1.1") + Line("GET /a HTTP/1.1", "www.example.com 192.0.2.7") +
                          "#Fields: date time cs-method cs-uri-stem c-ip sc-status ssl-protocol\n"
                          "2024-03-05 07:06:11 HEAD /a 192.0.2.7 200 TLSv1.2\n";
  EXPECT_EQ(Read(log, {}), (Records{"~ ~ ~", "~ ~ ~", "~ ~ ~"}));
  EXPECT_EQ(Read(log, {.protocol = true}), (Records{"~ HTTP/1.1 ~", "~ HTTP/1.1 ~", "~ ~ ~"}));
  EXPECT_EQ(Read(log, {.method = true}), (Records{"GET ~ ~", "GET ~ ~", "HEAD ~ ~"}));
  EXPECT_EQ(Read(log, {.tls = true}), (Records{"~ ~ ~", "~ ~ ~", "~ ~ TLSv1.2"}));
}

static std::vector<int64_t> Taken(const std::string& log, bool asked = true) {
  SuperLog_AskFor({.taken = asked});
  OpenLogText(log);
  ResetFileFormat();
  std::vector<int64_t> taken;
  for (SuperLogRecord record{}; SuperLog_ParseNextLine(record);) {
    taken.push_back(record.taken);
  }
  CloseLog();
  return taken;
}

TEST_F(MoreTextsTest, TakenIsATimeWhereTheLayoutHasOne) {
  const std::string squid = "1709622371.123   17 192.0.2.7 TCP/200 12 GET http://www.example.com/e - X/- -\n";
  const std::string iis =
      "#Software: Microsoft Internet Information Services 10.0\n#Fields: date time cs-uri-stem sc-status "
      "time-taken\n"
      "2024-03-05 07:06:11 /a 200 15\n2024-03-05 07:06:11 /a 200 -\n2024-03-05 07:06:11 /a 200\n";
  const std::string native =
      "192.0.2.7, -, 03/05/00, 07:06:11, W3SVC1, WEB4, 10.0.0.4, 120, 310, 3428, 200, 0, GET, /a, -, -, "
      "Lynx,\n";
  using Times = std::vector<int64_t>;
  EXPECT_EQ(Taken(squid + Line("GET /a HTTP/1.1") + squid), (Times{17000, -1, 17000}));
  EXPECT_EQ(Taken(iis), (Times{15000, -1, -1}));
  EXPECT_EQ(Taken(native), (Times{120000}));
  for (const std::string& log : {squid, native}) {
    EXPECT_EQ(Taken(log, false), (Times{-1}));
  }
}

TEST_F(MoreTextsTest, OfALineAreNotThoseOfTheOneBefore) {
  EXPECT_EQ(Read(R"([05/Mar/2024:07:06:11 +0000] 192.0.2.7 TLSv1.3 TLS_AES "GET /a HTTP/1.1" 12)"
                 "\n" +
                 Line("PUT /c")),
            (Records{"GET HTTP/1.1 TLSv1.3", "PUT ~ ~"}));
}
