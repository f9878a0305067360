#include "report/report_page.h"

#include <cstdio>

#include "analysis/resolve_item.h"
#include "report/debug_rows.h"
#include "report/error_page.h"
#include "report/page_frame.h"
#include "report/ranked_tables.h"
#include "report/search_report.h"
#include "report/time_tables.h"
#include "superlog/superlog.h"

static void EndSection(const Settings& settings) {
  OutputJumpBar(settings);
  if (settings.flushtoserver != 0) {
    fflush(stdout);
  }
}

static void PrintRanked(const Settings& settings, const RankedReport& report, RankedSection section,
                        Analysis& analysis) {
  if (report.on != 0) {
    PrintRankedSection(settings, section, analysis);
    EndSection(settings);
  }
}

static void PrintTimes(const Settings& settings, int on, void (*print)(const Settings&, const Analysis&),
                       const Analysis& analysis) {
  if (on != 0) {
    print(settings, analysis);
    EndSection(settings);
  }
}

static void PrintSections(const Settings& settings, Analysis& analysis) {
  OutputJumpBar(settings);
  PrintRanked(settings, settings.requests, RankedSection::kUrls, analysis);
  PrintRanked(settings, settings.referrers, RankedSection::kReferrers, analysis);
  Search_Report(settings);  // with its own jump bar
  PrintRanked(settings, settings.browsers, RankedSection::kBrowsers, analysis);
  PrintRanked(settings, settings.badurls, RankedSection::kBadUrls, analysis);
  PrintRanked(settings, settings.badreferrers, RankedSection::kBadReferrers, analysis);
  PrintRanked(settings, settings.domains, RankedSection::kDomains, analysis);
  PrintRanked(settings, settings.domaintypes, RankedSection::kDomainTypes, analysis);
  PrintTimes(settings, settings.dailytotals, PrintDailyTotals, analysis);
  PrintTimes(settings, settings.hitsperdayofweek, PrintHitsPerDayOfWeek, analysis);
  PrintTimes(settings, settings.hitsperhour, PrintHitsPerHour, analysis);
}

Error AnalyzeLogs(Settings& settings, const Counting& counting, const PageWriter& page) {
  return do_bigass_analysis(settings, counting, page);
}

Error do_bigass_analysis(Settings& settings, const Counting& counting, const PageWriter& page) {
  Analysis analysis{};
  if (!BeginAnalysis(settings, counting, analysis)) {
    return kErrorNoLogFiles;
  }
  if (settings.domaintypes.on != 0) {
    ReadNamesOnce(settings.Networks);  // before the tables take what memory there is
  }
  CountLogs(settings, analysis);
  page.finish(settings, analysis);
  EndAnalysis(analysis);
  return kNoError;
}

// ---- The classic page ----

static void Announce() {
  fputs("Content-type: text/html\n\n", stdout);
}

static void Finish(const Settings& settings, Analysis& analysis) {
  PrintDebugRows(settings);
  DisplayHeader(settings, analysis.hits, analysis.bytes);
  if (SuperLog_LogsInRange()) {
    PrintSections(settings, analysis);
  }
  PrintFooter(settings);
}

static void Refuse(Error error, const Environment& env, const Settings& settings) {
  PrintErrorPage(error, env, settings);
}

const PageWriter kClassicPage = {Announce, PrintHead, Finish, Refuse};
