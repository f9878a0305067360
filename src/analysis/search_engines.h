// Search engine definitions, and the phrases found for each engine.
//
// A definition is one line of fields separated by ";":
//
//   Finder;url=http://www.finder.example/;domain=.finder.example;vars=q,query;domain=find.example;vars=p
//
// The engine's display name comes first, then optionally its home page, then any
// number of pairs of a host fragment and the query variables that hold the phrase
// on pages of such a host. Field names are recognised ignoring case. Engines come
// from the configuration file, or from the built-in table when it defines none;
// they live until Search_Reset.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "analysis/counting_table.h"
#include "base/text.h"

struct SearchVariable {
  SearchVariable* next;
  size_t length;
  char name[];  // NUL-terminated, never empty

  std::string_view text() const { return {name, length}; }
};

struct SearchDomainInfo {
  SearchDomainInfo* next;
  SearchVariable* variables;  // in definition order
  SearchVariable* last_variable;
  uint64_t letter_pairs;  // LetterPairs of the name
  size_t length;
  char name[];  // host fragment, NUL-terminated; an empty one occurs in every host

  std::string_view text() const { return {name, length}; }
};

struct SearchEngine {
  char name[kTextSize];
  char url[kTextSize];        // home page; empty when the definition gives none
  SearchDomainInfo* domains;  // in definition order
  SearchDomainInfo* last_domain;
  char list_title[kTextSize + 16];  // "%s Search Phrases"
  List phrases;                     // counted case-sensitively
  ListInfo* phrases_info;
  bool counts_referrals;  // those that hold no phrase, too
  int64_t referrals;      // of that kind
  SearchEngine* next;
};

extern SearchEngine* mpEngineHead;  // engines in definition order
extern int mEnginesCount;           // definitions accepted so far
extern bool mNoConfigDefinitions;   // the built-in definitions are in use

// Defines one engine and appends it. Nothing is defined by a text without ";", or
// with a "url=" that no ";" ends. Parts that are neither "domain=" nor "vars=" are
// skipped; a "domain=" that no "vars=" follows is dropped. An engine without valid
// pairs is appended all the same. When memory runs out, the process exits with
// status 1. The text is only read.
void ParseSearchEngineDefinition(std::string_view text);

// Which engines there are where the configuration defines none, and what counts for one.
struct SearchRules {
  std::span<const std::string_view> built_in;
  std::span<const std::string_view>
      older;       // for what they say of phrases, unless one of that name is built in
  bool referrals;  // those without a phrase count for their engine, but for an older one's
};

// The 34 engines of long ago alone, for their phrases.
extern const SearchRules kClassicSearch;
// Those of today and their referrals, then those of long ago.
extern const SearchRules kModernSearch;

// Loads the built-in definitions when no engine is defined.
void Search_Init(const SearchRules& rules = kClassicSearch);

// Releases all engines with their phrases: none is defined, as at the start. The
// descriptors of their lists are left to destroyListInfo.
void Search_Reset();

// A set of 64 bits, one or more of which stand for each pair of adjacent
// characters, letters of both cases being one: a fragment can occur in a text only
// when the text's set holds all of the fragment's.
uint64_t LetterPairs(std::string_view text);

// The pieces that definitions are built from. New records are empty; names are
// copied. When memory runs out, the process exits with status 1.
SearchEngine* SearchEngine_New();
SearchDomainInfo* SearchDomainInfo_New(std::string_view name);

// Append at the end of the engine list, of an engine's domains (ignored when
// either is null), of a domain's variables (ignored when the name is empty).
void SearchEngine_Append(SearchEngine* engine);
void SearchDomainInfo_Append(SearchEngine* engine, SearchDomainInfo* domain);
void SearchVariable_Append(SearchDomainInfo* domain, std::string_view name);

// Release the record, everything it owns, and the rest of its chain; null is
// ignored. List descriptors belong to gListInfo and stay.
void SearchVariable_Free(SearchVariable* variable);
void SearchDomainInfo_Free(SearchDomainInfo* domain);
void SearchEngine_Free(SearchEngine* engine);
