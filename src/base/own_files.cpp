#include "base/own_files.h"

#include <fcntl.h>
#include <unistd.h>

static bool IsOwn(const struct stat& info) {
  return info.st_uid == geteuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool IsOwnFolder(const char* path) {
  struct stat info;
  return lstat(path, &info) == 0 && S_ISDIR(info.st_mode) && IsOwn(info);
}

int OpenOwnFile(const char* path, struct stat& info) {
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (file >= 0 &&
      (fstat(file, &info) != 0 || !S_ISREG(info.st_mode) || info.st_nlink != 1 || !IsOwn(info))) {
    close(file);
    return -1;
  }
  return file;
}
