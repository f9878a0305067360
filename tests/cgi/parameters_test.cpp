#include "cgi/parameters.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "report/extra_texts.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"

namespace {

class CompareParamTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetSuperLog();
    initialize(settings, env);
  }
  void TearDown() override { EndOrvellisCleanup(settings); }

  void FromForm(const std::string& line) {
    CompareParam(line.c_str(), settings, ParamSource::kForm, kLevelForm);
  }
  void FromAccount(const std::string& line) {
    CompareParam(line.c_str(), settings, ParamSource::kAccount, kLevelAccount);
  }

  void FromStranger(const std::string& line) {
    CompareParam(line.c_str(), settings, ParamSource::kStranger, kLevelForm);
  }
  std::string Ignored() {
    char names[1000];
    ListNames(settings.ignored, names, sizeof names);
    return names;
  }

  void ExpectRanked(const RankedReport& report, int on, int top, int greater, int percent) {
    EXPECT_EQ(report.on, on);
    EXPECT_EQ(report.top, top);
    EXPECT_EQ(report.greater, greater);
    EXPECT_EQ(report.top_is_percent, percent);
  }

  Environment env{};
  Settings settings;
};

struct RankedName {
  const char* keyword;
  RankedReport Settings::*report;
};
const RankedName kRankedNames[] = {
    {"badurls", &Settings::badurls},           {"browsers", &Settings::browsers},
    {"requests", &Settings::requests},         {"search", &Settings::search},
    {"badreferrers", &Settings::badreferrers}, {"domaintypes", &Settings::domaintypes},
    {"domains", &Settings::domains},           {"referrers", &Settings::referrers},
};

std::string FieldOf(const char* value, int n) {
  char out[kTextSize] = "untouched";
  ReturnValue(out, sizeof out, value, n);
  return out;
}

}  // namespace

TEST(Initialize, GivesEveryFieldItsDefault) {
  Environment env{};
  Settings settings;
  memset(static_cast<void*>(&settings), 'x', sizeof settings);
  initialize(settings, env);
  EXPECT_STREQ(settings.config, "orvellis.conf");
  EXPECT_EQ(settings.sy, 1900);
  EXPECT_EQ(settings.ey, 1900);
  EXPECT_EQ(settings.SmartMemoryEnabled, 1);
  EXPECT_EQ(settings.SmartMemoryKeepEntries, 100);
  EXPECT_EQ(settings.SmartMemoryReclaimSize, 1000);
  EXPECT_EQ(settings.program_path, env.SCRIPT_NAME);
}

TEST(Initialize, EmptiesAllElse) {
  Environment env{};
  Settings settings;
  memset(static_cast<void*>(&settings), 'x', sizeof settings);
  initialize(settings, env);
  for (const char* text : {settings.OrvellisPath,
                           settings.find,
                           settings.find_account,
                           settings.find_form,
                           settings.title,
                           settings.url,
                           settings.filter_domains,
                           settings.filter_filetypes,
                           settings.start_date,
                           settings.end_date,
                           settings.sm,
                           settings.sd,
                           settings.em,
                           settings.ed,
                           settings.logs,
                           settings.AccessLog,
                           settings.summary,
                           settings.referrer_log,
                           settings.agent_log,
                           settings.Networks,
                           settings.agents_file,
                           settings.username,
                           settings.password_form,
                           settings.ErrorLog,
                           settings.password_account,
                           settings.InternalIp,
                           settings.UserPasswords,
                           settings.authrealm,
                           settings.authuser,
                           settings.base}) {
    EXPECT_STREQ(text, "");
  }
  for (int number :
       {settings.config_opened, settings.dailytotals, settings.hitsperdayofweek, settings.hitsperhour,
        settings.search_casesensitive, settings.badurl_referrers, settings.filter_referrers, settings.subdirs,
        settings.cgi, settings.RemoteDebugEnabled, settings.debug, settings.priority, settings.page,
        settings.showquery, settings.dnslookupenabled, settings.smartmemorydisabled,
        settings.SmartMemoryMaxMemoryToAllocate, settings.flushtoserver, settings.account_count}) {
    EXPECT_EQ(number, 0);
  }
  for (const RankedName& row : kRankedNames) {
    const RankedReport& report = settings.*row.report;
    EXPECT_EQ(report.on + report.top + report.greater + report.top_is_percent, 0);
  }
  EXPECT_EQ(settings.debug_sources, 0U);
  EXPECT_EQ(settings.extra_header, nullptr);
  EXPECT_EQ(settings.extra_footer, nullptr);
}

