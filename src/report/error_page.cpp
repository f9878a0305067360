#include "report/error_page.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "base/foreign_link.h"
#include "dates/clock.h"
#include "dates/zone.h"
#include "report/extra_texts.h"
#include "report/page_end.h"
#include "report/site.h"

// Texts of one error. A name in braces stands for a value of the request, see
// kValues; no text holds braces otherwise.
struct ErrorTexts {
  int number;
  const char* log;
  const char* heading;
  const char* description;
  const char* description_with_access_log = nullptr;  // instead, while AccessLog is set
  const char* solution_label = "<b>Solution: </b>";
  const char* solution;
};

static const ErrorTexts kErrorTexts[] = {
    {
        .number = kErrorNotPosted,
        .log = "No form data posted.",
        .heading = "No form data posted",
        .description = "No form data was provided. (Data must be POSTed via a form.)",
        .solution = "You generate reports by filling out the Report Request Form"
                    " (often located <a href=\"/Orvellis/\">here</a>).",
    },
    {
        .number = kErrorRejected,
        .log = "Unauthorized access from '{REMOTE_HOST}' with username='{username}'",
        .heading = "Invalid user account name and/or password",
        .description = "You entered an invalid user account name and/or an invalid user account password"
                       " in the Report Request Form.",
        .solution = "Press your browser's <b>Back</b> button and verify that you have entered the"
                    " correct user account name and password.",
    },
    {
        .number = kErrorNoUrl,
        .log = "User account is missing the URL parameter",
        .heading = "User account is missing the 'URL' parameter",
        .description = "The user account is missing the URL parameter.  The value of this parameter"
                       " is prefixed to every entry in the Top URLs Requested report (in order to form"
                       " clickable URLs).",
        .solution = "Edit the Orvellis configuration file to include the URL parameter.",
    },
    {
        .number = kErrorNoLogs,
        .log = "User account is missing the Logs parameter",
        .heading = "User account is missing the 'Logs' parameter",
        .description = "The user account is missing the Logs parameter.  This parameter specifies the"
                       " location (full path) of old (i.e., rotated, archived) log files."
                       " (For example: <tt>Logs=/usr/apache/logs/*.log</tt>)"
                       "  If it specifies a pattern which also matches the current log file, then the"
                       " AccessLogs= parameter can be omitted.",
        .solution = "Edit the Orvellis configuration file to include the Logs parameter"
                    " for the user account.",
    },
    {
        .number = kErrorNoStartDate,
        .log = "No start date specified",
        .heading = "No start date specified",
        .description = "No start date for the report date range was specified.",
        .solution = "Specify a valid start date.  The date range is usually specified in the Orvellis Report"
                    " Request Form, but can be specified in the Orvellis configuration file instead.",
    },
    {
        .number = kErrorDateRange,
        .log = "Invalid date range or format",
        .heading = "Invalid date range or format",
        .description = "An invalid date range for the report was specified.",
        .solution =
            "Specify a valid date range.  Make sure that the end date does not come before the start date."
            "  (The date range is usually specified in the Orvellis Report"
            " Request Form, but can be specified in the Orvellis configuration file instead.)",
    },
    {
        .number = kErrorNoEndDate,
        .log = "No end date specified",
        .heading = "No end date specified",
        .description = "No end date for the report date range was specified.",
        .solution = "Specify a valid end date.  The date range is usually specified in the Orvellis Report"
                    " Request Form, but can be specified in the Orvellis configuration file instead.",
    },
    {
        .number = kErrorConfigFile,
        .log = "Could not open configuration file {config}",
        .heading = "Could not open configuration file",
        .description = "The configuration file ({config}) could not be opened.  This file is required for"
                       " proper operation of Orvellis.",
        .solution =
            "Make sure that the configuration file is in the same directory"
            " as the Orvellis program file. Also make sure that Orvellis has read access to the file.",
    },
    {
        .number = kErrorPasswordFile,
        .log = "Could not open passwords file {UserPasswords}",
        .heading = "Could not open passwords file",
        .description = "The passwords file ({UserPasswords}) could not be opened.  This file is required for"
                       " validation of user \"{username}\".",
        // deliberate: speaks of a system database, though every value is a path
        .solution = "Make sure that the user account is defined properly, that the passwords file"
                    " is correctly specified (if it is used at all), and that Orvellis has read"
                    " access to the passwords file.  Check the <b>UserPasswords=</b>"
                    " parameter in the Orvellis configuration file ({config}).  The presence of an"
                    " <b>UserPasswords=</b> parameter and lack of a password specified in the user"
                    " account definition indicate that the password will be looked up in the specified"
                    " passwords file (or system database if <b>UserPasswords=system</b>).",
    },
    {
        .number = kErrorNoLogFiles,
        .log = "No log files found",
        .heading = "No log files found",
        .description = "The \"logs\" parameter ({logs})\n"
                       "did not match any existing files. This can occur if this parameter is\n"
                       "incorrectly specified or if the log files have been moved or deleted.",
        .description_with_access_log =
            "The \"logs\" parameter ({logs})\n"
            "and the \"accesslog\" parameter ({AccessLog})\n"
            "did not match any existing files. This can occur if these parameters are\n"
            "incorrectly specified or if the log files have been moved or deleted.",
        .solution_label = "<b>Solution:</b>",  // deliberate: without the space of the other errors
        .solution =
            "The Orvellis administrator at this site should make sure that the\n"
            "\"logs\" parameter for the user account \"<kbd><b>{username}</b></kbd>\" in the Orvellis\n"
            "configuration file specifies at least one existing log file.<p>\n\n"
            "More information on the \"logs\" parameter can be found in Chapter 4 of the"
            " <a href=\"{chapter4}\" target=\"_blank\">Orvellis online documentation</a>.",
    },
};

