// Counts the phrases that visitors typed into search engines, from referrers.
#pragma once

#include <string_view>

// Referrers that yielded a phrase: the base of the report's percentages.
extern long mHits_Search;

// Counts the phrase of a referrer, if it comes from a defined engine: the first
// engine, domain and variable that match win.
void CountSearchHits(std::string_view referrer);

// Finds the variable in the query of a path-and-query text (NUL-terminated,
// changed in place): on success text holds the decoded value.
bool parseQuery(char* text, const char* name);
