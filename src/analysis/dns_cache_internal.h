// The parts of the DNS cache, for its tests.
#pragma once

#include <netdb.h>

struct CacheEntry {
  char* address;  // as asked for
  char* host;     // null: does not resolve
  CacheEntry* next;
  CacheEntry* prev;
  CacheEntry* newer;
  CacheEntry* older;
  CacheEntry** bucket;  // head of the chain that holds the entry
};

inline constexpr int mCachelimit = 1024;

extern int mCacheCount;            // entries held
extern CacheEntry* mOldest_entry;  // both ends of the entries in order of age
extern CacheEntry* mNewest_entry;

// The system's resolver, gethostbyaddr unless a test counts its queries.
extern hostent* (*mpResolver)(const void* address, socklen_t length, int family);

// As GetHostFromIP.
char* FindDNSInCache(const char* address);

// The resolver's answer, not cached, as a new text released with free(), or null.
char* ReverseDNS_Lookup(const char* address);

// A new entry with a copy of the address, linked nowhere. It takes host over.
CacheEntry* CreateCacheEntry(const char* address, char* host);

// Releases the entry and its texts and clears the reference.
void FreeCacheEntry(CacheEntry*& entry);

// Makes the entry the newest and, when there are too many, evicts the oldest.
void CheckCacheLimits(CacheEntry* entry);

// Does nothing: answers are kept for the run only.
// For other programs that link the library; tested, not used by orvellis.
void WriteDNSToCache();
