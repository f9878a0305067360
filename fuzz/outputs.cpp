// A whole report of any log, counted once and written as page, JSON, CSV and text: each is
// well-formed, holds nothing that a browser or a terminal would act upon, and as many rows
// as the others. Three bytes of the input choose what is asked for; then come title, site and
// find path, a line each, and the log.
#include "cgi/check_params.h"
#include "dates/clock.h"
#include "output/csv_output.h"
#include "output/escape.h"
#include "output/json_output.h"
#include "output/modern_page.h"
#include "output/text_output.h"
#include "report/report_page.h"
#include "run/reset.h"
#include "well_formed.h"

// ---- Outputs -----------------------------------------------------------------------------

static void RequireText(const Settings& settings, Analysis& analysis, const Terminal& terminal) {
  std::string text = Captured([&] { WriteText(settings, analysis, terminal); });
  for (const std::string_view colour : {"\x1b[0m", "\x1b[1m", "\x1b[33m", "\x1b[34m"}) {
    for (size_t at = 0; terminal.colours && (at = text.find(colour, at)) != std::string::npos;) {
      text.erase(at, colour.size());
    }
  }
  RequireVisibleLines(text);
  constexpr size_t kNarrowest = 60;  // that figures, and days with their zone, fit in
  for (std::string_view lines = text; !lines.empty();) {
    REQUIRE(PlainWidth(TakePart(lines)) <= std::max(terminal.width, kNarrowest));
  }
}

static uint8_t mWidth = 0;

static void CheckOutputs(const Settings& settings, Analysis& analysis) {
  const int64_t items = RequireJson(Captured([&] { WriteJson(settings, analysis); }));
  REQUIRE(RequireCsv(Captured([&] { WriteCsv(settings, analysis); }), 6) == items + 1);
  const std::string page = Captured([&] { kModernPage.finish(settings, analysis); });
  const int64_t counts = RequireHtml(page);
  // Referrers of missing URLs are no rows there.
  REQUIRE(settings.badurls.on != 0 || !analysis.logs.in_range || counts == items);
  RequireText(settings, analysis, {size_t{40} + mWidth, mWidth % 2 == 0});
}

// ---- The report --------------------------------------------------------------------------

static void AskFor(Settings& settings, uint8_t switches) {
  for (RankedReport* const report :
       {&settings.requests, &settings.referrers, &settings.search, &settings.browsers, &settings.badreferrers,
        &settings.domains, &settings.domaintypes}) {
    report->on = 1;
    report->top = (switches & 1) != 0 ? 0 : 12;
    report->top_is_percent = (switches & 2) != 0 ? 1 : 0;
  }
  settings.badurls = settings.requests;
  settings.badurls.on = (switches & 4) != 0 ? 1 : 0;
  settings.badurl_referrers = 1;
  settings.csv_formulas = (switches & 8) != 0 ? 1 : 0;
  settings.no_script = (switches & 16) != 0 ? 1 : 0;
  CopyText(settings.start_date, (switches & 32) != 0 ? "02281999" : "03052000");
  CopyText(settings.end_date, (switches & 64) != 0 ? "03052000" : "03112000");
  settings.SmartMemoryMaxMemoryToAllocate = (switches & 128) != 0 ? 8192 : 0;
}

static void AskForTimes(Settings& settings, uint8_t switches) {
  settings.dailytotals = switches & 1;
  settings.hitsperdayofweek = switches >> 1 & 1;
  settings.hitsperhour = switches >> 2 & 1;
  settings.hoursofweek = switches >> 3 & 1;
}

static void FillSettings(Settings& settings, std::string_view& input) {
  AskFor(settings, TakeByte(input));
  AskForTimes(settings, TakeByte(input));
  mWidth = TakeByte(input);
  CopyText(settings.title, UpToNul(TakePart(input)).c_str());
  CopyText(settings.url, UpToNul(TakePart(input)).c_str());
  CopyText(settings.find, UpToNul(TakePart(input)).c_str());
  settings.subdirs = 1;
  settings.SmartMemoryEnabled = 1;
  settings.SmartMemoryKeepEntries = 10;
  settings.SmartMemoryReclaimSize = 1000;
}

static const PageWriter kAllOutputs = {
    .announce = nullptr,
    .check = nullptr,
    .begin = nullptr,
    .found = nullptr,
    .told = kModernPage.told,
    .finish = CheckOutputs,
    .tells_totals = false,
    .refuse = nullptr,
    .ask = nullptr,
    .info = {},
};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile log;
  static MemoryFile names;
  std::string_view input = AsText(data, size);
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  setenv("SOURCE_DATE_EPOCH", "952300800", 1);
  ResetRun();
  SetCurrentTimeForTest(952300800);
  Settings settings{};
  FillSettings(settings, input);
  CopyText(settings.logs, log.Fill(input));
  CopyText(settings.Networks, names.Fill("COM Commercial\nEDU <Education>\nUNKNOWN Numeric address\n"));
  Environment env{};
  REQUIRE(AnalyzeLogs(env, settings, kModernCounting, kAllOutputs) == kNoError);
  ResetRun();
  return 0;
}
