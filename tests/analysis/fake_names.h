// A resolver of the test's own, in the process that looks names up.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <new>
#include <string>
#include <thread>

#include "analysis/look_ups.h"

// What it knows, and what it has been asked: the latter is seen by test and helper.
inline std::map<std::string, std::string> mNames;
struct Seen {
  std::atomic<int> queries;
  std::atomic<int> at_once;
  std::atomic<int> most_at_once;
};
inline Seen* mSeen = nullptr;
inline int mGathered = 0;  // no answer before so many are asked for

inline std::string TextOf(const sockaddr* address) {
  char text[INET6_ADDRSTRLEN] = "";
  const void* const bytes =
      address->sa_family == AF_INET
          ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr)
          : &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
  inet_ntop(address->sa_family, bytes, text, sizeof text);
  return text;
}

// An address that it knows nothing of has no name; "?" stands for no answer, "~" for four tenths of a
// second, "..." for waiting without end, and "!" for the end of the process.
inline int NameFromMap(const sockaddr* address, socklen_t, char* name, socklen_t size, char*, socklen_t,
                       int) {
  ++mSeen->queries;
  const int now = ++mSeen->at_once;
  int most = mSeen->most_at_once;
  while (most < now && !mSeen->most_at_once.compare_exchange_weak(most, now)) {
  }
  while (mSeen->most_at_once < mGathered) {
    std::this_thread::yield();
  }
  const auto known = mNames.find(TextOf(address));
  while (known != mNames.end() && known->second == "...") {
    pause();
  }
  if (known != mNames.end() && known->second == "~") {
    usleep(400'000);
  }
  --mSeen->at_once;
  if (known == mNames.end()) {
    return EAI_NONAME;
  }
  if (known->second == "?") {
    return EAI_AGAIN;
  }
  if (known->second == "!") {
    _exit(1);
  }
  snprintf(name, size, "%s", known->second.c_str());
  return 0;
}

// From here on the map is what names are looked up in.
inline void UseNames(std::map<std::string, std::string> names) {
  StopLookUps();
  mNames = std::move(names);
  mGathered = 0;
  void* const shared = mmap(nullptr, sizeof(Seen), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  mSeen = new (shared) Seen{};
  mpGetName = NameFromMap;
  LimitLookUps(30);
}
