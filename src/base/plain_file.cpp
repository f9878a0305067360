#include "base/plain_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/memory_end.h"

static constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;

static bool HoldsText(int file) {
  struct stat info;
  return fstat(file, &info) == 0 && (S_ISREG(info.st_mode) || S_ISDIR(info.st_mode));
}

FILE* OpenPlainFile(const char* path) {
  int file = open(path, kReadFlags);
  if (file >= 0 && !HoldsText(file)) {
    close(file);
    file = open("/dev/null", kReadFlags);
  }
  if (file < 0) {
    return nullptr;
  }
  FILE* const stream = fdopen(file, "r");
  if (stream == nullptr) {
    EndWithoutMemory();
  }
  return stream;
}
