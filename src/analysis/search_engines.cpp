#include "analysis/search_engines.h"
SearchEngine* mpEngineHead = nullptr;
int mEnginesCount = 0;
bool mNoConfigDefinitions = false;
void ParseSearchEngineDefinition(char*, bool) {}
void Search_Init() {}
