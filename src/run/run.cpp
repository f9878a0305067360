#include "run/run.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "agents/rules_in_use.h"
#include "analysis/anonymity.h"
#include "analysis/country_database.h"
#include "analysis/dimensions.h"
#include "analysis/rules.h"
#include "cgi/check_params.h"
#include "cgi/environment.h"
#include "cgi/request.h"
#include "dates/days.h"
#include "dates/zone.h"
#include "entry/visitor.h"
#include "parts/workers.h"
#include "report/extra_texts.h"
#include "report/info_pages.h"
#include "report/page_end.h"
#include "report/refusal_log.h"
#include "report/report_page.h"
#include "run/edition.h"
#include "run/logs_layout.h"
#include "run/part_run.h"
#include "run/store_folder.h"
#include "sections/section_list.h"
#include "superlog/superlog.h"

static constexpr int kStatusNoMemory = 1;
static constexpr int kStatusUnknownName = 3;  // of an edition, or of a layout
static constexpr int kStatusNoPart = 4;

// What a run knows of its task.
struct Task {
  const RunInput& input;
  Environment env = {};
  Settings settings = {};
  ConfigFile config = {};
  bool pinned = false;  // nothing that is read from here on can name another configuration
  const Edition* edition = nullptr;
  const PageWriter* page = nullptr;  // who answers
  bool output_known = false;         // the one that was asked for
  bool no_part = false;              // a part could not be written, or not be added
  const Settings* asked = nullptr;   // of a request by address: what it has said, without the configuration
};

static void TakeEnvironment(Task& task) {
  ResetSuperLog();
  GetEnv(task.env);
  initialize(task.settings, task.env);
  task.settings.cgi = 1;
  if (IsCommandLineRun(task.env)) {
    EnterCommandLine(task.input.argc, task.input.argv, task.env, task.settings);
  }
}

static bool ChooseRules(Task& task) {
  const char* const pinned = getenv("ORVELLIS_CONFIG");
  const bool from_shell = task.env.command_line != 0;
  const bool own_arguments = from_shell && !IsFormPosted(task.env);
  const StartWords words = {from_shell, pinned, own_arguments ? task.input.argc : 0, task.input.argv};
  if (!ChooseConfig(words, task.config)) {
    return false;
  }
  task.pinned = own_arguments || !task.config.fall_back;
  task.edition = ChooseEdition(words, task.config);
  if (task.edition == nullptr) {
    return false;
  }
  task.page = task.edition->page;
  return true;
}

static void TakeRules(Task& task) {
  CopyText(task.settings.config, task.config.path);
  task.settings.rules = task.edition->rules;
  if (task.settings.rules.whole_logs) {
    ChooseStore(task.settings.store, task.env.command_line != 0);
  }
  if (task.env.command_line != 0 && !IsFormPosted(task.env)) {
    task.settings.part = LastWord(task.input.argc, task.input.argv, "part");
    task.settings.merge = LastWord(task.input.argc, task.input.argv, "merge");
    task.settings.plan = LastWord(task.input.argc, task.input.argv, "plan");
    task.settings.piece = LastWord(task.input.argc, task.input.argv, "piece");
    task.settings.stream = LastWord(task.input.argc, task.input.argv, "stream");
    const char* const missing = LastWord(task.input.argc, task.input.argv, "missing");
    task.settings.missing = missing != nullptr && strcmp(missing, "0") != 0;
  }
  task.settings.no_remote_debug = task.edition->page->info[kPageRemoteDebug] == nullptr;
}

// A web server may hand the words of a query to the program as arguments.
static bool TakeParameters(Task& task) {
  const bool arguments = task.env.command_line != 0 || (task.edition->server_arguments && !task.pinned);
  const bool taken = ReadParameters(arguments ? task.input.argc : 0, task.input.argv, task.input.form,
                                    task.env, task.edition->form, task.settings);
  if (task.edition->counting.limits.layouts && task.env.command_line != 0 && !IsFormPosted(task.env)) {
    TakeLongLayout(task.input.argc, task.input.argv);
  }
  if (task.pinned) {
    CopyText(task.settings.config, task.config.path);
  }
  return taken;
}

// The page refuses an output that does not exist.
static void ChooseOutput(const char* name, Task& task) {
  const PageWriter* const page = FindOutput(*task.edition, name);
  task.output_known = page != nullptr;
  task.page = WritesNoPage(task.settings) ? &kPartWriter : task.output_known ? page : task.edition->page;
}

