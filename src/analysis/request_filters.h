// The exclusion filters: visitors' domains and requested file types.
//
// Each filter text is a list of entries divided by commas; blanks and tabs in it
// do not count. It is parsed once a run, at the filter's first use; later tests
// walk a flat table. Absent texts (null data) count as empty.
#pragma once

#include <string_view>

#include "cgi/settings.h"

// True when the host may be counted: no entry of filter_domains occurs anywhere
// in it, ASCII case ignored. An empty entry occurs in every host. An empty host
// may always be counted and does not count as a use. Of a host longer than
// kLongestItem only so many characters count.
bool NotFilteredDomain(const Settings& settings, std::string_view host);

// The same of a host that may be an address, which an entry that is an address or a network
// ("192.0.2.7", "10.0.0.0/8", "2001:db8::/32") leaves out when it is that or belongs to it; all
// other entries are texts, as above. Of a log's line it is the host, not its referrer.
bool NotFilteredHost(const Settings& settings, std::string_view host);

// True when an entry of filter_domains may be a part of a host's name: neither an address nor a network,
// nor of the digits and dots of one.
bool FiltersNames(const Settings& settings);

// True when the file type (a dot and the extension, or empty) may be counted:
// it equals no entry of filter_filetypes, ASCII case ignored. Entries may be
// written with or without their dot; an empty type may always be counted.
bool NotFilteredFileType(const Settings& settings, std::string_view type);

// True when the URL, cut to 243 characters, begins with the find text.
// For other programs that link the library; tested, not used by orvellis.
bool NotFilteredURL(const Settings& settings, std::string_view url);

// Release the tables at the end of the run. The domain filter must not be used
// again in the run (it would let every host pass); the type filter would be
// parsed anew (deliberately different).
void FreeDomainsNow();
void FreeFileTypesNow();
