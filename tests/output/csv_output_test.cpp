#include "output/csv_output.h"

#include <gmock/gmock.h>

#include "output/whole_report.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class CsvOutput : public WholeReport {
 protected:
  CsvOutput() {
    settings_.requests.on = settings_.badurls.on = settings_.hitsperdayofweek = 1;
    settings_.badurl_referrers = 1;
    settings_.find_pattern = 1;
    CopyText(settings_.find, "*");
    AddLog("a.log", {{.url = "/a,b"},
                     {.url = "/a,b"},
                     {.url = "=1+1", .status = "404", .referrer = "http://one.example/"},
                     {.url = "=1+1", .status = "404", .referrer = "http://two.example/"}});
  }
};

TEST_F(CsvOutput, OneTableOfAllSections) {
  settings_.hitsperdayofweek = 0;
  EXPECT_EQ(Written(kCsvOutput),
            "section,rank,item,count,share,detail\r\n"
            "requests,1,'=1+1,2,0.500000,\r\n"
            "requests,2,\"/a,b\",2,0.500000,\r\n"
            "badurls,1,'=1+1,2,0.500000,\r\n"
            "badurls_referrers,1,http://two.example/,1,0.500000,'=1+1\r\n"
            "badurls_referrers,2,http://one.example/,1,0.500000,'=1+1\r\n");
}

TEST_F(CsvOutput, OneSectionHasItsOwnColumns) {
  CopyText(settings_.section, "REQUESTS");
  EXPECT_EQ(Written(kCsvOutput), "rank,url,count,share\r\n1,'=1+1,2,0.500000\r\n2,\"/a,b\",2,0.500000\r\n");
  CopyText(settings_.section, "hitsperdayofweek");
  EXPECT_THAT(Written(kCsvOutput),
              StartsWith("weekday,count,share,timezone\r\nSunday,4,1.000000,UTC\r\nMonday,0,"));
  CopyText(settings_.section, "badurls_referrers");
  EXPECT_THAT(Written(kCsvOutput), StartsWith("rank,page,count,share,url\r\n1,http://two.example/,1,"));
}

TEST_F(CsvOutput, FormulasOnlyWhereTheyAreWanted) {
  settings_.csv_formulas = 1;
  EXPECT_THAT(Written(kCsvOutput), HasSubstr("requests,1,=1+1,2,"));
}

TEST_F(CsvOutput, RefusesASectionThatTheReportHasNot) {
  EXPECT_EQ(kCsvOutput.check(settings_), kNoError);
  for (const char* section : {"requests", "badurls", "badurls_referrers", "hitsperdayofweek"}) {
    CopyText(settings_.section, section);
    EXPECT_EQ(kCsvOutput.check(settings_), kNoError) << section;
  }
  for (const char* section : {"request", "browsers", "search"}) {
    CopyText(settings_.section, section);
    EXPECT_EQ(kCsvOutput.check(settings_), kErrorSection) << section;
  }
  settings_.badurl_referrers = 0;
  CopyText(settings_.section, "badurls_referrers");
  EXPECT_EQ(kCsvOutput.check(settings_), kErrorSection);
}

TEST_F(CsvOutput, HeadForAServer) {
  env_.command_line = 0;
  settings_.flushtoserver = 1;
  EXPECT_THAT(Written(kCsvOutput),
              AllOf(StartsWith("Content-Type: text/csv; charset=utf-8; header=present\n"
                               "Content-Disposition: attachment; filename=\"orvellis-ann9-2000-03-01-"),
                    HasSubstr("\n\nsection,rank,")));
}

TEST_F(CsvOutput, RefusalIsOneLine) {
  EXPECT_EQ(
      Refused(kCsvOutput, {kErrorRejected}),
      "Orvellis error 2: Invalid user account name and/or password. There is no such account, or its "
      "password is another one. Mind capital and small letters of both. Whoever looks after Orvellis on this "
      "site can tell the account and set a new password.\n");
  EXPECT_THAT(Refused(kCsvOutput, {kErrorDateRange, 0, DayRange{{2, 28, 2000}, {3, 12, 2000}}}),
              EndsWith(" The logs hold 2000-02-28 to 2000-03-12.\n"));
  env_.command_line = 0;
  EXPECT_THAT(Refused(kCsvOutput, {kErrorRejected}),
              StartsWith("Status: 403 Forbidden\nContent-Type: text/plain; charset=utf-8\n"));
}