TEST(ParseFieldValue, DeliberatelyDropsFurtherEqualsSigns) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue("a=b=c==d", name, value);
  EXPECT_STREQ(name, "a");
  EXPECT_STREQ(value, "bcd");
}

TEST(ParseFieldValue, WholeValuesKeepEveryEqualsSign) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue("a==b=c==d=", name, value, true);
  EXPECT_STREQ(name, "a");
  EXPECT_STREQ(value, "=b=c==d=");
  ParseFieldValue("about", name, value, true);
  EXPECT_STREQ(name, "about");
  EXPECT_STREQ(value, "");
  ParseFieldValue(("n=" + std::string(500, '=')).c_str(), name, value, true);
  EXPECT_EQ(value, std::string(243, '='));
}

TEST(ParseFieldValue, NameOrValueMayBeMissing) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue("about", name, value);
  EXPECT_STREQ(name, "about");
  EXPECT_STREQ(value, "");
  ParseFieldValue("=x", name, value);
  EXPECT_STREQ(name, "");
  EXPECT_STREQ(value, "x");
  ParseFieldValue("", name, value);
  EXPECT_STREQ(name, "");
  EXPECT_STREQ(value, "");
}

TEST(ParseFieldValue, CutsBothTo243Characters) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue((std::string(300, 'n') + "=" + std::string(300, 'v')).c_str(), name, value);
  EXPECT_EQ(name, std::string(243, 'n'));
  EXPECT_EQ(value, std::string(243, 'v'));
}

TEST(ParseFieldValue, DroppedEqualsSignsDoNotCountTowardsTheLimit) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue(("n=" + std::string(500, '=') + std::string(243, 'v') + "w").c_str(), name, value);
  EXPECT_EQ(value, std::string(243, 'v'));
}

TEST(ReturnValue, CopiesTheNthField) {
  EXPECT_EQ(FieldOf("a,b,c", 1), "a");
  EXPECT_EQ(FieldOf("a,b,c", 2), "b");
  EXPECT_EQ(FieldOf("a,b,c", 3), "c");
  EXPECT_EQ(FieldOf("a,,c", 2), "");
  EXPECT_EQ(FieldOf("a,", 2), "");
}

TEST(ReturnValue, WithoutCommaTheFirstFieldIsTheWholeValue) {
  EXPECT_EQ(FieldOf("whole", 1), "whole");
  EXPECT_EQ(FieldOf("whole", 2), "");
}

TEST(ReturnValue, MissingFieldsAreEmpty) {
  EXPECT_EQ(FieldOf("a,b", 3), "");
  EXPECT_EQ(FieldOf("a,b", 0), "");
  EXPECT_EQ(FieldOf("a,b", -1), "");
  EXPECT_EQ(FieldOf("", 1), "");
  EXPECT_EQ(FieldOf(nullptr, 1), "");
}

TEST(ReturnValue, CutsToTheCapacity) {
  char out[4];
  ReturnValue(out, sizeof out, "abcdef,x", 1);
  EXPECT_STREQ(out, "abc");
}

TEST(NumValues, CountsCommasPlusOne) {
  EXPECT_EQ(NumValues(nullptr), 0);
  EXPECT_EQ(NumValues(""), 0);
  EXPECT_EQ(NumValues("a"), 1);
  EXPECT_EQ(NumValues("a,b"), 2);
  EXPECT_EQ(NumValues(","), 2);
  EXPECT_EQ(NumValues("1,10,"), 3);
}

TEST_F(CompareParamTest, IgnoresCaseOfTheName) {
  FromForm("TiTLe=My Site");
  EXPECT_STREQ(settings.title, "My Site");
}

