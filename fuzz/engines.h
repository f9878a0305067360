// The search engines and tables of a run, for targets that make many runs in one
// process.
#pragma once

#include "analysis/driver.h"
#include "analysis/search_engines.h"
#include "analysis/search_phrases.h"

inline int CountEngines() {
  int count = 0;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    ++count;
  }
  return count;
}

// Back to the start of a run.
inline void ForgetRun() {
  ResetAnalysis();
  mHits_Search = 0;
}
