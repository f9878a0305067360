// What the text of a User-Agent tells: the browser, its system and its kind of device, or the robot and what
// it is for.
//
// A visitor writes that text, so nothing of it is proved: this is what it claims to be. What there is to know
// of browsers and robots stands in tables of rules (browser_rules.cpp, robot_rules.cpp), before which those
// of a file may come (rules_file.h). Of a text that names no robot and yet has no browser in it, or not a
// browser's form, it is told as that of a robot, by its own word.
#pragma once

#include <string_view>

#include "agents/rules_in_use.h"

// What is not told is an empty text. Texts are parts of the agent's text, or of the rules.
struct Agent {
  std::string_view family;          // the browser: "Firefox", "Samsung Internet"
  std::string_view version;         // its first number, digits
  std::string_view system;          // "Windows", "Android"
  std::string_view system_version;  // "10 or 11", "14"; empty, too, where browsers no longer say the true one
  Device device = Device::kUnknown;
  std::string_view robot;            // its name, or its own word; of a robot nothing of the above is told
  Purpose purpose = Purpose::kNone;  // of a robot; kNone of what is none
};

// Of a longer text only so many bytes are looked at.
inline constexpr size_t kLongestAgent = 8192;

// An empty text, and "-", tell nothing. Allocates nothing; takes time linear in the length of the text,
// about a microsecond for that of a browser.
Agent TellAgent(std::string_view text, const AgentRules& rules = RulesInUse());
