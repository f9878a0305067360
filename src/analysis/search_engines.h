// Search engine definitions and the phrases found for each engine.
#pragma once

#include <string_view>

#include "analysis/counting_table.h"
#include "base/text.h"

struct SearchVariable {
  char* name;
  SearchVariable* next;
};

struct SearchDomainInfo {
  char* name;  // host fragment
  SearchVariable* variables;
  SearchDomainInfo* next;
};

struct SearchEngine {
  char name[kTextSize];
  char url[kTextSize];  // home page; empty when the definition gives none
  SearchDomainInfo* domains;
  char list_title[kTextSize + 20];  // "%s Search Phrases"
  List phrases;
  ListInfo* phrases_info;
  size_t phrase_total;  // distinct phrases, filled by the report
  SearchEngine* next;
};

extern SearchEngine* mpEngineHead;  // engines in definition order
extern int mEnginesCount;
extern bool mNoConfigDefinitions;  // the built-in definitions are in use

// Defines one engine from "Name;url=...;domain=...;vars=a,b;..." and appends it;
// a malformed text defines nothing. Without the copy flag the text is cut in
// place; with it a private copy is.
void ParseSearchEngineDefinition(char* text, bool copy);

// Loads the 34 built-in definitions when no engine is defined.
void Search_Init();
