#include "report/search_report.h"
void Search_Report(const Settings&) {}
void display_keywords2(const Settings&, SearchEngine&) {}
void OutputSearchDebugInfo() {}
void SearchDomainInfo_Debug(const SearchDomainInfo*) {}
