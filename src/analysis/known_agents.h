// What is told of agents by the request, remembered for those that came last: to tell it takes longer than
// counting a request does.
#pragma once

#include <cstdint>
#include <string_view>

#include "agents/agent.h"
#include "base/sip_hash.h"

struct KnownAgent {
  Purpose purpose;  // kNone: no robot's
  SipHash visitor;  // begun, of the wide kind: the host's bytes follow
};

// The hash by which an agent is remembered. Has what is known of it be brought to the processor.
uint64_t FetchKnownAgent(std::string_view agent);

// What is known of an agent, by that hash. Never fails: where there is no memory for it, nothing is
// remembered. What it tells stays there until the next call.
const KnownAgent& TellKnownAgent(std::string_view agent, uint64_t hash);
inline const KnownAgent& TellKnownAgent(std::string_view agent) {
  return TellKnownAgent(agent, FetchKnownAgent(agent));
}

// Forgets them, before the rules of agents change and when all is counted.
void ForgetKnownAgents();
