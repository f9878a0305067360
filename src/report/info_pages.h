// Usage text, about and credits pages, and the two diagnostic dumps.
#pragma once

#include "cgi/settings.h"

void CommandLineHelp();
void AboutPage(const Settings& settings, const Environment& env);
void CreditsPage(const Settings& settings, const Environment& env);

// Dumps the configuration file, if RemoteDebugEnabled allows it.
void RemoteDebug(const Settings& settings);

// Dumps the settings and form entries, then ends the process with status 0. A
// diagnostic aid that no path of the program calls.
[[noreturn]] void DebugMode(Settings& settings, const FormEntry* entries, int count);
