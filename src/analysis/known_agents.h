// What is told of agents by the request, remembered for those that came last: to tell it takes longer than
// counting a request does.
#pragma once

#include <string_view>

#include "agents/agent.h"
#include "base/sip_hash.h"

// No secret: the same agent, and the same visitor, is to have the same hash everywhere.
inline constexpr SipKey kVisitorKey = {'O', 'r', 'v', 'e', 'l', 'l', 'i', 's',
                                       ' ', 'v', 'i', 's', 'i', 't', 'o', 'r'};

struct KnownAgent {
  Purpose purpose;   // kNone: no robot's
  WideSipHash hash;  // of its text, with the key above
};

// Never fails: where there is no memory for it, nothing is remembered.
KnownAgent TellKnownAgent(std::string_view agent);

// Forgets them, before the rules of agents change and when all is counted.
void ForgetKnownAgents();
