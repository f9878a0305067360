#include "report/refusal_texts.h"

#include "agents/rules_in_use.h"
#include "report/refusal_log.h"
#include "superlog/superlog.h"

static constexpr char kNotSetUp[] =
    "Orvellis is not set up for this report. Its administrator finds the reason in the error log.";

static constexpr char kTellAdministrator[] = "Tell whoever looks after Orvellis on this site.";
static constexpr char kHowToWriteDays[] =
    "A day is written as 2026-11-30, or as today, yesterday or 7d for the day six days ago; several days are"
    " this-month, last-month, this-year, 7d for the last seven, or all.";

static constexpr RefusalTexts kRefusals[] = {
    {
        .error = kErrorNotPosted,
        .status = {405, "Method Not Allowed"},
        .heading = "No form data posted",
        .sentence = "A report is asked for by filling in and sending the request form.",
        .advice = "Open the form and send it.",
        .log = "no form data posted",
        .allowed = "GET, HEAD, POST",
    },
    {
        .error = kErrorRejected,
        .status = {403, "Forbidden"},
        .heading = "Invalid user account name and/or password",
        .sentence = "There is no such account, or its password is another one.",
        .advice =
            "Mind capital and small letters of both. Whoever looks after Orvellis on this site can tell the"
            " account and set a new password.",
        .log = nullptr,
    },
    {
        .error = kErrorNoLogs,
        .status = {500, "Internal Server Error"},
        .heading = "User account is missing the 'Logs' parameter",
        .sentence = kNotSetUp,
        .advice = kTellAdministrator,
        .log = "the account has no logs",
    },
    {
        .error = kErrorNoStartDate,
        .status = {400, "Bad Request"},
        .heading = "No start date specified",
        .sentence = "The request names no first day.",
        .advice = kHowToWriteDays,
        .log = "no first day",
    },
    {
        .error = kErrorDateRange,
        .status = {400, "Bad Request"},
        .heading = "Invalid date range or format",
        .sentence =
            "The last day comes before the first, or a day does not exist, or it is written in a way that"
            " Orvellis does not know.",
        .advice = kHowToWriteDays,
        .log = "invalid range of days",
    },
    {
        .error = kErrorNoEndDate,
        .status = {400, "Bad Request"},
        .heading = "No end date specified",
        .sentence = "The request names no last day.",
        .advice = kHowToWriteDays,
        .log = "no last day",
    },
    {
        .error = kErrorConfigFile,
        .status = {500, "Internal Server Error"},
        .heading = "Could not open configuration file",
        .sentence = "The configuration of Orvellis cannot be read.",
        .advice = kTellAdministrator,
        .log = "the configuration cannot be opened:",
        .value = [](const Settings& settings) { return +settings.config; },
    },
    {
        .error = kErrorPasswordFile,
        .status = {500, "Internal Server Error"},
        .heading = "Could not open passwords file",
        .sentence = kNotSetUp,
        .advice = kTellAdministrator,
        .log = "the password file cannot be opened:",
        .value = [](const Settings& settings) { return +settings.UserPasswords; },
    },
    {
        .error = kErrorNoLogFiles,
        .status = {404, "Not Found"},
        .heading = "No log files found",
        .sentence = "The account has no log files that Orvellis can read. Its administrator finds more in the"
                    " error log.",
        .advice = kTellAdministrator,
        .log = "no log files found:",
        .value = [](const Settings& settings) { return +settings.logs; },
    },
    {
        .error = kErrorOutput,
        .status = {400, "Bad Request"},
        .heading = "There is no such output",
        .sentence = "A report is written as modern, json, csv or text.",
        .advice = "Ask for one of these, or leave output out for a page.",
        .log = "no such output:",
        .value = [](const Settings& settings) { return +settings.output; },
    },
    {
        .error = kErrorSection,
        .status = {400, "Bad Request"},
        .heading = "There is no such section in the report",
        .sentence = "A single section can only be one that the report is asked to have.",
        .advice = "Switch the section on, too, as in section=browsers browsers=1.",
        .log = "no such section in the report:",
        .value = [](const Settings& settings) { return +settings.section; },
    },
    {
        .error = kErrorLimited,
        .status = {429, "Too Many Requests"},
        .heading = "Too many attempts",
        .sentence = "Too many requests have been refused. Please wait a while before the next one.",
        .advice = "Whoever looks after Orvellis on this site can end the wait.",
        .log = nullptr,
    },
    {
        .error = kErrorPasswordInQuery,
        .status = {400, "Bad Request"},
        .heading = "A password must not stand in an address",
        .sentence =
            "Addresses are kept by browsers, proxies and the logs of web servers, so that others can read"
            " what stands in them.",
        .advice =
            "Take the password out of the address: the form asks for it. Whoever has sent it this way should"
            " have a new one.",
        .log = "a password stands in the address",
    },
    {
        .error = kErrorLongQuery,
        .status = {400, "Bad Request"},
        .heading = "The address is too long",
        .sentence = "An address with more than 64 KiB is no request for a report.",
        .advice = "Open the form and send it.",
        .log = "the address is too long",
    },
    {
        .error = kErrorPasswordNeeded,
        .status = {401, "Unauthorized"},
        .heading = "A password is needed",
        .sentence =
            "An address shows reports of accounts that need no password, and there may be no such account.",
        .advice =
            "Post username and password, with all else that the address holds, as the request form does.",
        .log = nullptr,
        .challenge = "Form realm=\"Orvellis\"",
    },
    {
        .error = kErrorTimeZone,
        .status = {500, "Internal Server Error"},
        .heading = "There is no such time zone",
        .sentence = "The time zone that is set for this report is none that this machine knows.",
        .advice =
            "A zone is written as Europe/Berlin, America/New_York or UTC, with capital and small letters as"
            " these.",
        .log = "no such time zone:",
        .value = [](const Settings& settings) { return +settings.timezone; },
    },
    {
        .error = kErrorLayout,
        .status = {500, "Internal Server Error"},
        .heading = "There is no such layout of logs",
        .sentence = kNotSetUp,
        .advice = kTellAdministrator,
        .log = "no such layout of logs:",
        .value = [](const Settings&) { return SuperLog_UnknownLayout().text.data(); },
    },
    {
        .error = kErrorNoCountries,
        .status = {500, "Internal Server Error"},
        .heading = "No country database is named",
        .sentence =
            "Requests cannot be told by country: the configuration of Orvellis names no country database.",
        .advice = "Ask for a report without countries, or tell whoever looks after Orvellis on this site.",
        .log = "requests were asked for by country, and CountryDatabase names no database",
    },
    {
        .error = kErrorCountryDatabase,
        .status = {500, "Internal Server Error"},
        .heading = "The country database cannot be read",
        .sentence =
            "Countries cannot be told: their database is missing, may not be read, is damaged or is none.",
        .advice = "Ask for a report without countries, or tell whoever looks after Orvellis on this site.",
        .log = "the country database is missing, may not be read, is damaged or is none:",
        .value = [](const Settings& settings) { return +settings.country_database; },
    },
    {
        .error = kErrorAgentRules,
        .status = {500, "Internal Server Error"},
        .heading = "The rules for agents cannot be read",
        .sentence = kNotSetUp,
        .advice = kTellAdministrator,
        .log = "the rules for agents (AgentRules) cannot be read:",
        .value = [](const Settings&) { return FaultOfRules(); },
    },
    {
        .error = kErrorAnonymise,
        .status = {400, "Bad Request"},
        .heading = "Visitors are anonymised",
        .sentence =
            "A report with anonymised visitors can leave out or keep neither users nor single addresses: "
            "networks of IPv4 can have up to 24 bits, and of IPv6 up to 48.",
        .advice = "Leave the users or addresses out, or name the networks that they are in.",
        .log = "a filter asks for users or single addresses, and visitors are anonymised",
    },
    {
        .error = kErrorCountryLibrary,
        .status = {500, "Internal Server Error"},
        .heading = "The library that reads country databases is not installed",
        .sentence =
            "Countries cannot be told: libmaxminddb is not installed, or this build does not know it.",
        .advice = "Ask for a report without countries, or tell whoever looks after Orvellis on this site.",
        .log = "countries were asked for, and libmaxminddb is not installed, or this build does not know it",
    },
};

// A number without texts is a fault of the program.
static constexpr RefusalTexts kOtherRefusal = {
    .error = kNoError,
    .status = {500, "Internal Server Error"},
    .heading = "No report",
    .sentence = kNotSetUp,
    .advice = kTellAdministrator,
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

const RefusalTexts& LogRefusal(const Refusal& refusal, const Environment& env, const Settings& settings) {
  const RefusalTexts& texts = TextsOf(refusal.error);
  if (texts.log != nullptr) {
    LogRequest(env, settings, texts.log, texts.value == nullptr ? "" : texts.value(settings));
  }
  return texts;
}

AnswerHead HeadOfRefusal(const RefusalTexts& texts, const Refusal& refusal) {
  return {.status = texts.status,
          .allowed = texts.allowed,
          .challenge = texts.challenge,
          .retry_after = refusal.retry_after};
}
