#include "report/error_page.h"
#include <cstdlib>
void PrintErrorPage(int, const Environment&, const Settings&) {}
void ServerError(int, const Environment&, Settings&) { exit(0); }
void LogError(const Settings&, const char*) {}
