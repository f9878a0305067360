#include "superlog/field_splitter.h"

#include "superlog/byte_scan.h"

// First terminator in [from, end) that is not preceded by an odd number of
// double quotes; end when there is none.
template <char kTerminator>
static char* FindOutsideQuotes(char* from, char* end) {
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
static void TakeField(FieldCursor& cursor, char* start, char* stop) {
  cursor.value = start;
  cursor.length = static_cast<size_t>(stop - start);
  cursor.next = stop;
  if (stop != cursor.end) {
    *stop = '\0';
    ++cursor.next;
  }
}

// Skips the space behind a closing quote or bracket.
static void SkipSpace(FieldCursor& cursor) {
  if (cursor.next != cursor.end && *cursor.next == ' ') {
    ++cursor.next;
  }
}

void ParseField(FieldCursor& cursor) {
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

void ParseField_Tab(FieldCursor& cursor) {
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

void ParseField_Comma(FieldCursor& cursor) {
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

FieldParser FindFieldParser(char separator) {
  return separator == 'T' ? ParseField_Tab : separator == 'C' ? ParseField_Comma : ParseField;
}

void ParseFieldBySeparator(FieldCursor& cursor, char separator) {
  FindFieldParser(separator)(cursor);
}
