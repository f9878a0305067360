// One process serves one request. The run, step by step; each step lives in the
// file that its include names.
#include <csignal>
#include <cstdio>

#include "cgi/check_params.h"
#include "cgi/environment.h"
#include "cgi/parameters.h"
#include "cgi/request.h"
#include "config/account.h"
#include "config/config_file.h"
#include "report/error_page.h"
#include "report/extra_texts.h"
#include "report/info_pages.h"
#include "report/page_end.h"
#include "report/page_frame.h"
#include "report/report_page.h"
#include "superlog/superlog.h"

// Not left to the library, so that it takes no memory: where there is too little
// for a report, its head can still be held back.
static char mPageBuffer[16384];

static void Report(bool account_found, const Environment& env, Settings& settings) {
  if (!account_found) {
    EndOrvellisCleanup(settings);
    ServerError(2, env, settings);
  }
  ValidateSession(env, settings);
  CheckParams(env, settings);
  MakeNice(settings);
  PrintHead(settings);
  AnalyzeLogs(settings, env);
}

static void PrintPage(bool account_found, const Environment& env, Settings& settings) {
  switch (settings.page) {
    case kPageRemoteDebug:
      RemoteDebug(settings);
      break;
    case kPageAbout:
      AboutPage(settings, env);
      break;
    case kPageCredits:
      CreditsPage(settings, env);
      break;
    default:
      Report(account_found, env, settings);
      break;
  }
}

int main(int argc, char** argv) {
  // A file that may not grow any more is a full disk, not a reason to die.
  signal(SIGXFSZ, SIG_IGN);
  setvbuf(stdout, mPageBuffer, _IOFBF, sizeof mPageBuffer);

  // 1, 2: the two records of the run.
  Environment env;
  Settings settings;
  ResetSuperLog();
  GetEnv(env);
  initialize(settings, env);
  settings.cgi = 1;

  // 3, 4: from a shell or from a web server, which wants a header before all else.
  if (IsCommandLineRun(env)) {
    EnterCommandLine(argc, argv, env, settings);
    if (argc <= 1) {
      CommandLineHelp();
      EndOrvellisCleanup(settings);
      return FinishPage();
    }
  } else {
    fputs("Content-type: text/html\n\n", stdout);
  }

  // 5, 6: which page. The query string only selects one; a report must be posted.
  SelectPage(env.QUERY_STRING, settings);
  if (settings.page == kPageReport && EqualIgnoreCase(env.REQUEST_METHOD, "GET")) {
    ServerError(1, env, settings);
  }

  // 7, 8: the parameters, then the configuration, whose account line may replace them.
  if (!ReadParameters(argc, argv, stdin, env, settings)) {
    return 1;
  }
  const bool account_found = ParseConfigFile(settings, env);

  // 9 to 11: the page asked for.
  PrintPage(account_found, env, settings);
  EndOrvellisCleanup(settings);
  return FinishPage();
}
