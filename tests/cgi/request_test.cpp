#include "cgi/request.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "cgi/parameters.h"
#include "support/text_file.h"

namespace {

// The largest resident size this process has had, in kilobytes.
long PeakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

class RequestTest : public testing::Test {
 protected:
  void SetUp() override { initialize(settings, env); }

  void Enter(std::vector<const char*> words) {
    words.push_back(nullptr);
    EnterCommandLine(static_cast<int>(words.size()) - 1, const_cast<char* const*>(words.data()), env,
                     settings);
  }

  bool Read(const char* content_length, const std::string& body,
            std::vector<const char*> words = {"orvellis"}) {
    CopyText(env.CONTENT_LENGTH, content_length);
    std::FILE* stream = tmpfile();
    fwrite(body.data(), 1, body.size(), stream);
    rewind(stream);
    words.push_back(nullptr);
    const bool result =
        ReadParameters(static_cast<int>(words.size()) - 1, const_cast<char* const*>(words.data()), stream,
                       env, form_source, settings);
    fclose(stream);
    return result;
  }

  bool Post(const std::string& body) { return Read(std::to_string(body.size()).c_str(), body); }

  Environment env{};
  Settings settings;
  ParamSource form_source = ParamSource::kForm;
};

using IsCommandLineRunTest = RequestTest;
using EnterCommandLineTest = RequestTest;
using SelectPageTest = RequestTest;
using ReadParametersTest = RequestTest;

}  // namespace

TEST_F(IsCommandLineRunTest, NeedsNeitherQueryStringNorMethod) {
  EXPECT_TRUE(IsCommandLineRun(env));
  CopyText(env.QUERY_STRING, "x");
  EXPECT_FALSE(IsCommandLineRun(env));
  CopyText(env.REQUEST_METHOD, "POST");
  EXPECT_FALSE(IsCommandLineRun(env));
  CopyText(env.QUERY_STRING, "");
  EXPECT_FALSE(IsCommandLineRun(env));
}

TEST_F(EnterCommandLineTest, TakesTheProgramsPathWithoutArguments) {
  Enter({"/usr/bin/orvellis"});
  EXPECT_EQ(env.command_line, 1);
  EXPECT_STREQ(env.SCRIPT_NAME, "/usr/bin/orvellis");
  EXPECT_STREQ(settings.program_path, "/usr/bin/orvellis");
  EXPECT_EQ(settings.page, kPageReport);
}

TEST_F(EnterCommandLineTest, SingleArgumentSelectsThePage) {
  Enter({"orvellis", "Credits"});
  EXPECT_EQ(settings.page, kPageCredits);
  EXPECT_STREQ(env.SCRIPT_NAME, "orvellis");
}

TEST_F(EnterCommandLineTest, TwoArgumentsDeliberatelyKeepTheInheritedSlot) {
  CopyText(env.SCRIPT_NAME, "inherited");
  Enter({"orvellis", "about", "title=x"});
  EXPECT_STREQ(env.SCRIPT_NAME, "inherited");
  EXPECT_EQ(settings.page, kPageReport);
  EXPECT_EQ(env.command_line, 1);
}

TEST_F(EnterCommandLineTest, OverlongPathIsCut) {
  Enter({std::string(300, 'p').c_str()});
  EXPECT_EQ(env.SCRIPT_NAME, std::string(99, 'p'));
}

TEST_F(EnterCommandLineTest, NoWordAtAllIsHarmless) {
  Enter({});
  EXPECT_STREQ(env.SCRIPT_NAME, "");
}

TEST_F(SelectPageTest, KnowsThreePagesIgnoringCase) {
  const struct {
    const char* word;
    int page;
  } rows[] = {{"about", kPageAbout},
              {"ABOUT", kPageAbout},
              {"credits", kPageCredits},
              {"RemoteDebug", kPageRemoteDebug}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.word);
    settings.page = kPageReport;
    SelectPage(row.word, settings);
    EXPECT_EQ(settings.page, row.page);
  }
}

