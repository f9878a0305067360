// The layouts that Orvellis knows besides those of letters: a table.
#pragma once

#include <span>
#include <string_view>

#include "layouts/layout.h"

struct KnownLayout {
  std::string_view name;   // by which it is asked for
  std::string_view title;  // who writes it
  LineKind kind = LineKind::kPattern;
  std::string_view words = {};  // nginx's, of kPattern; what has no place in a record is $x
  Writing writing = {};
  std::string_view head = {};  // with which a line that names the fields begins
};

inline constexpr size_t kMostKnownLayouts = 32;

// In the order in which they are tried: of two that explain as many lines the first one is taken.
std::span<const KnownLayout> KnownLayouts();

// The layout of that name, ignoring case; null when there is none.
const KnownLayout* FindLayout(std::string_view name);

// Its place among them, from 1.
uint8_t NumberOf(const KnownLayout& known);

// Whether the line names the fields of such a layout, and so is none of its data.
bool NamesFields(std::string_view line);

// Makes it, one of the table, ready to split lines with.
void MakeLayout(const KnownLayout& known, Layout& layout);

// Makes a layout of the words of a server; false when they are none.
bool MakeLayoutOfWords(std::string_view words, Layout& layout);

// Makes a layout of the names in a "#Fields:" line, which are between blanks or tabs; those of the line's
// fields are between tabs where a line of them holds one. False when they do not tell time and URL.
bool MakeLayoutOfNames(std::string_view names, bool tabs, Layout& layout);
