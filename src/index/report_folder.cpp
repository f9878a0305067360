#include "index/report_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>
#include <utility>

// ---- A page -----------------------------------------------------------------------------

// Its kind is asked for before it is opened: opening a device can do something.
static int OpenPlainFile(int folder, const char* name) {
  struct stat info;
  if (fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode)) {
    return -1;
  }
  const int file = openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file >= 0 && (fstat(file, &info) != 0 || !S_ISREG(info.st_mode))) {
    close(file);
    return -1;
  }
  return file;
}

static bool ReadReport(int folder, const char* name, ReportSummary& summary) {
  const int file = OpenPlainFile(folder, name);
  if (file < 0) {
    return false;
  }
  char begin[kSummaryReach];
  const ssize_t length = read(file, begin, sizeof begin);
  close(file);
  return length > 0 && ReadSummary({begin, static_cast<size_t>(length)}, summary);
}

static void AddPage(int folder, const std::string& folder_name, const char* name, FoundReports& found) {
  FoundReport report{.folder = folder_name, .file = name, .summary = {}};
  if (!ReadReport(folder, name, report.summary)) {
    ++found.others;
  } else if (found.reports.size() == kMostReports) {
    found.too_many = true;
  } else {
    found.reports.push_back(std::move(report));
  }
}

// ---- Folders ----------------------------------------------------------------------------

static bool IsPage(std::string_view name) {
  return name.size() > 5 && name.ends_with(".html") && name != kIndexName;
}

// Calls take with each name that is not hidden.
template <typename Take>
static bool GoThrough(int folder, Take take) {
  DIR* const listing = fdopendir(folder);
  if (listing == nullptr) {
    close(folder);
    return false;
  }
  while (const dirent* const entry = readdir(listing)) {
    if (entry->d_name[0] != '.') {
      take(entry->d_name);
    }
  }
  closedir(listing);
  return true;
}

static constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

static bool IsFolder(int folder, const char* name) {
  struct stat info;
  return fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
}

static bool AddFolder(int folder, const char* name, FoundReports& found) {
  const int opened = openat(folder, name, kFolder);
  const std::string folder_name = name;
  return opened >= 0 && GoThrough(opened, [&](const char* file) {
           if (IsPage(file) && !IsFolder(opened, file)) {
             AddPage(opened, folder_name, file, found);
           }
         });
}

bool FindReports(int folder, FoundReports& found) {
  // A listing closes what it goes through.
  const int opened = openat(folder, ".", kFolder);
  return opened >= 0 && GoThrough(opened, [&](const char* name) {
           if (!IsFolder(folder, name)) {
             if (IsPage(name)) {
               AddPage(folder, {}, name, found);
             }
           } else if (!AddFolder(folder, name, found)) {
             ++found.closed_folders;
           }
         });
}
