// URL decoding, shared by the posted form, the log parser and search phrases.
#pragma once

#include <cstddef>

// Decodes a NUL-terminated text in place: "+" becomes a space, "%" and two
// hexadecimal digits become the byte they encode, "%%" becomes "%"; any other
// "%" stays. "%00" therefore ends the text. Returns the length of the result
// (to the first NUL). A null pointer is ignored (0).
size_t decode(char* text);
