#include "analysis/known_agents.h"

#include <algorithm>
#include <cstdlib>

#include "base/sip_hash.h"
#include "base/text_hash.h"

// No secret: the same visitor is to have the same hash everywhere.
static constexpr SipKey kVisitorKey = {'O', 'r', 'v', 'e', 'l', 'l', 'i', 's',
                                       ' ', 'v', 'i', 's', 'i', 't', 'o', 'r'};

static constexpr uint64_t kHostMask = 0xa4093822299f31d0;  // digits of pi

// Each stands on one of the two places that its hash says.
static constexpr size_t kKnownAgents = 16384;
struct RememberedAgent {
  uint64_t hash;  // 0: none is known here
  KnownAgent told;
};
static RememberedAgent* mpRemembered = nullptr;  // kKnownAgents places
static const TextSeed mSeed = RandomSeed(TextSeed{0x9216d5d98979fb1b, 0xd1310ba698dfb5ac});  // digits of pi

void ForgetKnownAgents() {
  free(mpRemembered);
  mpRemembered = nullptr;
}

static KnownAgent Tell(std::string_view agent) {
  SipHash hash = BeginSipHash(kVisitorKey);
  AddBytes(hash, agent);
  return {.hash = EndSipHash(hash), .purpose = TellAgent(agent).purpose};
}

// That others can choose hosts and agents with the same hash is no matter: they could as well choose the
// same.
uint64_t HashOfVisitor(const KnownAgent& agent, std::string_view host) {
  return HashOfText(host, {.start = agent.hash, .mask = kHostMask});
}

static RememberedAgent& PlaceOf(uint64_t hash) {
  return mpRemembered[hash % kKnownAgents / 2 * 2];
}

uint64_t FetchKnownAgent(std::string_view agent) {
  const uint64_t hash = std::max<uint64_t>(HashOfLongText(agent, mSeed), 1);
  if (mpRemembered != nullptr) {
    __builtin_prefetch(&PlaceOf(hash));
  }
  return hash;
}

KnownAgent TellKnownAgent(std::string_view agent, uint64_t hash) {
  if (mpRemembered == nullptr) {
    mpRemembered = static_cast<RememberedAgent*>(calloc(kKnownAgents, sizeof(RememberedAgent)));
    if (mpRemembered == nullptr) {
      return Tell(agent);
    }
  }
  RememberedAgent& known = PlaceOf(hash);
  RememberedAgent& other = *(&known + 1);
  if (known.hash == hash) {
    return known.told;
  }
  if (other.hash != hash) {
    other = known;
    known = {.hash = hash, .told = Tell(agent)};
    return known.told;
  }
  return other.told;
}
