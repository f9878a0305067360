#include "analysis/known_agents.h"

#include <cstdint>
#include <cstdlib>

#include "base/text_hash.h"

// No secret: the same visitor is to have the same hash everywhere.
static constexpr SipKey kVisitorKey = {'O', 'r', 'v', 'e', 'l', 'l', 'i', 's',
                                       ' ', 'v', 'i', 's', 'i', 't', 'o', 'r'};

// Each stands on one of the two places that its hash says. A text that is longer is looked at each time.
static constexpr size_t kKnownAgents = 4096;
static constexpr size_t kLongestKnown = 500;
static constexpr size_t kCacheLine = 64;
struct alignas(kCacheLine) RememberedAgent {
  uint16_t length;  // 0: none is known here
  KnownAgent told;
  char text[kLongestKnown];
};
static RememberedAgent* mpRemembered = nullptr;
static const TextSeed mSeed = RandomSeed(TextSeed{0x9216d5d98979fb1b, 0xd1310ba698dfb5ac});  // digits of pi

void ForgetKnownAgents() {
  free(mpRemembered);
  mpRemembered = nullptr;
}

// Of agent and host: the agent's hash of both words, so that where it ends is no matter, and the host.
static KnownAgent Tell(std::string_view agent) {
  SipHash of_agent = BeginWideSipHash(kVisitorKey);
  AddBytes(of_agent, agent);
  SipHash visitor = BeginWideSipHash(kVisitorKey);
  for (const uint64_t word : EndWideSipHash(of_agent)) {
    AddWord(visitor, word);
  }
  return {TellAgent(agent).purpose, visitor};
}

static bool IsOf(const RememberedAgent& known, std::string_view agent) {
  return std::string_view(known.text, known.length) == agent;
}

static RememberedAgent& PlaceOf(uint64_t hash) {
  return mpRemembered[hash % kKnownAgents / 2 * 2];
}

uint64_t FetchKnownAgent(std::string_view agent) {
  const uint64_t hash = HashOfText(agent, mSeed);
  if (mpRemembered != nullptr) {
    const char* const place = reinterpret_cast<const char*>(&PlaceOf(hash));
    __builtin_prefetch(place);
    __builtin_prefetch(place + kCacheLine);
    __builtin_prefetch(place + 2 * kCacheLine);
  }
  return hash;
}

static void Remember() {
  mpRemembered = static_cast<RememberedAgent*>(
      aligned_alloc(alignof(RememberedAgent), kKnownAgents * sizeof(RememberedAgent)));
  for (size_t i = 0; mpRemembered != nullptr && i < kKnownAgents; ++i) {
    mpRemembered[i].length = 0;
  }
}

const KnownAgent& TellKnownAgent(std::string_view agent, uint64_t hash) {
  if (mpRemembered == nullptr) {
    Remember();
  }
  if (mpRemembered == nullptr || agent.empty() || agent.size() > kLongestKnown) {
    static KnownAgent forgotten;
    return forgotten = Tell(agent);
  }
  RememberedAgent& known = PlaceOf(hash);
  RememberedAgent& other = *(&known + 1);
  if (IsOf(known, agent)) {
    return known.told;
  }
  if (!IsOf(other, agent)) {
    other = known;
    known.told = Tell(agent);
    known.length = static_cast<uint16_t>(agent.copy(known.text, kLongestKnown));
    return known.told;
  }
  return other.told;
}