static Error CheckRequest(Task& task) {
  if (!task.output_known) {
    return kErrorOutput;
  }
  const Error error = CheckParams(task.settings);
  return error == kNoError && task.page->check != nullptr ? task.page->check(task.settings) : error;
}

// What can be found out before anything is given up, and printed.
static Error OpenCountries(const Settings& settings) {
  if (!NeedsCountryDatabase(settings)) {
    return kNoError;
  }
  if (settings.country_database[0] == '\0') {
    return kErrorNoCountries;
  }
  const DatabaseFault fault = OpenCountryDatabase(settings.country_database);
  return fault == DatabaseFault::kNone        ? kNoError
         : fault == DatabaseFault::kNoLibrary ? kErrorCountryLibrary
                                              : kErrorCountryDatabase;
}

// A shell is told which line is wrong.
static Error ReadRulesOfAgents(const Task& task) {
  const Settings& settings = task.settings;
  if (settings.agent_rules[0] == '\0' || !NeedsAgentRules(settings) || UseRulesOf(settings.agent_rules)) {
    return kNoError;
  }
  if (task.env.command_line != 0) {
    fprintf(stderr, "orvellis: %s\n", FaultOfRules());
  }
  return kErrorAgentRules;
}

static void ShutInIfAsked(Task& task) {
  if (task.edition->shuts_in && task.input.shut_in != nullptr) {
    task.input.shut_in(task.settings);
  }
}

static bool IsAboutDays(Error error) {
  return error == kErrorNoStartDate || error == kErrorNoEndDate || error == kErrorDateRange;
}

// Whoever has named days that cannot be is told which ones there are.
static Refusal RefuseDays(Error error, Task& task) {
  ShutInIfAsked(task);
  SuperLog_Init(task.settings, task.edition->counting.limits, 0, 0);
  SuperLog_ReadLogs();
  Refusal refusal{error};
  time_t first = 0;
  time_t last = 0;
  if (SuperLog_TimesHeld(first, last)) {
    refusal.log_days = {DayOf(first), DayOf(last)};
  }
  SuperLog_Uninit();
  return refusal;
}

// An address lets nobody in who needs a password, and tells nobody which accounts there are.
static bool NeedsPassword(bool account_found, const Task& task) {
  return task.asked != nullptr && task.edition->needs_password(account_found, task.env, task.settings);
}

// A program that asks for data can do nothing with a form. Which output the account's line names is nothing
// that a stranger may learn.
static Refusal AskForPassword(Task& task) {
  ChooseOutput(task.asked->output, task);
  if (task.page->ask == nullptr) {
    return {kErrorPasswordNeeded};
  }
  task.page->ask(task.env, *task.asked);
  return {};
}

static Refusal Report(bool account_found, Task& task) {
  if (task.edition->behind_proxies) {
    MeetVisitor(task.env, task.settings.TrustedProxies);
  }
  if (NeedsPassword(account_found, task)) {
    return AskForPassword(task);
  }
  const Refusal refusal = task.edition->admit(account_found, task.env, task.settings);
  LogIgnoredNames(task.env, task.settings);
  if (refusal.error != kNoError) {
    return refusal;
  }
  if (!UseZone(task.settings.timezone)) {
    return {kErrorTimeZone};
  }
  if (task.asked != nullptr) {
    TakeFirstSectionsForNone(task.settings);
  }
  if (task.edition->counting.limits.layouts && !SettleLayout(task.env.command_line != 0)) {
    return {kErrorLayout};
  }
  LeaveOutCountries(task.settings);
  const Error error = CheckRequest(task);
  if (error != kNoError) {
    const bool names_days = task.edition->rules.real_days && !IsPartRun(task.settings);
    return names_days && IsAboutDays(error) ? RefuseDays(error, task) : Refusal{error};
  }
  if (!SettleAnonymity(task.settings)) {
    return {kErrorAnonymise};
  }
  const Error countries = OpenCountries(task.settings);
  if (countries != kNoError) {
    return {countries};
  }
  const Error agents = ReadRulesOfAgents(task);
  if (agents != kNoError) {
    return {agents};
  }
  MakeNice(task.settings);
  SettleWorkers(task.settings);
  ShutInIfAsked(task);
  if (IsPartRun(task.settings)) {
    task.no_part =
        !MakePartOrPage({task.env, task.settings, task.edition->counting, task.edition->name, *task.page});
    return {};
  }
  if (task.page->begin != nullptr) {
    task.page->begin(task.env, task.settings);
  }
  return {AnalyzeLogs(task.env, task.settings, task.edition->counting, *task.page)};
}

