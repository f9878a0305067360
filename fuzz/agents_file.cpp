// A file of rules for agents. The input's first line is the text of an agent, the rest is the file.
#include <memory>

#include "agents/agents_checks.h"
#include "agents/rules_file.h"
#include "support.h"

// How many lines of a file that was taken are rules, and whether it wants those that are built in.
static size_t CountRules(std::string_view content, bool& built_in) {
  size_t count = 0;
  for (bool first = true; !content.empty(); first = false) {
    std::string line(TakePart(content));
    line.erase(0, first && line.rfind("\xEF\xBB\xBF", 0) == 0 ? 3 : 0);
    line.erase(0, line.find_first_not_of(" \t"));
    line.erase(line.find_last_not_of(" \t\r") + 1);
    const bool decides =
        strcasecmp(line.c_str(), "builtin=0") == 0 || strcasecmp(line.c_str(), "builtin=1") == 0;
    built_in = decides ? line.back() == '1' : built_in;
    count += line.empty() || line[0] == '#' || decides ? 0 : 1;
  }
  return count;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  static AgentRules rules;
  std::string_view input = AsText(data, size);
  const std::string text(TakePart(input));
  char sentence[kTextSize];
  const bool read = ReadAgentRules(file.Fill(input), rules, sentence);
  RequireText(sentence);
  REQUIRE(read == (sentence[0] == '\0'));
  const size_t all = BuiltInRules().count;
  if (read) {
    bool built_in = true;
    const size_t count = CountRules(input, built_in);
    REQUIRE(rules.count == count + (built_in ? all : 0));
  } else {
    REQUIRE(rules.count == all && rules.texts_size == 0);
    REQUIRE(strncmp(sentence, "Line ", 5) == 0 && sentence[strlen(sentence) - 1] == '.');
    REQUIRE(std::all_of(sentence, sentence + strlen(sentence), [](char c) { return c >= ' ' && c <= '~'; }));
  }
  CheckAgent(text, rules);
  return 0;
}
