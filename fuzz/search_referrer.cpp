// Phrases in referrers. Lines before an empty line define engines (without any,
// the built-in ones hold); those behind it are referrers.
#include <map>
#include <vector>

#include "analysis/driver.h"
#include "analysis/plain_query.h"
#include "analysis/search_phrases.h"
#include "base/plain_decode.h"
#include "support.h"

using Phrases = std::map<const SearchEngine*, std::map<std::string, int>>;

// What the engine's domain gives; false when none of its variables is there.
static bool CountPlainly(const SearchEngine* engine, const SearchDomainInfo* domain, const std::string& path,
                         Phrases& phrases) {
  for (const SearchVariable* variable = domain->variables; variable != nullptr; variable = variable->next) {
    std::string value;
    if (PlainQueryValue(path.c_str(), variable->name, value)) {
      const std::string phrase = PlainDecode(value.substr(0, 3 * kTextMax)).substr(0, kTextMax);
      ++phrases[engine][phrase];
      return true;
    }
  }
  return false;
}

static bool CountPlainly(const std::string& referrer, Phrases& phrases) {
  size_t slash = std::string::npos;
  for (int i = 0; i < 3; ++i) {
    slash = referrer.find('/', slash + 1);
    if (slash == std::string::npos) {
      return false;
    }
  }
  const std::string host = referrer.substr(0, slash);
  const std::string path = referrer.substr(slash + 1);
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    for (const SearchDomainInfo* domain = engine->domains; domain != nullptr; domain = domain->next) {
      if (host.find(domain->text()) != std::string::npos && CountPlainly(engine, domain, path, phrases)) {
        return true;
      }
    }
  }
  return false;
}

static void CheckQuery(const std::string& text) {
  std::string expected;
  std::vector<char> block(text.c_str(), text.c_str() + text.size() + 1);
  if (PlainQueryValue(text.c_str(), "q", expected)) {
    REQUIRE(parseQuery(block.data(), "Q") && PlainDecode(expected) == block.data());
  } else {
    REQUIRE(!parseQuery(block.data(), "Q") && text == block.data());
  }
}

static void CheckPhrases(Phrases& expected) {
  for (SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    std::map<std::string, int>& phrases = expected[engine];
    phrases.erase("");  // makes no row
    REQUIRE(list_length(engine->phrases) == phrases.size());
    const ListItem* item = KeyOrder(engine->phrases);
    for (const auto& [phrase, count] : phrases) {
      REQUIRE(item->key() == phrase && item->count == count);
      item = item->next;
    }
  }
}

static void DefineEngines(std::string_view& input) {
  for (std::string line = UpToNul(TakePart(input)); !line.empty(); line = UpToNul(TakePart(input))) {
    ParseSearchEngineDefinition(line);
  }
  Search_Init();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  ResetAnalysis();
  DefineEngines(input);
  Phrases expected;
  SearchCounts counts = NewSearchCounts();
  int64_t hits = 0;
  while (!input.empty()) {
    const std::string referrer = UpToNul(TakePart(input));
    CheckQuery(referrer);
    const std::vector<char> text(referrer.begin(), referrer.end());  // a block of its size
    CountSearchHits({text.data(), text.size()}, counts);
    hits += CountPlainly(referrer, expected) ? 1 : 0;
  }
  CheckPhrases(expected);
  REQUIRE(counts.hits == hits);
  ResetAnalysis();
  return 0;
}
