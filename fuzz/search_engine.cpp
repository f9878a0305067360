// Search engine definitions, one a line, against splitting them at every ";".
#include <vector>

#include "analysis/driver.h"
#include "support.h"

struct PlainDomain {
  std::string name;
  std::vector<std::string> variables;
};

struct PlainEngine {
  std::string name;
  std::string url;
  std::vector<PlainDomain> domains;
};

// Always at least one part.
static std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

static bool HasPrefix(const std::string& text, const char* prefix) {
  return strncasecmp(text.c_str(), prefix, strlen(prefix)) == 0;
}

static PlainDomain MakeDomain(const std::string& name, const std::string& variables) {
  PlainDomain domain{name.substr(strlen("domain=")), {}};
  for (const std::string& variable : Split(variables.substr(strlen("vars=")), ',')) {
    if (!variable.empty()) {
      domain.variables.push_back(variable);
    }
  }
  return domain;
}

static void PlainDefine(const std::string& text, std::vector<PlainEngine>& engines) {
  const std::vector<std::string> parts = Split(text, ';');
  const size_t last = parts.size() - 1;  // which no ";" ends
  const bool with_url = last > 0 && HasPrefix(parts[1], "url=");
  if (last == 0 || (with_url && last == 1)) {
    return;
  }
  PlainEngine engine{parts[0].substr(0, kTextMax), with_url ? parts[1].substr(4, kTextMax) : "", {}};
  for (size_t i = with_url ? 2 : 1; i < last; ++i) {
    if (HasPrefix(parts[i], "domain=") && HasPrefix(parts[i + 1], "vars=")) {
      engine.domains.push_back(MakeDomain(parts[i], parts[i + 1]));
      ++i;
    }
  }
  engines.push_back(engine);
}

static void CheckVariables(const SearchVariable* variable, const std::vector<std::string>& expected) {
  for (const std::string& name : expected) {
    REQUIRE(variable != nullptr && variable->text() == name && variable->name[variable->length] == '\0');
    variable = variable->next;
  }
  REQUIRE(variable == nullptr);
}

static void CheckEngine(const SearchEngine& engine, const PlainEngine& expected) {
  REQUIRE(engine.name == expected.name && engine.url == expected.url);
  REQUIRE(engine.list_title == expected.name + " Search Phrases");
  const SearchDomainInfo* domain = engine.domains;
  for (const PlainDomain& plain : expected.domains) {
    REQUIRE(domain != nullptr && domain->text() == plain.name && domain->name[domain->length] == '\0');
    REQUIRE(domain->letter_pairs == LetterPairs(plain.name));
    CheckVariables(domain->variables, plain.variables);
    domain = domain->next;
  }
  REQUIRE(domain == nullptr);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  std::vector<PlainEngine> expected;
  while (!input.empty()) {
    const std::string line = UpToNul(TakePart(input));
    const std::vector<char> text(line.begin(), line.end());  // a block of its size
    ParseSearchEngineDefinition({text.data(), text.size()});
    PlainDefine(line, expected);
  }
  const SearchEngine* engine = mpEngineHead;
  for (const PlainEngine& plain : expected) {
    REQUIRE(engine != nullptr);
    CheckEngine(*engine, plain);
    engine = engine->next;
  }
  REQUIRE(engine == nullptr && mEnginesCount == static_cast<int>(expected.size()));
  ResetAnalysis();
  return 0;
}
