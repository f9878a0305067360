#include "report/report_page.h"

#include <cstdio>

#include "analysis/resolve_item.h"
#include "parts/workers.h"
#include "report/debug_rows.h"
#include "report/error_page.h"
#include "report/info_pages.h"
#include "report/page_frame.h"
#include "report/ranked_tables.h"
#include "report/search_report.h"
#include "report/section_look.h"
#include "report/time_tables.h"
#include "report/told_rows.h"
#include "report/totals.h"
#include "sections/section_list.h"

// Ranked sections change the analysis, whose tables they put in order; the others take it as it is.
template <auto kPrint>
static void Print(const Settings& settings, const Section& section, Analysis& analysis) {
  kPrint(settings, section, analysis);
}

// By the kind of a section's rows, of the sections that the page has.
static constexpr void (*kPrinters[])(const Settings&, const Section&, Analysis&) = {
    Print<PrintRankedSection>,    Print<Search_Report>,    Print<PrintDailyTotals>,
    Print<PrintHitsPerDayOfWeek>, Print<PrintHitsPerHour>,
};

static void PrintSections(const Settings& settings, Analysis& analysis) {
  OutputJumpBar(settings);
  for (const Section& section : Sections()) {
    if (!IsShown(section, settings)) {
      continue;
    }
    kPrinters[static_cast<size_t>(section.rows)](settings, section, analysis);
    OutputJumpBar(settings);
    if (settings.flushtoserver != 0) {
      fflush(stdout);
    }
  }
}

void FinishPageOf(Settings& settings, Analysis& analysis, const PageWriter& page) {
  CloseRange(settings, analysis);
  page.finish(settings, analysis);
  if (page.tells_totals && settings.totals != 0) {
    TellTotals(settings, analysis);
  }
}

Error AnalyzeLogs(const Environment& env, Settings& settings, const Counting& counting,
                  const PageWriter& page) {
  Analysis analysis{};
  if (!BeginAnalysis(settings, counting, analysis, page.told(settings))) {
    return kErrorNoLogFiles;
  }
  if (page.found != nullptr) {
    page.found(env, settings);
    if (EqualIgnoreCase(env.REQUEST_METHOD, "HEAD")) {
      EndAnalysis(analysis);
      return kNoError;
    }
  }
  if (settings.domaintypes.on != 0) {
    ReadNamesOnce(settings.Networks);  // before the tables take what memory there is
  }
  CountByWorkers(settings, analysis);
  CompleteCounts(settings, analysis);
  FinishPageOf(settings, analysis, page);
  EndAnalysis(analysis);
  return kNoError;
}

Error do_bigass_analysis(Settings& settings, const Counting& counting, const PageWriter& page) {
  const Environment env{};
  return AnalyzeLogs(env, settings, counting, page);
}

// ---- The classic page ----

static void Announce() {
  fputs("Content-type: text/html\n\n", stdout);
}

static void Begin(const Environment&, const Settings& settings) {
  PrintHead(settings);
}

void FinishReport(const Settings& settings, Analysis& analysis) {
  PrintDebugRows(settings, analysis);
  DisplayHeader(settings, analysis);
  if (analysis.logs.in_range) {
    PrintSections(settings, analysis);
  }
  PrintFooter(settings, analysis);
}

static void Refuse(const Refusal& refusal, const Environment& env, const Settings& settings) {
  PrintErrorPage(refusal.error, env, settings);
}

static void About(const Environment& env, const Settings& settings) {
  AboutPage(settings, env);
}

static void Credits(const Environment& env, const Settings& settings) {
  CreditsPage(settings, env);
}

static void ShowConfiguration(const Environment&, const Settings& settings) {
  RemoteDebug(settings);
}

const PageWriter kClassicPage = {
    .announce = Announce,
    .check = nullptr,
    .begin = Begin,
    .found = nullptr,
    .told = PageEvents,
    .finish = FinishReport,
    .tells_totals = false,
    .refuse = Refuse,
    .ask = nullptr,
    .info = {nullptr, About, Credits, ShowConfiguration},
};