struct Value {
  std::string_view name;
  const char* (*of)(const Environment& env, const Settings& settings);
};

static const Value kValues[] = {
    {"REMOTE_HOST", [](const Environment& env, const Settings&) { return +env.REMOTE_HOST; }},
    {"username", [](const Environment&, const Settings& settings) { return +settings.username; }},
    {"config", [](const Environment&, const Settings& settings) { return +settings.config; }},
    {"UserPasswords", [](const Environment&, const Settings& settings) { return +settings.UserPasswords; }},
    {"logs", [](const Environment&, const Settings& settings) { return +settings.logs; }},
    {"AccessLog", [](const Environment&, const Settings& settings) { return +settings.AccessLog; }},
    {"chapter4", [](const Environment&, const Settings&) { return kChapter4Logs; }},
};

// Room for the longest text with all its values at full length.
static constexpr size_t kFilledSize = 2048;

static constexpr mode_t kNewLogMode = 0666;

static std::string_view ValueOf(std::string_view name, const Environment& env, const Settings& settings) {
  for (const Value& value : kValues) {
    if (value.name == name) {
      return value.of(env, settings);
    }
  }
  return {};
}

// Writes text with its values in place of their names. Values are not searched
// for names again, so a request cannot insert any.
static void FillIn(char (&out)[kFilledSize], std::string_view text, const Environment& env,
                   const Settings& settings) {
  size_t length = 0;
  const auto append = [&](std::string_view piece) {
    length += CopyText(out + length, kFilledSize - length, piece);
  };
  for (size_t open; (open = text.find('{')) != std::string_view::npos;) {
    const size_t close = text.find('}', open);
    append(text.substr(0, open));
    append(ValueOf(text.substr(open + 1, close - open - 1), env, settings));
    text.remove_prefix(close + 1);
  }
  append(text);
}

static const ErrorTexts* FindTexts(int number) {
  for (const ErrorTexts& texts : kErrorTexts) {
    if (texts.number == number) {
      return &texts;
    }
  }
  return nullptr;
}

static void PrintExplanation(const ErrorTexts& texts, const Environment& env, const Settings& settings) {
  const bool with_access_log = texts.description_with_access_log != nullptr && settings.AccessLog[0] != '\0';
  char filled[kFilledSize];
  FillIn(filled, texts.log, env, settings);
  LogError(settings, filled);
  printf("%s</h2>\n\n", texts.heading);
  FillIn(filled, with_access_log ? texts.description_with_access_log : texts.description, env, settings);
  printf("<b>Description: </b>%s<p>\n\n", filled);
  FillIn(filled, texts.solution, env, settings);
  printf("%s%s<p>\n\n", texts.solution_label, filled);
}

static void PrintHelp(const Environment& env) {
  printf("For more help, you may want to contact the web server administrator");
  if (env.SERVER_ADMIN[0] != '\0') {
    printf(" (<a href=\"mailto:%s\">%s</a>)", env.SERVER_ADMIN, env.SERVER_ADMIN);
  }
  // deliberate: "occured" and "occurred" stand side by side
  printf(
      " and inform them of the time the error occured and the steps you took before the error occurred."
      "  You can also find more details at"
      " <a href=\"%s\" target=\"_blank\">%s</a>.<p>\n<hr><p>\n\n",
      kSupportErrorPages, kSupportErrorPages);
}

void PrintErrorPage(int number, const Environment& env, const Settings& settings) {
  printf(
      "<html>\n<head>\n<title>%s: Error #%d</title>\n</head>\n\n\n\n\n"
      "<body bgcolor=\"#FFFFFF\">\n"
      "<img src=\"%s%d.gif\" width=283 height=84 alt=\"%s logo\"><p>\n"
      "\n<h2>%s Error #%d: ",
      kProductName, number, kErrorPictureBase, number, kProductName, kProductName, number);
  const ErrorTexts* texts = FindTexts(number);
  if (texts != nullptr) {
    PrintExplanation(*texts, env, settings);
  }
  PrintHelp(env);
  printf("<font size=\"-1\">");
  printf(kGeneratedByLine, kProductPage, kProductName, kVersion, kPlatform);
  printf("\n</body>\n</html>\n");
}

void ServerError(int number, const Environment& env, Settings& settings) {
  PrintErrorPage(number, env, settings);
  EndOrvellisCleanup(settings);
  exit(FinishPage());
}

// Without O_NONBLOCK, opening a named pipe would wait for a reader, and writing for room in it.
static int OpenErrorLog(const Settings& settings) {
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
  const int links = settings.rules.own_links_only ? FollowOwnLinksOnly(settings.ErrorLog) : 0;
  const int log = open(settings.ErrorLog, kFlags | links, kNewLogMode);
  struct stat info;
  if (log >= 0 && links != 0 && (fstat(log, &info) != 0 || info.st_nlink > 1)) {
    close(log);
    return -1;
  }
  return log;
}

void LogError(const Settings& settings, const char* message) {
  if (settings.ErrorLog[0] == '\0') {
    return;
  }
  const int log = OpenErrorLog(settings);
  if (log < 0) {
    return;
  }
  const time_t now = CurrentTime();
  tm local{};
  MachineTime(now, local);
  char stamp[32];
  strftime(stamp, sizeof stamp, "%d/%b/%Y:%H:%M:%S", &local);
  char line[sizeof stamp + kFilledSize + 4];
  snprintf(line, sizeof line, "[%s] %s\n", stamp, message);
  // In one piece, so that the lines of concurrent runs stay whole.
  if (write(log, line, strlen(line)) < 0) {
    errno = 0;  // a page without a line in the log is better than none
  }
  close(log);
}
