#include "superlog/given_log.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "superlog/byte_scan.h"

struct GivenLog {
  int file = -1;
  std::string path;
  GivenLines lines = {};
};
static GivenLog mGiven;

void ForgetGivenLog() {
  if (mGiven.file >= 0) {
    close(mGiven.file);
  }
  mGiven = {};
}

// ---- Keeping ----

// Where there is no such file, in memory.
static int MakeUnnamedFile() {
  const char* const folder = getenv("TMPDIR");
  const bool named = folder != nullptr && folder[0] != '\0';
  const int file = open(named ? folder : "/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  return file >= 0 ? file : memfd_create("log", MFD_CLOEXEC);
}

static bool WriteAt(int file, const char* bytes, size_t size, int64_t offset) {
  while (size > 0) {
    const ssize_t written = pwrite(file, bytes, size, offset);
    if (written <= 0) {
      return false;
    }
    bytes += written;
    size -= static_cast<size_t>(written);
    offset += written;
  }
  return true;
}

// How many of the bytes that have come to a place stand before another one.
static size_t SizeBefore(int64_t place, int64_t offset, size_t size) {
  return static_cast<size_t>(std::clamp<int64_t>(place - offset, 0, static_cast<int64_t>(size)));
}

static void CountLines(const LogPiece& piece, const char* bytes, size_t size, int64_t offset) {
  const size_t before = SizeBefore(piece.from, offset, size);
  const size_t behind = SizeBefore(piece.to, offset, size);
  mGiven.lines.before += CountByte(bytes, bytes + before, '\n');
  mGiven.lines.within += CountByte(bytes + before, bytes + behind, '\n');
}

// Keeps what comes as what stands in the log from one place to another one; returns where it has ended, or -1
// where it could not be kept.
static int64_t Keep(FILE* stream, const LogPiece& piece, int64_t from, int64_t to) {
  constexpr size_t kBlock = size_t{64} << 10;
  static char block[kBlock + kScanOverread];
  while (from < to) {
    const size_t size = fread(block, 1, SizeBefore(to, from, kBlock), stream);
    if (size == 0) {
      break;
    }
    if (!WriteAt(mGiven.file, block, size, from)) {
      return -1;
    }
    CountLines(piece, block, size, from);
    from += static_cast<int64_t>(size);
  }
  return from;
}

// ---- What there is to come ----

static int64_t BeginOf(const LogPiece& piece) {
  return std::max<int64_t>(piece.lead - kGivenBefore, 0);
}

static int64_t EndOf(const LogPiece& piece) {
  const auto size = static_cast<int64_t>(piece.size);
  if (piece.to == kNoStop) {
    return kNoStop;
  }
  return piece.to + std::clamp<int64_t>(size - std::min(piece.to, size), 0, kGivenBehind);
}

static LogGiven Judge(const LogPiece& piece, int64_t first, int64_t last, FILE* stream) {
  if (first < 0 || last < 0) {
    return LogGiven::kNotKept;
  }
  const auto size = static_cast<int64_t>(piece.size);
  const int64_t end = EndOf(piece);
  const int64_t wanted = end == kNoStop ? std::max(size, piece.from) : end;
  if (first < std::min(kGivenFirst, BeginOf(piece)) || last < wanted) {
    return LogGiven::kTooShort;
  }
  if (end != kNoStop && getc(stream) != EOF) {
    return LogGiven::kTooLong;
  }
  return last >= size || ftruncate(mGiven.file, size) == 0 ? LogGiven::kAll : LogGiven::kNotKept;
}

LogGiven TakeGivenLog(FILE* stream, const LogPiece& piece) {
  ForgetGivenLog();
  mGiven.file = MakeUnnamedFile();
  mGiven.path = piece.path;
  if (mGiven.file < 0) {
    return LogGiven::kNotKept;
  }
  const int64_t begin = BeginOf(piece);
  const int64_t first = Keep(stream, piece, 0, std::min(kGivenFirst, begin));
  const int64_t last = first < 0 ? -1 : Keep(stream, piece, begin, EndOf(piece));
  return Judge(piece, first, last, stream);
}

const GivenLines* LinesOfGivenLog() {
  return mGiven.file >= 0 ? &mGiven.lines : nullptr;
}

// ---- Opening ----

OpenedFile OpenLogFile(const char* path) {
  if (mGiven.path.empty() || mGiven.path != path) {
    return OpenToRead(path);
  }
  const int file = fcntl(mGiven.file, F_DUPFD_CLOEXEC, 0);
  if (file >= 0) {
    lseek(file, 0, SEEK_SET);
  }
  return {file, FileKind::kRegular};
}
