// Wildcard matching: "*", "?", sets, escapes and alternation groups.
//
// The entry points answer like a string comparison: 0 means a match.
#pragma once

int super_wildmat(const char* pattern, const char* text);
int super_wildmati(const char* pattern, const char* text);       // ignores case
int super_wildmat_tilde(const char* pattern, const char* text);  // with the but-not operator "~"

// 1 match, 0 no match, -1 no later position can match.
int DoMatch(const char* text, const char* pattern);
