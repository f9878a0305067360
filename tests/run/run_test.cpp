#include "run/run.h"

#include <gmock/gmock.h>

#include <vector>

#include "dates/clock.h"
#include "run/reset.h"
#include "support/text_file.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class RunTest : public testing::Test {
 protected:
  void SetUp() override {
    const std::string folder = NewPath("folder");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    ASSERT_EQ(chdir(folder.c_str()), 0);
    for (const char* name : {"ORVELLIS_CONFIG", "REQUEST_METHOD", "QUERY_STRING", "CONTENT_LENGTH"}) {
      unsetenv(name);
    }
    settled_username = "";
    settled_config = "";
  }

  static void WriteConfig(const std::string& name, const std::string& content) {
    std::ofstream(name) << content;
  }

  // A configuration whose account has a log of one request.
  static std::string Account(const std::string& keys = "") {
    std::ofstream("a.log") << "192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] \"GET /a.html HTTP/1.0\" 200 10\n";
    return keys + "user=ann;logs=a.log;url=http://www.example.com;password=*\n";
  }

  // The page; its status stays in status, what is told on standard error in told.
  std::string Page(std::vector<const char*> arguments, const std::string& form = "") {
    std::FILE* const stream = tmpfile();
    fwrite(form.data(), 1, form.size(), stream);
    rewind(stream);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    arguments.insert(arguments.begin(), "orvellis");
    status = ::Run({.argc = static_cast<int>(arguments.size()),
                    .argv = const_cast<char* const*>(arguments.data()),
                    .form = stream,
                    .settled = Note});
    fclose(stream);
    told = testing::internal::GetCapturedStderr();
    return testing::internal::GetCapturedStdout();
  }

  std::string Posted(const std::string& form, const std::vector<const char*>& arguments = {}) {
    setenv("REQUEST_METHOD", "POST", 1);
    setenv("CONTENT_LENGTH", std::to_string(form.size()).c_str(), 1);
    return Page(arguments, form);
  }

  static void Note(Settings& settings) {
    settled_username = settings.username;
    settled_config = settings.config;
    CopyText(settings.title, "settled title");
  }

  static inline std::string settled_username;
  static inline std::string settled_config;
  int status = -1;
  std::string told;
};

static const std::vector<const char*> kAsk = {"username=ann", "date=03052000,03052000", "subdirs=1",
                                              "requests=1"};

static const char kForm[] = "username=ann&date=03052000,03052000&subdirs=1&requests=1";

TEST_F(RunTest, ReportFromAShell) {
  WriteConfig("orvellis.conf", Account());
  const std::string page = Page(kAsk);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(page, StartsWith("<html>"));
  EXPECT_THAT(page, HasSubstr("http://www.example.com/a.html"));
  EXPECT_THAT(page, EndsWith("</html>\n"));
}

TEST_F(RunTest, ReportForAWebServer) {
  WriteConfig("orvellis.conf", Account());
  const std::string page = Posted(kForm);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(page, StartsWith("Content-type: text/html\n\n<html>"));
  EXPECT_THAT(page, HasSubstr("http://www.example.com/a.html"));
}

TEST_F(RunTest, SecondRunBehindAResetPrintsTheSame) {
  SetCurrentTimeForTest(954547200);
  WriteConfig("orvellis.conf", Account("search=F;domain=finder.example;vars=q\nLogFormat=S?hmw1qrc\n"));
  const std::string first = Page(kAsk);
  ResetRun();
  WriteConfig("orvellis.conf", "Priority=0\n");
  EXPECT_THAT(Page(kAsk), HasSubstr("Error #2"));
  ResetRun();
  WriteConfig("orvellis.conf", Account("search=F;domain=finder.example;vars=q\nLogFormat=S?hmw1qrc\n"));
  EXPECT_EQ(Page(kAsk), first);
  SetCurrentTimeForTest(-1);
}

TEST_F(RunTest, HelpNeedsNoConfiguration) {
  WriteConfig("orvellis.conf", "Edition=none\n");
  EXPECT_THAT(Page({}), StartsWith("Orvellis "));
  EXPECT_EQ(status, 0);
}

