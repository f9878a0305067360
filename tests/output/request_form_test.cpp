#include "output/request_form.h"

#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>

#include "analysis/record_filters.h"
#include "cgi/parameters.h"
#include "output/page_frame.h"
#include "output/page_sections.h"
#include "output/written.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Fields = std::map<std::string, std::string>;

class RequestForm : public testing::Test {
 protected:
  RequestForm() { Begin(); }

  void Begin() {
    initialize(settings_, env_);
    settings_.rules.whole_values = true;
    settings_.rules.later_names = true;
  }
  void Ask(const std::string& line) {
    CompareParam(line.c_str(), settings_, ParamSource::kStranger, kLevelForm);
  }
  std::string Answer() const {
    testing::internal::CaptureStdout();
    AnswerForm(env_, settings_);
    return testing::internal::GetCapturedStdout();
  }
  std::string Asked(const std::vector<std::string>& lines) {
    Begin();
    for (const std::string& line : lines) {
      Ask(line);
    }
    return Answer();
  }

  Environment env_{};
  Settings settings_{};
};

static std::string SiteForm() {
  return Written([](Sink& sink) { PutSiteForm(sink); });
}

// ---- The form as a browser reads it ----

// What a pattern's first group finds, in order.
static std::vector<std::string> All(const std::string& text, const std::string& pattern) {
  const std::regex matcher(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), matcher), end; match != end; ++match) {
    found.push_back((*match)[1]);
  }
  return found;
}

static std::string Attribute(const std::string& tag, const std::string& name) {
  std::smatch match;
  return std::regex_search(tag, match, std::regex(" " + name + "=\"([^\"]*)\"")) ? match[1].str() : "";
}

static bool Has(const std::string& tag, const char* word) {
  return std::regex_search(tag, std::regex(std::string(" ") + word + "[ >]"));
}

static std::string Unescaped(std::string text) {
  for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}}) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
      text.replace(at, from.size(), to);
    }
  }
  return text;
}

// Every control that has a name, with whether it would be sent.
static void ForEachControl(const std::string& page, const auto& told) {
  static const std::regex kTag("<(input|select|option)( [^>]*)?>");
  std::string select;
  for (std::sregex_iterator tag(page.begin(), page.end(), kTag), end; tag != end; ++tag) {
    const std::string text = tag->str();
    const std::string type = Attribute(text, "type");
    if ((*tag)[1] == "select") {
      select = Attribute(text, "name");
    } else if ((*tag)[1] == "option") {
      told(select, text, Has(text, "selected"));
    } else if (!Attribute(text, "name").empty()) {
      told(Attribute(text, "name"), text, (type != "checkbox" && type != "radio") || Has(text, "checked"));
    }
  }
}

static std::vector<std::pair<std::string, std::string>> Sent(const std::string& page) {
  std::vector<std::pair<std::string, std::string>> sent;
  ForEachControl(page, [&sent](const std::string& name, const std::string& tag, bool is_sent) {
    if (is_sent) {
      sent.emplace_back(name, Unescaped(Attribute(tag, "value")));
    }
  });
  return sent;
}

static Fields SentOf(const std::string& page) {
  Fields fields;
  for (const auto& [name, value] : Sent(page)) {
    if (!value.empty()) {
      fields[name] = value;
    }
  }
  return fields;
}

static std::set<std::string> NamesIn(const std::string& page) {
  std::set<std::string> names;
  ForEachControl(page, [&names](const std::string& name, const std::string&, bool) { names.insert(name); });
  return names;
}

// ---- What it is filled in with ----

static const Fields kSuggested = {
    {"days", "7d"},        {"find", "/"},           {"subdirs", "1"},         {"output", "modern"},
    {"dailytotals", "1"},  {"hoursofweek", "1"},    {"visitors", "1"},        {"requests", "1"},
    {"entrypages", "1"},   {"referringsites", "1"}, {"badurls", "1"},         {"badurl_referrers", "1"},
    {"servererrors", "1"}, {"statuses", "1"},       {"browserfamilies", "1"}, {"systems", "1"},
    {"robots", "1"},       {"pages_only", "1"},     {"anonymise", "1"},
};

TEST_F(RequestForm, SuggestsAWholeReportOfSevenDays) {
  EXPECT_EQ(SentOf(Asked({})), kSuggested);
  EXPECT_EQ(SentOf(Asked({"username=shop"})).size(), kSuggested.size() + 1);
}

