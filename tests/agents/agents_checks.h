// What holds of whatever is told of any text, by any rules; ends the process where it does not.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "agents/agent.h"
#include "agents/own_name.h"
#include "agents/plain_rules.h"

inline void MustHold(bool condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
  }
}

inline bool LiesIn(std::string_view part, std::string_view whole) {
  return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

// An agent's text is one of the rules', or a part of the agent.
inline bool ComesFrom(std::string_view text, std::string_view agent, const AgentRules& rules) {
  return text.empty() || LiesIn(text, agent) || text == "Android Browser" ||
         std::any_of(rules.rules.begin(), rules.rules.begin() + static_cast<std::ptrdiff_t>(rules.count),
                     [text](const AgentRule& rule) { return text == rule.name || text == rule.version; });
}

inline void CheckAgent(std::string_view text, const AgentRules& rules) {
  const Agent agent = TellAgent(text, rules);
  MustHold(agent.robot.empty() == (agent.purpose == Purpose::kNone),
           "what is a robot has a name and a purpose");
  MustHold(agent.robot.empty() ||
               (agent.family.empty() && agent.system.empty() && agent.device == Device::kUnknown),
           "of a robot nothing else is told");
  MustHold(
      std::all_of(agent.version.begin(), agent.version.end(), [](char c) { return c >= '0' && c <= '9'; }),
      "versions are digits");
  for (const std::string_view told :
       {agent.family, agent.version, agent.system, agent.system_version, agent.robot}) {
    MustHold(ComesFrom(told, text, rules), "what is told comes from the text or the rules");
  }
  const size_t place = text.size() / 2;
  const std::string_view name = OwnName(text, place);
  MustHold(name.size() <= kLongestOwnName && (text.empty() || !name.empty()) &&
               (name.empty() || LiesIn(name, text)),
           "a robot's own name is a part of the text");
  if (text.size() > 160) {
    return;  // the plain way takes too long
  }
  const auto matches = FindRules(rules, text);
  for (size_t kind = 0; kind < kRuleKinds; ++kind) {
    const RuleMatch plain = plain::Find(rules, static_cast<RuleKind>(kind), text);
    MustHold(matches[kind].rule == plain.rule && matches[kind].begin == plain.begin &&
                 matches[kind].end == plain.end,
             "words are found as one after the other finds them");
  }
}
