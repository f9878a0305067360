#include "superlog/field_record.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "cgi/settings.h"
#include "dates/local_time.h"
#include "log_text.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/log_line.h"
#include "superlog/superlog.h"

// Records as "host site user time url status bytes referrer agent", "~" for a text that is absent.
class FieldRecordTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetSuperLog();
    setenv("TZ", "UTC", 1);
    mLogLimits = kModernLimits;
    InitLogDates();
  }
  void TearDown() override { ResetSuperLog(); }

  static std::string Shown(std::string_view text) {
    if (text.data() == nullptr) {
      return "~";
    }
    return std::string(text);
  }

  static std::vector<std::string> Read(const std::string& log) {
    OpenLogText(log);
    ResetFileFormat();
    std::vector<std::string> records;
    for (SuperLogRecord record; SuperLog_ParseNextLine(record);) {
      EXPECT_TRUE(record.host.data() == nullptr || record.host.data()[record.host.size()] == '\0');
      records.push_back(Shown(record.host) + " " + Shown(record.realm) + " " + Shown(record.user) + " " +
                        std::to_string(record.time) + " " + Shown(record.url) + " " +
                        std::to_string(record.status) + " " + std::to_string(record.bytes) + " " +
                        Shown(record.referrer) + " " + Shown(record.agent));
    }
    CloseLog();
    return records;
  }

  using Records = std::vector<std::string>;
};

// 1709622371 is 2024-03-05 07:06:11 UTC.
static const std::string kVhost =
    R"(www.example.com:80 192.0.2.7 - ann [05/Mar/2024:07:06:11 +0000] "GET /a HTTP/1.1" 200 12 "http://example.com/" "Lynx x")"
    "\n";
static const std::string kCombined =
    R"(192.0.2.7 - ann [05/Mar/2024:07:06:11 +0000] "GET /b HTTP/1.1" 200 12 "-" "Lynx x")"
    "\n";
static const std::string kJson =
    R"({"ts":1709622371.9,"request":{"remote_ip":"192.0.2.7","host":"www.example.com","uri":"/c?d=\"\u0026","headers":{"User-Agent":["Lynx \"x\""]}},"status":200,"size":12})"
    "\n";
static const std::string kSquid =
    "1709622371.123   1 192.0.2.7 TCP/200 12 GET http://www.example.com/e - X/- -\n";

static const std::string kVhostRead =
    "192.0.2.7 www.example.com:80 ann 1709622371 /a 200 12 http://example.com/ Lynx x";
static const std::string kCombinedRead = "192.0.2.7 ~ ann 1709622371 /b 200 12 ~ Lynx x";
static const std::string kJsonRead = "192.0.2.7 www.example.com ~ 1709622371 /c?d=\"& 200 12 ~ Lynx \"x\"";
static const std::string kSquidRead = "192.0.2.7 ~ ~ 1709622371 http://www.example.com/e 200 12 ~ ~";

TEST_F(FieldRecordTest, ReadsALayoutOfTheRoom) {
  EXPECT_EQ(Read(kVhost + kVhost), (Records{kVhostRead, kVhostRead}));
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood(), 0);
}

TEST_F(FieldRecordTest, FollowsChangesInMidFile) {
  EXPECT_EQ(Read(kJson + kSquid + kVhost + kJson), (Records{kJsonRead, kSquidRead, kVhostRead, kJsonRead}));
}

// The letters of the common log format have "-" of identd for the realm, which is absent.
TEST_F(FieldRecordTest, FollowsChangesBehindLettersToo) {
  EXPECT_EQ(Read(kCombined + kJson + kVhost + kCombined + kSquid),
            (Records{kCombinedRead, kJsonRead, kVhostRead, kCombinedRead, kSquidRead}));
  EXPECT_EQ(Read("the server was started, once again, for all\n" + kCombined), (Records{kCombinedRead}));
}