TEST_F(CompareParamTest, IgnoresUnknownNames) {
  const std::string before(reinterpret_cast<const char*>(&settings), sizeof settings);
  for (const char* line :
       {"nonsense=1", "", "=", "=1", "about", "titl=x", "titles=x", " title=x", "requests_=1", "_top=1"}) {
    SCOPED_TRACE(line);
    FromForm(line);
    FromAccount(line);
    EXPECT_EQ(before, std::string(reinterpret_cast<const char*>(&settings), sizeof settings));
  }
}

TEST_F(CompareParamTest, TextKeywordsCopyFromBothSources) {
  const struct {
    const char* keyword;
    const char* field;
  } rows[] = {
      {"summary", settings.summary},
      {"title", settings.title},
      {"url", settings.url},
      {"filter_domains", settings.filter_domains},
      {"filter_filetypes", settings.filter_filetypes},
      {"base", settings.base},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.keyword);
    FromForm(std::string(row.keyword) + "=from the form");
    EXPECT_STREQ(row.field, "from the form");
    FromAccount(std::string(row.keyword) + "=from the account");
    EXPECT_STREQ(row.field, "from the account");
    FromForm(std::string(row.keyword) + "=" + std::string(1000, 'x'));
    EXPECT_EQ(row.field, std::string(243, 'x'));
  }
}

TEST_F(CompareParamTest, NumberKeywordsReadFromBothSources) {
  const struct {
    const char* keyword;
    const int* field;
  } rows[] = {
      {"showquery", &settings.showquery},
      {"search_casesensitive", &settings.search_casesensitive},
      {"badurl_referrers", &settings.badurl_referrers},
      {"filter_referrers", &settings.filter_referrers},
      {"subdirs", &settings.subdirs},
      {"dailytotals", &settings.dailytotals},
      {"hitsperdayofweek", &settings.hitsperdayofweek},
      {"hitsperhour", &settings.hitsperhour},
      {"priority", &settings.priority},
      {"debug", &settings.debug},
      {"DNSLookupEnabled", &settings.dnslookupenabled},
      {"flushtoserver", &settings.flushtoserver},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.keyword);
    FromForm(std::string(row.keyword) + "=2");
    EXPECT_EQ(*row.field, 2);
    FromAccount(std::string(row.keyword) + "=-3x");
    EXPECT_EQ(*row.field, -3);
    FromForm(std::string(row.keyword) + "=yes");
    EXPECT_EQ(*row.field, 0);
  }
}

TEST_F(CompareParamTest, FormOnlyKeywords) {
  FromForm("config=other.conf");
  FromForm("username=ann");
  FromAccount("config=account.conf");
  FromAccount("username=bob");
  EXPECT_STREQ(settings.config, "other.conf");
  EXPECT_STREQ(settings.username, "ann");
}

TEST_F(CompareParamTest, AccountOnlyKeywords) {
  FromForm("logs=/etc/*");
  FromForm("AccessLog=/etc/passwd");
  EXPECT_STREQ(settings.logs, "");
  EXPECT_STREQ(settings.AccessLog, "");
  FromAccount("logs=/logs/*.log");
  FromAccount("accesslog=/logs/access_log");
  EXPECT_STREQ(settings.logs, "/logs/*.log");
  EXPECT_STREQ(settings.AccessLog, "/logs/access_log");
}

TEST_F(CompareParamTest, PasswordGoesWhereItsSourceBelongs) {
  FromForm("password=typed");
  FromAccount("password=stored");
  EXPECT_STREQ(settings.password_form, "typed");
  EXPECT_STREQ(settings.password_account, "stored");
}

TEST_F(CompareParamTest, PasswordsAreKeptWholeBesideTheirCutForms) {
  const std::string typed(243, 't');
  const std::string stored(243, 's');
  FromForm("password=" + typed + "x");
  FromAccount("password=" + stored + "x");
  EXPECT_EQ(settings.typed_password, typed);
  EXPECT_EQ(settings.stored_password, stored);
  EXPECT_EQ(settings.password_form, typed.substr(0, 99));
  EXPECT_EQ(settings.password_account, stored.substr(0, 99));
}

