#include "report/search_report.h"

#include <cinttypes>
#include <cstdio>

#include "report/ranked_tables.h"
#include "report/section_look.h"
#include "report/site.h"

static constexpr int kColumns = 2;

// ---- The section ----

static void PrintSearchHead(const SectionLook& look, const EngineRows& engines) {
  BeginSectionHead(look, engines.summary.distinct != 0 ? kColumns : 1);
  if (engines.built_in) {
    printf(
        "<br>\n<i><b>Note:</b> No search engine definitions were found in the Orvellis configuration file,"
        " so the default definitions are being used, but they may be out of date."
        "  <a href=\"%s\" target=\"_blank\">More info...</a></i>",
        kSearchEnginesPage);
  }
  EndSectionHead();
  ReportSummary(look, engines.summary, kColumns - 1);
}

// deliberate: the same HTML rows outside HTML mode, too
static void PrintEngines(const SectionLook& look, EngineRows& engines) {
  if (engines.summary.distinct == 0) {
    printf("<tr>\n<td><b><i>No search phrases found</i></b></td>\n</tr>\n");
    return;
  }
  printf(
      "<tr>\n<td align=\"center\" width=\"10%%\"><b>Quantity</b></td>"
      "<td><b>Phrase</b></td></tr>\n");
  for (EngineRow engine; NextEngine(engines, engine);) {
    display_keywords2(look.colour, engine);
  }
}

void Search_Report(const Settings& settings, const Section& section, const Analysis& analysis) {
  const SectionLook& look = LookOf(section);
  EngineRows engines = OpenEngines(settings, analysis);
  if (settings.cgi != 0) {
    PrintSearchHead(look, engines);
  } else {
    PrintPlainTitle(look);
  }
  PrintEngines(look, engines);
  EndSection();
}

static void PrintEngineHead(const char* colour, const EngineRow& engine) {
  printf("<tr>\n<td colspan=%d align=\"left\" bgcolor=\"%s\">&nbsp;<i>Results from ", kColumns, colour);
  if (engine.address[0] != '\0') {
    printf("<a href=\"%s\" target=\"_blank\">%s</a>", engine.address, engine.name);
  } else {
    printf("%s", engine.name);
  }
  printf(" (%" PRId64 " hits total, which is %0.0f%% of all search engines referrals)</i></td>\n</tr>\n",
         engine.hits, engine.share * 100.0);
}

void display_keywords2(const char* colour, EngineRow& engine) {
  PrintEngineHead(colour, engine);
  for (PhraseRow row; NextPhrase(engine, row);) {
    printf("<tr>\n<td align=\"center\">%" PRId64 "</td>\n<td>%s</td>\n</tr>\n", row.count, row.phrase);
  }
}

// ---- The definitions ----

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
