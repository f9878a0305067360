#include "analysis/request_filters.h"
bool NotFilteredDomain(const Settings&, std::string_view) { return true; }
bool NotFilteredFileType(const Settings&, std::string_view) { return true; }
bool NotFilteredURL(const Settings&, std::string_view) { return true; }
void FreeDomainsNow() {}
void FreeFileTypesNow() {}