TEST_F(CompareParamTest, OnlyAnAccountSaysWhoSignsOn) {
  settings.rules.later_names = true;
  for (const ParamSource source : {ParamSource::kForm, ParamSource::kStranger, ParamSource::kShell}) {
    CompareParam("signon=*", settings, source, kLevelForm);
    EXPECT_STREQ(settings.signon, "");
  }
  FromAccount("signon=alice,bob");
  EXPECT_STREQ(settings.signon, "alice,bob");
}

TEST_F(CompareParamTest, OfNamesThatWereCutTheLastIsLeftOut) {
  settings.rules.later_names = true;
  const std::string alice = "alice,";
  FromAccount("signon=" + alice + std::string(500, 'b'));
  EXPECT_STREQ(settings.signon, "alice");
  FromAccount("signon=" + std::string(500, 'b'));
  EXPECT_STREQ(settings.signon, "");
  FromAccount("signon=" + alice + std::string(242 - alice.size(), 'b'));
  EXPECT_EQ(settings.signon, alice + std::string(242 - alice.size(), 'b'));
}

TEST_F(CompareParamTest, ShortFieldsCutTheirValues) {
  FromForm("username=" + std::string(150, 'u'));
  FromForm("sm=123");
  EXPECT_EQ(settings.username, std::string(99, 'u'));
  EXPECT_STREQ(settings.sm, "12");
}

TEST_F(CompareParamTest, AccountReplacesRealmAndUserOfTheForm) {
  for (char* field : {settings.authrealm, settings.authuser}) {
    const std::string name = field == settings.authrealm ? "AuthRealm=" : "AuthUser=";
    SCOPED_TRACE(name);
    FromForm(name + "first");
    FromForm(name + "second");
    EXPECT_STREQ(field, "first") << "a form value is taken only while the field is empty";
    FromAccount(name + "fixed");
    EXPECT_STREQ(field, "fixed");
    FromForm(name + "third");
    EXPECT_STREQ(field, "fixed");
    FromAccount(name);
    EXPECT_STREQ(field, "");
  }
}

TEST_F(CompareParamTest, FindGoesWhereItsSourceBelongs) {
  FromForm("find=/docs");
  FromAccount("find=/www/");
  EXPECT_STREQ(settings.find_form, "/docs");
  EXPECT_STREQ(settings.find_account, "/www/");
  EXPECT_STREQ(settings.find, "");
}

TEST_F(CompareParamTest, FindSwitchesAreKeptModulo256) {
  FromForm("find_casesensitive=1");
  FromForm("find_pattern=256");
  EXPECT_EQ(settings.find_casesensitive, 1);
  EXPECT_EQ(settings.find_pattern, 0);
  FromForm("find_pattern=-1");
  EXPECT_EQ(settings.find_pattern, 255);
}

TEST_F(CompareParamTest, UrlLosesOneTrailingSlash) {
  FromForm("url=http://www.example.com/");
  EXPECT_STREQ(settings.url, "http://www.example.com");
  FromForm("url=http://www.example.com//");
  EXPECT_STREQ(settings.url, "http://www.example.com/");
  FromForm("url=/");
  EXPECT_STREQ(settings.url, "");
}

TEST_F(CompareParamTest, YearsFallBackToTheCurrentValue) {
  FromForm("sy=99");
  FromForm("ey=2001");
  EXPECT_EQ(settings.sy, 1999);
  EXPECT_EQ(settings.ey, 2001);
  FromForm("sy=1850");
  FromForm("ey=");
  EXPECT_EQ(settings.sy, 1999);
  EXPECT_EQ(settings.ey, 2001);
}

TEST_F(CompareParamTest, YearsGoToTheLastOneOfTheRun) {
  FromForm("sy=2039");
  EXPECT_EQ(settings.sy, 1900);
  settings.rules.last_year = 9999;
  FromForm("sy=2039");
  FromAccount("ey=9999");
  EXPECT_EQ(settings.sy, 2039);
  EXPECT_EQ(settings.ey, 9999);
}

