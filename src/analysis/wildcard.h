// Wildcard matching: "*", "?", sets, escapes and alternation groups.
//
//   ?        any one character          *        any run of characters, also none
//   [a-c]    one of a set               [^a-c]   one that is not of the set
//   \x       x itself                   (a|b)    one of the alternatives
//
// In a set, "]" or "-" in first place and "-" in last place stand for themselves,
// and ranges go by signed character code; a set without "]" matches nothing. An
// alternative may be empty and groups may nest. Which ")" ends a group is decided
// by counting parentheses, escaped ones included.
//
// Of a pattern the first 243 characters count, of a text as many as an item has. The work
// of a call grows with the product of their lengths times the stars and groups, not
// exponentially. A call that is long takes memory for each place of the pattern with each
// of the text, 24 bytes, which later calls use again; when it is refused the process exits
// with status 1.
#pragma once

#include <string_view>

#include "base/limits.h"

// How much of a text counts, from now on; the classic limits until then.
void SetWildcardLimits(const Limits& limits);

// The entry points answer like a string comparison: 0 when the text matches the
// pattern, 1 when it does not. The pattern "*" alone matches everything.
int super_wildmat(std::string_view pattern, std::string_view text);
int super_wildmati(std::string_view pattern, std::string_view text);  // ASCII case ignored

// Whether what a text is told may depend on texts before it, because the pattern holds a "(", "|" or ")" that
// belongs to no whole group, or may be taken for one. Never of a pattern without any.
bool RemembersMatches(std::string_view pattern);

// super_wildmat with a but-not operator: "a~b" matches what a matches and b does
// not, "~b" what b does not match; "~" alone matches the empty text, and "a~" is
// a. Only the first "~" that no backslash precedes divides.
// For other programs that link the library; tested, not used by orvellis.
int super_wildmat_tilde(std::string_view pattern, std::string_view text);

// 1 match; 0 no match; -1 no match, and none at a later position of the text.
//
// A group that matched stays open for the rest of the run (deliberate): from
// then on, a "|" or ")" outside any group counts as group syntax, where before
// it is an abort.
// For other programs that link the library; tested, not used by orvellis.
int DoMatch(std::string_view text, std::string_view pattern);
