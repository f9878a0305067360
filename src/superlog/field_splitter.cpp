#include "superlog/field_splitter.h"

#include "superlog/byte_scan.h"

// First terminator in [from, end) that is not preceded by an odd number of
// double quotes; end when there is none.
static char* FindOutsideQuotes(char* from, char* end, char terminator) {
  for (;;) {
    char* const found = FindEither(from, end, terminator, '"');
    if (found == end || *found == terminator) {
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
static void TakeField(FieldCursor& cursor, char* start, char* stop) {
  cursor.value = start;
  cursor.length = static_cast<size_t>(stop - start);
  cursor.next = stop;
  if (stop != cursor.end) {
    *stop = '\0';
    ++cursor.next;
  }
}

void ParseField(FieldCursor& cursor) {
  char* const start = cursor.next;
  const char first = start == cursor.end ? '\0' : *start;
  if (first == '"') {
    TakeField(cursor, start + 1, FindByte(start + 1, cursor.end, '"'));
  } else if (first == '\'' || first == '[') {
    TakeField(cursor, start + 1, FindOutsideQuotes(start + 1, cursor.end, first == '[' ? ']' : first));
  } else {
    // Two spaces in a row enclose an empty field: deliberate.
    TakeField(cursor, start, FindOutsideQuotes(start, cursor.end, ' '));
    return;
  }
  if (cursor.next != cursor.end && *cursor.next == ' ') {
    ++cursor.next;
  }
}

void ParseField_Tab(FieldCursor& cursor) {
  char* start = cursor.next;
  while (start != cursor.end && *start == ' ') {
    ++start;
  }
  TakeField(cursor, start, FindOutsideQuotes(start, cursor.end, '\t'));
  if (cursor.length >= 2 && cursor.value[0] == '"' && cursor.value[cursor.length - 1] == '"') {
    cursor.value[cursor.length - 1] = '\0';
    ++cursor.value;
    cursor.length -= 2;
  }
}

void ParseField_Comma(FieldCursor& cursor) {
  char* start = cursor.next;
  while (start != cursor.end && (*start == ' ' || *start == '\t')) {
    ++start;
  }
  char* stop = FindOutsideQuotes(start, cursor.end, ',');
  // deliberate: a comma without a space behind it is part of the value, as in a number of thousands
  while (stop != cursor.end && stop[1] != ' ') {
    stop = FindOutsideQuotes(stop + 1, cursor.end, ',');
  }
  TakeField(cursor, start, stop);
}

void ParseFieldBySeparator(FieldCursor& cursor, char separator) {
  switch (separator) {
    case 'T':
      ParseField_Tab(cursor);
      break;
    case 'C':
      ParseField_Comma(cursor);
      break;
    default:
      ParseField(cursor);
      break;
  }
}
