#include "superlog/file_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"

static constexpr mode_t kNewFileMode = 0666;
static constexpr int kWriteFlags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY;

// A hidden name, so that patterns like "logs/*" do not match it.
static void NameTemporary(FileReplacement& replacement) {
  const std::string_view path = replacement.path;
  const size_t name = path.rfind('/') + 1;
  snprintf(replacement.temporary, sizeof replacement.temporary, "%.*s.%s.%ld", static_cast<int>(name),
           replacement.path, replacement.path + name, static_cast<long>(getpid()));
}

// Gives a new file the old one's group and mode; its owner is the same already.
static bool TakeOver(int file, const struct stat& old) {
  return fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0 && fchmod(file, old.st_mode & 07777) == 0;
}

// -1 when a temporary file cannot stand in for the old one.
static int OpenTemporary(FileReplacement& replacement) {
  struct stat old;
  const bool exists = lstat(replacement.path, &old) == 0;
  if (exists && (!S_ISREG(old.st_mode) || old.st_nlink != 1 || old.st_uid != geteuid() ||
                 faccessat(AT_FDCWD, replacement.path, W_OK, AT_EACCESS) != 0)) {
    return -1;
  }
  NameTemporary(replacement);
  const int file = open(replacement.temporary, kWriteFlags | O_EXCL, kNewFileMode);
  if (file >= 0 && exists && !TakeOver(file, old)) {
    close(file);
    unlink(replacement.temporary);
    return -1;
  }
  return file;
}

static bool IsRegularFile(int file) {
  struct stat info;
  return fstat(file, &info) == 0 && S_ISREG(info.st_mode);
}

static int OpenInPlace(FileReplacement& replacement) {
  replacement.temporary[0] = '\0';
  // Without O_NONBLOCK, opening a named pipe would wait for a reader.
  const int file = open(replacement.path, kWriteFlags | O_NONBLOCK, kNewFileMode);
  if (file >= 0 && (!IsRegularFile(file) || ftruncate(file, 0) != 0)) {
    close(file);
    return -1;
  }
  return file;
}

bool BeginReplacement(FileReplacement& replacement, const char* path) {
  CopyText(replacement.path, path);
  int file = OpenTemporary(replacement);
  if (file < 0) {
    file = OpenInPlace(replacement);
  }
  replacement.stream = file < 0 ? nullptr : fdopen(file, "w");
  if (file >= 0 && replacement.stream == nullptr) {
    close(file);
    unlink(replacement.temporary);
  }
  return replacement.stream != nullptr;
}

void FinishReplacement(FileReplacement& replacement) {
  const bool complete = ferror(replacement.stream) == 0;
  const bool written = fclose(replacement.stream) == 0 && complete;
  if (replacement.temporary[0] != '\0' &&
      (!written || rename(replacement.temporary, replacement.path) != 0)) {
    unlink(replacement.temporary);
  }
}
