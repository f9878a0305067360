// The search engines and tables of a run, for targets that make many runs in one
// process.
#pragma once

#include <cstdlib>

#include "analysis/counting_table.h"
#include "analysis/search_engines.h"
#include "analysis/smart_memory.h"
#include "support/engines.h"

inline int CountEngines() {
  int count = 0;
  for (const SearchEngine* engine = mpEngineHead; engine != nullptr; engine = engine->next) {
    ++count;
  }
  return count;
}

// Back to the start of a run. An analysis takes the descriptors of configured
// engines out of the chain, and leaves them until the process ends.
inline void ForgetRun() {
  const bool taken_out = !mNoConfigDefinitions && gListInfo.first == nullptr;
  for (const SearchEngine* engine = mpEngineHead; taken_out && engine != nullptr; engine = engine->next) {
    free(engine->phrases_info);
  }
  ReleaseEngines();
  gSM_TotalBytesAllocated = gSM_CurrentBytesAllocated = gSM_MaximumBytesAllocated = gSM_TotalBytesFreed = 0;
  smart_memory_init({});
}
