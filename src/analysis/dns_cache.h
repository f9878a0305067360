// Reverse DNS with a cache of 1024 answers, negative ones included, evicted in
// the order in which they were asked for.
#pragma once

void DNSLookup_Init();

// The host name of a dotted address as a new text (released with free()), or
// null when it does not resolve. A text that is no address asks no resolver.
char* GetHostFromIP(const char* address);

void DestroyDNSCache();
