#include "agents/agent.h"

#include "agents/own_name.h"
#include "base/network.h"
#include "base/text.h"

static constexpr std::string_view kUntold = "-";

static const RuleMatch& Of(RuleKind kind, const std::array<RuleMatch, kRuleKinds>& matches) {
  return matches[static_cast<size_t>(kind)];
}

// The digits behind a word, of which one character may part them: "Firefox/128", "MSIE 6", "Android 14".
static std::string_view NumberBehind(std::string_view text, size_t end) {
  if (end < text.size() && !IsDigitAscii(text[end])) {
    ++end;
  }
  const std::string_view behind = end < text.size() ? text.substr(end) : std::string_view{};
  return behind.substr(0, behind.find_first_not_of("0123456789"));
}

// ---- Browsers ----

// A browser calls itself Mozilla, or Opera, or by its own name first; phones have begun with theirs.
static bool HasBrowserForm(std::string_view text, const RuleMatch& browser, Device device) {
  return browser.rule != nullptr && (browser.begin == 0 || text.starts_with("Mozilla/") ||
                                     text.starts_with("Opera/") || device == Device::kPhone);
}

static void TellBrowser(std::string_view text, const RuleMatch& match, Agent& agent) {
  if (match.rule == nullptr) {
    return;
  }
  const std::string_view word = match.rule->version;
  const size_t end = word.empty()      ? match.end
                     : word == kUntold ? std::string_view::npos
                                       : FindWordEnd(text, word);
  agent.family = match.rule->name;
  agent.version = end == std::string_view::npos ? std::string_view{} : NumberBehind(text, end);
}

static void TellSystem(std::string_view text, const RuleMatch& match, Agent& agent) {
  if (match.rule == nullptr) {
    return;
  }
  const std::string_view version = match.rule->version;
  agent.system = match.rule->name;
  agent.system_version = version.empty()      ? NumberBehind(text, match.end)
                         : version == kUntold ? std::string_view{}
                                              : version;
}

// What the words alone do not tell.
static void CorrectTold(Agent& agent) {
  // Every browser of Android before Chrome had the engine of Safari.
  if (agent.family == "Safari" && agent.system == "Android") {
    agent.family = "Android Browser";
  }
  // Safari has said "18" of every later iOS, whose number it has itself.
  if (agent.family == "Safari" && agent.system == "iOS" && agent.version.size() == 2 &&
      agent.system_version.size() == 2 && agent.version > agent.system_version) {
    agent.system_version = agent.version;
  }
}

// ---- Robots ----

static Agent TellRobot(std::string_view name, Purpose purpose) {
  Agent agent;
  agent.robot = name;
  agent.purpose = purpose;
  return agent;
}

Agent TellAgent(std::string_view text, const AgentRules& rules) {
  text = WithoutBlanks(text.substr(0, kLongestAgent));
  if (text.empty() || text == "-") {
    return {};
  }
  const std::array<RuleMatch, kRuleKinds> matches = FindRules(rules, text);
  const RuleMatch& robot = Of(RuleKind::kRobot, matches);
  const RuleMatch& browser = Of(RuleKind::kBrowser, matches);
  const AgentRule* const device = Of(RuleKind::kDevice, matches).rule;
  Agent agent;
  agent.device = device == nullptr ? Device::kUnknown : device->device;
  if (robot.rule == nullptr && !HasBrowserForm(text, browser, agent.device)) {
    return TellRobot(OwnName(text, std::string_view::npos), Purpose::kOther);
  }
  if (robot.rule != nullptr && robot.rule->purpose != Purpose::kNone) {
    const std::string_view name = robot.rule->name;
    return TellRobot(name.empty() ? OwnName(text, robot.begin) : name, robot.rule->purpose);
  }
  TellBrowser(text, browser, agent);
  TellSystem(text, Of(RuleKind::kSystem, matches), agent);
  CorrectTold(agent);
  return agent;
}
