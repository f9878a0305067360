#include "analysis/search_phrases.h"
long mHits_Search = 0;
void CountSearchHits(std::string_view) {}
bool parseQuery(char*, const char*) { return false; }
