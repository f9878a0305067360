// The files that match a shell pattern, sorted by name.
#pragma once

#include <glob.h>

#include <cstddef>
#include <cstdint>

struct FoundFile {
  const char* name;  // without directory; valid until FindClose
  int64_t size;      // bytes; 0 when the file cannot be examined
};

struct DirectoryScan {
  glob_t matches;
  size_t next;
};

// Starts a scan with its first match. False when the pattern is empty or nothing
// matches; FindClose is then not needed.
bool FindFirst(DirectoryScan& scan, const char* pattern, FoundFile& found);

// The next match; false after the last.
bool FindNext(DirectoryScan& scan, FoundFile& found);

void FindClose(DirectoryScan& scan);