TEST_F(CompareParamTest, LaterNamesAreUnknownUnlessTheRunTakesThem) {
  for (const ParamSource source :
       {ParamSource::kForm, ParamSource::kStranger, ParamSource::kShell, ParamSource::kAccount}) {
    settings.rules.later_names = false;
    CompareParam("HoursOfWeek=1", settings, source, kLevelForm);
    EXPECT_EQ(settings.hoursofweek, 0);
    EXPECT_TRUE(settings.ignored.none());
    settings.rules.later_names = true;
    CompareParam("HoursOfWeek=1", settings, source, kLevelForm);
    EXPECT_EQ(settings.hoursofweek, 1);
    settings.hoursofweek = 0;
  }
}

TEST_F(CompareParamTest, DayAndMonthTexts) {
  FromForm("sm=1");
  FromForm("sd=02");
  FromAccount("em=12");
  FromAccount("ed=31");
  EXPECT_STREQ(settings.sm, "1");
  EXPECT_STREQ(settings.sd, "02");
  EXPECT_STREQ(settings.em, "12");
  EXPECT_STREQ(settings.ed, "31");
}

TEST_F(CompareParamTest, DateFillsBothEnds) {
  FromForm("date=01011998,12311998,ignored");
  EXPECT_STREQ(settings.start_date, "01011998");
  EXPECT_STREQ(settings.end_date, "12311998");
}

TEST_F(CompareParamTest, DateWithOneFieldEmptiesTheEndDate) {
  FromForm("date=01011998,12311998");
  FromForm("date=02011998");
  EXPECT_STREQ(settings.start_date, "02011998");
  EXPECT_STREQ(settings.end_date, "");
}

TEST_F(CompareParamTest, DatesAreCutTo19Characters) {
  FromForm("date=" + std::string(30, '1') + "," + std::string(30, '2'));
  EXPECT_EQ(settings.start_date, std::string(19, '1'));
  EXPECT_EQ(settings.end_date, std::string(19, '2'));
}

TEST_F(CompareParamTest, EveryRankedReportTakesItsThreeKeywords) {
  for (const RankedName& row : kRankedNames) {
    SCOPED_TRACE(row.keyword);
    const RankedReport& report = settings.*row.report;
    const std::string keyword = row.keyword;
    FromForm(keyword + "=1,10%,5");
    ExpectRanked(report, 1, 10, 5, 1);
    FromForm(keyword + "_top=20");
    ExpectRanked(report, 1, 20, 5, 0);
    FromForm(keyword + "_top=30%");
    ExpectRanked(report, 1, 30, 5, 1);
    FromAccount(keyword + "_greater=7");
    ExpectRanked(report, 1, 30, 7, 1);
    FromAccount(keyword + "=0");
    ExpectRanked(report, 0, 0, 7, 0);
  }
}

TEST_F(CompareParamTest, RankedReportsAreIndependent) {
  FromForm("referrers=1,2,3");
  FromForm("badreferrers=4,5,6");
  FromForm("domains=7,8,9");
  ExpectRanked(settings.referrers, 1, 2, 3, 0);
  ExpectRanked(settings.badreferrers, 4, 5, 6, 0);
  ExpectRanked(settings.domains, 7, 8, 9, 0);
  ExpectRanked(settings.domaintypes, 0, 0, 0, 0);
}

TEST_F(CompareParamTest, RankedValueOfThreeFields) {
  FromForm("requests=1,10%,5");
  ExpectRanked(settings.requests, 1, 10, 5, 1);
}

TEST_F(CompareParamTest, RankedValueAloneDeliberatelyResetsTheTop) {
  FromForm("requests_top=10%");
  FromForm("requests_greater=3");
  FromForm("requests=1");
  ExpectRanked(settings.requests, 1, 0, 3, 0);
}

TEST_F(CompareParamTest, RankedValueOfTwoFieldsResetsGreater) {
  FromForm("requests_greater=3");
  FromForm("requests=1,10");
  ExpectRanked(settings.requests, 1, 10, 0, 0);
}

TEST_F(CompareParamTest, RankedValueWithEmptyFields) {
  FromForm("requests=1,10,");
  ExpectRanked(settings.requests, 1, 10, 0, 0);
  FromForm("requests=,,5");
  ExpectRanked(settings.requests, 0, 0, 5, 0);
  FromForm("requests=");
  ExpectRanked(settings.requests, 0, 0, 5, 0);
}

