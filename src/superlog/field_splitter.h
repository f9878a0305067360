// Splits one line into fields by space, tab or comma, in place.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "superlog/byte_scan.h"
#include "superlog/line_marks.h"

// A cursor over one line, whose marks are those of the separator that its fields are read
// with; the parsers move on to the next field, and write nothing. The line is used up when
// next has reached end.
struct FieldCursor {
  const LineMarks& marks;
  char* next;        // start of the field to read next
  char* end;         // the line's terminating NUL
  char* value;       // the field just read, without quotes or brackets
  size_t length;     // of value
  bool cut = false;  // the line goes on behind end
};

// Reads the next field; at the end of the line an empty one. Space: a field that
// begins with a double quote, a single quote or "[" is what lies before the
// closing one; in any other, and inside single quotes and brackets, a pair of
// double quotes hides the terminator. Two spaces in a row enclose an empty field.
//
// Apache httpd and lighttpd write a backslash before each backslash and double quote
// that they were sent. With escapes, a quote behind an odd number of backslashes neither
// begins nor ends anything. Servers that write none are told by what follows: no space
// and no end of line behind the closing quote, or no such quote in a line that is not cut.
// A field that they wrote ends at the first quote that has one behind it, as the path
// "C:\" does. What follows a closing bracket from a ":" on belongs to no field: the port of an
// address of IPv6.
template <bool kEscapes = false>
inline void ParseField(FieldCursor& cursor);

// Tab: leading spaces are skipped; tabs inside a pair of double quotes belong to
// the value; quotes around the whole value are removed.
inline void ParseField_Tab(FieldCursor& cursor);

// Comma and space: leading spaces and tabs are skipped; a comma without a space
// behind it, and one inside a pair of double quotes, belongs to the value.
inline void ParseField_Comma(FieldCursor& cursor);

// Where the date of a line in common log format begins: the "[" of the last text before
// the first quote that is not escaped, which has the shape
//   [05/Mar/2000:07:06:11 +0000] "
// and a space before it, or stands at from. Null when there is none. What a visitor
// chose, and a server escaped, is never taken for it: users may hold spaces and
// brackets, but no such quote, and all else that he chose stands behind the date.
inline char* FindDateBeforeRequest(char* from, char* end);

// Reads the next field, which ends before the space before date.
inline void ParseFieldBefore(FieldCursor& cursor, char* date);

// Letters that choose a parser: S, T and C.
inline bool IsSeparatorLetter(char letter) {
  return letter == 'S' || letter == 'T' || letter == 'C';
}

inline char SeparatorOf(char letter) {
  return letter == 'T' ? '\t' : letter == 'C' ? ',' : ' ';
}

// Reads the next field with the parser of a separator letter; that of S for any
// other letter.
template <bool kEscapes = false>
inline void ParseFieldBySeparator(FieldCursor& cursor, char separator);

// Splits a marked line that is not empty and has no double quotes at its separators, S or T, and returns how
// many fields it has, at most so many. 0 when the parser would read one of them otherwise, or one is longer
// than that.
template <char kSeparator>
inline size_t SplitAtSeparators(const LineMarks& marks, size_t most, size_t longest,
                                std::string_view* fields);

// --- Definitions, here because every field of every line goes through them ------

// Whether an odd number of backslashes stands before the quote, from start on.
inline bool IsEscaped(const char* start, const char* quote) {
  const char* first = quote;
  while (first != start && first[-1] == '\\') {
    --first;
  }
  return (quote - first) % 2 != 0;
}

// First quote in [from, end) that is not escaped; end when there is none.
inline char* FindBareQuote(char* from, char* end) {
  char* quote = FindByte(from, end, '"');
  while (quote != end && IsEscaped(from, quote)) [[unlikely]] {
      quote = FindByte(quote + 1, end, '"');
    }
  return quote;
}

// What lies behind the quote of a field that begins at start: behind that quote where it is
// escaped, else behind the one that closes it; end when none does.
[[gnu::cold, gnu::noinline]] inline char* SkipEscapedOrQuoted(char* start, char* quote, char* end) {
  if (IsEscaped(start, quote)) {
    return quote + 1;
  }
  char* const closing = FindBareQuote(quote + 1, end);
  return closing == end ? end : closing + 1;
}

// First terminator in [from, end) that is not preceded by an odd number of
// double quotes; end when there is none.
template <bool kMarked, char kTerminator, bool kEscapes = false>
inline char* FindOutsideQuotes(const LineMarks& marks, char* from, char* end) {
  [[maybe_unused]] char* const start = from;
  for (;;) {
    char* const found = kMarked ? NextStop(marks, from) : FindEither(from, end, kTerminator, '"');
    if (found == end || *found == kTerminator) {
      return found;
    }
    if constexpr (kEscapes) {
      from = SkipEscapedOrQuoted(start, found, end);
      continue;
    }
    char* const closing = NextQuote(marks, found + 1);
    if (closing == end) {
      return end;
    }
    from = closing + 1;
  }
}

inline bool HasSpaceBehind(const char* quote, const char* end) {
  return quote + 1 == end || quote[1] == ' ';
}

// The end of a quoted field whose first quote has a backslash before it.
[[gnu::cold, gnu::noinline]] inline char* FindClosingQuote(char* start, char* quote,
                                                           const FieldCursor& cursor) {
  char* const end = cursor.end;
  if (!IsEscaped(start, quote)) {
    return quote;
  }
  char* const closing = FindBareQuote(start, end);
  if (closing == end ? cursor.cut : HasSpaceBehind(closing, end)) {
    return closing;
  }
  while (quote != end && !HasSpaceBehind(quote, end)) {
    quote = NextQuote(cursor.marks, quote + 1);
  }
  return quote;
}

