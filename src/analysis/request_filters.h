// The exclusion filters: visitors' domains and requested file types.
#pragma once

#include <string_view>

#include "cgi/settings.h"

// True when the host may be counted: it holds no entry of filter_domains. The
// entry table is built at the first call with a host. An absent or empty host
// may always be counted.
bool NotFilteredDomain(const Settings& settings, std::string_view host);

// True when the file type (a dot and the extension, or empty) may be counted.
bool NotFilteredFileType(const Settings& settings, std::string_view type);

// True when the URL begins with the effective find text.
bool NotFilteredURL(const Settings& settings, std::string_view url);

// Release the tables. The domain filter must not be used again in the run; the
// type filter would be rebuilt (deliberately different).
void FreeDomainsNow();
void FreeFileTypesNow();
