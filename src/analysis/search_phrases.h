// Finds the phrases that visitors typed into search engines in the referrers
// that led them to the site, and counts them engine by engine.
#pragma once

#include <cstdint>
#include <string_view>

#include "analysis/search_engines.h"
#include "base/part_bytes.h"

// Phrases typed into search engines.
struct SearchCounts {
  SearchEngine* engines;  // in definition order, each with its phrases
  int64_t hits;           // referrers that counted for an engine: the base of the report's percentages
  bool built_in;          // the configuration defines no engine
};

// Forgets what is remembered of hosts, which holds as long as the engines.
void ForgetOtherHosts();

// Nothing counted yet of the engines that are defined.
SearchCounts NewSearchCounts();

// How a phrase is counted: queue_copy, or count_now for watchers of keys.
using PhraseCounter = void (*)(List& list, ListInfo* info, std::string_view key, bool ignore_case);

// Counts the phrase of a referrer that comes from one of the engines. The first
// engine, then the first domain, then the first variable that matches wins, so a
// referrer yields at most one phrase. A referrer with fewer than three "/" yields
// none; an empty phrase raises hits but makes no row. Of engines that count referrals a referrer
// without a phrase, or with an empty one, counts as one of the first of these, also where it is a host alone.
// Phrases are cut to 243 characters. Allocates nothing beyond what counting the phrase does.
void CountSearchHits(std::string_view referrer, SearchCounts& counts,
                     PhraseCounter count_phrase = queue_copy);

// False only of a referrer of which CountSearchHits counts nothing, whatever the case of its letters. Most of
// these are only known when CountSearchHits has been called with one of the same host.
bool MayCountForEngine(std::string_view referrer, const SearchCounts& counts);

// Forgets all that was counted of the engines.
void EmptySearch(SearchCounts& counts);

// Writes down what the engines have counted.
void SaveSearch(PartWriter& part, const SearchCounts& counts);

// Adds what was written down of the same engines. False when the part is damaged, also where it has another
// number of engines.
bool AddSavedSearch(PartReader& part, SearchCounts& counts);

// Passes over it.
bool PassSavedSearch(PartReader& part);

// Finds the value of the variable called name, ignoring case, in the query of a
// path-and-query text. False when there is none; value may be found empty. It is
// part of text, not yet decoded.
bool FindQueryValue(std::string_view text, std::string_view name, std::string_view& value);

// The same for a NUL-terminated text, over which the decoded value is written;
// text is unchanged when false comes back.
// For other programs that link the library; tested, not used by orvellis.
bool parseQuery(char* text, const char* name);
