#include "analysis/driver.h"
time_t ReportStartTime = 0;
int32_t gHits_Browsers = 0;
bool BeginAnalysis(Settings&, Analysis&) { return false; }
void CountLogs(const Settings&, Analysis&) {}
void EndAnalysis(Analysis&) {}