// What a shipper puts before a line is no client.
TEST_F(FieldRecordTest, TakesHeadsOffCombinedLines) {
  for (const std::string head :
       {"<190>Mar  5 07:06:12 web nginx: ", "Mar  5 07:06:12 web nginx[7]: ",
        "<190>1 2024-03-05T07:06:12Z web nginx - - - ", "2024-03-05T07:06:12.000000001Z stdout F "}) {
    EXPECT_EQ(Read(head + kCombined + head + kCombined), (Records{kCombinedRead, kCombinedRead})) << head;
    EXPECT_EQ(Read(kCombined + head + kCombined + kCombined),
              (Records{kCombinedRead, kCombinedRead, kCombinedRead}))
        << head;
  }
  const std::string host =
      "Mar - ann [05/Mar/2024:07:06:11 +0000] \"GET /b HTTP/1.1\" 200 12 \"-\" \"Lynx x\"\n";
  EXPECT_EQ(Read(host), (Records{"Mar" + kCombinedRead.substr(9)}));
}

TEST_F(FieldRecordTest, DecodesAgentsOfJsonThatAreEncoded) {
  const auto agent_of = [](const std::string& agent) {
    const Records records = Read(R"({"ts":1709622371,"uri":"/a","status":200,"ua":")" + agent + "\"}\n");
    return records.size() == 1 ? records[0].substr(records[0].rfind("~ ") + 2) : "none";
  };
  EXPECT_EQ(agent_of("Lynx%2F2+%28a%29"), "Lynx/2 (a)");
  EXPECT_EQ(agent_of("Lynx/2%20a+b"), "Lynx/2 a+b");
  EXPECT_EQ(agent_of("Lynx/2+a"), "Lynx/2+a");
  EXPECT_EQ(agent_of("Lynx/2 %2F"), "Lynx/2 %2F");
}

TEST_F(FieldRecordTest, PassesOverTheNamesOfFieldsInCsv) {
  const std::string names =
      R"("time_micros","c_ip","c_ip_type","c_ip_region","cs_method","cs_uri","sc_status",)"
      R"("cs_bytes","sc_bytes","time_taken_micros","cs_host","cs_referer","cs_user_agent","s_request_id")"
      "\n";
  const std::string data =
      R"("1709622371000000","192.0.2.7","1","","GET","/a","200","0","12","9","h","","Lynx x","i")"
      "\n";
  EXPECT_EQ(Read(names + data).size(), 1U);
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood(), 0);
}

TEST_F(FieldRecordTest, CountsLinesThatNoLayoutExplains) {
  EXPECT_EQ(Read("started\n" + kJson + "{\"msg\":\"reloaded\"}\n" + kJson + "stopped\n"),
            (Records{kJsonRead, kJsonRead}));
  EXPECT_EQ(SuperLog_GetLinesNotUnderstood(), 3);
}

// Letters that were tried in vain have cut and changed the line.
TEST_F(FieldRecordTest, ShowsTheFirstLineThatNoLayoutExplainsAsItStands) {
  const std::string strange = R"({"a": ":b:c", "d e f": "g", "h": "/i", "j": 200, "k": 12})";
  Read(kCombined + strange + "\n" + strange.substr(2) + "\n");
  EXPECT_EQ(LinesNotUnderstoodOfLog().line, strange);
  EXPECT_EQ(LinesNotUnderstoodOfLog().first, 2);
  BeginLinesOfLog();
  Read(strange + "\n" + kCombined);
  EXPECT_EQ(LinesNotUnderstoodOfLog().line, strange);
  EXPECT_EQ(LinesNotUnderstoodOfLog().first, 1);
}

