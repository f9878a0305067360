// A whole run, twice: both print the same page, to its end. The input's first line selects
// the page; then come the form, the configuration, the log and the log that is
// being written, each up to a line of its own that holds "%%".
//
// Files that the configuration names are put in place of by files of the input, and
// no form can name another configuration.
#include <csetjmp>
#include <ctime>

#include "analysis/dns_cache_internal.h"
#include "cgi/check_params.h"
#include "dates/clock.h"
#include "dates/years.h"
#include "run/reset.h"
#include "run/run.h"
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

// A run without memory ends by exit, which the linker makes a call of this.
static jmp_buf mEndOfRun;
static bool mRunning = false;

extern "C" [[noreturn]] void __real_exit(int status);
extern "C" [[noreturn]] void __wrap_exit(int status) {
  if (mRunning) {
    longjmp(mEndOfRun, 1);
  }
  __real_exit(status);
}

// In place of the system's, which take their time: a refusal waits, and so does a hash.
extern "C" int __wrap_clock_nanosleep(clockid_t, int, const timespec*, timespec*) {
  return 0;
}
extern "C" char* __wrap_crypt(const char* typed, const char* salt) {
  static char hashed[2 * kTextSize];
  snprintf(hashed, sizeof hashed, "%.2s%s", salt, typed);
  return salt[0] == '*' ? nullptr : hashed;
}

static hostent* ResolveEven(const void* address, socklen_t, int) {
  static char name[] = "host.example.com";
  static hostent record = {};
  record.h_name = name;
  return static_cast<const uint8_t*>(address)[3] % 2 == 0 ? &record : nullptr;
}

static void BeginRun() {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  ResetRun();
  SetCurrentTimeForTest(952300800);
  mpResolver = ResolveEven;
}

// ---- What the run finds -------------------------------------------------------

static const Inputs* mpInputs = nullptr;
static int mPage = kPageReport;

template <size_t N>
static void Replace(char (&path)[N], const char* by) {
  if (path[0] != '\0') {
    CopyText(path, by);
  }
}

static void ReplacePaths(Settings& settings) {
  Replace(settings.logs, mpInputs->log);
  Replace(settings.AccessLog, mpInputs->access_log);
  Replace(settings.summary, "summary");
  Replace(settings.ErrorLog, "/dev/null");
  Replace(settings.UserPasswords, mpInputs->passwords);
  Replace(settings.Networks, mpInputs->names);
  CopyText(settings.LoginLimits, "");  // the second run would find what the first one wrote
}

// Pages of millions of days are right, but take all of a fuzzer's time.
static void ShortenPage(Settings& settings) {
  Settings completed = settings;
  CompleteSettings(completed);
  CalendarDate start;
  CalendarDate end;
  ParseDate(start, end, completed);
  const int64_t years = int64_t{end.year} - start.year;
  if (years > 20) {
    settings.dailytotals = 0;
  }
}

static void Settle(Settings& settings) {
  RequireTexts(settings);
  ReplacePaths(settings);
  ShortenPage(settings);
  settings.priority = 0;  // the next run would go on with what is left of it
  mPage = settings.page;
}

static void SetVariable(const char* name, std::string_view value) {
  setenv(name, UpToNul(value).c_str(), 1);
}

static void FillEnvironment(const Inputs& inputs) {
  SetVariable("ORVELLIS_CONFIG", inputs.config);
  SetVariable("QUERY_STRING", inputs.page);
  SetVariable("REQUEST_METHOD", "POST");
  SetVariable("CONTENT_LENGTH", inputs.form.empty() ? "-1" : std::to_string(inputs.form.size()));
  SetVariable("REMOTE_HOST", "host.example.com");
  SetVariable("REMOTE_ADDR", "192.0.2.7");
  SetVariable("SCRIPT_NAME", "/cgi-bin/orvellis");
}

static int MakeRun(const Inputs& inputs) {
  std::string body(inputs.form);
  body.resize(body.size() + 1);
  FILE* const form = fmemopen(body.data(), body.size(), "r");
  REQUIRE(form != nullptr);
  mpInputs = &inputs;
  mPage = kPageReport;
  FillEnvironment(inputs);
  const int status = Run({.argc = 0, .argv = nullptr, .form = form, .settled = Settle});
  fclose(form);
  return status;
}

// ---- What it prints -----------------------------------------------------------

// Where it ends with another status than 0, the status behind the page.
static std::string PageOf(const Inputs& inputs) {
  char* text = nullptr;
  size_t length = 0;
  FILE* const real_output = stdout;
  volatile int status = 0;
  BeginRun();
  stdout = open_memstream(&text, &length);
  REQUIRE(stdout != nullptr);
  mRunning = true;
  if (setjmp(mEndOfRun) == 0) {
    status = MakeRun(inputs);
  }
  mRunning = false;
  fclose(stdout);
  stdout = real_output;
  std::string page(text, length);
  free(text);
  return status == 0 ? page : page + std::to_string(status);
}

// Another output than a page ends with a line, or has been asked for without any section.
static bool IsHtml(std::string_view page) {
  return page.starts_with("Content-type:") ||
         page.find("\nContent-Type: text/html\n") != std::string_view::npos ||
         page.starts_with("Content-Type: text/html\n");
}

static bool IsWhole(std::string_view page) {
  // Without an edition of the name that the configuration holds there is no page.
  return mPage == kPageRemoteDebug || page == "3" || page.ends_with("</html>\n") || !IsHtml(page);
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
  REQUIRE(IsWhole(page));
  REQUIRE(page == PageOf(inputs));
  BeginRun();
  return 0;
}
