// The files that match a shell pattern, sorted by name.
#pragma once

#include <dirent.h>
#include <glob.h>

#include <cstddef>
#include <cstdint>

#include "base/text.h"

struct FoundFile {
  const char* name;  // without directory; valid until the next call
  int64_t size;      // bytes; 0 when the file cannot be examined
  bool file;         // no folder, pipe or device, as far as that can be examined
};

struct DirectoryScan {
  size_t count;
  size_t next;
  glob_t matches;    // of a pattern with wildcards before its last "/", or nothing behind
  dirent** entries;  // of one with wildcards behind it only
  size_t directory;  // length of the path's directory, with its "/"
  char path[kPathSize + sizeof(dirent::d_name)];  // of the entry at hand, or of the only file
};

// Starts a scan before its first match: the files are found now, and looked at when their turn comes.
// FindClose ends the scan, also when nothing matches. When memory runs out, the process exits with status 1.
void StartScan(DirectoryScan& scan, const char* pattern);

// The next match; false after the last.
bool FindNext(DirectoryScan& scan, FoundFile& found);

struct FoundName {
  const char* name;  // without directory; valid until the next call; null after the last match
  bool plain_file;   // known to be one, neither folder nor link
};

// The next match without looking at the file.
FoundName NextName(DirectoryScan& scan);

// Goes back to the first match.
void RewindScan(DirectoryScan& scan);

void FindClose(DirectoryScan& scan);
