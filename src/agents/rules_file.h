// Rules out of a file, which stand before those that are built in, or in their place.
//
// A line is a rule, a comment that begins with "#", or empty. Fields stand between semicolons, blanks around
// them do not count; a word is written as agent_rules.h says.
//
//   robot; WORD; NAME; PURPOSE     an empty name: the robot's own; of the words of PurposeNames, "other"
//   where none stands browser; WORD; NAME; BEHIND    the word behind which the version stands; "-" where
//   there is none system; WORD; NAME; VERSION device; WORD; KIND             of the words of DeviceNames
//   builtin=0                      those that are built in count no longer; builtin=1: they do
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
