#include "analysis/normalise.h"
int32_t MsieCount = 0;
int32_t NavCount = 0;
bool IsIpAddr(std::string_view) { return false; }
bool IpAddrsOnly(std::string_view) { return false; }
bool IPaddress(std::string_view) { return false; }
std::string_view TruncateDomain(std::string_view host, int) { return host; }
std::string_view TruncateLSD(std::string_view host) { return host; }
std::string_view TruncateIP(std::string_view address) { return address; }
std::string_view TruncateCGI(std::string_view url) { return url; }
std::string_view TruncateFileType(std::string_view url) { return url; }
std::string_view checkIP(std::string_view label) { return label; }
bool MSIE(std::string_view) { return false; }