TEST_F(FieldRecordTest, TakesNamesOfFieldsWithBlanksOrTabs) {
  const std::string names =
      "#Fields: date time c-ip cs-uri-stem cs-uri-query sc-status sc-bytes cs(User-Agent)\n";
  EXPECT_EQ(Read(names + "2024-03-05 07:06:11 192.0.2.7 /a b=c 200 12 Lynx+x\n"),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a?b=c 200 12 ~ Lynx x"}));
  EXPECT_EQ(Read(names + "2024-03-05\t07:06:11\t192.0.2.7\t/a\t-\t200\t12\tLynx%20a+b\n"),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a 200 12 ~ Lynx a+b"}));
}

TEST_F(FieldRecordTest, TakesSitesOffUrlsOfNamedFields) {
  const auto url_of = [](const std::string& url) {
    const Records records =
        Read("#Fields: date time c-ip cs-uri cs-uri-query sc-status\n2024-03-05 07:06:11 192.0.2.7 " + url +
             " a 200\n");
    return records.size() == 1 ? records[0].substr(records[0].find("1709622371") + 11) : "none";
  };
  EXPECT_EQ(url_of("www.example.com/b"), "/b?a 200 0 ~ ~");
  EXPECT_EQ(url_of("https://www.example.com/b"), "/b?a 200 0 ~ ~");
  EXPECT_EQ(url_of("/b.c/d"), "/b.c/d?a 200 0 ~ ~");
  EXPECT_EQ(url_of("b/d"), "b/d?a 200 0 ~ ~");
  EXPECT_EQ(url_of("b.c"), "b.c?a 200 0 ~ ~");
}

TEST_F(FieldRecordTest, TakesPortsOffClients) {
  const std::string tail =
      " - -1 -1 -1 502 - - 12 \"GET https://www.example.com:443/a?b HTTP/1.1\" \"Lynx\" - -\n";
  const std::string head = "https 2024-03-05T07:06:11.1Z app/lb/1 ";
  const std::string rest = " ~ ~ 1709622371 /a?b 502 12 ~ Lynx";
  EXPECT_EQ(Read(head + "192.0.2.7:40512" + tail), (Records{"192.0.2.7" + rest}));
  EXPECT_EQ(Read(head + "[2001:db8::7]:40512" + tail), (Records{"2001:db8::7" + rest}));
  EXPECT_EQ(Read(head + "2001:db8::7" + tail), (Records{"2001:db8::7" + rest}));
}

TEST_F(FieldRecordTest, TakesPortsOffBareAddressesOfIpv6WhereALayoutHasThem) {
  const std::string tail =
      " [05/Mar/2024:07:06:11.273] in be/s1 0/0/0/0/0 200 12 - - ---- 1/1/0/0/0 0/0 \"GET /a HTTP/1.1\"\n";
  const std::string rest = " ~ ~ 1709622371 /a 200 12 ~ ~";
  EXPECT_EQ(Read("2001:db8::7:443" + tail), (Records{"2001:db8::7" + rest}));
  EXPECT_EQ(Read("2001:db8::7:40512" + tail), (Records{"2001:db8::7" + rest}));
  EXPECT_EQ(Read("2001:db8:1:2:3:4:5:6:80" + tail), (Records{"2001:db8:1:2:3:4:5:6" + rest}));
  EXPECT_EQ(Read("::ffff:192.0.2.7:45500" + tail), (Records{"192.0.2.7" + rest}));
  EXPECT_EQ(Read("2001:db8:1:2:3:4:5:6" + tail), (Records{"2001:db8:1:2:3:4:5:6" + rest}));
  ASSERT_TRUE(TakeUserLayout("$remote_addr:$remote_port $msec $status $uri"));
  EXPECT_EQ(Read("::1:80 1709622371 200 /a\n"), (Records{"::1 ~ ~ 1709622371 /a 200 0 ~ ~"}));
  ASSERT_TRUE(TakeUserLayout("$remote_addr $msec $status $uri"));
  EXPECT_EQ(Read("2001:db8::1:80 1709622371 200 /a\n"),
            (Records{"2001:db8::1:80 ~ ~ 1709622371 /a 200 0 ~ ~"}));
}

TEST_F(FieldRecordTest, CountsRequestsThatTheServerCouldNotRead) {
  const std::string head = R"({"ts":1709622371,"remote_addr":"192.0.2.7","status":400,"bytes":12,)";
  const Records nothing = {"192.0.2.7 ~ ~ 1709622371 (no request) 400 12 ~ ~"};
  for (const char* request :
       {R"("request_uri":"")", R"("request":"-")", R"("path":null)", R"("request":"","uri":"")"}) {
    EXPECT_EQ(Read(head + request + "}\n"), nothing) << request;
  }
  EXPECT_EQ(Read(head + R"("request":"","uri":"/a"})" + "\n"),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a 400 12 ~ ~"}));
  EXPECT_TRUE(Read(head + R"("msg":"reloaded"})" + "\n").empty());
}

TEST_F(FieldRecordTest, CountsRequestsWithoutStatusOrSize) {
  const std::string head = R"({"ts":1709622371,"remote_addr":"192.0.2.7","uri":"/a",)";
  for (const char* none : {"null", R"("")", R"("-")"}) {
    EXPECT_EQ(Read(head + R"("status":)" + none + R"(,"size":)" + none + "}\n"),
              (Records{"192.0.2.7 ~ ~ 1709622371 /a 0 0 ~ ~"}))
        << none;
  }
  EXPECT_EQ(Read(head + R"("status":404.0,"size":3428.0})" + "\n"),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a 404 3428 ~ ~"}));
  EXPECT_TRUE(Read(head + R"("size":12})" + "\n").empty());
}

TEST_F(FieldRecordTest, ReadsWhatLogstashMakesOfALine) {
  EXPECT_EQ(
      Read(
          R"({"@timestamp":"2024-03-06T00:00:00.000Z","clientip":"192.0.2.7","ident":"-","auth":"-","timestamp":"05/Mar/2024:07:06:11 +0000","verb":"GET","request":"/a?b","httpversion":"1.1","response":"404","bytes":"12","referrer":"http://example.com/","agent":"Lynx x"})"
          "\n"),
      (Records{"192.0.2.7 ~ ~ 1709622371 /a?b 404 12 http://example.com/ Lynx x"}));
}

TEST_F(FieldRecordTest, ReadsTheFirstLineBehindAMark) {
  const std::string mark = "\xEF\xBB\xBF";
  EXPECT_EQ(Read(mark + R"({"ts":1709622371,"uri":"/a","status":200})" + "\n"),
            (Records{"~ ~ ~ 1709622371 /a 200 0 ~ ~"}));
  EXPECT_EQ(Read(mark + kCombined), (Records{"192.0.2.7 ~ ann 1709622371 /b 200 12 ~ Lynx x"}));
  EXPECT_EQ(
      Read(mark + "#Fields: date time c-ip cs-uri-stem sc-status\n2024-03-05 07:06:11 192.0.2.7 /a 200\n"),
      (Records{"192.0.2.7 ~ ~ 1709622371 /a 200 0 ~ ~"}));
}

TEST_F(FieldRecordTest, PutsAQueryBehindARequestThatIsAPath) {
  const std::string head =
      R"({"time":"[05/Mar/2024:07:06:11 +0000]","remoteIP":"192.0.2.7","status":"200","bytes":"12",)";
  const auto read = [&](const std::string& request) { return Read(head + request + "}\n"); };
  EXPECT_EQ(read(R"("request":"/a","query":"?b=c")"),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a?b=c 200 12 ~ ~"}));
  EXPECT_EQ(read(R"("request":"/a","query":"")"), (Records{"192.0.2.7 ~ ~ 1709622371 /a 200 12 ~ ~"}));
  EXPECT_EQ(read(R"("request":"GET /a?b=c HTTP/1.1","query":"?b=c")"),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a?b=c 200 12 ~ ~"}));
}

TEST_F(FieldRecordTest, TakesNoWordBehindTheSizeForAReferrer) {
  const std::string common = R"(192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] "GET /b HTTP/1.1" 200 12)";
  const std::string rest = "192.0.2.7 ~ ~ 1709622371 /b 200 12 ";
  EXPECT_EQ(Read(common + " TCP_MISS:HIER_DIRECT\n"), (Records{rest + "~ ~"}));
  EXPECT_EQ(Read(common + " 0.25 x\n"), (Records{rest + "~ ~"}));
  EXPECT_EQ(Read(common + " 0.25 \"http://example.com/\" \"Lynx\"\n"), (Records{rest + "~ ~"}));
  EXPECT_EQ(Read(common + " - \"Lynx\"\n"), (Records{rest + "~ Lynx"}));
  EXPECT_EQ(Read(common + " \"http://example.com/\" x\n"), (Records{rest + "http://example.com/ ~"}));
  SuperLog_SetLogFormat("Shmw1qrcfa", kLevelGlobalKey);
  EXPECT_TRUE(SuperLog_BeginLayout());
  EXPECT_EQ(Read(common + " http://example.com/ Lynx\n"), (Records{rest + "http://example.com/ Lynx"}));
}

TEST_F(FieldRecordTest, HonoursTheZoneOfIsoTimesAndNoneOfOthers) {
  setenv("TZ", "CET-1", 1);
  InitLogDates();
  const auto time_of = [](const std::string& time) {
    const Records records = Read(R"({"time":")" + time + R"(","uri":"/a","status":200})" + "\n");
    return records.size() == 1 ? records[0].substr(6, 10) : "none";
  };
  EXPECT_EQ(time_of("2024-03-05T02:06:11-05:00"), "1709622371");
  EXPECT_EQ(time_of("2024-03-05T08:06:11"), "1709622371");
  EXPECT_EQ(time_of("1709622371"), "1709622371");
  EXPECT_EQ(time_of("1709622371000"), "1709622371");
  EXPECT_EQ(time_of("1709622371000000000"), "1709622371");
}

TEST_F(FieldRecordTest, CutsLongTexts) {
  const std::string url = "/" + std::string(3000, 'u');
  const Records records = Read(R"({"ts":1709622371,"uri":")" + url + R"(","args":"b","status":200})" + "\n");
  ASSERT_EQ(records.size(), 1U);
  EXPECT_NE(records[0].find(" " + url.substr(0, 2048) + " 200"), std::string::npos);
}

TEST_F(FieldRecordTest, LeavesOutTextsThatNobodyAsksFor) {
  SuperLog_AskFor({.host = false, .referrer = true, .agent = false, .realm = true, .user = true});
  EXPECT_EQ(Read(kVhost), (Records{"~ www.example.com:80 ann 1709622371 /a 200 12 http://example.com/ ~"}));
}

TEST_F(FieldRecordTest, TakesALayoutByNameOrInWords) {
  ASSERT_TRUE(TakeUserLayout("squid"));
  EXPECT_EQ(Read(kSquid + kJson), (Records{kSquidRead}));
  ASSERT_TRUE(TakeUserLayout("$status $msec $uri $remote_addr"));
  EXPECT_EQ(Read("200 1709622371.1 /a 192.0.2.7\nFeb  2 04:05:24 host web[1]: 404 1709622371 /b 192.0.2.7\n"),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a 200 0 ~ ~", "192.0.2.7 ~ ~ 1709622371 /b 404 0 ~ ~"}));
  EXPECT_FALSE(TakeUserLayout("no such layout"));
  ResetLayouts();
  EXPECT_EQ(Read(kJson), (Records{kJsonRead}));
}

TEST_F(FieldRecordTest, WeighsLettersAndNamesByTheirLevels) {
  SuperLog_SetLogFormat("squid", kLevelGlobalKey);
  SuperLog_SetLogFormat("T0hu", kLevelForm);
  EXPECT_TRUE(SuperLog_BeginLayout());
  EXPECT_EQ(Read(kSquid), (Records{kSquidRead}));
  SuperLog_SetLogFormat("T0hu", kLevelAccount);
  EXPECT_TRUE(SuperLog_BeginLayout());
  EXPECT_EQ(Read("1709622371\t192.0.2.7\t/a\n"), (Records{"192.0.2.7 ~ ~ 1709622371 /a 0 0 ~ ~"}));
  SuperLog_SetLogFormat("nonsense", kLevelAccount);
  EXPECT_FALSE(SuperLog_BeginLayout());
}

TEST_F(FieldRecordTest, LeavesTheClassicLimitsAlone) {
  mLogLimits = kClassicLimits;
  SuperLog_SetLogFormat("squid", kLevelForm);
  EXPECT_TRUE(Read(kJson + kSquid).empty());
}

TEST_F(FieldRecordTest, TellsTheTimeOfALine) {
  std::string line = kSquid.substr(0, kSquid.size() - 1) + std::string(64, '\0');
  EXPECT_EQ(TimeByLayouts(std::string_view(line).substr(0, kSquid.size() - 1)), 1709622371);
  EXPECT_EQ(TimeByLayouts("nothing"), 0);
}

// The status of every fourth line is none: too few agree for a layout.
TEST_F(FieldRecordTest, TakesNoSiteForAVisitorWhereNoLayoutIsRecognised) {
  const std::string odd = std::string(kVhost).replace(kVhost.find(" 200 "), 5, " 2x0 ");
  EXPECT_EQ(Read(kVhost + odd + kVhost + kVhost), (Records{kVhostRead, kVhostRead}));
  EXPECT_EQ(Read(kVhost + kVhost + odd), Records{});
  EXPECT_EQ(Read(kCombined + kVhost + kVhost + odd), (Records{kCombinedRead}));
}

TEST_F(FieldRecordTest, ReadsLinesOfSeveralLayoutsInAnyOrder) {
  EXPECT_EQ(Read(kVhost + kCombined + kVhost + kVhost),
            (Records{kVhostRead, kCombinedRead, kVhostRead, kVhostRead}));
  EXPECT_EQ(Read(kJson + kCombined + kVhost + kVhost),
            (Records{kJsonRead, kCombinedRead, kVhostRead, kVhostRead}));
}

// A layout that was refused is passed over for a while, which decides about lines to come.
TEST_F(FieldRecordTest, TellsLayoutsThatAreRefusedInItsState) {
  const std::string odd = std::string(kVhost).replace(kVhost.find(" 200 "), 5, " 2x0 ");
  OpenLogText(kVhost + kVhost + odd + odd);
  ResetFileFormat();
  const uint64_t before = StateOfLayouts();
  const auto state_behind_line = [] {
    SuperLogRecord record;
    ReadLineFromBigBuf();
    EXPECT_FALSE(ParseByLayouts({mpLine, mLineLen}, record));
    return StateOfLayouts();
  };
  const uint64_t refused = state_behind_line();
  EXPECT_NE(refused, before);
  EXPECT_EQ(state_behind_line(), refused);
  EXPECT_EQ(state_behind_line(), before);
  CloseLog();
}

// The fields of the one fit the other in number, but tell no time.
TEST_F(FieldRecordTest, FindsAnotherLayoutBehindNamesThatFitItsLines) {
  EXPECT_EQ(Read("#Fields: time date sc-status cs-uri-stem cs-method c-ip\n"
                 "07:06:11 2024-03-05 200 /a GET 192.0.2.7\n" +
                 kVhost + "07:06:11 2024-03-05 200 /a GET 192.0.2.7\n" + kVhost),
            (Records{"192.0.2.7 ~ ~ 1709622371 /a 200 0 ~ ~", kVhostRead,
                     "192.0.2.7 ~ ~ 1709622371 /a 200 0 ~ ~", kVhostRead}));
}
