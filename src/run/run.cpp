#include "run/run.h"

#include <cstdlib>

#include "cgi/check_params.h"
#include "cgi/environment.h"
#include "cgi/request.h"
#include "config/account.h"
#include "report/extra_texts.h"
#include "report/info_pages.h"
#include "report/page_end.h"
#include "report/report_page.h"
#include "run/edition.h"
#include "superlog/superlog.h"

static constexpr int kStatusNoMemory = 1;
static constexpr int kStatusNoEdition = 3;

// What a run knows of its task.
struct Task {
  const RunInput& input;
  Environment env = {};
  Settings settings = {};
  ConfigFile config = {};
  bool pinned = false;  // no request can name another configuration
  const Edition* edition = nullptr;
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
  task.pinned = !own_arguments && !task.config.fall_back;
  task.edition = ChooseEdition(words, task.config);
  return task.edition != nullptr;
}

// A web server may hand the words of a query to the program as arguments.
static bool TakeParameters(Task& task) {
  const bool arguments = task.env.command_line != 0 || (task.edition->server_arguments && !task.pinned);
  CopyText(task.settings.config, task.config.path);
  task.settings.last_year = task.edition->last_year;
  const bool taken = ReadParameters(arguments ? task.input.argc : 0, task.input.argv, task.input.form,
                                    task.env, task.edition->form, task.settings);
  if (task.pinned) {
    CopyText(task.settings.config, task.config.path);
  }
  return taken;
}

static Error Report(bool account_found, Task& task) {
  if (!account_found) {
    return kErrorRejected;
  }
  Error error = ValidateSession(task.env, task.settings);
  if (error == kNoError) {
    error = CheckParams(task.settings);
  }
  if (error != kNoError) {
    return error;
  }
  MakeNice(task.settings);
  if (task.edition->shuts_in && task.input.shut_in != nullptr) {
    task.input.shut_in(task.settings);
  }
  task.edition->page->begin(task.settings);
  return AnalyzeLogs(task.settings, task.edition->counting, *task.edition->page);
}

static Error PrintPage(bool account_found, Task& task) {
  switch (task.settings.page) {
    case kPageRemoteDebug:
      RemoteDebug(task.settings);
      return kNoError;
    case kPageAbout:
      AboutPage(task.settings, task.env);
      return kNoError;
    case kPageCredits:
      CreditsPage(task.settings, task.env);
      return kNoError;
    default:
      return Report(account_found, task);
  }
}

// The configuration comes behind the request, whose account its line may set right.
static Error ConfigureAndPrint(Task& task) {
  bool account_found = false;
  const Error error = ParseConfigFile(task.config, task.settings, account_found);
  if (error != kNoError) {
    return error;
  }
  if (task.input.settled != nullptr) {
    task.input.settled(task.settings);
  }
  return PrintPage(account_found, task);
}

static int Finish(Task& task, Error error) {
  if (error != kNoError) {
    task.edition->page->refuse(error, task.env, task.settings);
  }
  EndOrvellisCleanup(task.settings);
  return FinishPage();
}

// The query string only selects a page; a report must be posted.
static int Answer(Task& task) {
  if (task.env.command_line == 0) {
    task.edition->page->announce();
  }
  SelectPage(task.env.QUERY_STRING, task.settings);
  if (task.settings.page == kPageReport && EqualIgnoreCase(task.env.REQUEST_METHOD, "GET")) {
    return Finish(task, kErrorNotPosted);
  }
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
    return Finish(task, kNoError);
  }
  const int status = ChooseRules(task) ? Answer(task) : kStatusNoEdition;
  CloseConfigFile(task.config);
  return status;
}
