// The search phrase section, and the listing of the engine definitions. Names,
// addresses and phrases are printed as they are, without escaping.
#pragma once

#include "analysis/search_phrases.h"
#include "cgi/settings.h"

// Prints the whole section with its jump bar; nothing when search is off. Fills
// each engine's phrase_total.
void Search_Report(const Settings& settings, const SearchCounts& search);

// One engine's sub-header and rows; nothing for an engine without phrases. Reads
// its phrase_total and puts its phrases into display order. hits: of all engines.
void display_keywords2(const Settings& settings, SearchEngine& engine, int64_t hits);

// Lists the definitions in use, whether they come from the configuration or not.
void OutputSearchDebugInfo(const SearchEngine* engines);

// One domain and its variables, for diagnosis; a null domain says so.
void SearchDomainInfo_Debug(const SearchDomainInfo* domain);