TEST_F(RunTest, OneArgumentIsARequest) {
  WriteConfig("orvellis.conf", Account());
  EXPECT_THAT(Page({"username=nobody"}), HasSubstr("Error #2"));
}

TEST_F(RunTest, ArgumentsOfAShellBesideAFormCountForNothing) {
  WriteConfig("orvellis.conf", Account());
  setenv("CONTENT_LENGTH", std::to_string(strlen(kForm)).c_str(), 1);
  EXPECT_THAT(Page({"edition=none", "config=missing.conf"}, kForm), HasSubstr("a.html"));
  EXPECT_EQ(status, 0);
}

TEST_F(RunTest, SettlesParametersOnceAndBeforeTheyAreUsed) {
  WriteConfig("orvellis.conf", Account());
  EXPECT_THAT(Page(kAsk), HasSubstr("settled title"));
  EXPECT_EQ(settled_username, "ann");
}

TEST_F(RunTest, RefusalsHaveStatus0AndTheirPage) {
  EXPECT_THAT(Page(kAsk), HasSubstr("Error #9"));
  EXPECT_EQ(status, 0);
  WriteConfig("orvellis.conf",
              "user=ann;logs=none.log;url=http://www.example.com;password=*\nUser=bob;password=x\n"
              "user=cy;password=*\nUserPasswords=missing\nuser=dot;\nErrorLog=errors\n");
  ResetRun();
  EXPECT_THAT(Page({"username=nobody", "date=1"}), HasSubstr("Error #2"));
  EXPECT_THAT(Page({"username=bob", "date=1"}), HasSubstr("Error #2"));
  EXPECT_THAT(Page({"username=cy", "date=1"}), HasSubstr("Error #4"));
  EXPECT_THAT(Page({"username=dot", "date=1"}), HasSubstr("Error #10"));
  EXPECT_THAT(Page({"username=ann", "date=03052000,03042000"}), HasSubstr("Error #7"));
  const std::string begun = Page(kAsk);
  EXPECT_THAT(begun, StartsWith("<html>\n<head>\n<title>settled title"));
  EXPECT_THAT(begun, HasSubstr("Error #11"));
  std::string log = ReadFile("errors");
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 6);
  EXPECT_THAT(log, EndsWith("No log files found\n"));
}

TEST_F(RunTest, GetForAReportIsRefusedBeforeAnythingIsRead) {
  setenv("REQUEST_METHOD", "get", 1);
  EXPECT_THAT(Page({}), HasSubstr("Error #1<"));
  EXPECT_EQ(settled_username, "");
}

TEST_F(RunTest, FormWithoutMemoryEndsWithStatus1) {
  setenv("REQUEST_METHOD", "POST", 1);
  setenv("CONTENT_LENGTH", "-2", 1);
  EXPECT_EQ(Page({}), "Content-type: text/html\n\n");
  EXPECT_EQ(status, 1);
}

TEST_F(RunTest, UnknownEditionEndsWithStatus3AndNoPage) {
  WriteConfig("orvellis.conf", Account("Edition=old\n"));
  EXPECT_EQ(Posted(kForm), "");
  EXPECT_EQ(status, 3);
  EXPECT_EQ(told, "orvellis: there is no edition \"old\", only classic and modern\n");
}

TEST_F(RunTest, FormChoosesNoEdition) {
  WriteConfig("orvellis.conf", Account());
  WriteConfig("other.conf", Account("Edition=none\n"));
  EXPECT_THAT(Posted(std::string(kForm) + "&edition=none&config=other.conf"), HasSubstr("a.html"));
  EXPECT_EQ(status, 0);
  EXPECT_EQ(settled_config, "other.conf");
}

TEST_F(RunTest, ArgumentsOfAWebServerAreAFormInTheClassicEdition) {
  WriteConfig("orvellis.conf", Account());
  std::vector<const char*> arguments = kAsk;
  arguments.push_back("edition=none");
  EXPECT_THAT(Posted("", arguments), HasSubstr("a.html"));
  EXPECT_EQ(settled_username, "ann");
}

