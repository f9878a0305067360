// The rules by which agents are told in this run: those of a file of the user's, or those that are built in.
#pragma once

#include "agents/agent_rules.h"

const AgentRules& RulesInUse();

// Whether they come from a file.
bool AreRulesOfUser();

// Takes those of a file (rules_file.h) from now on. False where it cannot be read or holds a line that is no
// rule: then FaultOfRules says why in one sentence, and those that are built in are in use.
bool UseRulesOf(const char* path);
const char* FaultOfRules();

// Goes back to those that are built in.
void UseBuiltInRules();