TEST_F(SelectPageTest, OtherWordsChangeNothing) {
  settings.page = kPageAbout;
  for (const char* word : {"", "abou", "about ", "credits=1", "report", "about&credits"}) {
    SCOPED_TRACE(word);
    SelectPage(word, settings);
    EXPECT_EQ(settings.page, kPageAbout);
  }
}

TEST_F(ReadParametersTest, AppliesEveryFieldOfTheForm) {
  EXPECT_TRUE(Post("username=ann&title=x%26y&requests=1%2C10&find=%2Fdocs"));
  EXPECT_STREQ(settings.username, "ann");
  EXPECT_STREQ(settings.title, "x&y");
  EXPECT_EQ(settings.requests.top, 10);
  EXPECT_STREQ(settings.find_form, "/docs");
}

TEST_F(ReadParametersTest, DecodesNames) {
  EXPECT_TRUE(Post("%74itle=c%2B%2B+rules"));
  EXPECT_STREQ(settings.title, "c++ rules");
}

TEST_F(ReadParametersTest, EncodedEqualsSignSurvivesDecodingButIsDropped) {
  EXPECT_TRUE(Post("title=a%3Db&tit%3Dle=x"));
  EXPECT_STREQ(settings.title, "ab");
}

TEST_F(ReadParametersTest, FormsAreOfTheFormLevel) {
  EXPECT_TRUE(Post("debug=1&logs=/etc/*"));
  EXPECT_EQ(settings.debug_sources, 1U << kLevelForm);
  EXPECT_STREQ(settings.logs, "");
}

TEST_F(ReadParametersTest, LongestPairReachesTheParserWhole) {
  EXPECT_TRUE(Post("title=" + std::string(2047, 't')));
  EXPECT_EQ(settings.title, std::string(243, 't'));
  const std::string line = std::string(254, 'n') + "=" + std::string(2047, 'v');
  EXPECT_TRUE(Post(line));
  EXPECT_EQ(settings.working_line, line);
}

TEST_F(ReadParametersTest, LimitOf243CountsDecodedCharacters) {
  std::string encoded;
  for (int i = 0; i < 243; ++i) {
    encoded += "%41";
  }
  EXPECT_TRUE(Post("title=" + encoded));
  EXPECT_EQ(settings.title, std::string(243, 'A'));
}

TEST_F(ReadParametersTest, NulEndsAValue) {
  EXPECT_TRUE(Post("title=ab%00cd&" + std::string("url=x\0y", 7)));
  EXPECT_STREQ(settings.title, "ab");
  EXPECT_STREQ(settings.url, "x");
}

TEST_F(ReadParametersTest, ArgumentsAreNotDecoded) {
  EXPECT_TRUE(Read("", "", {"orvellis", "title=a+b%26", "username=ann"}));
  EXPECT_STREQ(settings.title, "a+b%26");
  EXPECT_STREQ(settings.username, "ann");
}

TEST_F(ReadParametersTest, SourceOfAFormAndOfAServersArgumentsIsTheGivenOne) {
  form_source = ParamSource::kAccount;  // the one that sets logs
  EXPECT_TRUE(Post("logs=posted"));
  EXPECT_STREQ(settings.logs, "posted");
  EXPECT_TRUE(Read("", "", {"orvellis", "logs=argument"}));
  EXPECT_STREQ(settings.logs, "argument");
}

TEST_F(ReadParametersTest, ArgumentsOfAShellAreItsOwn) {
  form_source = ParamSource::kAccount;
  env.command_line = 1;
  EXPECT_TRUE(Read("", "", {"orvellis", "logs=argument", "find=/docs"}));
  EXPECT_STREQ(settings.logs, "");
  EXPECT_STREQ(settings.find_form, "/docs");
  EXPECT_STREQ(settings.find_account, "");
}

TEST_F(ReadParametersTest, SingleArgumentIsAParameterToo) {
  EXPECT_TRUE(Read("0", "title=body", {"orvellis", "title=argument"}));
  EXPECT_STREQ(settings.title, "argument");
}

