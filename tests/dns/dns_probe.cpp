// Resolves the addresses given on standard input, one a line, through the cache
// of one run: prints each with its host name, or with "-" when it has none.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "analysis/dns_cache.h"

int main() {
  DNSLookup_Init();
  for (char line[300]; fgets(line, sizeof line, stdin) != nullptr;) {
    line[strcspn(line, "\n")] = '\0';
    char* const host = GetHostFromIP(line);
    printf("%s %s\n", line, host == nullptr ? "-" : host);
    free(host);
  }
  DestroyDNSCache();
  return 0;
}
