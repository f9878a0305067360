// Splits one line into fields by space, tab or comma, in place.
#pragma once

#include <cstddef>

// A cursor over one NUL-terminated line; the parsers write a NUL behind the
// field's value.
struct FieldCursor {
  char* next;   // start of the field to read next
  char* end;    // the line's terminating NUL
  char* value;  // the field just read, without quotes or brackets
  size_t length;
};

void ParseField(FieldCursor& cursor);        // space
void ParseField_Tab(FieldCursor& cursor);    // tab
void ParseField_Comma(FieldCursor& cursor);  // comma and space

// Reads the next field with the splitter of a separator letter S, T or C.
void ParseFieldBySeparator(FieldCursor& cursor, char separator);
