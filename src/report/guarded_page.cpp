#include "report/guarded_page.h"

#include <cstdio>

#include "report/info_pages.h"
#include "report/page_frame.h"
#include "report/refusal_log.h"
#include "report/report_page.h"
#include "report/report_policy.h"
#include "report/site.h"
#include "report/told_rows.h"

// ---- Headers ----

// What every answer to a web server begins with. A page that is made has the status
// of those that say none.
static void PrintHeaders(const Environment& env, const char* status = nullptr, const char* allowed = nullptr,
                         int retry_after = 0) {
  if (env.command_line != 0) {
    return;
  }
  if (status != nullptr) {
    printf("Status: %s\n", status);
  }
  if (allowed != nullptr) {
    printf("Allow: %s\n", allowed);
  }
  if (retry_after > 0) {
    printf("Retry-After: %d\n", retry_after);
  }
  printf(
      "Content-Type: text/html\n"
      "Content-Security-Policy: %s\n"
      "X-Content-Type-Options: nosniff\n"
      "Referrer-Policy: no-referrer\n"
      "X-Robots-Tag: noindex, nofollow\n"
      "Cache-Control: no-store\n\n",
      kReportPolicy);
}

// Until it is known what the answer is, there is nothing to say.
static void Announce() {}

static void Begin(const Environment& env, const Settings& settings) {
  PrintHeaders(env);
  PrintHead(settings);
}

// ---- Refusals ----

// What is said of a refusal: to the visitor a heading and a sentence, which hold
// nothing of the request, and to the error log another sentence, with a value.
struct RefusalTexts {
  Error error;
  const char* status;  // null: the headers and the head of the page have been sent
  const char* heading;
  const char* sentence;
  const char* log;                                           // null: has been logged where it was decided
  const char* (*value)(const Settings& settings) = nullptr;  // that the log names
  const char* allowed = nullptr;                             // the method that would have been right
};

static constexpr char kNotSetUp[] =
    "Orvellis is not set up for this report. Its administrator finds the reason in the error log.";

static const RefusalTexts kRefusals[] = {
    {
        .error = kErrorNotPosted,
        .status = "405 Method Not Allowed",
        .heading = "No form data posted",
        .sentence = "A report is asked for by filling in and sending the request form.",
        .log = "no form data posted",
        .allowed = "POST",
    },
    {
        .error = kErrorRejected,
        .status = "403 Forbidden",
        .heading = "Invalid user account name and/or password",
        .sentence = "There is no such account, or its password is another one.",
        .log = nullptr,
    },
    {
        .error = kErrorNoUrl,
        .status = "500 Internal Server Error",
        .heading = "User account is missing the 'URL' parameter",
        .sentence = kNotSetUp,
        .log = "the account has no url",
    },
    {
        .error = kErrorNoLogs,
        .status = "500 Internal Server Error",
        .heading = "User account is missing the 'Logs' parameter",
        .sentence = kNotSetUp,
        .log = "the account has no logs",
    },
    {
        .error = kErrorNoStartDate,
        .status = "400 Bad Request",
        .heading = "No start date specified",
        .sentence = "The request names no first day.",
        .log = "no first day",
    },
    {
        .error = kErrorDateRange,
        .status = "400 Bad Request",
        .heading = "Invalid date range or format",
        .sentence =
            "The last day comes before the first, or a day is not written as two digits for the month,"
            " two for the day and four for the year.",
        .log = "invalid range of days",
    },
    {
        .error = kErrorNoEndDate,
        .status = "400 Bad Request",
        .heading = "No end date specified",
        .sentence = "The request names no last day.",
        .log = "no last day",
    },
    {
        .error = kErrorConfigFile,
        .status = "500 Internal Server Error",
        .heading = "Could not open configuration file",
        .sentence = "The configuration of Orvellis cannot be read.",
        .log = "the configuration cannot be opened:",
        .value = [](const Settings& settings) { return +settings.config; },
    },
    {
        .error = kErrorPasswordFile,
        .status = "500 Internal Server Error",
        .heading = "Could not open passwords file",
        .sentence = kNotSetUp,
        .log = "the password file cannot be opened:",
        .value = [](const Settings& settings) { return +settings.UserPasswords; },
    },
    {
        .error = kErrorNoLogFiles,
        .status = nullptr,
        .heading = "No log files found",
        .sentence = "The account has no log files that Orvellis can read. Its administrator finds more in the"
                    " error log.",
        .log = "no log files found:",
        .value = [](const Settings& settings) { return +settings.logs; },
    },
    {
        .error = kErrorLimited,
        .status = "429 Too Many Requests",
        .heading = "Too many attempts",
        .sentence = "Too many requests have been refused. Please wait a while before the next one.",
        .log = nullptr,
    },
};

