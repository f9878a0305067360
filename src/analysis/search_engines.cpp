#include "analysis/search_engines.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "analysis/search_defaults.h"
#include "analysis/search_phrases.h"
#include "analysis/search_today.h"
#include "base/memory_end.h"

SearchEngine* mpEngineHead = nullptr;
static SearchEngine* mpEngineLast = nullptr;  // holds while there is a head
int mEnginesCount = 0;
bool mNoConfigDefinitions = false;

static uint64_t FoldedLetter(char c) {
  return static_cast<unsigned char>(c | 0x20);  // of other characters, too: that only makes them fewer
}

uint64_t LetterPairs(std::string_view text) {
  uint64_t pairs = 0;
  uint64_t first = text.empty() ? 0 : FoldedLetter(text[0]);
  for (size_t i = 1; i < text.size(); ++i) {
    const uint64_t second = FoldedLetter(text[i]);
    pairs |= uint64_t{1} << ((first * 37 + second) % 64);
    first = second;
  }
  return pairs;
}

// ---- Records ------------------------------------------------------------------

// Without a record phrases would be missing from the report.
template <typename T>
static T* NewRecord(size_t room_behind = 0) {
  T* record = static_cast<T*>(calloc(1, sizeof(T) + room_behind));
  if (record == nullptr) {
    EndWithoutMemory();
  }
  return record;
}

// A zeroed record of type T with the name behind it.
template <typename T>
static T* NewNamedRecord(std::string_view name) {
  T* record = NewRecord<T>(name.size() + 1);
  record->length = name.size();
  CopyText(record->name, name.size() + 1, name);
  return record;
}

template <typename T>
static void AppendToChain(T*& head, T*& last, T* record) {
  (head == nullptr ? head : last->next) = record;
  last = record;
}

SearchEngine* SearchEngine_New() {
  return NewRecord<SearchEngine>();
}

SearchDomainInfo* SearchDomainInfo_New(std::string_view name) {
  auto* domain = NewNamedRecord<SearchDomainInfo>(name);
  domain->letter_pairs = LetterPairs(name);
  return domain;
}

void SearchEngine_Append(SearchEngine* engine) {
  AppendToChain(mpEngineHead, mpEngineLast, engine);
}

void SearchDomainInfo_Append(SearchEngine* engine, SearchDomainInfo* domain) {
  if (engine != nullptr && domain != nullptr) {
    AppendToChain(engine->domains, engine->last_domain, domain);
  }
}

void SearchVariable_Append(SearchDomainInfo* domain, std::string_view name) {
  if (!name.empty()) {
    AppendToChain(domain->variables, domain->last_variable, NewNamedRecord<SearchVariable>(name));
  }
}

void SearchVariable_Free(SearchVariable* variable) {
  while (variable != nullptr) {
    SearchVariable* next = variable->next;
    free(variable);
    variable = next;
  }
}

void SearchDomainInfo_Free(SearchDomainInfo* domain) {
  while (domain != nullptr) {
    SearchDomainInfo* next = domain->next;
    SearchVariable_Free(domain->variables);
    free(domain);
    domain = next;
  }
}

void SearchEngine_Free(SearchEngine* engine) {
  while (engine != nullptr) {
    SearchEngine* next = engine->next;
    SearchDomainInfo_Free(engine->domains);
    destroy(engine->phrases);
    free(engine);
    engine = next;
  }
}

// ---- Definitions --------------------------------------------------------------

// Takes the part of text up to the next ";" off its front, the ";" too. False,
// and nothing taken, when there is no ";".
static bool TakePart(std::string_view& text, std::string_view& part) {
  const size_t end = text.find(';');
  if (end == std::string_view::npos) {
    return false;
  }
  part = text.substr(0, end);
  text.remove_prefix(end + 1);
  return true;
}

static bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!BeginsWithIgnoreCase(text, prefix)) {
    return false;
  }
  text.remove_prefix(prefix.size());
  return true;
}

// Takes the last field or the next one, whichever text holds, off its front.
static std::string_view TakeRestOrPiece(std::string_view& text, char separator) {
  const size_t end = text.find(separator);
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return piece;
}

static SearchDomainInfo* MakeDomain(std::string_view name, std::string_view variables) {
  SearchDomainInfo* domain = SearchDomainInfo_New(name);
  while (!variables.empty()) {
    SearchVariable_Append(domain, TakeRestOrPiece(variables, ','));
  }
  return domain;
}

// Reads the pairs of host fragment and variables, skipping everything else.
static void ParseDomains(SearchEngine& engine, std::string_view text) {
  std::string_view part;
  while (TakePart(text, part)) {
    if (!TakePrefix(part, "domain=") || !TakePrefix(text, "vars=")) {
      continue;
    }
    SearchDomainInfo_Append(&engine, MakeDomain(part, TakeRestOrPiece(text, ';')));
  }
}

void ParseSearchEngineDefinition(std::string_view text) {
  std::string_view name;
  std::string_view url;
  if (!TakePart(text, name) || (TakePrefix(text, "url=") && !TakePart(text, url))) {
    return;
  }
  SearchEngine* engine = SearchEngine_New();
  CopyText(engine->name, name);
  CopyText(engine->url, url);
  ParseDomains(*engine, text);
  snprintf(engine->list_title, sizeof engine->list_title, "%s Search Phrases", engine->name);
  init_list(engine->phrases, engine->phrases_info, engine->list_title);
  SearchEngine_Append(engine);
  ++mEnginesCount;
}

const SearchRules kClassicSearch{.built_in = kDefaultEngines, .older = {}, .referrals = false};
const SearchRules kModernSearch{.built_in = kEnginesOfToday, .older = kDefaultEngines, .referrals = true};

static bool IsDefined(std::string_view name) {
  const SearchEngine* engine = mpEngineHead;
  while (engine != nullptr && name != engine->name) {
    engine = engine->next;
  }
  return engine != nullptr;
}

static void LoadBuiltIn(std::span<const std::string_view> definitions) {
  for (const std::string_view definition : definitions) {
    if (!IsDefined(definition.substr(0, definition.find(';')))) {
      ParseSearchEngineDefinition(definition);
    }
  }
}

void Search_Init(const SearchRules& rules) {
  const bool none = mEnginesCount == 0;
  mNoConfigDefinitions |= none;
  if (none) {
    LoadBuiltIn(rules.built_in);
  }
  for (SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    engine->counts_referrals = rules.referrals;
  }
  if (none) {
    LoadBuiltIn(rules.older);
  }
}

void Search_Reset() {
  ForgetOtherHosts();
  SearchEngine_Free(mpEngineHead);
  mpEngineHead = nullptr;
  mEnginesCount = 0;
  mNoConfigDefinitions = false;
}
