// The rules by which the text of a User-Agent is understood: tables of words, what they name, and finding
// them.
//
// A rule says that a text with some word in it names a robot, a browser, a system or a kind of device. Of
// each of these four the first rule of the table counts whose word is in the text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

enum class RuleKind : uint8_t { kRobot, kBrowser, kSystem, kDevice };
inline constexpr size_t kRuleKinds = 4;

enum class Device : uint8_t { kUnknown, kDesktop, kPhone, kTablet, kTv, kConsole, kOther };

enum class Purpose : uint8_t {
  kNone,
  kSearch,
  kTraining,    // of models
  kAnswers,     // of assistants, while somebody asks
  kPreviews,    // of links that somebody has sent
  kMarketing,   // of sites and brands
  kMonitoring,  // whether sites answer
  kFeeds,
  kArchives,
  kScanners,  // for weak spots
  kTools,     // programs and libraries that fetch for somebody
  kOther,
};

struct PurposeName {
  Purpose purpose;
  std::string_view word;   // as rules are written
  std::string_view title;  // as people read it; a line of a report
};

struct DeviceName {
  Device device;
  std::string_view word;
  std::string_view title;
};

// All of them, in the order of their values, kNone and kUnknown too.
std::span<const PurposeName> PurposeNames();
std::span<const DeviceName> DeviceNames();

// A word is found where it stands between others: a letter or digit before it, and behind its last letter a
// letter, behind its last digit a digit, make another word of it. A "*" before it lets it begin within a
// word, one behind it lets it go on as it likes. Capital letters are small ones, and a "_" is a ".".
//
// The version of a browser, and of a system whose rule tells none, is the number behind the word. A browser's
// rule may name another word behind which it stands, a system's rule may tell it; "-" says that there is
// none.
struct AgentRule {
  RuleKind kind = RuleKind::kRobot;
  std::string_view word;
  std::string_view name = {};  // of a robot empty: its own word
  std::string_view version = {};
  Purpose purpose = Purpose::kNone;  // of a robot; kNone: a text with this word is none
  Device device = Device::kUnknown;  // of a device
  bool begins_within = false;        // the stars, taken off the word as it is added
  bool goes_on = false;
};

inline constexpr size_t kMostRules = 2048;  // those that are built in among them
inline constexpr size_t kRuleTexts = size_t{64} * 1024;
inline constexpr size_t kShortestWord = 2;  // without its "*"
inline constexpr size_t kCharacterKinds = 32;
inline constexpr size_t kPairs = kCharacterKinds * kCharacterKinds;

// Holds views of itself: it is not copied.
struct AgentRules {
  AgentRules() = default;
  AgentRules(const AgentRules&) = delete;
  AgentRules& operator=(const AgentRules&) = delete;

  std::array<AgentRule, kMostRules> rules;  // in their order
  size_t count = 0;
  std::array<char, kRuleTexts> texts;  // of rules that were read
  size_t texts_size = 0;

  // Where the rules stand whose words begin with two characters of these kinds, then those that begin within
  // words.
  std::array<uint16_t, 2 * kPairs + 1> begins = {};
  std::array<uint16_t, kMostRules> by_beginning;
};

// The rules that Orvellis brings.
const AgentRules& BuiltInRules();

// Building a table: rules in their order, then those that are built in where they are wanted, then the index.
void ClearRules(AgentRules& rules);
// False when there is no room, or the word is too short. The texts of the rule must stay where they are.
bool AddRule(AgentRules& rules, const AgentRule& rule);
void AddBuiltInRules(AgentRules& rules);
void IndexRules(AgentRules& rules);

// Where a word was found.
struct RuleMatch {
  const AgentRule* rule = nullptr;  // null: none
  size_t begin = 0;                 // in the text, the word behind its "*"
  size_t end = 0;
};

// For each kind the first rule of the table whose word is in the text, and the first place where it is.
std::array<RuleMatch, kRuleKinds> FindRules(const AgentRules& rules, std::string_view text);

// Where the word ends that is found first in the text, by the same rules of writing; npos when it is not
// there.
size_t FindWordEnd(std::string_view text, std::string_view word);
