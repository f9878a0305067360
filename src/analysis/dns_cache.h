// Reverse DNS with a cache of the last 1024 answers, negative ones included.
//
// Answers are keyed by the address text and evicted in the order in which they
// were first asked for; asking again does not make one younger. The resolver is
// called synchronously and its own time-outs apply; answers do not expire.
#pragma once

// Called at the start of an analysis; there is nothing to prepare.
void DNSLookup_Init();

// The host name of an address, dotted or of IPv6, as a new text (released with free()), or
// null when it does not resolve. A text that is no address is answered, and
// cached, without asking the resolver; null gives null. When memory runs out,
// the process exits with status 1.
char* GetHostFromIP(const char* address);

// Releases every entry; called once, at the end of an analysis.
void DestroyDNSCache();
