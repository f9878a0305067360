#include <gmock/gmock.h>

#include "output/modern_page.h"
#include "output/page_frame.h"
#include "report/asked_fields.h"
#include "report/extra_texts.h"
#include "report/site.h"
#include "support/account_logs.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

static const std::string kHeaders =
    "Content-Type: text/html; charset=utf-8\n"
    "Content-Security-Policy: " +
    std::string(WebPolicy(false)) +
    "\n"
    "X-Content-Type-Options: nosniff\n"
    "Referrer-Policy: no-referrer\n"
    "X-Robots-Tag: noindex, nofollow\n"
    "Cache-Control: no-store\n\n";

// Every text that a request or the installation can bring bears this mark.
static constexpr char kMark[] = "<b>\"MARK";
static constexpr char kMarked[] = "MARK";

class AnswerPages : public AccountLogs {
 protected:
  void SetUp() override {
    env_.command_line = 0;
    CopyText(settings_.ErrorLog, NewPath("error.log"));
  }
  void TearDown() override { EndOrvellisCleanup(settings_); }

  template <typename Print>
  static std::string Output(Print print) {
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
  }

  std::string Refused(Error error, int retry_after = 0) {
    return Output([&] { kModernPage.refuse({error, retry_after}, env_, settings_); });
  }
  std::string Told(Page page) {
    settings_.page = page;
    return Output([&] { kModernPage.info[page](env_, settings_); });
  }

  void MarkAll() {
    for (char* const text :
         {settings_.username, settings_.password_form, settings_.config, settings_.logs, settings_.AccessLog,
          settings_.UserPasswords, settings_.title, settings_.url, settings_.find, env_.REMOTE_HOST,
          env_.REMOTE_ADDR, env_.SCRIPT_NAME, env_.SERVER_ADMIN, env_.SERVER_NAME, env_.QUERY_STRING}) {
      CopyText(text, 99, kMark);
    }
    settings_.program_path = env_.SCRIPT_NAME;
  }

  Environment env_{};
};

static constexpr struct {
  Error error;
  const char* status;
  const char* more;  // headers
  bool logged;       // here
} kAnswers[] = {
    {kErrorNotPosted, "405 Method Not Allowed", "Allow: GET, HEAD, POST\n", true},
    {kErrorRejected, "403 Forbidden", "", false},
    {kErrorNoLogs, "500 Internal Server Error", "", true},
    {kErrorNoStartDate, "400 Bad Request", "", true},
    {kErrorDateRange, "400 Bad Request", "", true},
    {kErrorNoEndDate, "400 Bad Request", "", true},
    {kErrorConfigFile, "500 Internal Server Error", "", true},
    {kErrorPasswordFile, "500 Internal Server Error", "", true},
    {kErrorNoLogFiles, "404 Not Found", "", true},
    {kErrorLimited, "429 Too Many Requests", "", false},
    {kErrorOutput, "400 Bad Request", "", true},
    {kErrorSection, "400 Bad Request", "", true},
    {kErrorPasswordInQuery, "400 Bad Request", "", true},
    {kErrorLongQuery, "400 Bad Request", "", true},
    {kErrorPasswordNeeded, "401 Unauthorized", "WWW-Authenticate: Form realm=\"Orvellis\"\n", false},
    {static_cast<Error>(99), "500 Internal Server Error", "", true},
};

TEST_F(AnswerPages, EachRefusalHasItsStatusAndOneLineOfTheLogAtMost) {
  for (const auto& answer : kAnswers) {
    SCOPED_TRACE(answer.error);
    const std::string before = ReadFile(settings_.ErrorLog);
    EXPECT_THAT(Refused(answer.error), StartsWith(std::string("Status: ") + answer.status + "\n" +
                                                  answer.more + kHeaders + "<!DOCTYPE html>\n"));
    const std::string log = ReadFile(settings_.ErrorLog);
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n') - std::count(before.begin(), before.end(), '\n'),
              answer.logged ? 1 : 0);
  }
}

TEST_F(AnswerPages, RefusalsHoldNothingOfTheRequestAndTheMachine) {
  MarkAll();
  for (const auto& answer : kAnswers) {
    EXPECT_THAT(Refused(answer.error), Not(HasSubstr(kMarked))) << answer.error;
  }
  EXPECT_THAT(Told(kPageAbout) + Told(kPageCredits), Not(HasSubstr(kMarked)));
  EXPECT_THAT(ReadFile(settings_.ErrorLog), HasSubstr("no log files found: \"<b>\\\"MARK\""));
}

TEST_F(AnswerPages, RefusalNamesItsNumber) {
  EXPECT_THAT(Refused(kErrorPasswordFile),
              HasSubstr("<h1>Orvellis Error #10: Could not open passwords file</h1>\n"));
  EXPECT_THAT(Refused(kErrorLimited), HasSubstr("<a href=\"/orvellis/support/errors/#error13\">"));
}

