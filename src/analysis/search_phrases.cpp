#include "analysis/search_phrases.h"

#include <cstring>

#include "analysis/counting_table.h"
#include "base/limits.h"
#include "base/text.h"
#include "base/url_decode.h"

// No phrase needs more encoded text: an escape takes three characters.
static constexpr size_t kEncodedPhraseMax = 3 * kLongestItem;

bool FindQueryValue(std::string_view text, std::string_view name, std::string_view& value) {
  const size_t query = text.find('?');
  if (query == std::string_view::npos) {
    return false;
  }
  text.remove_prefix(query + 1);
  // deliberate: names end at "=" only, so that in "flag&q=a" the name is "flag&q"
  for (size_t equals; (equals = text.find('=')) != std::string_view::npos;) {
    const std::string_view candidate = text.substr(0, equals);
    text.remove_prefix(equals + 1);
    const size_t end = text.find('&');
    if (EqualIgnoreCase(candidate, name)) {
      value = text.substr(0, end);
      return true;
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return false;
}

bool parseQuery(char* text, const char* name) {
  std::string_view value;
  if (!FindQueryValue(text, name, value)) {
    return false;
  }
  memmove(text, value.data(), value.size());
  text[value.size()] = '\0';
  decode(text);
  return true;
}

static void CountPhrase(SearchEngine& engine, std::string_view encoded) {
  char phrase[kEncodedPhraseMax + 1];
  CopyText(phrase, kEncodedPhraseMax + 1, encoded);
  const size_t length = decode(phrase);
  // deliberate: phrases that differ in case are different, whatever search_casesensitive says
  queue_copy(engine.phrases, engine.phrases_info, {phrase, length}, false);
}

// Counts the phrase that one of the domain's variables holds; false when none is in the query.
static bool CountDomainPhrase(SearchEngine& engine, const SearchDomainInfo& domain, std::string_view path) {
  std::string_view value;
  for (const SearchVariable* variable = domain.variables; variable != nullptr; variable = variable->next) {
    if (FindQueryValue(path, variable->text(), value)) {
      CountPhrase(engine, value);
      return true;
    }
  }
  return false;
}

// Position of the "/" that ends the scheme and host of an absolute address.
static size_t FindThirdSlash(std::string_view address) {
  size_t slash = address.find('/');
  for (int more = 2; more > 0 && slash != std::string_view::npos; --more) {
    slash = address.find('/', slash + 1);
  }
  return slash;
}

SearchCounts NewSearchCounts() {
  return {mpEngineHead, 0, mNoConfigDefinitions};
}

void CountSearchHits(std::string_view referrer, SearchCounts& counts) {
  const size_t slash = FindThirdSlash(referrer);
  if (slash == std::string_view::npos) {
    return;
  }
  const std::string_view host = referrer.substr(0, slash);  // with its scheme
  const std::string_view path = referrer.substr(slash + 1);
  // Most hosts hold no fragment at all, which the sets of letter pairs tell at once.
  const uint64_t lacking = ~LetterPairs(host);
  for (SearchEngine* engine = counts.engines; engine != nullptr; engine = engine->next) {
    for (const SearchDomainInfo* domain = engine->domains; domain != nullptr; domain = domain->next) {
      if ((domain->letter_pairs & lacking) == 0 && host.find(domain->text()) != std::string_view::npos &&
          CountDomainPhrase(*engine, *domain, path)) {
        ++counts.hits;
        return;
      }
    }
  }
}
