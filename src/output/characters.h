// What the bytes of a text are to a reader: characters of UTF-8, and which of them
// may be shown as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct Character {
  uint32_t code;  // of the character, or the byte that is none
  uint8_t size;   // bytes, at least 1
  bool valid;     // UTF-8: no overlong form, no surrogate, none above U+10FFFF
};

// The character at the start of a text, which is not empty. A byte that begins no
// valid one is taken by itself.
Character FirstCharacter(std::string_view text);

// Whether a character can be seen for what it is: no control, none without a shape of
// its own (but for the space), none that changes the direction of others, none that
// Unicode has set apart for no use or for private use.
bool IsVisible(uint32_t code);

// How many columns a terminal gives a visible character: 0 for a mark upon the one
// before, 2 for the wide ones of East Asia and for pictures, else 1.
int ColumnsOf(uint32_t code);
