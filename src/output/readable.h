// Addresses as a reader reads them: browsers send all that is not ASCII as percent and two
// digits for each byte.
#pragma once

#include <string_view>

#include "base/limits.h"

struct ReadableText {
  char text[kLongestItem];
};

// The address, in whose path and query each visible character (characters.h) beyond ASCII that
// is wholly written so stands as itself; it lies in room when there is any, and becomes shorter.
// All else stays as it is: what is ASCII ("%2F", "%20", "%00", "%3C"), what cannot be seen or
// turns the direction of others, bytes that are no UTF-8, and the host of an address, where
// what is read must be what is gone to. An address above kLongestItem stays as it is, too.
std::string_view Readable(std::string_view address, ReadableText& room);