TEST_F(RunTest, ArgumentsOfAWebServerAreNothingInTheModernEdition) {
  WriteConfig("orvellis.conf", Account("Edition=modern\n"));
  EXPECT_THAT(Posted("", kAsk), StartsWith("Status: 403 "));
  EXPECT_EQ(settled_username, "");
  ResetRun();
  EXPECT_THAT(Posted(kForm), HasSubstr("a.html"));
}

TEST_F(RunTest, AnswersOfTheModernEditionSayHowTheyAre) {
  WriteConfig("orvellis.conf", Account("Edition=modern\n"));
  EXPECT_THAT(Posted(kForm), StartsWith("Content-Type: text/html; charset=utf-8\nContent-Security-Policy: "));
  ResetRun();
  EXPECT_THAT(Posted("username=ann&date=03052000,03042000"), StartsWith("Status: 400 "));
  ResetRun();
  setenv("QUERY_STRING", "remotedebug", 1);
  for (const char* method : {"PUT", ""}) {
    setenv("REQUEST_METHOD", method, 1);
    EXPECT_THAT(Page({}, kForm), StartsWith("Status: 405 ")) << method;
    ResetRun();
  }
  for (const char* method : {"GET", "get", "HEAD"}) {
    setenv("REQUEST_METHOD", method, 1);
    EXPECT_THAT(Page({}, kForm), AllOf(StartsWith("Content-Type: text/html; "), HasSubstr("<form")))
        << method;
    ResetRun();
  }
  unsetenv("QUERY_STRING");
  unsetenv("REQUEST_METHOD");
  unsetenv("CONTENT_LENGTH");
  EXPECT_THAT(Page(kAsk), StartsWith("<!DOCTYPE html>")) << "a shell has no headers";
}

// The account's line is known when the form is shown, and nothing of it stands there.
TEST_F(RunTest, AddressOfAnAccountWithAPasswordGetsTheFormOfTheRequestAlone) {
  WriteConfig("orvellis.conf",
              "Edition=modern\nuser=Bob;logs=a.log;url=http://"
              "www.example.com;title=secret;requests=1,77;password=x\n");
  setenv("REQUEST_METHOD", "GET", 1);
  setenv("QUERY_STRING", "username=bob&find=%2Fa&days=7d", 1);
  const std::string known = Page({});
  ResetRun();
  WriteConfig("orvellis.conf", "Edition=modern\n");
  EXPECT_EQ(Page({}), known);
  EXPECT_THAT(known, HasSubstr("<form"));
}

TEST_F(RunTest, OutputIsThatOfTheParametersOnceTheyAreKnown) {
  WriteConfig("orvellis.conf", Account("Edition=modern\n"));
  EXPECT_THAT(Posted(std::string(kForm) + "&output=JSON"),
              StartsWith("Content-Type: application/json; charset=utf-8\n"));
  ResetRun();
  EXPECT_THAT(Posted(std::string(kForm) + "&output=text"),
              StartsWith("Content-Type: text/plain; charset=utf-8\n"));
  ResetRun();
  EXPECT_THAT(Posted("username=ann&date=03052000,03042000&output=json"),
              AllOf(StartsWith("Status: 400 Bad Request\nContent-Type: application/json"),
                    HasSubstr("\"code\": 7,")));
  ResetRun();
  EXPECT_THAT(Posted("username=nobody&date=03052000,03052000&output=csv"),
              AllOf(StartsWith("Status: 403 Forbidden\nContent-Type: text/plain"),
                    HasSubstr("\n\nOrvellis error 2: ")));
}

