// What is told of agents by the request, remembered for those that came last: to tell it takes longer than
// counting a request does.
#pragma once

#include <cstdint>
#include <string_view>

#include "agents/agent.h"

struct KnownAgent {
  uint64_t hash;    // the same everywhere
  Purpose purpose;  // kNone: no robot's
};

// The hash by which an agent is remembered. Has what is known of it be brought to the processor.
uint64_t FetchKnownAgent(std::string_view agent);

// What is known of an agent, by that hash. Never fails: where there is no memory for it, nothing is
// remembered. Of the hash: nobody can foretell it, and two of a million agents have the same
// one less than once in ten million runs.
KnownAgent TellKnownAgent(std::string_view agent, uint64_t hash);
inline KnownAgent TellKnownAgent(std::string_view agent) {
  return TellKnownAgent(agent, FetchKnownAgent(agent));
}

// The hash by which a visitor is known: of a host and an agent together, and the same everywhere. Two of a
// billion visitors have the same one once in forty times.
uint64_t HashOfVisitor(const KnownAgent& agent, std::string_view host);

// Forgets them, before the rules of agents change and when all is counted.
void ForgetKnownAgents();
