#include "report/search_report.h"

#include <cstdio>

#include "report/page_frame.h"
#include "report/ranked_tables.h"
#include "report/site.h"

static long CountDistinctPhrases(SearchEngine* engines) {
  size_t all = 0;
  for (SearchEngine* engine = engines; engine != nullptr; engine = engine->next) {
    engine->phrase_total = list_length(engine->phrases);
    all += engine->phrase_total;
  }
  return static_cast<long>(all);
}

static void PrintSectionHead(const Settings& settings, long phrases, bool built_in) {
  const char span = phrases != 0 ? '2' : '1';
  printf(
      "\n<p><a name=\"search\"></a><hr noshade><p>\n"
      "<center><table border=1 width=\"80%%\" cellspacing=0>\n"
      "<tr>\n"
      "<td colspan=%c bgcolor=\"#40C080\" align=\"center\"><font size=\"+1\"><b>Search "
      "Phrases</b></font></td>\n"
      "</tr>\n"
      "<tr>\n"
      "<td colspan=%c bgcolor=\"#40C080\">This report shows the phrases submitted to the popular search "
      "engines"
      " by users looking for your site's content.",
      span, span);
  if (built_in) {
    printf(
        "<br>\n<i><b>Note:</b> No search engine definitions were found in the Orvellis configuration file,"
        " so the default definitions are being used, but they may be out of date."
        "  <a href=\"%s\" target=\"_blank\">More info...</a></i>",
        kSearchEnginesPage);
  }
  printf("</td>\n</tr>\n");
  ReportSummary(phrases, settings.search.top, settings.search.top_is_percent, settings.search.greater,
                "#40C080", "phrases");
}

// deliberate: the same HTML rows outside HTML mode, too
static void PrintPhrases(const Settings& settings, long phrases, const SearchCounts& search) {
  if (phrases == 0) {
    printf("<tr>\n<td><b><i>No search phrases found</i></b></td>\n</tr>\n");
  } else {
    printf(
        "<tr>\n<td align=\"center\" width=\"10%%\"><b>Quantity</b></td>"
        "<td><b>Phrase</b></td></tr>\n");
    for (SearchEngine* engine = search.engines; engine != nullptr; engine = engine->next) {
      display_keywords2(settings, *engine, search.hits);
    }
  }
  printf("</table></center><p>");
}

void Search_Report(const Settings& settings, const SearchCounts& search) {
  if (settings.search.on == 0) {
    return;
  }
  const long phrases = CountDistinctPhrases(search.engines);
  if (settings.cgi != 0) {
    PrintSectionHead(settings, phrases, search.built_in);
  } else {
    printf("\nSearch Engine Phrases\n\n");
  }
  PrintPhrases(settings, phrases, search);
  OutputJumpBar(settings);
  if (settings.flushtoserver != 0) {
    fflush(stdout);
  }
}

static void PrintEngineHead(const SearchEngine& engine, int64_t all_hits) {
  const long hits = static_cast<long>(TotalList(engine.phrases));
  const double share = static_cast<double>(hits) / static_cast<double>(all_hits) * 100;
  printf("<tr>\n<td colspan=2 align=\"left\" bgcolor=\"#40C080\">&nbsp;<i>Results from ");
  if (engine.url[0] != '\0') {
    printf("<a href=\"%s\" target=\"_blank\">", engine.url);
  }
  printf("%s", engine.name);
  if (engine.url[0] != '\0') {
    printf("</a>");
  }
  printf(" (%ld hits total, which is %0.0f%% of all search engines referrals)</i></td>\n</tr>\n", hits,
         share);
}

void display_keywords2(const Settings& settings, SearchEngine& engine, int64_t hits) {
  if (engine.phrase_total == 0 || list_length(engine.phrases) == 0) {
    return;
  }
  PrintEngineHead(engine, hits);
  // deliberate: a number of rows per engine even when top_is_percent is set
  const int top = settings.search.top;
  const size_t shown = top == 0 ? SIZE_MAX : top < 0 ? 0 : static_cast<size_t>(top);
  size_t rank = 1;
  for (const ListItem* item = SortList(engine.phrases, shown); item != nullptr; item = item->next, ++rank) {
    if (item->count < settings.search.greater || rank > shown) {
      return;
    }
    printf("<tr>\n<td align=\"center\">%ld</td>\n<td>%s</td>\n</tr>\n", static_cast<long>(item->count),
           item->name);
  }
}

static void PrintDefinition(const SearchEngine& engine) {
  printf("<b>%s:</b><br>\n", engine.name);
  if (engine.url[0] != '\0') {
    printf("URL: %s<br>\n", engine.url);
  } else {
    printf("No URL defined.<br>\n");
  }
  for (const SearchDomainInfo* domain = engine.domains; domain != nullptr; domain = domain->next) {
    printf("Domain: %s<br>\nVars:", domain->name);
    for (const SearchVariable* variable = domain->variables; variable != nullptr; variable = variable->next) {
      printf(" %s", variable->name);
    }
    printf("<br>\n");
  }
}

void OutputSearchDebugInfo(const SearchEngine* engines) {
  printf("The following search engines are defined in the Orvellis configuration file:<p>\n");
  if (engines == nullptr) {
    printf("No search engines defined.<p>\n");
  }
  for (const SearchEngine* engine = engines; engine != nullptr; engine = engine->next) {
    PrintDefinition(*engine);
  }
}

void SearchDomainInfo_Debug(const SearchDomainInfo* domain) {
  if (domain == nullptr) {
    printf("pDomain is NULL<br>\n");
    return;
  }
  printf("Domain name = %s<br>\nVariables:<br>\n", domain->name);
  for (const SearchVariable* variable = domain->variables; variable != nullptr; variable = variable->next) {
    printf("&nbsp;&nbsp;name = %s<br>\n", variable->name);
  }
  printf("end of variables.<br>\n");
}