TEST_F(CompareParamTest, PercentSignCountsOnlyAtTheEnd) {
  FromForm("requests_top=1%0");
  ExpectRanked(settings.requests, 0, 1, 0, 0);
  FromForm("requests_top=%");
  ExpectRanked(settings.requests, 0, 0, 0, 1);
  FromForm("requests_top=");
  ExpectRanked(settings.requests, 0, 0, 0, 0);
}

TEST_F(CompareParamTest, DebugMarksItsSourceEvenWithZero) {
  FromForm("debug=1");
  EXPECT_EQ(settings.debug, 1);
  EXPECT_EQ(settings.debug_sources, 1U << 2);
  FromAccount("debug=0");
  EXPECT_EQ(settings.debug, 0);
  EXPECT_EQ(settings.debug_sources, (1U << 2) | (1U << 4));
}

TEST_F(CompareParamTest, SmartMemoryDisabledByTheFormOnly) {
  FromAccount("smartmemorydisabled=1");
  EXPECT_EQ(settings.smartmemorydisabled, 0);
  FromForm("smartmemorydisabled=0");
  EXPECT_EQ(settings.SmartMemoryEnabled, 1);
  FromForm("smartmemorydisabled=2");
  EXPECT_EQ(settings.smartmemorydisabled, 2);
  EXPECT_EQ(settings.SmartMemoryEnabled, 0);
  FromForm("smartmemorydisabled=0");
  EXPECT_EQ(settings.smartmemorydisabled, 0);
  EXPECT_EQ(settings.SmartMemoryEnabled, 0) << "zero does not enable it again";
}

TEST_F(CompareParamTest, DateFormatIsWeighedByLevel) {
  FromForm("dateformat=YMD");
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderYmd);
  FromAccount("dateformat=dmy");
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderDmy);
  FromForm("dateformat=YMD");
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderDmy) << "the form is weaker than the account line";
}

TEST_F(CompareParamTest, LogFormatIsWeighedByLevel) {
  FromForm("logformat=Shr");
  ASSERT_TRUE(GrokLineFormat());
  EXPECT_STREQ(mKnownFormatBuf, "Shr");
  FromAccount("LogFormat=Tmr");
  FromForm("logformat=Shr");
  ASSERT_TRUE(GrokLineFormat());
  EXPECT_STREQ(mKnownFormatBuf, "Tmr") << "the form is weaker than the account line";
}

TEST_F(CompareParamTest, FixGmtIsWeighedByLevel) {
  FromForm("fixgmt=1");
  EXPECT_TRUE(mFixGmt);
  FromAccount("FixGmt=0");
  FromForm("fixgmt=1");
  EXPECT_FALSE(mFixGmt) << "the form is weaker than the account line";
}

TEST_F(CompareParamTest, ExtraTextsAreWeighedByLevel) {
  FromForm("extraheader=form header");
  FromForm("extrafooter=form footer");
  ASSERT_STREQ(settings.extra_header, "form header");
  ASSERT_STREQ(settings.extra_footer, "form footer");
  FromAccount("extraheader=account header");
  FromForm("extraheader=form again");
  EXPECT_STREQ(settings.extra_header, "account header");
  EXPECT_STREQ(settings.extra_footer, "form footer");
}

TEST_F(CompareParamTest, ExtraTextsAreCutTo243Characters) {
  FromForm("extraheader=" + std::string(500, 'h'));
  ASSERT_NE(settings.extra_header, nullptr);
  EXPECT_EQ(settings.extra_header, std::string(243, 'h'));
}

TEST_F(CompareParamTest, LaterWriterReplacesPlainFields) {
  FromForm("title=form");
  FromAccount("title=account");
  EXPECT_STREQ(settings.title, "account");
  FromForm("requests=1,10,5");
  FromAccount("requests=0");
  EXPECT_EQ(settings.requests.on, 0);
}

// ---- Strangers ----

