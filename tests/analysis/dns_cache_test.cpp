#include "analysis/dns_cache.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <random>
#include <string>

#include "analysis/dns_cache_internal.h"

namespace {

int mQueries;
in_addr_t mLastAsked;

// Knows the names of all addresses but those that end in an odd number.
hostent* CountingResolver(const void* address, socklen_t length, int family) {
  ++mQueries;
  EXPECT_EQ(length, 4U);
  EXPECT_EQ(family, AF_INET);
  unsigned char octets[4];
  memcpy(octets, address, sizeof octets);
  memcpy(&mLastAsked, address, sizeof mLastAsked);
  static char name[40];
  static hostent record = {};
  snprintf(name, sizeof name, "h%d-%d.example.com", octets[2], octets[3]);
  record.h_name = name;
  return octets[3] % 2 == 0 ? &record : nullptr;
}

// Knows the name of each address of IPv6, from its last two bytes.
hostent* Ipv6Resolver(const void* address, socklen_t length, int family) {
  EXPECT_EQ(length, 16U);
  EXPECT_EQ(family, AF_INET6);
  const auto* const bytes = static_cast<const unsigned char*>(address);
  static char name[40];
  static hostent record = {};
  snprintf(name, sizeof name, "v6-%02x%02x.example.com", bytes[14], bytes[15]);
  record.h_name = name;
  return &record;
}

class DnsCacheTest : public testing::Test {
 protected:
  void SetUp() override {
    mpResolver = CountingResolver;
    mQueries = 0;
    DNSLookup_Init();
  }
  void TearDown() override { DestroyDNSCache(); }
};

constexpr const char* kNone = "(none)";

std::string HostOf(const std::string& address) {
  char* const host = GetHostFromIP(address.c_str());
  const std::string copy = host == nullptr ? kNone : host;
  free(host);
  return copy;
}

// One of 65536 different addresses.
std::string AddressOf(unsigned number) {
  return "10.1." + std::to_string(number / 256) + "." + std::to_string(number % 256);
}

void FillCache(unsigned first) {
  for (unsigned i = 0; i < static_cast<unsigned>(mCachelimit); ++i) {
    HostOf(AddressOf(first + i));
  }
}

}  // namespace

TEST_F(DnsCacheTest, AsksOnceForEachAddress) {
  EXPECT_EQ(HostOf("10.1.0.2"), "h0-2.example.com");
  EXPECT_EQ(HostOf("10.1.0.4"), "h0-4.example.com");
  EXPECT_EQ(HostOf("10.1.0.2"), "h0-2.example.com");
  EXPECT_EQ(mQueries, 2);
}

TEST_F(DnsCacheTest, UnresolvableAddressIsAskedOnce) {
  EXPECT_EQ(HostOf("10.1.0.1"), kNone);
  EXPECT_EQ(HostOf("10.1.0.1"), kNone);
  EXPECT_EQ(mQueries, 1);
}

TEST_F(DnsCacheTest, TextThatIsNoAddressIsCachedWithoutAQuery) {
  for (const char* text : {"www.example.com", "", "1.2.3.4.5", "256.1.1.1", "10.1.0.2x", "-"}) {
    SCOPED_TRACE(text);
    const int cached = mCacheCount;
    EXPECT_EQ(HostOf(text), kNone);
    EXPECT_EQ(HostOf(text), kNone);
    EXPECT_EQ(mCacheCount, cached + 1);
  }
  EXPECT_EQ(mQueries, 0);
}

TEST_F(DnsCacheTest, BroadcastAddressIsNeverLookedUp) {
  EXPECT_EQ(HostOf("255.255.255.255"), kNone);
  EXPECT_EQ(mQueries, 0);
}

TEST_F(DnsCacheTest, NullIsNoAddress) {
  EXPECT_EQ(GetHostFromIP(nullptr), nullptr);
  EXPECT_EQ(mCacheCount, 0);
}

TEST_F(DnsCacheTest, SpellingsOfOneAddressAreDifferentTexts) {
  EXPECT_EQ(HostOf("10.1.0.2"), HostOf("10.1.2"));
  EXPECT_EQ(mQueries, 2);
  EXPECT_EQ(mCacheCount, 2);
}

TEST_F(DnsCacheTest, AsksInNetworkByteOrder) {
  HostOf("10.1.2.4");
  EXPECT_EQ(mLastAsked, htonl(0x0A010204));
}

TEST_F(DnsCacheTest, AnswersAreCopies) {
  char* const first = GetHostFromIP("10.1.0.2");
  char* const second = GetHostFromIP("10.1.0.2");
  EXPECT_NE(first, second);
  first[0] = 'x';
  free(first);
  EXPECT_STREQ(second, "h0-2.example.com");
  free(second);
}

