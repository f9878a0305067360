#include "output/json_output.h"

#include <gmock/gmock.h>

#include "output/whole_report.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using JsonOutput = WholeReport;

TEST_F(JsonOutput, WholeReportOfOneRequest) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.url = "/a&b.html"}});
  EXPECT_EQ(Written(kJsonOutput),
            "{\n"
            "  \"format\": 1,\n"
            "  \"program\": {\"name\": \"Orvellis\", \"version\": \"1.5\", \"edition\": \"modern\"},\n"
            "  \"title\": \"A Site\",\n"
            "  \"site\": \"http://site.example\",\n"
            "  \"created\": \"2000-03-06T00:00:00+00:00\",\n"
            "  \"timezone\": \"UTC\",\n"
            "  \"range\": {\"from\": \"2000-03-01\", \"to\": \"2000-03-31\"},\n"
            "  \"totals\": {\"requests\": 1, \"bytes\": 100, \"log_bytes\": 91, "
            "\"lines_not_understood\": 0, \"with_status\": 1, \"errors\": 0},\n"
            "  \"notes\": [],\n"
            "  \"sections\": {\n"
            "    \"requests\": {\"title\": \"Requested URLs\", \"distinct\": 1, \"total\": 1, \"rows\": [\n"
            "        {\"item\": \"/a&b.html\", \"count\": 1, \"share\": 1.000000, \"url\": "
            "\"http://site.example/a&b.html\"}]}\n"
            "  }\n"
            "}\n");
}

TEST_F(JsonOutput, BytesThatAreNoUtf8AreKept) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.url = "/caf\xe9"}});
  // printf '/caf\351' | base64
  EXPECT_THAT(Written(kJsonOutput),
              HasSubstr("{\"item\": \"/caf\\uFFFD\", \"item_base64\": \"L2NhZuk=\", \"count\": 1"));
}

TEST_F(JsonOutput, LinesThatHoldNoRequestAreCounted) {
  AddLog("a.log", ToText({}) + "no request\n\n# a comment\n" + ToText({}) + "nor this\n");
  EXPECT_THAT(Written(kJsonOutput),
              AllOf(HasSubstr("\"requests\": 2, "), HasSubstr("\"lines_not_understood\": 2,")));
}

TEST_F(JsonOutput, HeadForAServer) {
  env_.command_line = 0;
  AddLog("a.log", {{}});
  EXPECT_THAT(Written(kJsonOutput),
              AllOf(StartsWith("Content-Type: application/json; charset=utf-8\n"
                               "Content-Disposition: inline; "
                               "filename=\"orvellis-ann9-2000-03-01-2000-03-31.json\"\n"
                               "Content-Security-Policy: "),
                    HasSubstr("\nX-Content-Type-Options: nosniff\n"), HasSubstr("\n\n{\n")));
}

TEST_F(JsonOutput, NothingBeforeLogsAreFound) {
  env_.command_line = 0;
  testing::internal::CaptureStdout();
  EXPECT_EQ(AnalyzeLogs(env_, settings_, kModernCounting, kJsonOutput), kErrorNoLogFiles);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(
      Refused(kJsonOutput, {kErrorNoLogFiles}),
      AllOf(StartsWith("Status: 404 Not Found\nContent-Type: application/json; charset=utf-8\n"),
            HasSubstr("\n\n{\"format\": 1, \"error\": {\"code\": 11, \"status\": 404, \"title\": \"")));
}

TEST_F(JsonOutput, RefusalTellsWhenToComeBack) {
  env_.command_line = 0;
  EXPECT_THAT(Refused(kJsonOutput, {kErrorLimited, 90}),
              AllOf(StartsWith("Status: 429 Too Many Requests\nRetry-After: 90\n"), EndsWith("\"}}\n")));
}

TEST_F(JsonOutput, RefusalTellsTheDaysOfTheLogs) {
  EXPECT_THAT(Refused(kJsonOutput, {kErrorDateRange, 0, DayRange{{2, 28, 2000}, {3, 12, 2000}}}),
              AllOf(HasSubstr("\", \"advice\": \"A day is "),
                    EndsWith(".\", \"logs\": {\"first\": \"2000-02-28\", \"last\": \"2000-03-12\"}}}\n")));
}

TEST_F(JsonOutput, BlanksKeepTheServerAwake) {
  settings_.flushtoserver = 1;
  std::string log;
  for (int i = 0; i < 3000; ++i) {
    log += ToText({});
  }
  AddLog("a.log", log);
  EXPECT_THAT(Written(kJsonOutput), StartsWith("  {\n"));  // one for each 1001 lines
}

TEST_F(JsonOutput, NoDebuggingRows) {
  settings_.debug = 1;
  AddLog("a.log", {{}});
  EXPECT_THAT(Written(kJsonOutput), AllOf(StartsWith("{"), Not(HasSubstr("Debugging"))));
}
