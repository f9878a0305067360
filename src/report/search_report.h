// The search phrase section and the listing of engine definitions.
#pragma once

#include "analysis/search_engines.h"
#include "cgi/settings.h"

// Prints the whole section with its jump bar; nothing when search is off.
void Search_Report(const Settings& settings);

// One engine's sub-header and rows.
void display_keywords2(const Settings& settings, SearchEngine& engine);

void OutputSearchDebugInfo();
void SearchDomainInfo_Debug(const SearchDomainInfo* domain);