TEST_F(ReadParametersTest, InheritedLengthReadsTheStreamInsteadOfArguments) {
  EXPECT_TRUE(Read("10", "title=body", {"orvellis", "title=argument", "username=ann"}));
  EXPECT_STREQ(settings.title, "body");
  EXPECT_STREQ(settings.username, "");
}

TEST_F(ReadParametersTest, NonNumericLengthIsZero) {
  EXPECT_TRUE(Read("many", "title=body"));
  EXPECT_STREQ(settings.title, "");
}

TEST_F(ReadParametersTest, BodyLongerThanDeclaredIsCut) {
  EXPECT_TRUE(Read("9", "title=abcdef&username=ann"));
  EXPECT_STREQ(settings.title, "abc");
  EXPECT_STREQ(settings.username, "");
}

TEST_F(ReadParametersTest, BodyShorterThanDeclaredCountsAsFarAsItCame) {
  EXPECT_TRUE(Read("1000", "username=ann&title=abc"));
  EXPECT_STREQ(settings.username, "ann");
  EXPECT_STREQ(settings.title, "abc");
}

TEST_F(ReadParametersTest, LengthOfMinusOneIsAnEmptyForm) {
  EXPECT_TRUE(Read("-1", "title=body", {"orvellis", "title=argument"}));
  EXPECT_STREQ(settings.title, "");
  EXPECT_TRUE(Read("4294967295", "title=body")) << "wraps to -1";
  EXPECT_STREQ(settings.title, "");
}

TEST_F(ReadParametersTest, LengthBelowMinusOneFails) {
  for (const char* length : {"-2", "-1000", "-2147483648", "2147483648"}) {
    SCOPED_TRACE(length);
    EXPECT_FALSE(Read(length, "title=body", {"orvellis", "title=argument"}));
    EXPECT_STREQ(settings.title, "");
  }
}

TEST_F(ReadParametersTest, HugeDeclaredLengthCostsNoMoreThanTheBody) {
  const long before = PeakMemory();
  EXPECT_TRUE(Read("500000000", "title=abc"));
  EXPECT_STREQ(settings.title, "abc");
  EXPECT_LT(PeakMemory() - before, 200000);
}

TEST_F(ReadParametersTest, MillionFieldsCostNoMoreThanTheBody) {
  std::string body = "title=first";
  for (int i = 0; i < 1000000; ++i) {
    body += "&x=1";
  }
  body += "&username=last";
  const long before = PeakMemory();
  EXPECT_TRUE(Post(body));
  EXPECT_STREQ(settings.title, "first");
  EXPECT_STREQ(settings.username, "last");
  EXPECT_LT(PeakMemory() - before, 200000);
}

TEST_F(ReadParametersTest, MillionAmpersandsAreOneName) {
  EXPECT_TRUE(Post(std::string(1000000, '&') + "=1"));
  EXPECT_EQ(settings.working_line, std::string(254, '&') + "=1");
}

namespace {

// Exits with what a priority setting added to the niceness of this process.
[[noreturn]] void ExitWithAddedNiceness(int priority) {
  Settings settings{};
  settings.priority = priority;
  const int before = getpriority(PRIO_PROCESS, 0);
  MakeNice(settings);
  exit(getpriority(PRIO_PROCESS, 0) - before);
}

}  // namespace

TEST(MakeNiceDeathTest, LowersThePriorityByTheSetting) {
  const int room = 19 - getpriority(PRIO_PROCESS, 0);
  for (int priority : {1, 10, 19}) {
    SCOPED_TRACE(priority);
    EXPECT_EXIT(ExitWithAddedNiceness(priority), testing::ExitedWithCode(std::min(priority, room)), "");
  }
}

TEST(MakeNiceDeathTest, DeliberatelyLeavesThePriorityOtherwise) {
  for (int priority : {0, 20, 1000, -1, -5, -20}) {
    SCOPED_TRACE(priority);
    EXPECT_EXIT(ExitWithAddedNiceness(priority), testing::ExitedWithCode(0), "");
  }
}

// ---- The fields of an address ----

using ReadQueryTest = RequestTest;

