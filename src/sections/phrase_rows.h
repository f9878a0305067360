// The rows of the search phrases: engine by engine, the phrases by rank.
#pragma once

#include <cstdint>

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "sections/cut_off.h"
#include "sections/ranked_rows.h"

// The way through the engines, and what was known before the first.
struct EngineRows {
  ItemSummary summary;  // of the phrases of all engines; total: referrers that yielded a phrase
  bool built_in;        // the configuration defines no engine
  SearchEngine* next;
};

struct EngineRow {
  const char* name;
  const char* address;  // home page; empty when there is none
  int64_t hits;         // phrases counted
  double share;         // of the hits of all engines
  int64_t distinct;     // phrases, before any was cut off
  int64_t
      referrals;  // without a phrase, a row by its rank or behind the last; 0: there is none, or it was read
  ItemCursor phrases;
};

// What stands for the phrase of referrals without one.
inline constexpr const char* kNoPhrase = "(no phrase)";

struct PhraseRow {
  const char* phrase;
  int64_t count;
};

// Opens the engines. The phrases may not be counted in until the rows were read.
EngineRows OpenEngines(const Settings& settings, const Analysis& analysis);

// The next engine with phrases or referrals, and its next phrase up to the cut-off, which
// holds for each engine by itself. False behind the last; the row is then
// unchanged.
bool NextEngine(EngineRows& rows, EngineRow& row);
bool NextPhrase(EngineRow& engine, PhraseRow& row);
