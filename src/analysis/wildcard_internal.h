// What the wildcard matcher shows to its tests.
#pragma once

#include <cstdint>

// Closes all groups, returns to the classic limits and releases all memory: no call
// was made yet.
void ResetWildcards();

// Alternation groups that are open: those being tried, and those left open by
// earlier calls. Shared by all calls of the run.
extern int64_t lbrace;

// Places (pattern position, text position) that the last call tried to match from: the measure of its work. At most
// 501, and then one for each star and each alternative of the pattern with each place of the text.
extern unsigned mTries;
