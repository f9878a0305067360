// Names of top-level domains, from the installation's names file.
#pragma once

#include "base/text.h"

// Upper-cases item and, when the names file at path has it as a code, replaces
// it by the code's description. A file that cannot be opened changes no more.
// The file is read once a run; the answers are those of reading it each time.
void ResolveItem(char (&item)[kTextSize], const char* path);
