#include "cgi/form.h"

int get_query(std::FILE* stream, int length, char* buffer) {
  if (length < 0) {
    return 0;
  }
  const size_t received = fread(buffer, 1, static_cast<size_t>(length), stream);
  buffer[received] = '\0';
  return static_cast<int>(received);
}

// Removes from text everything up to and including the mark, or all of it when
// the mark is missing, and returns what stood before the mark.
static std::string_view CutAtMark(std::string_view& text, char mark, bool& found) {
  const size_t position = text.find(mark);
  const std::string_view before = text.substr(0, position);
  found = position != std::string_view::npos;
  text.remove_prefix(found ? position + 1 : text.size());
  return before;
}

bool NextFormEntry(FormCursor& cursor, FormEntry& entry) {
  if (!cursor.more) {
    return false;
  }
  bool has_value = false;
  // deliberate: only "=" ends a name, so a field without one runs on into the next
  CopyText(entry.name, CutAtMark(cursor.rest, '=', has_value));
  CopyText(entry.value, CutAtMark(cursor.rest, '&', cursor.more));
  return true;
}

int parse_entries(FormEntry* entries, const char* body, int length) {
  FormCursor cursor{{body, length > 0 ? static_cast<size_t>(length) : 0}, true};
  int count = 0;
  while (cursor.more) {
    NextFormEntry(cursor, entries[count++]);
  }
  return count;
}
