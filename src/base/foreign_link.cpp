#include "base/foreign_link.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "base/path.h"
#include "base/text.h"

static bool IsOthers(const struct stat& folder) {
  const bool own = folder.st_uid == geteuid() || folder.st_uid == 0;
  return !own || (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

int FollowOwnLinksOnly(const char* path) {
  char folder[PATH_MAX];
  const size_t length = FolderLength(path);
  CopyText(folder, length == 0 ? "." : std::string_view(path, length));
  struct stat info;
  return stat(folder, &info) == 0 && IsOthers(info) ? O_NOFOLLOW : 0;
}

bool IsForeignLink(const char* path) {
  struct stat info;
  return lstat(path, &info) == 0 && S_ISLNK(info.st_mode) && FollowOwnLinksOnly(path) != 0;
}
