// Reads one JSON object, or one line of LTSV, for the fields of a request.
//
// The reader is tolerant: it looks for keys and values and for nothing else. Texts may hold any
// bytes and any escapes, also those that JSON has none of ("\x22"); an object that breaks off
// gives what it held. Keys are looked up by key_names.h; objects that mean nothing to it are passed over,
// as are the headers of a response and the body of a request, and of a list the first text counts. A key that
// is no header wins over those that are.
#pragma once

#include <array>
#include <string_view>

#include "layouts/given_keys.h"
#include "layouts/key_names.h"
#include "layouts/line_fields.h"

// What the keys of the last line meant, by their places: nearly all lines have the same keys.
struct KeyMemory {
  static constexpr size_t kPlaces = 128;
  struct Place {
    std::array<char, 62> key;
    uint8_t size = 255;  // 255: none
    KeyMeaning meaning;
  };
  std::array<Place, kPlaces> places = {};
};

// False when the line does not begin with "{" behind blanks. Takes time linear in the line's length, and
// nesting of any depth. Texts are handed out as they stand, those with a backslash marked as escaped.
bool SplitJson(std::string_view line, KeyMemory& memory, LineFields& fields);

// The same of a line of words that give keys a meaning: on the top level these mean what the words say, be it
// nothing, and other keys tell only what they do not. Whole tells whether the line is an object, as far as it
// was read: texts between quotes, behind keys, and its end.
bool SplitJsonByKeys(std::string_view line, const GivenKeys& given, KeyMemory& memory, LineFields& fields,
                     bool& whole);

// label:value between tabs. False when the first word has no colon.
bool SplitLtsv(std::string_view line, LineFields& fields);

// Takes JSON's escapes out of a text in place and returns its new size: "\u" with four digits becomes
// UTF-8, but for control characters; what is no escape of JSON's stays as it is.
size_t DecodeJsonText(char* text, size_t size);

// The text of the first of these keys in a JSON object, at any depth that begins with it: of
// the outermost object only. Null when there is none. Escaped tells whether it holds a backslash.
std::string_view FindJsonText(std::string_view line, std::string_view key, bool& escaped);
