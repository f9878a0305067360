#include "index/index_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "index/report_folder.h"
#include "output/report_summary.h"

// Left behind by a process that died, it is removed by the next one.
static constexpr char kNewName[] = ".index.html.new";

static constexpr int kAttempts = 100;
static constexpr timespec kPause = {.tv_sec = 0, .tv_nsec = 100'000'000};

void WaitForTurn(int folder) {
  for (int attempt = 0; attempt < kAttempts && flock(folder, LOCK_EX | LOCK_NB) != 0; ++attempt) {
    if (errno != EWOULDBLOCK) {
      return;  // there are no locks here
    }
    nanosleep(&kPause, nullptr);
  }
}

bool IsIndexOurs(int folder) {
  struct stat info;
  if (fstatat(folder, kIndexName, &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT;
  }
  if (!S_ISREG(info.st_mode)) {
    return false;
  }
  const int file = openat(folder, kIndexName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) {
    return false;
  }
  char begin[kSummaryReach];
  const ssize_t length = read(file, begin, sizeof begin);
  close(file);
  return length > 0 && IsIndexPage({begin, static_cast<size_t>(length)});
}

std::FILE* BeginIndex(int folder) {
  unlinkat(folder, kNewName, 0);
  const int file = openat(folder, kNewName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  std::FILE* const index = file < 0 ? nullptr : fdopen(file, "w");
  if (index == nullptr && file >= 0) {
    close(file);
    unlinkat(folder, kNewName, 0);
  }
  return index;
}

static bool IsWhole(std::FILE* index) {
  return ferror(index) == 0 && fflush(index) == 0 && fsync(fileno(index)) == 0;
}

bool FinishIndex(int folder, std::FILE* index) {
  const bool whole = IsWhole(index);
  const bool closed = fclose(index) == 0;
  if (whole && closed && renameat(folder, kNewName, folder, kIndexName) == 0) {
    return true;
  }
  const int reason = errno;
  unlinkat(folder, kNewName, 0);
  errno = reason;
  return false;
}
