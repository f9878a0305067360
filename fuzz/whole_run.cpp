// A whole run, twice: both print the same page, to its end. The input's first line selects
// the page; then come the form, the configuration, the log and the log that is
// being written, each up to a line of its own that holds "%%".
//
// The steps are those of main.cpp. Files that the configuration names are put in
// place of by files of the input.
#include <csetjmp>

#include "analysis/dns_cache_internal.h"
#include "analysis/driver.h"
#include "cgi/check_params.h"
#include "cgi/parameters.h"
#include "cgi/request.h"
#include "config/account.h"
#include "config/config_file.h"
#include "dates/clock.h"
#include "dates/local_time.h"
#include "dates/years.h"
#include "report/error_page.h"
#include "report/extra_texts.h"
#include "report/info_pages.h"
#include "report/page_frame.h"
#include "report/report_page.h"
#include "superlog/superlog.h"
#include "support.h"

struct Inputs {
  std::string_view page;
  std::string_view form;
  const char* config;
  const char* log;
  const char* access_log;
  const char* passwords;
  const char* names;
};

// An error page ends the run by exit, which the linker makes a call of this. The
// records of the run outlive it.
static jmp_buf mEndOfRun;
static bool mRunning = false;
static Environment mEnv;
static Settings mSettings;

extern "C" [[noreturn]] void __real_exit(int status);
extern "C" [[noreturn]] void __wrap_exit(int status) {
  if (mRunning) {
    longjmp(mEndOfRun, 1);
  }
  __real_exit(status);
}

static hostent* ResolveEven(const void* address, socklen_t, int) {
  static char name[] = "host.example.com";
  static hostent record = {};
  record.h_name = name;
  return static_cast<const uint8_t*>(address)[3] % 2 == 0 ? &record : nullptr;
}

static void BeginRun() {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  ResetLocalTime();
  SetCurrentTimeForTest(952300800);
  ResetSuperLog();
  ResetAnalysis();
  mpResolver = ResolveEven;
}

template <size_t N>
static void Replace(char (&path)[N], const char* by) {
  if (path[0] != '\0') {
    CopyText(path, by);
  }
}

static void ReplacePaths(const Inputs& inputs) {
  Replace(mSettings.logs, inputs.log);
  Replace(mSettings.AccessLog, inputs.access_log);
  Replace(mSettings.summary, "summary");
  Replace(mSettings.ErrorLog, "/dev/null");
  Replace(mSettings.UserPasswords, inputs.passwords);
  Replace(mSettings.Networks, inputs.names);
}

static void FillEnvironment(const Inputs& inputs) {
  mEnv = {};
  CopyText(mEnv.QUERY_STRING, inputs.page);
  CopyText(mEnv.REQUEST_METHOD, "POST");
  CopyText(mEnv.CONTENT_LENGTH, inputs.form.empty() ? "-1" : std::to_string(inputs.form.size()));
  CopyText(mEnv.REMOTE_HOST, "host.example.com");
  CopyText(mEnv.REMOTE_ADDR, "192.0.2.7");
  CopyText(mEnv.SCRIPT_NAME, "/cgi-bin/orvellis");
}

static void TakeForm(const Inputs& inputs) {
  std::string body(inputs.form);
  body.resize(body.size() + 1);
  FILE* const stream = fmemopen(body.data(), body.size(), "r");
  REQUIRE(stream != nullptr && ReadParameters(0, nullptr, stream, mEnv, mSettings));
  fclose(stream);
}

// Pages of millions of days are right, but take all of a fuzzer's time.
static void ShortenPage() {
  CalendarDate start;
  CalendarDate end;
  ParseDate(start, end, mSettings);
  const int64_t years = int64_t{end.year} - start.year;
  if (years > 20) {
    mSettings.dailytotals = 0;
  }
}

static void Report(bool account_found) {
  if (!account_found) {
    EndOrvellisCleanup(mSettings);
    ServerError(2, mEnv, mSettings);
  }
  ValidateSession(mEnv, mSettings);
  CheckParams(mEnv, mSettings);
  ShortenPage();
  PrintHead(mSettings);
  AnalyzeLogs(mSettings, mEnv);
}

static void PrintPage(bool account_found) {
  switch (mSettings.page) {
    case kPageRemoteDebug:
      RemoteDebug(mSettings);
      break;
    case kPageAbout:
      AboutPage(mSettings, mEnv);
      break;
    case kPageCredits:
      CreditsPage(mSettings, mEnv);
      break;
    default:
      Report(account_found);
      break;
  }
}

static void MakeRun(const Inputs& inputs) {
  initialize(mSettings, mEnv);
  mSettings.cgi = 1;
  FillEnvironment(inputs);
  SelectPage(mEnv.QUERY_STRING, mSettings);
  TakeForm(inputs);
  CopyText(mSettings.config, inputs.config);
  const bool account_found = ParseConfigFile(mSettings, mEnv);
  ReplacePaths(inputs);
  PrintPage(account_found);
  EndOrvellisCleanup(mSettings);
}

// What the run prints.
static std::string PageOf(const Inputs& inputs) {
  char* text = nullptr;
  size_t length = 0;
  FILE* const real_output = stdout;
  BeginRun();
  stdout = open_memstream(&text, &length);
  REQUIRE(stdout != nullptr);
  mRunning = true;
  if (setjmp(mEndOfRun) == 0) {
    MakeRun(inputs);
  }
  mRunning = false;
  fclose(stdout);
  stdout = real_output;
  RequireTexts(mSettings);
  std::string page(text, length);
  free(text);
  return page;
}

static std::string_view TakeSection(std::string_view& input) {
  const std::string_view rest = input;
  while (!input.empty()) {
    const char* const line = input.data();
    if (TakePart(input) == "%%") {
      return {rest.data(), static_cast<size_t>(line - rest.data())};
    }
  }
  return rest;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile config;
  static MemoryFile log;
  static MemoryFile access_log;
  static MemoryFile passwords;
  static MemoryFile names;
  std::string_view input = AsText(data, size);
  Inputs inputs = {};
  inputs.page = TakePart(input);
  inputs.form = TakePart(input);
  inputs.config = config.Fill(TakeSection(input));
  inputs.log = log.Fill(TakeSection(input));
  inputs.access_log = access_log.Fill(input);
  inputs.passwords = passwords.Fill("ann:secret\nbob:*\n");
  inputs.names = names.Fill("COM Commercial\nEDU Education\nUNKNOWN Numeric address\n");
  const std::string page = PageOf(inputs);
  REQUIRE(mSettings.page == kPageRemoteDebug || page.ends_with("</html>\n"));
  REQUIRE(page == PageOf(inputs));
  BeginRun();
  return 0;
}
