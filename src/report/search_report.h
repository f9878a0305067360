// The search phrase section, and the listing of the engine definitions. Names,
// addresses and phrases are printed as they are, without escaping.
#pragma once

#include "analysis/analysis.h"
#include "analysis/search_engines.h"
#include "cgi/settings.h"
#include "sections/phrase_rows.h"
#include "sections/section_list.h"

// Prints the whole section, without the jump bar.
void Search_Report(const Settings& settings, const Section& section, const Analysis& analysis);

// One engine's sub-header in its section's colour, and the rows that are left.
void display_keywords2(const char* colour, EngineRow& engine);

// Lists definitions, whether they come from the configuration or not; null: none.
void OutputSearchDebugInfo(const SearchEngine* engines);

// One domain and its variables, for diagnosis; a null domain says so.
void SearchDomainInfo_Debug(const SearchDomainInfo* domain);