TEST_F(DnsCacheTest, The1025thAddressEvictsTheFirst) {
  FillCache(0);
  EXPECT_EQ(mCacheCount, 1024);
  HostOf(AddressOf(0));
  EXPECT_EQ(mQueries, 1024);
  HostOf(AddressOf(1024));
  EXPECT_EQ(mCacheCount, 1024);
  EXPECT_EQ(mQueries, 1025);

  EXPECT_EQ(HostOf(AddressOf(0)), "h0-0.example.com");  // asked anew, evicts the second address
  EXPECT_EQ(mQueries, 1026);
  EXPECT_EQ(HostOf(AddressOf(2)), "h0-2.example.com");
  EXPECT_EQ(mQueries, 1026);
  HostOf(AddressOf(1));
  EXPECT_EQ(mQueries, 1027);
}

TEST_F(DnsCacheTest, AskingAgainDoesNotProtectFromEviction) {
  FillCache(0);
  HostOf(AddressOf(0));
  HostOf(AddressOf(1024));
  EXPECT_STREQ(mOldest_entry->address, "10.1.0.1");
  EXPECT_STREQ(mNewest_entry->address, "10.1.4.0");
  HostOf(AddressOf(0));
  EXPECT_EQ(mQueries, 1026);
}

TEST_F(DnsCacheTest, NegativeAnswersTakePartInEviction) {
  HostOf("www.example.com");
  FillCache(0);
  EXPECT_STREQ(mOldest_entry->address, "10.1.0.0");
  EXPECT_EQ(mCacheCount, 1024);
}

TEST_F(DnsCacheTest, AgeListIsLinkedBothWays) {
  FillCache(0);
  FillCache(1024);
  int entries = 0;
  for (const CacheEntry* entry = mOldest_entry; entry != nullptr; entry = entry->newer) {
    EXPECT_EQ(entry->older == nullptr, entry == mOldest_entry);
    EXPECT_EQ(entry->newer == nullptr, entry == mNewest_entry);
    EXPECT_TRUE(entry->newer == nullptr || entry->newer->older == entry);
    ++entries;
  }
  EXPECT_EQ(entries, 1024);
}

TEST_F(DnsCacheTest, LookupWithoutTheCache) {
  for (int i = 0; i < 2; ++i) {
    char* const host = ReverseDNS_Lookup("10.1.0.2");
    EXPECT_STREQ(host, "h0-2.example.com");
    free(host);
  }
  EXPECT_EQ(ReverseDNS_Lookup("10.1.0.1"), nullptr);
  EXPECT_EQ(ReverseDNS_Lookup("www.example.com"), nullptr);
  EXPECT_EQ(mQueries, 3);
  EXPECT_EQ(mCacheCount, 0);
}

TEST_F(DnsCacheTest, NewEntryIsLinkedNowhere) {
  CacheEntry* entry = CreateCacheEntry("10.1.0.2", strdup("h.example.com"));
  EXPECT_STREQ(entry->address, "10.1.0.2");
  EXPECT_STREQ(entry->host, "h.example.com");
  EXPECT_EQ(entry->next, nullptr);
  EXPECT_EQ(entry->prev, nullptr);
  EXPECT_EQ(entry->newer, nullptr);
  EXPECT_EQ(entry->older, nullptr);
  EXPECT_EQ(entry->bucket, nullptr);
  EXPECT_EQ(mCacheCount, 0);
  FreeCacheEntry(entry);
  EXPECT_EQ(entry, nullptr);
}

TEST_F(DnsCacheTest, NothingIsWrittenAnywhere) {
  HostOf("10.1.0.2");
  WriteDNSToCache();
  EXPECT_EQ(mCacheCount, 1);
  EXPECT_EQ(HostOf("10.1.0.2"), "h0-2.example.com");
  EXPECT_EQ(mQueries, 1);
}

TEST_F(DnsCacheTest, DestroyedCacheStartsAnew) {
  HostOf("10.1.0.2");
  DestroyDNSCache();
  EXPECT_EQ(mCacheCount, 0);
  EXPECT_EQ(HostOf("10.1.0.2"), "h0-2.example.com");
  EXPECT_EQ(mQueries, 2);
}

TEST_F(DnsCacheTest, AnswersAndQueriesAreThoseOfAQueue) {
  std::mt19937 random(7);
  std::deque<std::string> cached;
  int queries = 0;
  for (int i = 0; i < 6000; ++i) {
    const std::string address = AddressOf(static_cast<unsigned>(random()) % 2000);
    if (std::find(cached.begin(), cached.end(), address) == cached.end()) {
      ++queries;
      cached.push_back(address);
      if (cached.size() > 1024) {
        cached.pop_front();
      }
    }
    SCOPED_TRACE(address);
    ASSERT_EQ(HostOf(address) == kNone, (address.back() - '0') % 2 != 0);
    ASSERT_EQ(mQueries, queries);
  }
  EXPECT_GT(queries, 2500);
}

TEST_F(DnsCacheTest, AddressesOfIpv6HaveNames) {
  mpResolver = Ipv6Resolver;
  EXPECT_EQ(HostOf("2001:db8::1a2b"), "v6-1a2b.example.com");
  EXPECT_EQ(HostOf("2001:db8::zz"), kNone);
}
