// Usage text, about and credits pages, and the two diagnostic dumps.
#pragma once

#include "cgi/settings.h"

// Prints the usage text of the command line.
void CommandLineHelp();

// Print the page as HTML or, in a command-line run, as plain text. Each links to
// the other through settings.program_path, as it stands. A system that does not
// tell about itself costs the about page its five lines on it.
void AboutPage(const Settings& settings, const Environment& env);
void CreditsPage(const Settings& settings, const Environment& env);

// Prints the file settings.config, as it stands, in an HTML page, when
// RemoteDebugEnabled allows it. The page itself tells when it does not, or when
// the file cannot be opened (no other file is tried), and stays unclosed then.
// The file is read in pieces of 2047 characters; a NUL hides the rest of a piece.
void RemoteDebug(const Settings& settings);

// Dumps the settings and count form entries, releases the extra texts and ends
// the process with status 0, or 2 when they could not be written. For other programs
// that link the library; tested, not used by orvellis.
[[noreturn]] void DebugMode(Settings& settings, const FormEntry* entries, int count);
