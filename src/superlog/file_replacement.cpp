#include "superlog/file_replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/path.h"
#include "base/text.h"

static constexpr mode_t ModeFor(FileFor whom) {
  return whom == FileFor::kUserAlone ? 0600 : 0666;
}

static constexpr int kWriteFlags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY;

// Marks of files that are not to be written.
static constexpr int kNoFile = -1;
static constexpr int kBusy = -2;  // another process is writing it

// A hidden name, so that patterns like "logs/*" do not match it.
static void NameTemporary(FileReplacement& replacement) {
  const std::string_view path = replacement.path;
  const size_t name = FolderLength(path);
  snprintf(replacement.temporary, sizeof replacement.temporary, "%.*s.%s.new", static_cast<int>(name),
           replacement.path, replacement.path + name);
}

static int CloseAs(int mark, int file) {
  close(file);
  return mark;
}

// Where files cannot be locked there is nobody to wait for.
static bool Lock(int file) {
  return flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

static bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Opens the temporary file, a new one or one that a dead process left behind. Who
// holds its lock while it has its name is alone with it.
static int OpenAlone(const char* path, FileFor whom) {
  const int file = open(path, kWriteFlags | O_NOFOLLOW | O_NONBLOCK, ModeFor(whom));
  if (file < 0) {
    return kNoFile;
  }
  struct stat info;
  struct stat named;
  if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode) || info.st_nlink > 1 || info.st_uid != geteuid()) {
    return CloseAs(kNoFile, file);
  }
  if (!Lock(file) || lstat(path, &named) != 0 || !SameFile(info, named)) {
    return CloseAs(kBusy, file);
  }
  return ftruncate(file, 0) == 0 ? file : CloseAs(kNoFile, file);
}

// Gives a new file the old one's group and mode; its owner is the same already.
static bool TakeOver(int file, const struct stat& old, FileFor whom) {
  const mode_t mode = whom == FileFor::kUserAlone ? ModeFor(whom) : old.st_mode & 07777;
  return fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0 && fchmod(file, mode) == 0;
}

// Also of a file that was there before, for others too.
static bool CloseToOthers(int file, FileFor whom) {
  return whom == FileFor::kAll || fchmod(file, ModeFor(whom)) == 0;
}

static int OpenTemporary(FileReplacement& replacement, FileFor whom) {
  struct stat old;
  const bool exists = lstat(replacement.path, &old) == 0;
  if (exists && (!S_ISREG(old.st_mode) || old.st_nlink != 1 || old.st_uid != geteuid() ||
                 faccessat(AT_FDCWD, replacement.path, W_OK, AT_EACCESS) != 0)) {
    return kNoFile;
  }
  NameTemporary(replacement);
  const int file = OpenAlone(replacement.temporary, whom);
  if (file >= 0 && ((exists && !TakeOver(file, old, whom)) || !CloseToOthers(file, whom))) {
    unlink(replacement.temporary);
    return CloseAs(kNoFile, file);
  }
  return file;
}

static bool IsRegular(int file) {
  struct stat info;
  return fstat(file, &info) == 0 && S_ISREG(info.st_mode);
}

static int OpenInPlace(FileReplacement& replacement) {
  replacement.temporary[0] = '\0';
  // Without O_NONBLOCK, opening a named pipe would wait for a reader.
  const int file = open(replacement.path, kWriteFlags | O_NONBLOCK, ModeFor(FileFor::kAll));
  if (file >= 0 && (!IsRegular(file) || !Lock(file) || ftruncate(file, 0) != 0)) {
    return CloseAs(kNoFile, file);
  }
  return file;
}

bool BeginReplacement(FileReplacement& replacement, const char* path, const char* head,
                      const char* unfinished, FileFor whom) {
  CopyText(replacement.path, path);
  int file = OpenTemporary(replacement, whom);
  if (file == kNoFile && whom == FileFor::kAll) {
    file = OpenInPlace(replacement);
  }
  if (file < 0) {
    return false;
  }
  replacement.head = head;
  replacement.lock = fcntl(file, F_DUPFD_CLOEXEC, 0);
  replacement.stream = replacement.lock < 0 ? nullptr : fdopen(file, "w");
  if (replacement.stream == nullptr) {
    close(file);
    close(replacement.lock);
    unlink(replacement.temporary);
    return false;
  }
  fputs(replacement.temporary[0] == '\0' ? unfinished : head, replacement.stream);
  return true;
}

static bool WriteHead(const FileReplacement& replacement) {
  const size_t length = strlen(replacement.head);
  return pwrite(replacement.lock, replacement.head, length, 0) == static_cast<ssize_t>(length);
}

static bool RenameTemporary(const FileReplacement& replacement) {
  return rename(replacement.temporary, replacement.path) == 0;
}

bool FinishReplacement(FileReplacement& replacement) {
  const bool in_place = replacement.temporary[0] == '\0';
  const bool complete = ferror(replacement.stream) == 0;
  const bool written = fclose(replacement.stream) == 0 && complete;
  // The lock is still held: nobody takes over the temporary file before it has its new name.
  const bool finished = written && (in_place ? WriteHead(replacement) : RenameTemporary(replacement));
  if (!finished && !in_place) {
    unlink(replacement.temporary);
  }
  close(replacement.lock);
  return finished;
}
