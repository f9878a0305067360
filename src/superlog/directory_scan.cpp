#include "superlog/directory_scan.h"

#include <sys/stat.h>

#include <cstring>

bool FindFirst(DirectoryScan& scan, const char* pattern, FoundFile& found) {
  scan = {};
  if (*pattern == '\0' || glob(pattern, 0, nullptr, &scan.matches) != 0 || !FindNext(scan, found)) {
    FindClose(scan);
    return false;
  }
  return true;
}

bool FindNext(DirectoryScan& scan, FoundFile& found) {
  if (scan.next == scan.matches.gl_pathc) {
    return false;
  }
  const char* const path = scan.matches.gl_pathv[scan.next++];
  const char* const slash = strrchr(path, '/');
  struct stat info;
  found.name = slash == nullptr ? path : slash + 1;
  found.size = stat(path, &info) == 0 ? info.st_size : 0;
  return true;
}

void FindClose(DirectoryScan& scan) {
  globfree(&scan.matches);
}
