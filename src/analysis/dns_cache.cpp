#include "analysis/dns_cache.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "analysis/dns_cache_internal.h"
#include "analysis/smart_memory.h"
#include "analysis/string_hash.h"
#include "base/memory_end.h"

static constexpr uint32_t kBucketCount = 1024;  // a power of two

static CacheEntry* mHash_table[kBucketCount];
int mCacheCount = 0;
CacheEntry* mOldest_entry = nullptr;
CacheEntry* mNewest_entry = nullptr;
hostent* (*mpResolver)(const void* address, socklen_t length, int family) = gethostbyaddr;

void DNSLookup_Init() {}

char* GetHostFromIP(const char* address) {
  return address == nullptr ? nullptr : FindDNSInCache(address);
}

static char* Copy(const char* text) {
  char* const copy = smart_strdup(text);
  if (text != nullptr && copy == nullptr) {
    EndWithoutMemory();
  }
  return copy;
}

static char* NameOf(const void* number, socklen_t length, int family) {
  errno = 0;
  const hostent* const record = mpResolver(number, length, family);
  if (record == nullptr && errno == ENOMEM) {
    EndWithoutMemory();  // no answer, and a host counted by its address would be wrong
  }
  return record == nullptr ? nullptr : Copy(record->h_name);
}

char* ReverseDNS_Lookup(const char* address) {
  in6_addr ipv6;
  if (strchr(address, ':') != nullptr) {
    return inet_pton(AF_INET6, address, &ipv6) == 1 ? NameOf(&ipv6, sizeof ipv6, AF_INET6) : nullptr;
  }
  const in_addr_t number = inet_addr(address);
  return number == INADDR_NONE ? nullptr : NameOf(&number, sizeof number, AF_INET);
}

CacheEntry* CreateCacheEntry(const char* address, char* host) {
  CacheEntry* const entry = static_cast<CacheEntry*>(calloc(1, sizeof(CacheEntry)));
  if (entry == nullptr) {
    EndWithoutMemory();
  }
  entry->address = Copy(address);
  entry->host = host;
  return entry;
}

void FreeCacheEntry(CacheEntry*& entry) {
  free(entry->address);
  free(entry->host);
  free(entry);
  entry = nullptr;
}

static void LinkIntoBucket(CacheEntry* entry, CacheEntry** bucket) {
  CacheEntry** link = bucket;
  while (*link != nullptr) {
    entry->prev = *link;
    link = &(*link)->next;
  }
  *link = entry;
  entry->bucket = bucket;
}

static void UnlinkFromBucket(const CacheEntry* entry) {
  (entry->prev != nullptr ? entry->prev->next : *entry->bucket) = entry->next;
  if (entry->next != nullptr) {
    entry->next->prev = entry->prev;
  }
}

static void EvictOldest() {
  CacheEntry* evicted = mOldest_entry;
  mOldest_entry = evicted->newer;
  mOldest_entry->older = nullptr;
  UnlinkFromBucket(evicted);
  FreeCacheEntry(evicted);
  --mCacheCount;
}

void CheckCacheLimits(CacheEntry* entry) {
  entry->older = mNewest_entry;
  (mNewest_entry != nullptr ? mNewest_entry->newer : mOldest_entry) = entry;
  mNewest_entry = entry;
  if (++mCacheCount > mCachelimit && mOldest_entry != mNewest_entry) {
    EvictOldest();
  }
}

char* FindDNSInCache(const char* address) {
  CacheEntry** const bucket = &mHash_table[hash(address, strlen(address), 0) & (kBucketCount - 1)];
  CacheEntry* entry = *bucket;
  while (entry != nullptr && strcmp(entry->address, address) != 0) {
    entry = entry->next;
  }
  if (entry == nullptr) {
    entry = CreateCacheEntry(address, ReverseDNS_Lookup(address));
    CheckCacheLimits(entry);
    LinkIntoBucket(entry, bucket);
  }
  return Copy(entry->host);
}

void DestroyDNSCache() {
  while (mOldest_entry != nullptr) {
    CacheEntry* entry = mOldest_entry;
    mOldest_entry = entry->newer;
    FreeCacheEntry(entry);
  }
  memset(mHash_table, 0, sizeof mHash_table);
  mNewest_entry = nullptr;
  mCacheCount = 0;
}

void WriteDNSToCache() {}
