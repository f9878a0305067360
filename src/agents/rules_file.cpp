#include "agents/rules_file.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "agents/built_in_rules.h"
#include "base/network.h"
#include "base/text_file.h"

// Why a line is none; null when it is one.
using Fault = const char*;

static constexpr size_t kMostFields = 4;

// The fields of a line; those that were left out are empty.
struct RuleFields {
  std::array<std::string_view, kMostFields> texts;
  size_t count = 0;
};

static Fault SplitFields(std::string_view line, RuleFields& fields) {
  for (bool more = true; more;) {
    if (fields.count == kMostFields) {
      return "has more than four fields";
    }
    const size_t end = line.find(';');
    more = end != std::string_view::npos;
    const std::string_view field = WithoutBlanks(line.substr(0, end));
    if (field.size() > kLongestRuleField) {
      return "has a field of more than 100 bytes";
    }
    fields.texts[fields.count++] = field;
    line.remove_prefix(more ? end + 1 : line.size());
  }
  return nullptr;
}

// ---- Kinds of rules ----

static Fault TakeRobot(const RuleFields& fields, AgentRule& rule) {
  constexpr std::string_view kUsual = "other";
  const std::string_view word = fields.texts[3].empty() ? kUsual : fields.texts[3];
  rule.name = fields.texts[2];
  for (const PurposeName& purpose : PurposeNames()) {
    if (EqualIgnoreCase(purpose.word, word)) {
      rule.purpose = purpose.purpose;
      return nullptr;
    }
  }
  return "names no purpose that there is";
}

static Fault TakeNamed(const RuleFields& fields, AgentRule& rule) {
  rule.name = fields.texts[2];
  rule.version = fields.texts[3];
  return rule.name.empty() ? "has no name in its third field" : nullptr;
}

static Fault TakeDevice(const RuleFields& fields, AgentRule& rule) {
  if (fields.count > 3) {
    return "has more than the three fields of a device";
  }
  for (const DeviceName& device : DeviceNames()) {
    if (EqualIgnoreCase(device.word, fields.texts[2])) {
      rule.device = device.device;
      return nullptr;
    }
  }
  return "names no kind of device that there is";
}

struct KindOfLine {
  std::string_view word;
  RuleKind kind;
  Fault (*take)(const RuleFields& fields, AgentRule& rule);
};

static constexpr KindOfLine kKinds[] = {
    {"robot", RuleKind::kRobot, TakeRobot},
    {"browser", RuleKind::kBrowser, TakeNamed},
    {"system", RuleKind::kSystem, TakeNamed},
    {"device", RuleKind::kDevice, TakeDevice},
};

// ---- Lines ----

// False when there is no room.
static bool KeepText(AgentRules& rules, std::string_view& text) {
  if (text.size() > rules.texts.size() - rules.texts_size) {
    return false;
  }
  char* const kept = rules.texts.data() + rules.texts_size;
  std::copy(text.begin(), text.end(), kept);
  rules.texts_size += text.size();
  text = {kept, text.size()};
  return true;
}

static Fault KeepRule(AgentRules& rules, AgentRule rule) {
  const size_t room = kMostRules - RobotRules().size() - BrowserRules().size();
  const bool kept = rules.count < room && KeepText(rules, rule.word) && KeepText(rules, rule.name) &&
                    KeepText(rules, rule.version);
  if (!kept) {
    return "comes when there is no more room for rules";
  }
  return AddRule(rules, rule) ? nullptr : "has a word of fewer than two characters";
}

static Fault TakeRule(AgentRules& rules, std::string_view line) {
  RuleFields fields;
  if (const Fault fault = SplitFields(line, fields)) {
    return fault;
  }
  for (const KindOfLine& kind : kKinds) {
    if (EqualIgnoreCase(kind.word, fields.texts[0])) {
      AgentRule rule = {.kind = kind.kind, .word = fields.texts[1]};
      const Fault fault = kind.take(fields, rule);
      return fault != nullptr ? fault : KeepRule(rules, rule);
    }
  }
  return "begins with none of robot, browser, system and device";
}

static Fault TakeLine(AgentRules& rules, std::string_view line, bool& built_in) {
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; };
  line = WithoutBlanks(line);
  if (line.empty() || line[0] == '#') {
    return nullptr;
  }
  if (std::any_of(line.begin(), line.end(), [&](char c) { return is_control(c) && c != '\t'; })) {
    return "holds a character that is no text";
  }
  if (EqualIgnoreCase(line, "builtin=0") || EqualIgnoreCase(line, "builtin=1")) {
    built_in = line.back() == '1';
    return nullptr;
  }
  return TakeRule(rules, line);
}

// ---- The file ----

// Without its end, CR and LF or LF alone; number counts lines.
static bool TakeNextLine(TextFile& file, char (&room)[kLongestRuleLine + 3], std::string_view& line) {
  const size_t size = NextLine(file, room, kPieces);
  line = {room, size};
  for (const char end : {'\n', '\r'}) {
    line.remove_suffix(line.ends_with(end) ? 1 : 0);
  }
  return size > 0;
}

static Fault TakeLines(TextFile& file, AgentRules& rules, bool& built_in, size_t& number) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  char room[kLongestRuleLine + 3];
  std::string_view line;
  for (number = 1; TakeNextLine(file, room, line); ++number) {
    line.remove_prefix(number == 1 && line.starts_with(kMark) ? kMark.size() : 0);
    const Fault fault = number > kMostRuleLines          ? "is one more than a file may have"
                        : line.size() > kLongestRuleLine ? "is longer than 400 bytes"
                                                         : TakeLine(rules, line, built_in);
    if (fault != nullptr) {
      return fault;
    }
  }
  return nullptr;
}

static bool ReadLines(const char* path, AgentRules& rules, bool& built_in, char (&sentence)[kTextSize]) {
  static TextFile file;
  if (!OpenTextFile(file, path)) {
    CopyText(sentence, "The file of agents cannot be opened.");
    return false;
  }
  size_t number = 0;
  const Fault fault = TakeLines(file, rules, built_in, number);
  CloseTextFile(file);
  if (fault != nullptr) {
    snprintf(sentence, sizeof sentence, "Line %zu of the file of agents %s.", number, fault);
  }
  return fault == nullptr;
}

bool ReadAgentRules(const char* path, AgentRules& rules, char (&sentence)[kTextSize]) {
  bool built_in = true;
  sentence[0] = '\0';
  ClearRules(rules);
  const bool read = ReadLines(path, rules, built_in, sentence);
  if (!read) {
    ClearRules(rules);
  }
  if (built_in || !read) {
    AddBuiltInRules(rules);
  }
  IndexRules(rules);
  return read;
}