TEST_F(RequestForm, IsTheSameOnTheSiteAndInTheProgram) {
  const auto body = [](const std::string& page) {
    const size_t begin = page.find("<body>");
    std::string text = page.substr(begin, page.find("</main>") - begin);
    return std::regex_replace(text, std::regex(" action=\"[^\"]*\""), "");
  };
  EXPECT_GT(body(SiteForm()).size(), 1000U);
  EXPECT_EQ(body(SiteForm()), body(Asked({})));
  EXPECT_THAT(SiteForm(), HasSubstr("<form method=\"post\" action=\"/orvellis-cgi/orvellis\">"));
  EXPECT_THAT(Asked({}), HasSubstr("<form method=\"post\" action=\"?\">"));
}

TEST_F(RequestForm, SendsWhatItWasFilledInWith) {
  const std::vector<std::string> asked = {"username=O'Hara & <sons>",
                                          "from=2000-03-05",
                                          "to=2000-03-11",
                                          "requests=1",
                                          "requests_top=10%",
                                          "requests_greater=3",
                                          "search=1",
                                          "search_top=0",
                                          "badurls=1",
                                          "badurl_referrers=1",
                                          "hoursofweek=1",
                                          "output=csv",
                                          "section=badurls",
                                          "find=/a=\"b\"&lt;",
                                          "find_pattern=1",
                                          "find_casesensitive=1",
                                          "showquery=1",
                                          "filter_domains=a.example, b",
                                          "filter_referrers=1",
                                          "filter_filetypes=gif",
                                          "authrealm=r",
                                          "authuser=u",
                                          "title=<T>",
                                          "dnslookupenabled=1",
                                          "pages_only=1",
                                          "anonymise=1",
                                          "no_script=1",
                                          "order=bytes",
                                          "compare=weekdays",
                                          "directory_depth=3",
                                          "bytes=1",
                                          "only_statuses=404,5xx",
                                          "exclude_robots=search, \"ai\"",
                                          "exclude_hosts=*.crawl.example"};
  Fields wanted;
  for (const std::string& line : asked) {
    wanted[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
  }
  const std::string page = Asked(asked);
  EXPECT_EQ(SentOf(page), wanted);
  // Sent in this order, it asks for the same again.
  const Settings before = settings_;
  Begin();
  for (const auto& [name, value] : Sent(page)) {
    Ask(name + "=" + value);
  }
  EXPECT_EQ(memcmp(&before, &settings_, sizeof before), 0);
}

TEST_F(RequestForm, SuggestsAnonymousVisitorsUnlessItWasAskedWithout) {
  EXPECT_EQ(SentOf(Asked({"pages_only=0"})).count("pages_only"), 0U);
  EXPECT_EQ(SentOf(Asked({"pages_only=1"})).count("pages_only"), 1U);
  EXPECT_EQ(SentOf(Asked({"anonymise=0"})).count("anonymise"), 0U);
  EXPECT_EQ(SentOf(Asked({"anonymise=1"})).count("anonymise"), 1U);
  EXPECT_EQ(SentOf(Asked({"requests=1"})).count("anonymise"), 1U);
}

TEST_F(RequestForm, HasAListOfEachFilterForEitherSide) {
  const std::set<std::string> names = NamesIn(Asked({}));
  for (size_t row = 0; row < kRecordFilterCount; ++row) {
    EXPECT_TRUE(names.contains(std::string("only_") + kRecordFilters[row].name)) << kRecordFilters[row].name;
    EXPECT_TRUE(names.contains(std::string("exclude_") + kRecordFilters[row].name));
  }
  EXPECT_THAT(Asked({}), HasSubstr("<details>"));
  EXPECT_THAT(Asked({"exclude_users=ann"}), HasSubstr("<details open>"));
}

TEST_F(RequestForm, HasTheSectionsInTheOrderOfThePage) {
  const std::string page = Asked({});
  settings_.rules.later_names = true;
  for (const Section& section : Sections()) {
    ASSERT_TRUE(
        CompareParam((std::string(section.parameter) + "=1").c_str(), settings_, ParamSource::kShell, 0));
  }
  const std::vector<std::string> wanted =
      All(Written([this](Sink& sink) { PutSectionLinks(sink, settings_); }), "href=\"#([a-z]+)\"");
  EXPECT_EQ(wanted.size(), Sections().size());
  EXPECT_EQ(All(page, "<tr><th[^>]*><div[^>]*><input[^>]* name=\"([a-z]+)\""), wanted);
  EXPECT_EQ(All(page.substr(page.find("<select")), "<option value=\"([a-z]+)\""), wanted);
}

TEST_F(RequestForm, KeepsASectionThatWasAskedForByItself) {
  Fields wanted = kSuggested;
  std::erase_if(wanted, [](const auto& field) {
    return field.second == "1" && field.first != "subdirs" && field.first != "hitsperhour" &&
           field.first != "anonymise" && field.first != "pages_only";
  });
  wanted["hitsperhour"] = "1";
  EXPECT_EQ(SentOf(Asked({"hitsperhour=1"})), wanted);
}

TEST_F(RequestForm, KeepsAPathThatWasAskedForAlone) {
  const Fields sent = SentOf(Asked({"find=/docs/a.html"}));
  EXPECT_EQ(sent.at("find"), "/docs/a.html");
  EXPECT_EQ(sent.count("subdirs"), 0U);
}

static std::vector<std::string> DaysIn(const std::string& page) {
  Fields sent = SentOf(page);
  return {sent["days"], sent["from"], sent["to"]};
}

TEST_F(RequestForm, TakesDaysHoweverTheyWereWritten) {
  EXPECT_THAT(DaysIn(Asked({"days=last-month"})), ElementsAre("last-month", "", ""));
  EXPECT_THAT(DaysIn(Asked({"days=ALL"})), ElementsAre("all", "", ""));
  EXPECT_THAT(DaysIn(Asked({"to=2000-03-11"})), ElementsAre("", "", "2000-03-11"));
  EXPECT_THAT(DaysIn(Asked({"date=03052000,03112000"})), ElementsAre("", "2000-03-05", "2000-03-11"));
  EXPECT_THAT(DaysIn(Asked({"date=03052000"})), ElementsAre("", "2000-03-05", ""));
  EXPECT_THAT(DaysIn(Asked({"sm=03", "sd=05", "sy=00"})), ElementsAre("", "2000-03-05", ""));
  EXPECT_THAT(DaysIn(Asked({"sm=3", "sd=5", "sy=2000", "em=03", "ed=11", "ey=2000"})),
              ElementsAre("", "2000-03-05", "2000-03-11"));
  EXPECT_THAT(DaysIn(Asked({"date=999999999"})), ElementsAre("", "9999-99-99", ""));
}

TEST_F(RequestForm, ShowsWhatIsNoneOfTheOptions) {
  const std::string page = Asked({"days=14d", "output=<i>", "section=nothing"});
  EXPECT_THAT(page, HasSubstr("value=\"14d\" checked><span>14d</span>"));
  EXPECT_THAT(page, HasSubstr("value=\"&lt;i&gt;\" checked><span>&lt;i&gt;</span>"));
  EXPECT_THAT(page, HasSubstr("<option value=\"nothing\" selected>nothing</option>"));
}

TEST_F(RequestForm, ShowsWordsThatAreNoDateAsText) {
  for (const char* const day : {"today", "2000-03-5", "2000-03-055", "2000/03/05", "200a-03-05"}) {
    EXPECT_THAT(Asked({std::string("from=") + day}), HasSubstr("<input type=\"text\" id=\"from\"")) << day;
  }
  EXPECT_THAT(Asked({"from=2000-03-05"}), HasSubstr("<input type=\"date\" id=\"from\""));
}

TEST_F(RequestForm, OpensTheFoldWhereSomethingIsSet) {
  EXPECT_THAT(Asked({"username=shop", "days=today", "requests=1"}), HasSubstr("<details>"));
  EXPECT_THAT(Asked({"find=/"}), HasSubstr("<details open>"));  // without what lies below
  EXPECT_THAT(Asked({"find=/", "subdirs=1"}), HasSubstr("<details>"));
  EXPECT_THAT(Asked({"title=T"}), HasSubstr("<details open>"));
  EXPECT_THAT(Asked({"no_script=1"}), HasSubstr("<details open>"));
}

TEST_F(RequestForm, SaysWhatIsMissingWhereAnAccountWasNamed) {
  EXPECT_THAT(Asked({"days=today"}), HasSubstr("<p>Name the account, "));
  EXPECT_THAT(Asked({"username=shop"}), HasSubstr("Type the password of the account to see the report. "));
}

// ---- What must not be in it ----

TEST_F(RequestForm, NeverHoldsAPassword) {
  Asked({"username=shop", "password=SeCrEt"});
  CopyText(settings_.password_account, "SeCrEt");
  CopyText(settings_.stored_password, "SeCrEt");
  EXPECT_THAT(Answer(), Not(HasSubstr("SeCrEt")));
  EXPECT_THAT(Answer(), HasSubstr(" name=\"password\""));
}

TEST_F(RequestForm, MakesTextsOfWhateverWasTyped) {
  const std::set<std::string> names = NamesIn(SiteForm());
  ASSERT_GT(names.size(), 35U);
  std::vector<std::string> attacks;
  for (const std::string& name : names) {
    attacks.push_back(name + "=\"'><ATTACK onfocus=1 \x1b\xe2\x80\xae\xff&lt;");
  }
  const std::string page = Asked(attacks);
  EXPECT_THAT(page, HasSubstr("ATTACK"));
  EXPECT_THAT(page, Not(HasSubstr("<ATTACK")));
  EXPECT_THAT(page, Not(HasSubstr("\"'>")));
  EXPECT_THAT(page, Not(HasSubstr("\x1b")));
  EXPECT_THAT(page, Not(HasSubstr("\xff")));
  EXPECT_EQ(NamesIn(page), names);
}

TEST_F(RequestForm, HoldsTheLongestTexts) {
  std::vector<std::string> lines;
  for (const std::string& name : NamesIn(SiteForm())) {
    lines.push_back(name + "=" + std::string(kTextMax, '9'));
  }
  EXPECT_THAT(Asked(lines),
              HasSubstr(" name=\"title\" aria-describedby=\"title-hint\" maxlength=\"243\" value=\"" +
                        std::string(kTextMax, '9') + "\">"));
}

TEST_F(RequestForm, SendsNothingThatAStrangerMayNotSet) {
  for (const std::string& name : NamesIn(SiteForm())) {
    Begin();
    const Settings before = settings_;
    Ask(name + "=7");
    EXPECT_NE(memcmp(&before, &settings_, sizeof before), 0) << name;
    EXPECT_TRUE(settings_.ignored.none()) << name;
  }
}

// ---- The answer ----

TEST_F(RequestForm, ComesWithItsPolicy) {
  const std::string page = Answer();
  EXPECT_THAT(page, StartsWith("Content-Type: text/html; charset=utf-8\nContent-Security-Policy: " +
                               std::string(WebPolicyOfForm()) + "\nX-Content-Type-Options: nosniff\n"));
  EXPECT_THAT(WebPolicyOfForm(),
              StartsWith("frame-ancestors 'none'; default-src 'none'; style-src 'sha256-"));
  EXPECT_THAT(WebPolicyOfForm(), HasSubstr("; form-action 'self'"));
  EXPECT_THAT(WebPolicyOfForm(), Not(HasSubstr("unsafe")));
}

TEST_F(RequestForm, ShellGetsNoHeaders) {
  env_.command_line = 1;
  EXPECT_THAT(Answer(), StartsWith("<!DOCTYPE html>\n"));
}

TEST_F(RequestForm, TiesEveryHintToItsField) {
  const std::string page = SiteForm();
  std::set<std::string> ids;
  static const std::regex kId(" id=\"([^\"]*)\"");
  for (std::sregex_iterator id(page.begin(), page.end(), kId), end; id != end; ++id) {
    EXPECT_TRUE(ids.insert((*id)[1]).second) << (*id)[1];
  }
  static const std::regex kReference(" (?:for|aria-describedby)=\"([^\"]*)\"");
  std::set<std::string> referred;
  for (std::sregex_iterator to(page.begin(), page.end(), kReference), end; to != end; ++to) {
    EXPECT_EQ(ids.count((*to)[1]), 1U) << (*to)[1];
    referred.insert((*to)[1]);
  }
  for (const std::string& id : ids) {
    EXPECT_TRUE(!id.ends_with("-hint") || referred.count(id) == 1) << id;
  }
}
