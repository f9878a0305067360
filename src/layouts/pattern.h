// A layout of fixed texts and the fields between them, and how a line is cut by it.
//
// A field ends where the text that stands behind it in the layout begins. A double quote that
// is such an end counts where it has no odd number of backslashes before it; where no such
// quote is found, the first one that the text goes on behind (of servers that escape nothing).
// A field that the layout does not put between quotes may still bring its own. A user ends
// at the last "[" before the first quote, and so may hold blanks and brackets; but for lists with
// commas no other field between blanks holds one, unless it is a text that a visitor writes. Two
// blanks in a layout stand for any number of them, before which any field may hold some. What follows the
// last field behind a blank or a tab is not looked at, and a line may end early where date, request and
// status have been read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "layouts/line_fields.h"

inline constexpr size_t kMostElements = 80;
inline constexpr size_t kLongestLiterals = 4096;

struct PatternElement {
  uint16_t literal;  // where the text before the field begins among the literals
  uint16_t literal_size;
  Field field;
};

struct Pattern {
  std::array<PatternElement, kMostElements> elements;  // the last one ends the line, and is no field
  size_t count = 0;                                    // of fields
  size_t needed = 0;                                   // fields that no line may lack
  std::array<char, kLongestLiterals> literals;
  size_t literals_size = 0;
  bool client_port = false;  // the port of a client stands behind a colon, and is part of the client's field
};

// Building one: texts and fields in their order, then the end.
void ClearPattern(Pattern& pattern);
// Both false when there is no room.
bool AddText(Pattern& pattern, std::string_view text);
// Between two fields without a text between them nobody can tell where the first one ends: the
// second one is then left out.
bool AddField(Pattern& pattern, Field field);
// Completes the pattern. False when it tells no time, or neither request nor URL.
bool EndPattern(Pattern& pattern);

// Whether the pattern has that field.
bool HasField(const Pattern& pattern, Field field);

// The text that stands in the layout before a field, or behind the last one; two and more blanks are one
// '\x01'.
std::string_view LiteralBefore(const Pattern& pattern, size_t field);

// Where the cutting of a line has ended.
struct SplitStop {
  size_t fits = 0;           // how many fields were found
  const char* at = nullptr;  // in the line
};

// Cuts a line, in time linear in its length. False when it does not fit, which leaves fields
// half filled.
bool SplitByPattern(const Pattern& pattern, std::string_view line, LineFields& fields, SplitStop& stop);