TEST_F(CompareParamTest, PartCacheIsWeighedByLevelAndAShellKnowsBest) {
  SetPartCache(settings, "of-all", kLevelGlobalKey);
  EXPECT_STREQ(settings.part_cache, "of-all");
  FromAccount("PartCache=1");
  SetPartCache(settings, "of-all", kLevelGlobalKey);
  EXPECT_STREQ(settings.part_cache, "1");
  CompareParam("partcache=of-shell", settings, ParamSource::kShell, kLevelForm);
  FromAccount("partcache=0");
  EXPECT_STREQ(settings.part_cache, "of-shell");
  FromForm("partcache=of-form");
  FromStranger("partcache=of-stranger");
  EXPECT_STREQ(settings.part_cache, "of-shell");
  EXPECT_EQ(Ignored(), "partcache");
}

TEST_F(CompareParamTest, PartCacheIsWholeOrNone) {
  const std::string longest(kTextMax - 1, 'p');
  SetPartCache(settings, longest.c_str(), kLevelGlobalKey);
  EXPECT_EQ(settings.part_cache, longest);
  SetPartCache(settings, (longest + "p").c_str(), kLevelGlobalKey);
  EXPECT_STREQ(settings.part_cache, "");
  FromAccount("partcache=" + longest + "ppp");
  EXPECT_STREQ(settings.part_cache, "");
}

TEST_F(CompareParamTest, PartCacheSizes) {
  EXPECT_EQ(settings.part_cache_size, 1073741824);
  const std::pair<const char*, int64_t> sizes[] = {{"4096", 4096},
                                                   {"0", 0},
                                                   {"64K", 65536},
                                                   {"3m", 3145728},
                                                   {"2G", 2147483648},
                                                   {"18446744073709551616", 1125899906842624},
                                                   {"1048577g", 1125899906842624}};
  for (const auto& [text, size] : sizes) {
    SetPartCacheSize(settings, text, kLevelGlobalKey);
    EXPECT_EQ(settings.part_cache_size, size) << text;
    for (const char* const none : {"", "M", "-1", "1.5G", "1P", "1MB", " 1", "1 ", "much"}) {
      SetPartCacheSize(settings, none, kLevelGlobalKey);
      EXPECT_EQ(settings.part_cache_size, size) << none;
    }
  }
}

TEST_F(CompareParamTest, PartCacheSizeIsWeighedByLevelAndAShellKnowsBest) {
  FromAccount("partcachesize=3");
  SetPartCacheSize(settings, "2", kLevelGlobalKey);
  FromForm("partcachesize=1");
  EXPECT_EQ(settings.part_cache_size, 3);
  CompareParam("partcachesize=4K", settings, ParamSource::kShell, kLevelForm);
  FromAccount("partcachesize=5");
  EXPECT_EQ(settings.part_cache_size, 4096);
}

TEST_F(CompareParamTest, ValuesAreWholeWhereTheRunSaysSo) {
  FromAccount("password=$6$rounds=5000$salt$a==");
  EXPECT_STREQ(settings.password_account, "$6$rounds5000$salt$a");
  settings.rules.whole_values = true;
  FromAccount("password=$6$rounds=5000$salt$a==");
  EXPECT_STREQ(settings.password_account, "$6$rounds=5000$salt$a==");
  FromStranger("find=/a?b=c=");
  EXPECT_STREQ(settings.find_form, "/a?b=c=");
}

TEST_F(CompareParamTest, StrangerSaysWhatToReport) {
  for (const char* line :
       {"username=ann", "Password=x", "find=/a", "date=03052000,03062000", "sm=03", "sy=2001", "requests=1,5",
        "title=T", "authuser=ann", "showquery=1", "dnslookupenabled=1"}) {
    FromStranger(line);
  }
  EXPECT_STREQ(settings.username, "ann");
  EXPECT_STREQ(settings.password_form, "x");
  EXPECT_STREQ(settings.find_form, "/a");
  EXPECT_STREQ(settings.start_date, "03052000");
  EXPECT_EQ(settings.sy, 2001);
  EXPECT_EQ(settings.requests.top, 5);
  EXPECT_STREQ(settings.title, "T");
  EXPECT_EQ(settings.dnslookupenabled, 1);
  EXPECT_EQ(Ignored(), "");
}

