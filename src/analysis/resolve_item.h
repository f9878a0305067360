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

#include "base/text.h"

// Makes the names of the file at path those that are held. Called before anything
// is counted, it leaves nothing for which the page could lack memory half-way.
void ReadNamesOnce(const char* path);

// Upper-cases item (ASCII) and, when the file at path has it as a code, replaces
// it by the code's description as written. The records that follow are held
// against the replaced item, so a description may be a later record's code. A
// file that cannot be opened only leaves the item upper-cased; null is such a
// path. When memory runs out, the process exits with status 1.
void ResolveItem(char (&item)[kTextSize], const char* path);

// Releases the names that are held.
void ForgetNames();