template <bool kEscapes>
inline char* FindEndOfQuoted(char* start, const FieldCursor& cursor) {
  char* const quote = NextQuote(cursor.marks, start);
  return kEscapes && quote[-1] == '\\' ? FindClosingQuote(start, quote, cursor) : quote;
}

// Makes [start, stop) the value and goes on behind the terminator at stop.
inline void TakeField(FieldCursor& cursor, char* start, char* stop) {
  cursor.value = start;
  cursor.length = static_cast<size_t>(stop - start);
  cursor.next = stop + (stop == cursor.end ? 0 : 1);
}

// Skips the space behind a closing quote or bracket.
inline void SkipSpace(FieldCursor& cursor) {
  if (cursor.next != cursor.end && *cursor.next == ' ') {
    ++cursor.next;
  }
}

// The same behind a bracket; with ports, and a port behind it before the space.
template <bool kPorts>
inline void SkipPortAndSpace(FieldCursor& cursor) {
  if (kPorts && cursor.next != cursor.end && *cursor.next == ':') [[unlikely]] {
    cursor.next = FindByte(cursor.next, cursor.end, ' ');
  }
  SkipSpace(cursor);
}

template <bool kEscapes>
inline void ParseField(FieldCursor& cursor) {
  char* const start = cursor.next;
  char* const end = cursor.end;
  switch (start == end ? '\0' : *start) {
    case '"':
      TakeField(cursor, start + 1, FindEndOfQuoted<kEscapes>(start + 1, cursor));
      SkipSpace(cursor);
      break;
    case '\'':
      TakeField(cursor, start + 1, FindOutsideQuotes<false, '\'', kEscapes>(cursor.marks, start + 1, end));
      SkipSpace(cursor);
      break;
    case '[':
      TakeField(cursor, start + 1, FindOutsideQuotes<false, ']', kEscapes>(cursor.marks, start + 1, end));
      SkipPortAndSpace<kEscapes>(cursor);
      break;
    default:
      // Two spaces in a row enclose an empty field: deliberate.
      TakeField(cursor, start, FindOutsideQuotes<true, ' ', kEscapes>(cursor.marks, start, end));
      break;
  }
}

inline char* FindDateBeforeRequest(char* from, char* end) {
  constexpr ptrdiff_t kLength = std::string_view("[05/Mar/2000:07:06:11 +0000] ").size();
  char* const quote = FindBareQuote(from, end);
  if (quote == end || quote - from < kLength) {
    return nullptr;
  }
  char* const date = quote - kLength;
  const bool shaped = date[0] == '[' && date[3] == '/' && date[7] == '/' && date[12] == ':' &&
                      date[21] == ' ' && date[27] == ']' && date[28] == ' ';
  return shaped && (date == from || date[-1] == ' ') ? date : nullptr;
}

inline void ParseFieldBefore(FieldCursor& cursor, char* date) {
  TakeField(cursor, cursor.next, date - 1);
}

inline void ParseField_Tab(FieldCursor& cursor) {
  char* start = cursor.next;
  while (start != cursor.end && *start == ' ') {
    ++start;
  }
  TakeField(cursor, start, FindOutsideQuotes<true, '\t'>(cursor.marks, start, cursor.end));
  if (cursor.length >= 2 && cursor.value[0] == '"' && cursor.value[cursor.length - 1] == '"') {
    ++cursor.value;
    cursor.length -= 2;
  }
}

inline void ParseField_Comma(FieldCursor& cursor) {
  char* start = cursor.next;
  while (start != cursor.end && (*start == ' ' || *start == '\t')) {
    ++start;
  }
  char* stop = FindOutsideQuotes<true, ','>(cursor.marks, start, cursor.end);
  // deliberate: a comma without a space behind it is part of the value, as in a number of thousands
  while (stop != cursor.end && stop[1] != ' ') {
    stop = FindOutsideQuotes<true, ','>(cursor.marks, stop + 1, cursor.end);
  }
  TakeField(cursor, start, stop);
}

template <bool kEscapes>
inline void ParseFieldBySeparator(FieldCursor& cursor, char separator) {
  if (separator == 'T') {
    ParseField_Tab(cursor);
  } else if (separator == 'C') {
    ParseField_Comma(cursor);
  } else {
    ParseField<kEscapes>(cursor);
  }
}

// Whether the parser reads a field that begins so otherwise than up to the next separator, in a line without
// double quotes.
template <char kSeparator>
inline bool IsSpecial(char first) {
  return kSeparator == 'T' ? first == ' ' : first == '[' || first == '\'';
}

template <char kSeparator>
inline size_t SplitAtSeparators(const LineMarks& marks, size_t most, size_t longest,
                                std::string_view* fields) {
  const char* begin = marks.line;
  const char* place = marks.line;
  size_t field = 0;
  for (const uint64_t* word = marks.stops;; ++word, place += LineMarks::kWordBits) {
    for (uint64_t bits = *word; bits != 0; bits &= bits - 1) {
      const char* const end = place + std::countr_zero(bits);
      const auto length = static_cast<size_t>(end - begin);
      if (length > longest || IsSpecial<kSeparator>(*begin)) [[unlikely]] {
        return 0;
      }
      fields[field++] = {begin, length};
      begin = end + 1;
      if (field == most || begin >= marks.end) {
        return field;
      }
    }
  }
}
