// Splits one line into fields by space, tab or comma, in place.
#pragma once

#include <cstddef>

// A cursor over one line; the parsers write a NUL behind the field's value and
// move on to the next field. The line is used up when next has reached end. Of
// the line only [next, end] is looked at, but its buffer must go on for
// kScanOverread bytes from end on (those of line_reader.h do).
struct FieldCursor {
  char* next;     // start of the field to read next
  char* end;      // the line's terminating NUL
  char* value;    // the field just read, without quotes or brackets, NUL-terminated
  size_t length;  // of value
};

// Reads the next field; at the end of the line an empty one. Space: a field that
// begins with a double quote, a single quote or "[" is what lies before the
// closing one; in any other, and inside single quotes and brackets, a pair of
// double quotes hides the terminator. Two spaces in a row enclose an empty field.
void ParseField(FieldCursor& cursor);

// Tab: leading spaces are skipped; tabs inside a pair of double quotes belong to
// the value; quotes around the whole value are removed.
void ParseField_Tab(FieldCursor& cursor);

// Comma and space: leading spaces and tabs are skipped; a comma without a space
// behind it, and one inside a pair of double quotes, belongs to the value.
void ParseField_Comma(FieldCursor& cursor);

// Letters that choose a parser: S, T and C.
inline bool IsSeparatorLetter(char letter) {
  return letter == 'S' || letter == 'T' || letter == 'C';
}

// The parser of a separator letter; that of S for any other letter.
using FieldParser = void (*)(FieldCursor& cursor);
FieldParser FindFieldParser(char separator);

// Reads the next field with the parser of a separator letter.
void ParseFieldBySeparator(FieldCursor& cursor, char separator);
