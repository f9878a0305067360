// Reads a posted form and splits it into name/value entries, still URL-encoded.
#pragma once

#include <cstdio>

struct FormEntry {
  char name[255];
  char value[2048];
};

// Reads bytes from stream until length of them have been read or the stream
// ends, and terminates them with a NUL. buffer holds length + 1 bytes; a
// negative length reads nothing. Returns the number of bytes read.
int get_query(std::FILE* stream, int length, char* buffer);

// Splits the first length bytes of body. entries has room for one more entry
// than body has "&" characters. Names and values are cut to their capacities.
// Returns the number of entries formed: at least 1, whose value is empty when
// length is 0 or less. A field without "=" runs on into the next one's name.
int parse_entries(FormEntry* entries, const char* body, int length);
