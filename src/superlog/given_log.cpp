#include "superlog/given_log.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "superlog/byte_scan.h"
#include "unpack/formats.h"

struct GivenLog {
  int file = -1;           // that holds all, or stands for what comes
  FILE* stream = nullptr;  // of which more may come; null: all is in the file
  LogPiece piece;
  std::string head;          // the first bytes, where those in the window do not go on behind them
  std::vector<char> window;  // the last bytes that came
  int64_t begin = 0;         // where in the log they stand
  int64_t end = 0;
  int64_t came_to = 0;  // the end of all that came
  LineEnds ends = {};   // of all that came
  GivenLines lines = {};
  LogGiven given = LogGiven::kAll;
  bool is_streamed = false;
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

static void CountLines(const char* bytes, size_t size, int64_t offset) {
  const size_t before = SizeBefore(mGiven.piece.from, offset, size);
  const size_t behind = SizeBefore(mGiven.piece.to, offset, size);
  mGiven.lines.before += CountByte(bytes, bytes + before, '\n');
  mGiven.lines.within += CountByte(bytes + before, bytes + behind, '\n');
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

// Behind the last of it.
static LogGiven Judge() {
  const LogPiece& piece = mGiven.piece;
  const auto size = static_cast<int64_t>(piece.size);
  const int64_t end = EndOf(piece);
  const int64_t wanted = end == kNoStop ? std::max(size, piece.from) : end;
  if (mGiven.came_to < wanted) {
    return LogGiven::kTooShort;
  }
  return end != kNoStop && getc(mGiven.stream) != EOF ? LogGiven::kTooLong : LogGiven::kAll;
}

// ---- Reading as it comes ----

static constexpr size_t kBlock = size_t{64} << 10;
static constexpr size_t kWindow = size_t{4} << 20;  // of which the second half is kept at least

static void ForgetOldest(size_t room) {
  std::vector<char>& window = mGiven.window;
  if (window.size() + room > kWindow) {
    const size_t old = window.size() - kWindow / 2;
    window.erase(window.begin(), window.begin() + static_cast<ptrdiff_t>(old));
    mGiven.begin += static_cast<int64_t>(old);
  }
}

// False where no more comes.
static bool TakeBlock() {
  if (mGiven.stream == nullptr) {
    return false;
  }
  const size_t wanted = SizeBefore(EndOf(mGiven.piece), mGiven.end, kBlock);
  ForgetOldest(wanted);
  std::vector<char>& window = mGiven.window;
  const size_t before = window.size();
  window.resize(before + wanted);
  const size_t size = fread(window.data() + before, 1, wanted, mGiven.stream);
  window.resize(before + size);
  CountLines(window.data() + before, size, mGiven.end);
  const LineEnds more = CountLineEnds(window.data() + before, window.data() + before + size);
  mGiven.ends = {mGiven.ends.lfs + more.lfs, mGiven.ends.crs + more.crs};
  mGiven.end += static_cast<int64_t>(size);
  mGiven.came_to = mGiven.end;
  if (size < kBlock) {
    mGiven.given = std::max(mGiven.given, Judge());
    mGiven.stream = nullptr;
  }
  return size > 0;
}

// The first bytes of a log that goes on elsewhere.
static void TakeHead() {
  std::string& head = mGiven.head;
  head.resize(static_cast<size_t>(std::min(kGivenFirst, BeginOf(mGiven.piece))));
  const size_t size = fread(head.data(), 1, head.size(), mGiven.stream);
  const bool all = size == head.size();
  head.resize(size);
  CountLines(head.data(), size, 0);
  mGiven.ends = CountLineEnds(head.data(), head.data() + size);
  mGiven.came_to = static_cast<int64_t>(size);
  if (!all) {
    mGiven.given = LogGiven::kTooShort;
    mGiven.stream = nullptr;
  }
}

static size_t ReadSome(char* dst, size_t size, int64_t offset) {
  const size_t in_head = SizeBefore(static_cast<int64_t>(mGiven.head.size()), offset, size);
  if (in_head > 0) {
    return mGiven.head.copy(dst, in_head, static_cast<size_t>(offset));
  }
  const size_t in_hole = SizeBefore(BeginOf(mGiven.piece), offset, size);
  if (in_hole > 0) {
    memset(dst, 0, in_hole);
    return in_hole;
  }
  while (offset >= mGiven.end && TakeBlock()) {
  }
  if (offset < mGiven.begin) {
    mGiven.given = LogGiven::kPassed;
    return 0;
  }
  const size_t some = SizeBefore(mGiven.end, offset, size);
  std::copy_n(mGiven.window.data() + std::min(offset, mGiven.end) - mGiven.begin, some, dst);
  return some;
}

size_t ReadStreamed(char* dst, size_t size, int64_t offset) {
  size_t got = 0;
  size_t some = 0;
  do {
    some = ReadSome(dst + got, size - got, offset + static_cast<int64_t>(got));
    got += some;
  } while (some > 0 && got < size);
  return got;
}

int64_t StreamedFrom(int64_t offset) {
  const bool in_hole = offset >= static_cast<int64_t>(mGiven.head.size());
  return in_hole ? std::max(offset, BeginOf(mGiven.piece)) : offset;
}

LineEnds StreamedEndsBefore(int64_t offset) {
  const char* const end = mGiven.window.data() + mGiven.window.size();
  const LineEnds behind = CountLineEnds(end - SizeBefore(mGiven.end, offset, mGiven.window.size()), end);
  return {mGiven.ends.lfs - behind.lfs, mGiven.ends.crs - behind.crs};
}

// ---- Keeping what is compressed ----

static LogGiven KeepAll() {
  mGiven.file = MakeUnnamedFile();
  if (mGiven.file < 0) {
    return LogGiven::kNotKept;
  }
  do {
    if (!WriteAt(mGiven.file, mGiven.window.data(), mGiven.window.size(), mGiven.begin)) {
      return LogGiven::kNotKept;
    }
    mGiven.begin = mGiven.end;
    mGiven.window.clear();
  } while (TakeBlock());
  return mGiven.given;
}

// ---- The whole ----

// All of a log, from its beginning.
static bool IsPacked() {
  return mGiven.piece.from == 0 &&
         FormatOf({mGiven.window.data(), mGiven.window.size()}) != PackFormat::kNone;
}

LogGiven TakeGivenLog(FILE* stream, const LogPiece& piece) {
  ForgetGivenLog();
  mGiven.stream = stream;
  mGiven.piece = piece;
  mGiven.begin = mGiven.end = BeginOf(piece);
  TakeHead();
  TakeBlock();
  if (IsPacked()) {
    mGiven.given = KeepAll();
    return mGiven.given;
  }
  mGiven.is_streamed = true;
  mGiven.file = memfd_create("log", MFD_CLOEXEC);  // empty
  return mGiven.file < 0 ? LogGiven::kNotKept : mGiven.given;
}

LogGiven GivenSoFar() {
  return mGiven.given;
}

LogGiven EndGivenLog() {
  while (TakeBlock()) {
  }
  return mGiven.given;
}

const GivenLines* LinesOfGivenLog() {
  return mGiven.file >= 0 ? &mGiven.lines : nullptr;
}

bool IsStreamed(const char* path) {
  return mGiven.is_streamed && mGiven.piece.path == path;
}

// ---- Opening ----

OpenedFile OpenLogFile(const char* path) {
  if (mGiven.file < 0 || mGiven.piece.path != path) {
    return OpenToRead(path);
  }
  const int file = fcntl(mGiven.file, F_DUPFD_CLOEXEC, 0);
  if (file >= 0) {
    lseek(file, 0, SEEK_SET);
  }
  return {file, FileKind::kRegular};
}
