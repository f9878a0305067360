// Returns the search engines to the start of a run, for what defines some.
#pragma once

#include <vector>

#include "analysis/counting_table.h"
#include "analysis/search_engines.h"
#include "analysis/search_phrases.h"

inline void ReleaseEngines() {
  destroyListInfo();
  SearchEngine_Free(mpEngineHead);
  mpEngineHead = nullptr;
  mEnginesCount = 0;
  mNoConfigDefinitions = false;
  mHits_Search = 0;
}

inline void ForgetEngines() {
  // An analysis drops the descriptors of configured engines from the chain and
  // leaves them until the process ends; here they stay known just as long.
  static auto& dropped = *new std::vector<ListInfo*>;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    dropped.push_back(engine->phrases_info);
  }
  ReleaseEngines();
}
