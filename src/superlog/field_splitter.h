// Splits one line into fields by space, tab or comma, in place.
#pragma once

#include <cstddef>

#include "superlog/byte_scan.h"

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
inline void ParseField(FieldCursor& cursor);

// Tab: leading spaces are skipped; tabs inside a pair of double quotes belong to
// the value; quotes around the whole value are removed.
inline void ParseField_Tab(FieldCursor& cursor);

// Comma and space: leading spaces and tabs are skipped; a comma without a space
// behind it, and one inside a pair of double quotes, belongs to the value.
inline void ParseField_Comma(FieldCursor& cursor);

// Letters that choose a parser: S, T and C.
inline bool IsSeparatorLetter(char letter) {
  return letter == 'S' || letter == 'T' || letter == 'C';
}

// Reads the next field with the parser of a separator letter; that of S for any
// other letter.
inline void ParseFieldBySeparator(FieldCursor& cursor, char separator);

// --- Definitions, here because every field of every line goes through them ------

// First terminator in [from, end) that is not preceded by an odd number of
// double quotes; end when there is none.
template <char kTerminator>
inline char* FindOutsideQuotes(char* from, char* end) {
  for (;;) {
    char* const found = FindEither(from, end, kTerminator, '"');
    if (found == end || *found == kTerminator) {
      return found;
    }
    char* const closing = FindByte(found + 1, end, '"');
    if (closing == end) {
      return end;
    }
    from = closing + 1;
  }
}

// Makes [start, stop) the value and goes on behind the terminator at stop.
inline void TakeField(FieldCursor& cursor, char* start, char* stop) {
  cursor.value = start;
  cursor.length = static_cast<size_t>(stop - start);
  cursor.next = stop;
  if (stop != cursor.end) {
    *stop = '\0';
    ++cursor.next;
  }
}

// Skips the space behind a closing quote or bracket.
inline void SkipSpace(FieldCursor& cursor) {
  if (cursor.next != cursor.end && *cursor.next == ' ') {
    ++cursor.next;
  }
}

inline void ParseField(FieldCursor& cursor) {
  char* const start = cursor.next;
  char* const end = cursor.end;
  switch (start == end ? '\0' : *start) {
    case '"':
      TakeField(cursor, start + 1, FindByte(start + 1, end, '"'));
      SkipSpace(cursor);
      break;
    case '\'':
      TakeField(cursor, start + 1, FindOutsideQuotes<'\''>(start + 1, end));
      SkipSpace(cursor);
      break;
    case '[':
      TakeField(cursor, start + 1, FindOutsideQuotes<']'>(start + 1, end));
      SkipSpace(cursor);
      break;
    default:
      // Two spaces in a row enclose an empty field: deliberate.
      TakeField(cursor, start, FindOutsideQuotes<' '>(start, end));
      break;
  }
}

inline void ParseField_Tab(FieldCursor& cursor) {
  char* start = cursor.next;
  while (start != cursor.end && *start == ' ') {
    ++start;
  }
  TakeField(cursor, start, FindOutsideQuotes<'\t'>(start, cursor.end));
  if (cursor.length >= 2 && cursor.value[0] == '"' && cursor.value[cursor.length - 1] == '"') {
    cursor.value[cursor.length - 1] = '\0';
    ++cursor.value;
    cursor.length -= 2;
  }
}

inline void ParseField_Comma(FieldCursor& cursor) {
  char* start = cursor.next;
  while (start != cursor.end && (*start == ' ' || *start == '\t')) {
    ++start;
  }
  char* stop = FindOutsideQuotes<','>(start, cursor.end);
  // deliberate: a comma without a space behind it is part of the value, as in a number of thousands
  while (stop != cursor.end && stop[1] != ' ') {
    stop = FindOutsideQuotes<','>(stop + 1, cursor.end);
  }
  TakeField(cursor, start, stop);
}

inline void ParseFieldBySeparator(FieldCursor& cursor, char separator) {
  if (separator == 'T') {
    ParseField_Tab(cursor);
  } else if (separator == 'C') {
    ParseField_Comma(cursor);
  } else {
    ParseField(cursor);
  }
}
