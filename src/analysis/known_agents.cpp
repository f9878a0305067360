#include "analysis/known_agents.h"

#include <cstdint>
#include <cstdlib>
#include <functional>

// Each stands where its hash says. A text that is longer is looked at each time.
static constexpr size_t kKnownAgents = 4096;
static constexpr size_t kLongestKnown = 500;
struct RememberedAgent {
  uint16_t length;  // 0: none is known here
  KnownAgent told;
  char text[kLongestKnown];
};
static RememberedAgent* mpRemembered = nullptr;

void ForgetKnownAgents() {
  free(mpRemembered);
  mpRemembered = nullptr;
}

static KnownAgent Tell(std::string_view agent) {
  SipHash hash = BeginWideSipHash(kVisitorKey);
  AddBytes(hash, agent);
  return {TellAgent(agent).purpose, EndWideSipHash(hash)};
}

KnownAgent TellKnownAgent(std::string_view agent) {
  if (mpRemembered == nullptr) {
    mpRemembered = static_cast<RememberedAgent*>(calloc(kKnownAgents, sizeof(RememberedAgent)));
  }
  if (mpRemembered == nullptr || agent.empty() || agent.size() > kLongestKnown) {
    return Tell(agent);
  }
  RememberedAgent& known = mpRemembered[std::hash<std::string_view>()(agent) % kKnownAgents];
  if (std::string_view(known.text, known.length) != agent) {
    known.told = Tell(agent);
    known.length = static_cast<uint16_t>(agent.copy(known.text, kLongestKnown));
  }
  return known.told;
}
