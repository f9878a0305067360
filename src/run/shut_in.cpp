#include "run/shut_in.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "analysis/look_ups.h"
#include "analysis/rules.h"
#include "base/foreign_link.h"
#include "base/path.h"
#include "report/error_page.h"
#include "run/given_piece.h"
#include "run/part_run.h"
#include "run/plan_run.h"
#include "sandbox/landlock.h"
#include "sandbox/syscall_filter.h"
#include "superlog/given_log.h"
#include "superlog/summary_file.h"
#include "superlog/superlog.h"
#include "unpack/unpacking.h"

// The C library looks every time whether the machine's zone is still the same, and reads it anew if not.
static constexpr const char* kZones[] = {"/etc/localtime", "/usr/share/zoneinfo"};

// A folder that stands for a log is opened, but nothing beneath it is.
static constexpr PathRights kToRead{.file = kReadFile, .folder = kListFolder};
static constexpr PathRights kToReadWithin{.file = kReadFile, .folder = kReadFile};
static constexpr PathRights kToAppend{.file = kWriteFile, .folder = 0};
static constexpr PathRights kToRewrite{.file = kReadFile | kWriteFile | kTruncateFile, .folder = 0};
static constexpr PathRights kToMakeIn{.file = 0, .folder = kMakeFile | kWriteFile};
static constexpr PathRights kToReplaceIn{.file = 0,
                                         .folder = kMakeFile | kWriteFile | kTruncateFile | kRemoveFile};
static constexpr PathRights kToKeepIn{
    .file = 0, .folder = kReadFile | kMakeFile | kWriteFile | kTruncateFile | kRemoveFile};
static constexpr PathRights kToKeepSome{.file = 0, .folder = kToKeepIn.folder | kListFolder};

// ---- Files ----

// Rights to the folder of a path. Only where the user has them, so that no rule says more than is so.
template <size_t kSize>
static void AllowFolderOf(Landlock& landlock, const char* path, const PathRights& rights) {
  char folder[kSize];
  const size_t length = FolderLength(path);
  CopyText(folder, length == 0 ? std::string_view(".") : std::string_view(path, length));
  if (faccessat(AT_FDCWD, folder, W_OK, AT_EACCESS) == 0) {
    AllowPath(landlock, folder, rights);
  }
}

// What is done with the paths of a run.
struct PathsToAllow {
  Landlock landlock;
  bool landlocked;   // otherwise there are no rules
  size_t unpackers;  // helpers that the first compressed log starts, as it cannot be done later
};

static void AllowLog(void* paths, const char* path, bool plain_file) {
  PathsToAllow& allow = *static_cast<PathsToAllow*>(paths);
  if (allow.unpackers > 0 && FormatOfPath(path) != PackFormat::kNone) {
    StartUnpacking(allow.unpackers);
    allow.unpackers = 0;
  }
  Landlock& landlock = allow.landlock;
  if (!allow.landlocked) {
    return;
  }
  if (plain_file) {
    AllowFile(landlock, path, kToRead.file);
  } else {
    AllowPath(landlock, path, kToRead);
  }
}

// Compressed bytes are unpacked by a helper, as those of a file are.
static void PrepareForBytes(const PathsToAllow& paths, const Settings& settings, const LogPiece& piece) {
  TakeBytesOf(piece, settings);
  const int file = OpenLogFile(piece.path.c_str()).file;
  if (paths.unpackers > 0 && file >= 0 && FormatOfFile(file) != PackFormat::kNone) {
    StartUnpacking(paths.unpackers);
  }
  if (file >= 0) {
    close(file);
  }
}

static void AllowPieces(PathsToAllow& paths, const Settings& settings) {
  std::string_view last;
  for (const LogPiece& piece : GivenPieces(settings)) {
    if (piece.path.empty() || settings.missing) {
      continue;
    }
    if (settings.stream != nullptr) {
      PrepareForBytes(paths, settings, piece);
    } else if (piece.path != last) {
      AllowLog(&paths, piece.path.c_str(), true);
    }
    last = piece.path;
  }
}

static void AllowSummary(void* paths, const char* path) {
  PathsToAllow& allow = *static_cast<PathsToAllow*>(paths);
  Landlock& landlock = allow.landlock;
  if (!allow.landlocked) {
    return;
  }
  if (!IsForeignLink(path)) {
    AllowPath(landlock, path, kToRewrite);
  }
  AllowFolderOf<kSummaryPathSize>(landlock, path, kToReplaceIn);
}

static void AllowPart(void* landlock, const char* path) {
  AllowPath(*static_cast<Landlock*>(landlock), path, kToRead);
}

// A part is written beside the file that it replaces, or there.
static void AllowParts(Landlock& landlock, const Settings& settings) {
  if (settings.merge != nullptr) {
    FindParts(settings, &landlock, AllowPart);
  }
  if (settings.part != nullptr) {
    AllowPath(landlock, settings.part, kToRewrite);
    AllowFolderOf<kPathSize>(landlock, settings.part, kToReplaceIn);
  }
}

// Counts are listed, so that those go which have not been used for long.
static void AllowStores(Landlock& landlock, const Settings& settings) {
  if (settings.store[0] != '\0') {
    AllowPath(landlock, settings.store, kToKeepIn);
  }
  if (settings.part_cache[0] != '\0') {
    AllowPath(landlock, settings.part_cache, kToKeepSome);
  }
}

static void AllowErrorLog(Landlock& landlock, const char* path) {
  if (path[0] != '\0' && !IsForeignLink(path) && !AllowPath(landlock, path, kToAppend)) {
    AllowFolderOf<kPathSize>(landlock, path, kToMakeIn);
  }
}

// One for each worker, and one for the run that stands by.
static size_t UnpackersFor(const Settings& settings) {
  return settings.workers > 1 ? static_cast<size_t>(settings.workers) + 1 : 1;
}

// Returns an error number, as EnterLandlock does.
static int GiveUpFiles(const Settings& settings) {
  PathsToAllow paths{
      .landlock = {}, .landlocked = false, .unpackers = settings.rules.unpacks ? UnpackersFor(settings) : 0};
  Landlock& landlock = paths.landlock;
  paths.landlocked = BeginLandlock(landlock);
  if (settings.piece != nullptr) {
    AllowPieces(paths, settings);
  } else if (settings.merge == nullptr && !JoinsPlans(settings)) {
    SuperLog_FindAhead(settings, {.context = &paths, .log = AllowLog, .summary = AllowSummary});
  }
  if (!paths.landlocked) {
    return landlock.failure;
  }
  AllowStores(landlock, settings);
  AllowErrorLog(landlock, settings.ErrorLog);
  AllowParts(landlock, settings);
  AllowPath(landlock, settings.Networks, kToRead);
  for (const char* const zones : kZones) {
    AllowPath(landlock, zones, kToReadWithin);
  }
  return EnterLandlock(landlock);
}

// ---- The whole ----

static void Tell(const Settings& settings, const char* what, int error) {
  if (error != 0) {
    char sentence[kTextSize];
    snprintf(sentence, sizeof sentence, "The run could not give up %s: %s", what, strerror(error));
    LogError(settings, sentence);
  }
}

void ShutIn(const Settings& settings) {
  if (NeedsNames(settings) && settings.part == nullptr) {
    StartLookUps();
  }
  Tell(settings, "files", GiveUpFiles(settings));
  Tell(settings, "system calls",
       EnterSyscallFilter(settings.workers > 1 ? SyscallSet::kWorkers : SyscallSet::kReport));
}