TEST_F(RunTest, OutputThatDoesNotExistIsRefused) {
  WriteConfig("orvellis.conf", Account("Edition=modern\n"));
  EXPECT_THAT(Posted(std::string(kForm) + "&output=xml"),
              AllOf(StartsWith("Status: 400 Bad Request\nContent-Type: text/html; charset=utf-8\n"),
                    HasSubstr("Error #14")));
  ResetRun();
  EXPECT_THAT(Posted("username=nobody&date=03052000,03052000&output=xml"), StartsWith("Status: 403 "))
      << "a stranger learns nothing else";
  ResetRun();
  EXPECT_THAT(Posted(std::string(kForm) + "&output=csv&section=browsers"),
              AllOf(StartsWith("Status: 400 "), HasSubstr("Orvellis error 15: ")));
}

TEST_F(RunTest, OutputWithoutLogsHasAStatusAndNoHalf) {
  WriteConfig("orvellis.conf", "Edition=modern\nuser=ann;logs=none;url=http://www.example.com;password=*\n");
  for (const char* output : {"json", "csv", "text"}) {
    EXPECT_THAT(Posted(std::string(kForm) + "&output=" + output), StartsWith("Status: 404 Not Found\n"))
        << output;
    ResetRun();
  }
}

TEST_F(RunTest, OutputOfAnAccountAndOfAShell) {
  WriteConfig("orvellis.conf", "Edition=modern\noutput=json\n" + Account());
  std::ofstream("orvellis.conf", std::ios::app)
      << "user=bob;logs=a.log;url=http://www.example.com;password=*;output=json\n";
  std::vector<const char*> arguments = kAsk;
  arguments[0] = "username=bob";
  EXPECT_THAT(Page(arguments), StartsWith("{\n"));
  ResetRun();
  arguments = kAsk;
  arguments.push_back("output=text");
  EXPECT_THAT(Page(arguments), HasSubstr("\nRequested URLs\n--------------\n"));
  EXPECT_EQ(told, "");
  ResetRun();
  arguments.push_back("totals=1");
  Page(arguments);
  EXPECT_THAT(told, StartsWith("{\"requests\": 1, "));
}

TEST_F(RunTest, ClassicEditionHasOneOutput) {
  WriteConfig("orvellis.conf", Account());
  const std::string page = Page(kAsk);
  ResetRun();
  std::vector<const char*> arguments = kAsk;
  for (const char* argument : {"output=json", "section=none", "csv_formulas=1", "totals=1"}) {
    arguments.push_back(argument);
  }
  EXPECT_EQ(Page(arguments), page);
  EXPECT_EQ(told, "");
}

TEST_F(RunTest, ModernFormWithoutMemoryHasNoAnswer) {
  WriteConfig("orvellis.conf", Account("Edition=modern\n"));
  setenv("REQUEST_METHOD", "POST", 1);
  setenv("CONTENT_LENGTH", "-2", 1);
  EXPECT_EQ(Page({}), "");
  EXPECT_EQ(status, 1);
}

TEST_F(RunTest, FormOfTheModernEditionNamesNoConfiguration) {
  WriteConfig("orvellis.conf", Account("Edition=modern\nErrorLog=errors\n"));
  WriteConfig("other.conf", "ErrorLog=elsewhere\n");
  EXPECT_THAT(Posted(std::string(kForm) + "&config=other.conf&CONFIG=x&nosuch=1"), HasSubstr("a.html"));
  EXPECT_EQ(settled_config, "orvellis.conf");
  EXPECT_THAT(ReadFile("errors"), EndsWith("] - \"ann\" the form may not set \"config\"\n"));
  EXPECT_FALSE(std::filesystem::exists("elsewhere"));
}

TEST_F(RunTest, ShellReadsTheConfigurationThatToldTheEdition) {
  WriteConfig("ab", Account("Edition=modern\n"));
  WriteConfig("a=b", "");
  std::vector<const char*> arguments = kAsk;
  arguments.push_back("config=a=b");
  EXPECT_THAT(Page(arguments), HasSubstr("a.html"));
  EXPECT_EQ(settled_config, "ab");
  ResetRun();
  arguments.push_back("edition=modern");
  EXPECT_THAT(Page(arguments), HasSubstr("Error #2"));
  EXPECT_EQ(settled_config, "a=b");
}

