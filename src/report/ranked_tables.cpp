#include "report/ranked_tables.h"
void ReportSummary(long, int, int, int, const char*, const char*) {}
void display_list(const Settings&, List&, int, int, int, const char*, long) {}
void PrintRankedSection(const Settings&, RankedSection, Analysis&) {}