static Refusal PrintPage(bool account_found, Task& task) {
  InfoPage* const info = task.edition->page->info[task.settings.page];
  if (info == nullptr) {
    return Report(account_found, task);
  }
  info(task.env, task.settings);
  return {};
}

// The configuration comes behind the request, whose account its line may set right.
static Refusal ConfigureAndPrint(Task& task) {
  bool account_found = false;
  const Error error = ParseConfigFile(task.config, task.settings, account_found);
  ChooseOutput(task.settings.output, task);
  if (error != kNoError) {
    return {error};
  }
  SettlePartCache(task.settings, task.env.command_line != 0);
  if (task.input.settled != nullptr) {
    task.input.settled(task.settings);
  }
  return PrintPage(account_found, task);
}

// Whoever has typed a layout that there is none of, or has written rules that are none, was told so.
static bool WasTold(const Refusal& refusal, const Task& task) {
  return (refusal.error == kErrorLayout || refusal.error == kErrorAgentRules) && task.env.command_line != 0;
}

static int Finish(Task& task, const Refusal& refusal) {
  if (WasTold(refusal, task)) {
    EndOrvellisCleanup(task.settings);
    return kStatusUnknownName;
  }
  if (refusal.error != kNoError) {
    task.page->refuse(refusal, task.env, task.settings);
  }
  EndOrvellisCleanup(task.settings);
  const bool no_part = task.no_part || (refusal.error != kNoError && WritesNoPage(task.settings));
  return no_part ? kStatusNoPart : FinishPage();
}

// The query string only selects a page; one that is not there is a report.
static void ChoosePage(Task& task) {
  SelectPage(task.env.QUERY_STRING, task.settings);
  if (task.edition->page->info[task.settings.page] == nullptr) {
    task.settings.page = kPageReport;
  }
}

static bool IsRightMethod(const Task& task) {
  const char* const method = task.env.REQUEST_METHOD;
  return task.edition->asking == Asking::kAnyButGet ? !EqualIgnoreCase(method, "GET")
                                                    : EqualIgnoreCase(method, "POST");
}

static bool IsAskedByAddress(const Task& task) {
  return task.edition->asking == Asking::kPostOrQuery && IsFetched(task.env);
}

// The configuration is read for nothing but the error log: no account has a say in the answer.
static Refusal RefuseAddress(Error error, Task& task) {
  bool account_found = false;
  ChooseOutput(task.settings.output, task);
  ParseConfigFile(task.config, task.settings, account_found);
  if (task.edition->behind_proxies) {
    MeetVisitor(task.env, task.settings.TrustedProxies);
  }
  return {error};
}

// The parameters of an address are its query. Without one, there is the empty form.
static int AnswerAddress(Task& task) {
  const char* const query = getenv("QUERY_STRING");
  TakeRules(task);
  if (query == nullptr || *query == '\0') {
    task.page->ask(task.env, task.settings);
    return Finish(task, {});
  }
  const Error error = ReadQuery(query, task.edition->form, task.settings);
  if (error != kNoError) {
    return Finish(task, RefuseAddress(error, task));
  }
  const Settings asked = task.settings;
  task.asked = &asked;
  return Finish(task, ConfigureAndPrint(task));
}

static int Answer(Task& task) {
  const bool from_shell = task.env.command_line != 0;
  if (!from_shell && task.page->announce != nullptr) {
    task.page->announce();
  }
  ChoosePage(task);
  const bool report_of_server = task.settings.page == kPageReport && !from_shell;
  if (report_of_server && IsAskedByAddress(task)) {
    return AnswerAddress(task);
  }
  if (report_of_server && !IsRightMethod(task)) {
    return Finish(task, {kErrorNotPosted});
  }
  TakeRules(task);
  if (!TakeParameters(task)) {
    return kStatusNoMemory;
  }
  return Finish(task, ConfigureAndPrint(task));
}

int Run(const RunInput& input) {
  Task task{.input = input};
  TakeEnvironment(task);
  if (task.env.command_line != 0 && input.argc <= 1) {
    CommandLineHelp();
    return Finish(task, {});
  }
  const int status = ChooseRules(task) ? Answer(task) : kStatusUnknownName;
  CloseConfigFile(task.config);
  return status;
}
