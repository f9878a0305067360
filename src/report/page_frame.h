// The frame of the report page: head, header table, jump bar, footer.
//
// Everything is printed to standard output; texts of the settings are printed as
// they are, without escaping.
#pragma once

#include <cstdint>

#include "cgi/settings.h"
#include "superlog/super_long.h"

// Starts the document: title, body, and a warning while remote debugging is
// enabled (not on the remote debugging page itself).
void PrintHead(const Settings& settings);

// Prints the extra header and the header table: what was analysed and, when some
// log lies in the requested range, the figures of the whole analysis and a
// warning naming the tables that memory reclaims thinned; otherwise a message
// that there was no log. hits counts requests, bytes what they were answered
// with. Call after the logs were read and before their list is released.
void DisplayHeader(const Settings& settings, int64_t hits, SuperLong bytes);

// Prints the links to the sections that are on; nothing with fewer than two.
void OutputJumpBar(const Settings& settings);

// Prints the time taken since ReportStartTime, the credit line and the extra
// footer, and ends the document.
void PrintFooter(const Settings& settings);

// Prints the page's base reference: the Base of the configuration or, without
// it, the address of the running program; nothing when that is not known. For
// other programs that link the library; tested, not used by orvellis.
void OutputBaseTag(const Settings& settings, const Environment& env);
