// The frame of the report page: head, header table, jump bar, footer.
//
// Everything is printed to standard output; texts of the settings are printed as
// they are, without escaping.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"

// Starts the document: title, body, and a warning while remote debugging is
// enabled (not on the remote debugging page itself).
void PrintHead(const Settings& settings);

// Prints the extra header and the header table: what was analysed and, when some
// log lies in the requested range, the figures of the whole analysis and a
// warning naming the tables that memory reclaims thinned; otherwise a message
// that there was no log.
void DisplayHeader(const Settings& settings, const Analysis& analysis);

// Prints the links to the sections that are on; nothing with fewer than two.
void OutputJumpBar(const Settings& settings);

// Prints the time taken since the analysis began, the credit line and the extra
// footer, and ends the document.
void PrintFooter(const Settings& settings, const Analysis& analysis);

// Prints the page's base reference: the Base of the configuration or, without
// it, the address of the running program; nothing when that is not known. For
// other programs that link the library; tested, not used by orvellis.
void OutputBaseTag(const Settings& settings, const Environment& env);
