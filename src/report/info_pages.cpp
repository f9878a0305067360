#include "report/info_pages.h"
#include <cstdlib>
void CommandLineHelp() {}
void AboutPage(const Settings&, const Environment&) {}
void CreditsPage(const Settings&, const Environment&) {}
void RemoteDebug(const Settings&) {}
void DebugMode(Settings&, const FormEntry*, int) { exit(0); }