TEST_F(CompareParamTest, StrangerSetsNothingElse) {
  const Settings before = settings;
  for (const char* line :
       {"config=x", "logs=x", "AccessLog=x", "summary=x", "url=x", "base=x", "extraheader=x", "extrafooter=x",
        "logformat=S w", "dateformat=YMD", "fixgmt=1", "priority=9", "debug=1", "smartmemorydisabled=1",
        "flushtoserver=1", "edition=classic"}) {
    FromStranger(line);
  }
  EXPECT_EQ(settings.ignored.count(), 16U);
  settings.ignored.reset();
  EXPECT_EQ(memcmp(&settings, &before, sizeof settings), 0);
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderMdy);
}

TEST_F(CompareParamTest, IgnoredNamesAreListedOnceAsTheTableSpellsThem) {
  for (const char* line :
       {"DEBUG=1", "ACCESSLOG=a", "accesslog=b", "debug=2", "no\nsuch=1", "Config=1", "CONFIG=x"}) {
    FromStranger(line);
  }
  EXPECT_EQ(Ignored(), "config, AccessLog, debug");
}

TEST_F(CompareParamTest, UnknownNamesOfAStrangerAreIgnoredSilently) {
  for (const char* line : {"nosuch=1", "=1", "", "debug2=1", "debu=1"}) {
    FromStranger(line);
  }
  EXPECT_EQ(Ignored(), "");
}

TEST_F(CompareParamTest, EmptyFieldOfAStrangerAsksForNothing) {
  for (const char* line : {"config=", "debug", "dateformat="}) {
    FromStranger(line);
  }
  EXPECT_EQ(Ignored(), "");
  EXPECT_STREQ(settings.config, "orvellis.conf");
}

TEST_F(CompareParamTest, OnlyStrangersAreTold) {
  FromForm("logs=x");
  FromForm("edition=modern");
  FromAccount("config=x");
  CompareParam("logs=x", settings, ParamSource::kShell, kLevelForm);
  EXPECT_EQ(Ignored(), "");
}

TEST_F(CompareParamTest, ListOfNamesIsCutToItsRoom) {
  FromStranger("config=x");
  FromStranger("debug=1");
  char names[10];
  ListNames(settings.ignored, names, sizeof names);
  EXPECT_STREQ(names, "config, d");
}

// ---- Days that the account fixes ----

static Settings DaysOf(const char* of_form, const char* of_account) {
  const Environment env{};
  Settings settings;
  initialize(settings, env);
  settings.rules.later_names = true;
  CompareParam("days=7d", settings, ParamSource::kStranger, kLevelForm);
  CompareParam(of_form, settings, ParamSource::kStranger, kLevelForm);
  CompareParam(of_account, settings, ParamSource::kAccount, kLevelAccount);
  return settings;
}

TEST(FixedDays, AccountTakesTheWordsOfARequestAway) {
  for (const char* const of_account : {"date=01011999,01021999", "sm=01", "sd=01", "sy=1999", "em=01",
                                       "ed=01", "ey=1999", "from=1999-01-01", "to=1999-01-01"}) {
    const Settings settings = DaysOf("from=2000-01-01", of_account);
    EXPECT_STREQ(settings.days, "") << of_account;
    EXPECT_STRNE(settings.from, "2000-01-01") << of_account;
    EXPECT_TRUE(settings.fixed_days) << of_account;
  }
  EXPECT_STREQ(DaysOf("to=2000-01-01", "days=last-month").days, "last-month");
}

TEST(FixedDays, EachItemOfTheAccountStays) {
  Settings settings = DaysOf("to=2000-01-01", "from=1999-01-01");
  CompareParam("to=1999-01-02", settings, ParamSource::kAccount, kLevelAccount);
  EXPECT_STREQ(settings.from, "1999-01-01");
  EXPECT_STREQ(settings.to, "1999-01-02");
}

TEST(FixedDays, OtherItemsOfTheAccountFixNone) {
  const Settings settings = DaysOf("from=2000-01-01", "find=/");
  EXPECT_STREQ(settings.days, "7d");
  EXPECT_FALSE(settings.fixed_days);
}
