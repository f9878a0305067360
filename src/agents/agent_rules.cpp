#include "agents/agent_rules.h"

#include <algorithm>

#include "agents/built_in_rules.h"
#include "base/text.h"

static constexpr PurposeName kPurposeNames[] = {
    {Purpose::kNone, "none", "no robot"},
    {Purpose::kSearch, "search", "Search engines"},
    {Purpose::kTraining, "training", "AI training"},
    {Purpose::kAnswers, "answers", "AI answers"},
    {Purpose::kPreviews, "previews", "Link previews"},
    {Purpose::kMarketing, "marketing", "Marketing and SEO"},
    {Purpose::kMonitoring, "monitoring", "Monitoring"},
    {Purpose::kFeeds, "feeds", "Feeds and podcasts"},
    {Purpose::kArchives, "archives", "Archives"},
    {Purpose::kScanners, "scanners", "Security scanners"},
    {Purpose::kTools, "tools", "Tools and libraries"},
    {Purpose::kOther, "other", "Others"},
};

static constexpr DeviceName kDeviceNames[] = {
    {Device::kUnknown, "unknown", "Unknown"},
    {Device::kDesktop, "desktop", "Desktop"},
    {Device::kPhone, "phone", "Phone"},
    {Device::kTablet, "tablet", "Tablet"},
    {Device::kTv, "tv", "TV"},
    {Device::kConsole, "console", "Game console"},
    {Device::kOther, "other", "Other"},
};

std::span<const PurposeName> PurposeNames() {
  return kPurposeNames;
}

std::span<const DeviceName> DeviceNames() {
  return kDeviceNames;
}

// ---- Characters ----

static constexpr char Fold(char c) {
  return c == '_' ? '.' : ToLowerAscii(c);
}

static constexpr bool IsOfWord(char c) {
  return IsLetterAscii(c) || IsDigitAscii(c);
}

// Letters have kinds of their own, and what words of rules begin with beside them.
static constexpr uint8_t FindKind(char c) {
  constexpr std::string_view kOthers = "/. -+";
  const char folded = Fold(c);
  const size_t other = kOthers.find(folded);
  return folded >= 'a' && folded <= 'z'    ? static_cast<uint8_t>(folded - 'a')
         : other != std::string_view::npos ? static_cast<uint8_t>(26 + other)
                                           : kCharacterKinds - 1;
}

static constexpr std::array<uint8_t, 256> MakeKinds() {
  std::array<uint8_t, 256> kinds = {};
  for (size_t c = 0; c < kinds.size(); ++c) {
    kinds[c] = FindKind(static_cast<char>(c));
  }
  return kinds;
}

static constexpr std::array<uint8_t, 256> kKinds = MakeKinds();

static size_t PairOf(char first, char second) {
  return size_t{kKinds[static_cast<unsigned char>(first)]} * kCharacterKinds +
         kKinds[static_cast<unsigned char>(second)];
}

// ---- Building a table ----

void ClearRules(AgentRules& rules) {
  rules.count = 0;
  rules.texts_size = 0;
  rules.begins.fill(0);
}

bool AddRule(AgentRules& rules, const AgentRule& rule) {
  AgentRule added = rule;
  added.begins_within = added.word.starts_with('*');
  added.word.remove_prefix(added.begins_within ? 1 : 0);
  added.goes_on = added.word.ends_with('*');
  added.word.remove_suffix(added.goes_on ? 1 : 0);
  if (added.word.size() < kShortestWord || rules.count == kMostRules) {
    return false;
  }
  rules.rules[rules.count++] = added;
  return true;
}

void AddBuiltInRules(AgentRules& rules) {
  for (const std::span<const AgentRule> table : {RobotRules(), BrowserRules()}) {
    for (const AgentRule& rule : table) {
      AddRule(rules, rule);
    }
  }
}

static size_t PlaceOf(const AgentRule& rule) {
  return (rule.begins_within ? kPairs : 0) + PairOf(rule.word[0], rule.word[1]);
}

// Counting sort: rules of one beginning stay in their order.
void IndexRules(AgentRules& rules) {
  const std::span<const AgentRule> all(rules.rules.data(), rules.count);
  rules.begins.fill(0);
  for (const AgentRule& rule : all) {
    ++rules.begins[PlaceOf(rule) + 1];
  }
  for (size_t place = 1; place < rules.begins.size(); ++place) {
    rules.begins[place] = static_cast<uint16_t>(rules.begins[place] + rules.begins[place - 1]);
  }
  auto next = rules.begins;
  for (size_t i = 0; i < all.size(); ++i) {
    rules.by_beginning[next[PlaceOf(all[i])]++] = static_cast<uint16_t>(i);
  }
}

const AgentRules& BuiltInRules() {
  static AgentRules rules;
  if (rules.count == 0) {
    AddBuiltInRules(rules);
    IndexRules(rules);
  }
  return rules;
}

// ---- Finding words ----

static bool BeginsWith(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                  [](char a, char b) { return Fold(a) == Fold(b); });
}

static bool BeginsWordAt(std::string_view text, size_t at) {
  return at == 0 || !IsOfWord(text[at]) || !IsOfWord(text[at - 1]);
}

static bool EndsWordAt(std::string_view text, size_t end) {
  if (end == text.size()) {
    return true;
  }
  const char last = text[end - 1];
  return !(IsLetterAscii(last) && IsLetterAscii(text[end])) &&
         !(IsDigitAscii(last) && IsDigitAscii(text[end]));
}

// What was found so far.
struct Finding {
  const AgentRules& rules;
  std::string_view text;
  std::array<size_t, kRuleKinds> best;  // which rule of each kind
  std::array<RuleMatch, kRuleKinds> matches;
};

static bool IsAt(const AgentRule& rule, std::string_view text, size_t at) {
  return BeginsWith(text.substr(at), rule.word) && (rule.goes_on || EndsWordAt(text, at + rule.word.size()));
}

// Tries the rules of one beginning, of which those that come too late need not be compared.
static void TryRules(Finding& finding, size_t place, size_t at) {
  const AgentRules& rules = finding.rules;
  for (size_t next = rules.begins[place]; next != rules.begins[place + 1]; ++next) {
    const size_t number = rules.by_beginning[next];
    const AgentRule& rule = rules.rules[number];
    const auto kind = static_cast<size_t>(rule.kind);
    if (number < finding.best[kind] && IsAt(rule, finding.text, at)) {
      finding.best[kind] = number;
      finding.matches[kind] = {&rule, at, at + rule.word.size()};
    }
  }
}

std::array<RuleMatch, kRuleKinds> FindRules(const AgentRules& rules, std::string_view text) {
  Finding finding = {rules, text, {}, {}};
  finding.best.fill(rules.count);
  for (size_t at = 0; at + 1 < text.size(); ++at) {
    const size_t pair = PairOf(text[at], text[at + 1]);
    if (BeginsWordAt(text, at)) {
      TryRules(finding, pair, at);
    }
    TryRules(finding, kPairs + pair, at);
  }
  return finding.matches;
}

size_t FindWordEnd(std::string_view text, std::string_view word) {
  for (size_t at = 0; at + word.size() <= text.size(); ++at) {
    const size_t end = at + word.size();
    if (BeginsWith(text.substr(at), word) && BeginsWordAt(text, at) && EndsWordAt(text, end)) {
      return end;
    }
  }
  return std::string_view::npos;
}
