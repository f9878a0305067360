// The tables of rules that Orvellis brings. Makers document what their programs call themselves.
#pragma once

#include <span>

#include "agents/agent_rules.h"

// Robots by name, then by words that robots have in them.
std::span<const AgentRule> RobotRules();

// Browsers, systems and kinds of devices.
std::span<const AgentRule> BrowserRules();