// A number without texts is a fault of the program.
static constexpr RefusalTexts kOtherRefusal = {
    .error = kNoError,
    .status = "500 Internal Server Error",
    .heading = "No report",
    .sentence = kNotSetUp,
    .log = "refused without a known reason",
};

static const RefusalTexts& TextsOf(Error error) {
  for (const RefusalTexts& texts : kRefusals) {
    if (texts.error == error) {
      return texts;
    }
  }
  return kOtherRefusal;
}

static void PrintRefusalHead(const RefusalTexts& texts, const Refusal& refusal, const Environment& env) {
  PrintHeaders(env, texts.status, texts.allowed, refusal.retry_after);
  printf("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<title>%s: %s</title>\n</head>\n<body>\n",
         kProductName, texts.heading);
}

static void Refuse(const Refusal& refusal, const Environment& env, const Settings& settings) {
  const RefusalTexts& texts = TextsOf(refusal.error);
  if (texts.log != nullptr) {
    LogRequest(env, settings, texts.log, texts.value == nullptr ? "" : texts.value(settings));
  }
  if (texts.status != nullptr) {
    PrintRefusalHead(texts, refusal, env);
  }
  printf("<h1>%s</h1>\n<p>%s</p>\n", texts.heading, texts.sentence);
  printf(
      "<p>This is <a href=\"%s#error%d\">error %d</a>. Reports are asked for on the <a href=\"%s\">request "
      "form</a>.</p>\n",
      kSupportErrorPages, refusal.error, refusal.error, kProductPage);
  fputs("</body>\n</html>\n", stdout);
}

// ---- Pages that are no report ----

static void PrintInfoHead(const Environment& env) {
  PrintHeaders(env);
  printf("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<title>%s</title>\n</head>\n<body>\n<h1>%s %s</h1>\n",
         kProductName, kProductName, kVersion);
}

// A stranger learns nothing about the machine; somebody at its shell can.
static void About(const Environment& env, const Settings& settings) {
  if (env.command_line != 0) {
    AboutPage(settings, env);
    return;
  }
  PrintInfoHead(env);
  printf(
      "<p><a href=\"%s\">Product information</a>, <a href=\"?credits\">credits</a></p>\n</body>\n</html>\n",
      kProductInformationPage);
}

static void Credits(const Environment& env, const Settings& settings) {
  if (env.command_line != 0) {
    CreditsPage(settings, env);
    return;
  }
  PrintInfoHead(env);
  for (const char* name : kDevelopers) {
    printf("<p>By %s.</p>\n", name);
  }
  for (const char* name : kSpecialThanks) {
    printf("<p>Thanks to %s.</p>\n", name);
  }
  fputs("<p><a href=\"?about\">About this program</a></p>\n</body>\n</html>\n", stdout);
}

const PageWriter kGuardedPage = {
    .announce = Announce,
    .begin = Begin,
    .told = PageEvents,
    .finish = FinishReport,
    .refuse = Refuse,
    .info = {nullptr, About, Credits, nullptr},
};
