// Returns the search engines to the start of a run, for what defines some.
#pragma once

#include "analysis/counting_table.h"
#include "analysis/search_engines.h"
#include "analysis/search_phrases.h"

inline void ForgetEngines() {
  destroyListInfo();
  Search_Reset();
  mHits_Search = 0;
}