TEST_F(ReadQueryTest, FieldsAreThoseOfAForm) {
  EXPECT_EQ(ReadQuery("username=shop&find=%2Fa+b&config=x&SUBDIRS=1", ParamSource::kStranger, settings),
            kNoError);
  EXPECT_STREQ(settings.username, "shop");
  EXPECT_STREQ(settings.find_form, "/a b");
  EXPECT_EQ(settings.subdirs, 1);
  EXPECT_STREQ(settings.config, "orvellis.conf");
}

TEST_F(ReadQueryTest, NoWayOfWritingAPasswordIsTaken) {
  for (const char* const query : {"password=x", "PASSWORD=x", "username=a&password=x&b=c", "%70assword=x",
                                  "password=x&password=", "password%3Dx=", "password%00y=x", "&password=x",
                                  "about&password=x", "a=b&&PassWord=x", "password=%00x"}) {
    initialize(settings, env);
    EXPECT_EQ(ReadQuery(query, ParamSource::kStranger, settings), kErrorPasswordInQuery) << query;
  }
  for (const char* const query : {"", "password=", "passwor=x", "password", "x=password", "find=password=x",
                                  "&password=&x=y", "&password&x=y"}) {
    initialize(settings, env);
    EXPECT_EQ(ReadQuery(query, ParamSource::kStranger, settings), kNoError) << query;
  }
}

TEST_F(ReadQueryTest, LongOnesAreWholeUpTo64KiB) {
  const std::string end = "&username=shop";
  const std::string longest = "a=" + std::string(65536 - 2 - end.size(), 'x') + end;
  EXPECT_EQ(ReadQuery((longest + "s").c_str(), ParamSource::kStranger, settings), kErrorLongQuery);
  EXPECT_STREQ(settings.username, "");
  EXPECT_EQ(ReadQuery(longest.c_str(), ParamSource::kStranger, settings), kNoError);
  EXPECT_STREQ(settings.username, "shop");
}

TEST_F(ReadQueryTest, KeepsWhatWasTaken) {
  settings.rules.later_names = true;
  EXPECT_EQ(
      ReadQuery("username=shop&config=x&days=7d&nosuchname=1&find=%2F", ParamSource::kStranger, settings),
      kNoError);
  EXPECT_EQ(std::string(settings.asked.text, settings.asked.length),
            std::string("username=shop\0days=7d\0find=/\0", 29));
}

class IgnoredNamesTest : public RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    CopyText(settings.ErrorLog, NewPath("error.log"));
    CopyText(settings.username, "ann");
    CopyText(env.REMOTE_ADDR, "192.0.2.7");
  }

  // What follows the time.
  std::string Logged() {
    const std::string line = ReadFile(settings.ErrorLog);
    return line.substr(std::min(line.find("] ") + 2, line.size()));
  }
};

TEST_F(IgnoredNamesTest, AreOneLineOrNone) {
  LogIgnoredNames(env, settings);
  EXPECT_EQ(ReadFile(settings.ErrorLog), "");
  for (const char* line : {"debug=1", "CONFIG=x", "debug=2", "nosuch=1", "find=/"}) {
    CompareParam(line, settings, ParamSource::kStranger, kLevelForm);
  }
  LogIgnoredNames(env, settings);
  EXPECT_EQ(Logged(), "192.0.2.7 \"ann\" the form may not set \"config, debug\"\n");
}

TEST_F(IgnoredNamesTest, EveryNameFitsOnTheLine) {
  settings.ignored.set();
  char names[3000];
  ListNames(settings.ignored, names, sizeof names);
  LogIgnoredNames(env, settings);
  EXPECT_EQ(Logged(), "192.0.2.7 \"ann\" the form may not set \"" + std::string(names) + "\"\n");
}

TEST_F(RequestTest, IsFetchedByGetAndHead) {
  for (const char* const method : {"GET", "HEAD", "head"}) {
    CopyText(env.REQUEST_METHOD, method);
    EXPECT_TRUE(IsFetched(env)) << method;
  }
  for (const char* const method : {"", "POST", "PUT", "GETS"}) {
    CopyText(env.REQUEST_METHOD, method);
    EXPECT_FALSE(IsFetched(env)) << method;
  }
}
