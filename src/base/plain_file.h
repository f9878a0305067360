// Opening files whose names were written by somebody else.
#pragma once

#include <cstdio>

// As fopen for reading, but never waits: a pipe or a device opens and holds
// nothing. Null when there is no such file, it may not be read, or it is a socket;
// where memory is refused the run ends.
FILE* OpenPlainFile(const char* path);
