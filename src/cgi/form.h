// Reads a posted form and cuts it into name/value entries, still URL-encoded.
#pragma once

#include <cstdio>
#include <string_view>

#include "cgi/settings.h"

// Reads bytes from stream until length of them have been read or the stream
// ends, and terminates them with a NUL. buffer holds length + 1 bytes and is
// touched no further than the bytes that came; a negative length reads and
// writes nothing. Returns the number of bytes read.
int get_query(std::FILE* stream, int length, char* buffer);

// What is left of a body to be cut into entries. Even an empty body holds one
// entry, so a cursor starts as {body, true}.
struct FormCursor {
  std::string_view rest;
  bool more;
};

// Cuts the next entry off; false, leaving entry as it is, when none is left. The
// name runs to the first "=" wherever that is, so a field without one runs on
// into the next field's name; the value runs to the next "&". Both are cut to
// their capacities and at their first NUL byte.
bool NextFormEntry(FormCursor& cursor, FormEntry& entry);

// Cuts the first length bytes of body into entries, which has room for one more
// than body has "&" characters. Returns the number of entries formed: at least
// 1, with an empty name and value when length is 0 or less. For other programs that
// link the library; tested, not used by orvellis.
int parse_entries(FormEntry* entries, const char* body, int length);