TEST_F(AnswerPages, VisitorIsToldWhenToAskAgain) {
  EXPECT_THAT(Refused(kErrorLimited, 600),
              StartsWith("Status: 429 Too Many Requests\nRetry-After: 600\n" + kHeaders));
  EXPECT_THAT(Refused(kErrorLimited, 0), Not(HasSubstr("Retry-After")));
  EXPECT_THAT(Refused(kErrorRejected, 1), HasSubstr("\nRetry-After: 1\n"));
}

TEST_F(AnswerPages, DaysOfTheLogsAreNamedWithLinks) {
  const Refusal refusal{kErrorDateRange, 0, DayRange{{2, 28, 2000}, {3, 12, 2000}}};
  const auto refuse = [&] { return Output([&] { kModernPage.refuse(refusal, env_, settings_); }); };
  EXPECT_THAT(
      refuse(),
      HasSubstr("<p>The logs hold <time>2000-02-28</time> to <time>2000-03-12</time>.</p>\n<p class"));
  KeepField(settings_.asked, "username=shop");
  KeepField(settings_.asked, "days=never");
  const std::string page = refuse();
  EXPECT_THAT(
      page,
      HasSubstr(
          "<a rel=\"nofollow\" href=\"?username=shop&amp;from=2000-02-28&amp;to=2000-03-12\">All days</a>"));
  EXPECT_THAT(page, HasSubstr("<a href=\"?\">request form</a>"));
}

TEST_F(AnswerPages, LinkToTheFormHoldsNothingOfTheRequest) {
  const std::string before = Refused(kErrorRejected);
  KeepField(settings_.asked, "username=shop");
  KeepField(settings_.asked, "days=7d");
  EXPECT_EQ(Refused(kErrorRejected), before);
  EXPECT_THAT(before, HasSubstr("<a href=\"?\">request form</a>"));
  env_.command_line = 1;
  EXPECT_THAT(Refused(kErrorRejected), HasSubstr("<a href=\"/orvellis/\">request form</a>"));
}

TEST_F(AnswerPages, VisitorReadsHowLongToWait) {
  EXPECT_THAT(Refused(kErrorLimited, 600), HasSubstr("<p>Ask again in 10 minutes.</p>"));
  EXPECT_THAT(Refused(kErrorLimited, 121), HasSubstr("<p>Ask again in 3 minutes.</p>"));
  EXPECT_THAT(Refused(kErrorLimited, 120), HasSubstr("<p>Ask again in 120 seconds.</p>"));
  EXPECT_THAT(Refused(kErrorLimited, 1), HasSubstr("<p>Ask again in 1 second.</p>"));
  EXPECT_THAT(Refused(kErrorLimited, 0), Not(HasSubstr("Ask again in")));
}

TEST_F(AnswerPages, NothingIsSaidBeforeTheAnswerIsKnown) {
  EXPECT_EQ(kModernPage.announce, nullptr);
  EXPECT_EQ(kModernPage.begin, nullptr);
}

TEST_F(AnswerPages, ShellGetsNoHeaders) {
  env_.command_line = 1;
  EXPECT_THAT(Refused(kErrorLimited, 9), StartsWith("<!DOCTYPE html>\n"));
}

TEST_F(AnswerPages, StrangerLearnsTheProgramAndItsVersion) {
  const std::string about = Told(kPageAbout);
  EXPECT_THAT(about, StartsWith(kHeaders + "<!DOCTYPE html>\n<html lang=\"en\">\n"));
  EXPECT_THAT(about,
              HasSubstr("<p>Orvellis 1.5</p>\n<p><a href=\"/orvellis/product.html\">Product information</a>, "
                        "<a href=\"?credits\">credits</a></p>\n</main>\n</body>\n</html>\n"));
  const std::string credits = Told(kPageCredits);
  EXPECT_THAT(credits, StartsWith(kHeaders + "<!DOCTYPE html>\n"));
  EXPECT_THAT(credits, HasSubstr(kDevelopers[0]));
  EXPECT_THAT(credits, HasSubstr(kSpecialThanks[1]));
}

TEST_F(AnswerPages, ShellLearnsTheMachine) {
  env_.command_line = 1;
  settings_.program_path = "orvellis";
  EXPECT_THAT(Told(kPageAbout), HasSubstr("    Node:            \t"));
  EXPECT_THAT(Told(kPageCredits), EndsWith("type: orvellis about\n\n"));
}

TEST_F(AnswerPages, HasNoRemoteDebugging) {
  EXPECT_EQ(kModernPage.info[kPageReport], nullptr);
  EXPECT_EQ(kModernPage.info[kPageRemoteDebug], nullptr);
  EXPECT_NE(kClassicPage.info[kPageRemoteDebug], nullptr);
}