TEST_F(RunTest, ValuesAreWholeFromEverySideInTheModernEdition) {
  const std::string account = "user=ann;logs=a.log;url=http://www.example.com;password=*;find=/x=y\n";
  Account();
  WriteConfig("orvellis.conf", account);
  EXPECT_THAT(Posted("username=ann&date=03052000,03052000&find=/=z"), HasSubstr(">/xy/z<"));
  ResetRun();
  WriteConfig("orvellis.conf", "Edition=modern\n" + account);
  EXPECT_THAT(Posted("username=ann&date=03052000,03052000&find=/=%3Dz="), HasSubstr(">/x=y/==z=<"));
  ResetRun();
  unsetenv("REQUEST_METHOD");
  unsetenv("CONTENT_LENGTH");
  EXPECT_THAT(Page({"username=ann", "date=03052000,03052000", "find=/=z"}), HasSubstr(">/x=y/=z<"));
}

TEST_F(RunTest, NoRemoteDebuggingInTheModernEdition) {
  WriteConfig("orvellis.conf", Account("Edition=modern\nRemoteDebugEnabled=1\nErrorLog=secret-path\n"));
  EXPECT_THAT(Page({"remotedebug"}), Not(HasSubstr("secret-path")));
  ResetRun();
  setenv("QUERY_STRING", "remotedebug", 1);
  const std::string page = Posted(std::string(kForm) + "&debug=1");
  EXPECT_THAT(page, HasSubstr("a.html"));
  EXPECT_THAT(page, Not(HasSubstr("secret-path")));
  EXPECT_THAT(page, Not(HasSubstr("Debugging Information")));
  EXPECT_THAT(page, Not(HasSubstr("emote debugging is enabled")));
  ResetRun();
  unsetenv("QUERY_STRING");
  unsetenv("REQUEST_METHOD");
  unsetenv("CONTENT_LENGTH");
  WriteConfig("orvellis.conf", Account("Edition=modern\n"));
  std::vector<const char*> arguments = kAsk;
  arguments.push_back("debug=1");
  EXPECT_THAT(Page(arguments), Not(HasSubstr("Debugging Information")))
      << "nor does a shell get it in this page";
}

TEST_F(RunTest, PinnedConfigurationCannotBeReplaced) {
  WriteConfig("pinned.conf", Account());
  WriteConfig("orvellis.conf", "");
  setenv("ORVELLIS_CONFIG", "pinned.conf", 1);
  EXPECT_THAT(Posted(std::string(kForm) + "&config=orvellis.conf"), HasSubstr("a.html"));
  EXPECT_EQ(settled_config, "pinned.conf");
  ResetRun();
  EXPECT_THAT(Posted("", kAsk), HasSubstr("Error #2")) << "arguments count for nothing";
  EXPECT_EQ(settled_username, "");
}

TEST_F(RunTest, PinnedConfigurationHasNoSubstitute) {
  WriteConfig("orvellis.conf", Account());
  setenv("ORVELLIS_CONFIG", "missing.conf", 1);
  EXPECT_THAT(Posted(kForm), HasSubstr("missing.conf"));
  ResetRun();
  unsetenv("REQUEST_METHOD");
  unsetenv("CONTENT_LENGTH");
  EXPECT_THAT(Page(kAsk), HasSubstr("Error #9"));
  ResetRun();
  std::vector<const char*> arguments = kAsk;
  arguments.push_back("config=orvellis.conf");
  EXPECT_THAT(Page(arguments), HasSubstr("a.html")) << "a shell may name another";
}

TEST_F(RunTest, PipeIsReadForTheEditionAndForAllElse) {
  const std::string content = Account("Edition=modern\n");
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], content.data(), content.size()), static_cast<ssize_t>(content.size()));
  close(ends[1]);
  const std::string argument = "config=/dev/fd/" + std::to_string(ends[0]);
  std::vector<const char*> arguments = kAsk;
  arguments.push_back(argument.c_str());
  EXPECT_THAT(Page(arguments), HasSubstr("a.html"));
  close(ends[0]);
}
