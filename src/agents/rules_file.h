// Rules out of a file, which stand before those that are built in, or in their place.
//
// A line is a rule, a comment that begins with "#", or empty. Fields stand between semicolons, without the
// blanks around them; a word is written as agent_rules.h says.
//
//   robot; WORD; NAME; PURPOSE   an empty name: the robot's own; a word of PurposeNames, "other" without one
//   browser; WORD; NAME; BEHIND  the word behind which the version stands; "-": there is none
//   system; WORD; NAME; VERSION
//   device; WORD; KIND           a word of DeviceNames
//   builtin=0                    those that are built in do not count; builtin=1: they do, as without such a
//   line
//
// The last field of a robot, a browser and a system may be left out.
#pragma once

#include "agents/agent_rules.h"
#include "base/text.h"

inline constexpr size_t kLongestRuleLine = 400;   // bytes
inline constexpr size_t kLongestRuleField = 100;  // bytes
inline constexpr size_t kMostRuleLines = 10'000;

// Reads the file and makes the table ready. False when it cannot be opened, or a line is none of these, or
// there is no more room: sentence then says so in one sentence, with the number of the line and without
// anything of its text, and the table is that of the rules that are built in.
bool ReadAgentRules(const char* path, AgentRules& rules, char (&sentence)[kTextSize]);
