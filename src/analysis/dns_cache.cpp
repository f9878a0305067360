#include "analysis/dns_cache.h"
void DNSLookup_Init() {}
char* GetHostFromIP(const char*) { return nullptr; }
void DestroyDNSCache() {}
