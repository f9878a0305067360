#include "superlog/directory_scan.h"

#include <fnmatch.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/memory_end.h"
#include "base/path.h"

// glob alone would do, but where memory is refused in the middle of its work it
// may release a block twice. So it is left the patterns that need it.

static bool HasWildcard(std::string_view text) {
  return text.find_first_of("*?[\\") != std::string_view::npos;
}

static void CheckMemory() {
  // Also of a folder that was passed over silently because it could not be opened.
  if (errno == ENOMEM) {
    EndWithoutMemory();
  }
}

static size_t FindByGlob(DirectoryScan& scan, const char* pattern) {
  const int failure = glob(pattern, 0, nullptr, &scan.matches);
  CheckMemory();
  return failure == 0 ? scan.matches.gl_pathc : 0;
}

static size_t FindOne(const char* path) {
  struct stat info;
  return lstat(path, &info) == 0 ? 1 : 0;
}

static const char* mName = nullptr;  // pattern of the scan that scandir is busy with

static int MatchesName(const dirent* entry) {
  return fnmatch(mName, entry->d_name, FNM_PERIOD) == 0 ? 1 : 0;
}

static int CompareNames(const dirent** a, const dirent** b) {
  return strcmp((*a)->d_name, (*b)->d_name);
}

// Leaves the path as the directory alone, to which the entries' names go.
static size_t FindInDirectory(DirectoryScan& scan, const char* name) {
  mName = name;
  scan.path[scan.directory] = '\0';
  const int count = scandir(scan.directory == 0 ? "." : scan.path, &scan.entries, MatchesName, CompareNames);
  CheckMemory();
  return count < 0 ? 0 : static_cast<size_t>(count);
}

static size_t FindAll(DirectoryScan& scan, const char* pattern) {
  const std::string_view text = pattern;
  scan.directory = FolderLength(text);
  if (HasWildcard(text.substr(0, scan.directory)) || text.ends_with('/')) {
    return FindByGlob(scan, pattern);
  }
  CopyText(scan.path, text);
  return HasWildcard(text) ? FindInDirectory(scan, pattern + scan.directory) : FindOne(scan.path);
}

void StartScan(DirectoryScan& scan, const char* pattern) {
  scan = {};
  errno = 0;
  scan.count = *pattern == '\0' ? 0 : FindAll(scan, pattern);
}

// Null after the last.
static const char* PathOfNext(DirectoryScan& scan) {
  if (scan.next == scan.count) {
    return nullptr;
  }
  const size_t place = scan.next++;
  if (scan.matches.gl_pathv != nullptr) {
    return scan.matches.gl_pathv[place];
  }
  if (scan.entries != nullptr) {
    CopyText(scan.path + scan.directory, sizeof scan.path - scan.directory, scan.entries[place]->d_name);
  }
  return scan.path;
}

bool FindNext(DirectoryScan& scan, FoundFile& found) {
  const char* const path = PathOfNext(scan);
  if (path == nullptr) {
    return false;
  }
  struct stat info;
  found.name = path + FolderLength(path);
  const bool examined = stat(path, &info) == 0;
  found.size = examined ? info.st_size : 0;
  found.file = !examined || S_ISREG(info.st_mode);
  return true;
}

FoundName NextName(DirectoryScan& scan) {
  const bool plain_file =
      scan.entries != nullptr && scan.next < scan.count && scan.entries[scan.next]->d_type == DT_REG;
  const char* const path = PathOfNext(scan);
  return {path == nullptr ? nullptr : path + FolderLength(path), plain_file};
}

void RewindScan(DirectoryScan& scan) {
  scan.next = 0;
}

void FindClose(DirectoryScan& scan) {
  globfree(&scan.matches);
  for (size_t i = 0; scan.entries != nullptr && i < scan.count; ++i) {
    free(scan.entries[i]);
  }
  free(static_cast<void*>(scan.entries));
  scan.entries = nullptr;
}
