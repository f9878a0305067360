// Finds the phrases that visitors typed into search engines in the referrers
// that led them to the site, and counts them engine by engine.
#pragma once

#include <string_view>

// Referrers that yielded a phrase: the base of the report's percentages.
extern long mHits_Search;

// Counts the phrase of a referrer that comes from a defined engine. The first
// engine, then the first domain, then the first variable that matches wins, so a
// referrer yields at most one phrase. A referrer with fewer than three "/" yields
// none; an empty phrase raises mHits_Search but makes no row. Phrases are cut to
// 243 characters. Allocates nothing beyond what counting the phrase does.
void CountSearchHits(std::string_view referrer);

// Finds the value of the variable called name, ignoring case, in the query of a
// path-and-query text. False when there is none; value may be found empty. It is
// part of text, not yet decoded.
bool FindQueryValue(std::string_view text, std::string_view name, std::string_view& value);

// The same for a NUL-terminated text, over which the decoded value is written;
// text is unchanged when false comes back.
bool parseQuery(char* text, const char* name);
