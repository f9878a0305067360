// Names of top-level domains, from the installation's names file.
//
// The file holds one record per line: a code, in upper case and up to 19
// characters long, white space, and a description. It is read once and
// kept for the run.
//
// Three properties of the format: a code that stands alone on its line takes the
// next line as its description; a description goes on for 99 characters, and
// what is left of a longer one is read as the next record; a last line that
// lacks its line break is not a record.
#pragma once

#include <cstddef>

#include "base/text.h"

// Makes the names of the file at path those that are held. Called before anything
// is counted, it leaves nothing for which the page could lack memory half-way. A
// file that cannot be opened holds none. When memory runs out, the process exits
// with status 1.
void ReadNamesOnce(const char* path);

// Upper-cases item (ASCII) and, when the file at path has it as a code, replaces
// it by the code's description as written. The records that follow are held
// against the replaced item, so a description may be a later record's code. A
// file that cannot be opened only leaves the item upper-cased; null is such a
// path. The result is cut to capacity - 1 characters. When memory runs out, the
// process exits with status 1.
void ResolveItem(char* item, size_t capacity, const char* path);

template <size_t N>
void ResolveItem(char (&item)[N], const char* path) {
  ResolveItem(item, N, path);
}

// Releases the names that are held.
void ForgetNames();
