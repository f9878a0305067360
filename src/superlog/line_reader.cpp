#include "superlog/line_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/text.h"
#include "base/text_file.h"
#include "superlog/byte_scan.h"
#include "superlog/kept_texts.h"
#include "superlog/log_limits.h"
#include "unpack/unpacking.h"

static constexpr char kCr = '\r';
static constexpr char kLf = '\n';
static constexpr int kEndOfFile = -1;

static char mNoLine[kScanOverread];
char* mpLine = mNoLine;
char* mpLineEnd = mNoLine;
uint32_t mLineLen = 0;

// The open file; the pipe through which it comes, if it is compressed.
static int mhFile = -1;
static bool mIsRegularFile = false;
static PackFormat mPackFormat = PackFormat::kNone;
static bool mUnpackedToEnd = false;
static bool mUnpacks = false;
static SuperLong mTotalLogBytesRead;

// The block reader's window. A line that crosses the window's end is moved to
// the room in front of it before the next window is read; such a piece is never
// longer than the longest line. Behind the window is room for the NUL of a last line
// without end-of-line character.
static constexpr size_t kRoomInFront = kLongestLine + 512;
static_assert(kBigBufSize % kBlockSize == 0);
static char mBigBuf[kRoomInFront + kBigBufSize + kScanOverread];
static char* const mpWindow = mBigBuf + kRoomInFront;
static char* mpBigBufCurPos = mpWindow;   // next unread byte
static char* mpBigBufLastPos = mpWindow;  // one past the last valid byte
static char* mpCountedTo = mpWindow;      // end of the last block that was counted
static int64_t mWindowOffset = 0;         // where in the file the next window begins

struct LineEnds {
  int64_t lfs;
  int64_t crs;
};
static LineEnds mUnpackedEnds;  // up to the end of the window: what is unpacked cannot be read again

// The nearest positions of the bytes that matter, each searched for once and
// kept until the reading has passed it: a window without CR, 0xFF or NUL costs
// one fast search for each of them, however many lines it holds.
struct NextByte {
  char value;
  char* at;  // mpBigBufLastPos when there is none
};
static NextByte mNextLf = {kLf, mBigBuf};
static NextByte mNextCr = {kCr, mBigBuf};
static NextByte mNextFF = {'\xFF', mBigBuf};
static NextByte mNextNul = {'\0', mBigBuf};

// What was read beyond the window, before its time.
static char mFarBuf[kMostAhead + kScanOverread];
static size_t mFarSize = 0;
static int64_t mFarOffset = 0;  // where in the file it begins

// The plain reader's buffer and line.
static char mPlainBuf[4096];
static char* mpPlainCurPos = mPlainBuf;
static char* mpPlainLastPos = mPlainBuf;
static int64_t mPlainOffset = 0;  // where in the file mpPlainLastPos is
static char mLineBuf[kLongestLine + 1 + kScanOverread];

// --- The file ---------------------------------------------------------------

void SetUnpacking(bool unpacks) {
  mUnpacks = unpacks;
}

PackFormat FormatOfLog() {
  return mPackFormat;
}

// A compressed file becomes the pipe through which it comes.
static void UnpackIfPacked() {
  const PackFormat format = mUnpacks && mIsRegularFile ? FormatOfFile(mhFile) : PackFormat::kNone;
  if (format != PackFormat::kNone) {
    const int pipe = OpenUnpacked(mhFile, format);
    close(mhFile);
    mhFile = pipe;
    mPackFormat = pipe < 0 ? PackFormat::kNone : format;
  }
}

bool OpenLog(const char* path) {
  CloseLog();
  const OpenedFile opened = OpenToRead(path);
  mhFile = opened.file;
  mIsRegularFile = opened.kind == FileKind::kRegular;
  UnpackIfPacked();
  return IsLogOpen();
}

// Whoever does not read to the end does not learn how it would have been.
static UnpackEnd CloseFile() {
  if (mPackFormat != PackFormat::kNone) {
    const UnpackEnd end = CloseUnpacked(mhFile);
    return mUnpackedToEnd || end == UnpackEnd::kNoLibrary ? end : UnpackEnd::kUnwanted;
  }
  if (mhFile >= 0) {
    close(mhFile);
  }
  return UnpackEnd::kWhole;
}

UnpackEnd CloseLog() {
  const UnpackEnd end = CloseFile();
  mhFile = -1;
  mIsRegularFile = false;
  mPackFormat = PackFormat::kNone;
  mUnpackedToEnd = false;
  mpBigBufCurPos = mpBigBufLastPos = mpCountedTo = mpWindow;
  mWindowOffset = 0;
  mFarSize = 0;
  mFarOffset = 0;
  mUnpackedEnds = {};
  mpPlainCurPos = mpPlainLastPos = mPlainBuf;
  mPlainOffset = 0;
  return end;
}

bool IsLogOpen() {
  return mhFile >= 0;
}

void ResetLineReader() {
  CloseLog();
  mUnpacks = false;
  mTotalLogBytesRead = {};
  mpLine = mpLineEnd = mNoLine;
  mLineLen = 0;
}

SuperLong TotalLogBytesRead() {
  return mTotalLogBytesRead;
}

static bool IsReadAhead(int64_t offset) {
  return offset >= mFarOffset && offset < mFarOffset + static_cast<int64_t>(mFarSize);
}

static ssize_t ReadSomeAt(char* dst, size_t size, int64_t offset) {
  if (IsReadAhead(offset)) {
    const std::string_view far = {mFarBuf, mFarSize};
    return static_cast<ssize_t>(far.copy(dst, size, static_cast<size_t>(offset - mFarOffset)));
  }
  return mPackFormat == PackFormat::kNone ? pread(mhFile, dst, size, offset) : read(mhFile, dst, size);
}

// Reads size bytes at offset, fewer only at the end of the data. What is unpacked is asked for in order.
static size_t ReadAt(char* dst, size_t size, int64_t offset) {
  size_t got = 0;
  while (mIsRegularFile && got < size) {
    const ssize_t n = ReadSomeAt(dst + got, size - got, offset + static_cast<int64_t>(got));
    if (n > 0) {
      got += static_cast<size_t>(n);
    } else if (n == 0 || errno != EINTR) {
      mUnpackedToEnd = true;
      break;
    }
  }
  return got;
}

// --- The block reader -------------------------------------------------------

// Counts the blocks that hold the bytes before a position of the window.
static void CountBlocksTo(const char* position) {
  while (mpCountedTo < position) {
    const auto block = std::min<size_t>(kBlockSize, static_cast<size_t>(mpBigBufLastPos - mpCountedTo));
    SuperLongAdd(mTotalLogBytesRead, static_cast<uint32_t>(block));
    mpCountedTo += block;
  }
}

static LineEnds CountLineEnds(const char* from, const char* to) {
  return {std::count(from, to, kLf), std::count(from, to, kCr)};
}

// Called when a byte behind the window is needed: reads the next window and
// moves the unread bytes in front of it. False at the end of the data.
static bool RefreshBigBuf() {
  CountBlocksTo(mpBigBufLastPos);
  if (mpBigBufLastPos != mpWindow && mpBigBufLastPos != mpWindow + kBigBufSize) {
    return false;  // a short window was the last one
  }
  TellThatTextsGo();
  const auto unread = static_cast<size_t>(mpBigBufLastPos - mpBigBufCurPos);
  memmove(mpWindow - unread, mpBigBufCurPos, unread);
  const size_t size = ReadAt(mpWindow, kBigBufSize, mWindowOffset);
  mWindowOffset += static_cast<int64_t>(size);
  if (mPackFormat != PackFormat::kNone) {
    const LineEnds ends = CountLineEnds(mpWindow, mpWindow + size);
    mUnpackedEnds = {mUnpackedEnds.lfs + ends.lfs, mUnpackedEnds.crs + ends.crs};
  }
  mpBigBufCurPos = mpWindow - unread;
  mpBigBufLastPos = mpWindow + size;
  mpCountedTo = mpWindow;
  for (NextByte* next : {&mNextLf, &mNextCr, &mNextFF, &mNextNul}) {
    next->at = mBigBuf;
  }
  if (!mLogLimits.ff_ends_line) {
    mNextFF.at = mpBigBufLastPos;  // never looked for
  }
  return size > 0;
}

static char* Find(NextByte& next, char* from) {
  if (next.at < from) {
    void* found =
        memchr(from, static_cast<unsigned char>(next.value), static_cast<size_t>(mpBigBufLastPos - from));
    next.at = found != nullptr ? static_cast<char*>(found) : mpBigBufLastPos;
  }
  return next.at;
}

static char* FindCrOrLf(char* from) {
  return std::min(Find(mNextLf, from), Find(mNextCr, from));
}

// Skips empty lines and the second half of CR LF pairs. False at the end.
static bool SkipEolChars() {
  for (;;) {
    while (mpBigBufCurPos < mpBigBufLastPos) {
      if (*mpBigBufCurPos != kCr && *mpBigBufCurPos != kLf) {
        return true;
      }
      ++mpBigBufCurPos;
    }
    if (!RefreshBigBuf()) {
      return false;
    }
  }
}

// The length of the line that begins at the current position, at most
// one more than the longest, which means that it is over-long.
static size_t MeasureLine() {
  for (;;) {
    char* const second = mpBigBufCurPos + 1;
    // deliberate where the limits say so: 0xFF ends a line as the end of the file does, unless it is the
    // line's first character
    char* const stop = std::min(FindCrOrLf(second), Find(mNextFF, second));
    const auto length = static_cast<size_t>(stop - mpBigBufCurPos);
    if (length > mLogLimits.line) {
      return mLogLimits.line + 1;
    }
    if (stop != mpBigBufLastPos || !RefreshBigBuf()) {
      return length;
    }
  }
}

// Discards up to and including the next CR or LF. Returns the last character
// consumed, -1 at the end of the data.
static int ReadRestOfLineFromBigBuf() {
  for (;;) {
    char* const stop = FindCrOrLf(mpBigBufCurPos);
    if (stop != mpBigBufLastPos) {
      mpBigBufCurPos = stop + 1;
      return *stop;
    }
    mpBigBufCurPos = stop;
    if (!RefreshBigBuf()) {
      return kEndOfFile;
    }
  }
}

void ReadLineFromBigBuf() {
  mpLine = mpLineEnd = mNoLine;
  mLineLen = 0;
  if (!SkipEolChars()) {
    return;
  }
  const size_t length = MeasureLine();
  const size_t kept = std::min(length, mLogLimits.line);
  mLineLen = static_cast<uint32_t>(kept);
  mpLine = mpBigBufCurPos;
  mpLineEnd = std::min(Find(mNextNul, mpLine), mpLine + kept);
  mpBigBufCurPos = std::min(mpLine + kept + 1, mpBigBufLastPos);
  if (length > kept) {
    // Discarding the rest may read the next window over the line.
    TellThatTextsGo();
    mpLineEnd = mLineBuf + (mpLineEnd - mpLine);
    mpLine = static_cast<char*>(memcpy(mLineBuf, mpLine, kept));
    ReadRestOfLineFromBigBuf();
  }
  mpLine[kept] = '\0';
  CountBlocksTo(mpBigBufCurPos);
}

// Those before a position of the file, by reading it again.
static LineEnds CountLineEndsBefore(int64_t position) {
  LineEnds ends{};
  char piece[kBlockSize];
  for (int64_t at = 0; at < position;) {
    const size_t size = ReadAt(piece, std::min<size_t>(sizeof piece, static_cast<size_t>(position - at)), at);
    if (size == 0) {
      break;
    }
    const LineEnds more = CountLineEnds(piece, piece + size);
    ends = {ends.lfs + more.lfs, ends.crs + more.crs};
    at += static_cast<int64_t>(size);
  }
  return ends;
}

// Those that the reading has passed.
static LineEnds LineEndsPassed() {
  if (mPackFormat == PackFormat::kNone) {
    return CountLineEndsBefore(mWindowOffset - (mpBigBufLastPos - mpBigBufCurPos));
  }
  const LineEnds ahead = CountLineEnds(mpBigBufCurPos, mpBigBufLastPos);
  return {mUnpackedEnds.lfs - ahead.lfs, mUnpackedEnds.crs - ahead.crs};
}

int64_t LineNumber() {
  if (mhFile < 0) {
    return 0;
  }
  const LineEnds passed = LineEndsPassed();
  const int64_t ends = passed.lfs > 0 ? passed.lfs : passed.crs;
  const char* const nearest = passed.lfs > 0 ? mNextLf.at : mNextCr.at;
  const bool own_passed = nearest == mpBigBufCurPos - 1;
  return ends + (own_passed ? 0 : 1);
}

std::string_view TextAhead() {
  return {mpBigBufCurPos, static_cast<size_t>(mpBigBufLastPos - mpBigBufCurPos)};
}

// Drops what lies before a position of the file, and begins anew with what is at hand where the reading has
// come further than that.
static void DropBefore(int64_t position, std::string_view near) {
  const bool holds = IsReadAhead(position) && mFarOffset + static_cast<int64_t>(mFarSize) >= mWindowOffset;
  const size_t passed = holds ? static_cast<size_t>(position - mFarOffset) : mFarSize;
  memmove(mFarBuf, mFarBuf + passed, mFarSize - passed);
  mFarSize -= passed;
  mFarOffset = position;
  if (mFarSize == 0) {
    mFarSize = near.copy(mFarBuf, near.size());
  }
}

std::string_view TextFarAhead() {
  const std::string_view near = TextAhead();
  const int64_t position = mWindowOffset - static_cast<int64_t>(near.size());
  const int64_t enough = position + static_cast<int64_t>(kMostAhead / 2);
  if (!IsReadAhead(position) || mFarOffset + static_cast<int64_t>(mFarSize) < enough) {
    DropBefore(position, near);
    mFarSize +=
        ReadAt(mFarBuf + mFarSize, kMostAhead - mFarSize, mFarOffset + static_cast<int64_t>(mFarSize));
  }
  return {mFarBuf + (position - mFarOffset), mFarSize - static_cast<size_t>(position - mFarOffset)};
}

// --- The plain reader -------------------------------------------------------

static int NextChar() {
  if (mpPlainCurPos == mpPlainLastPos) {
    const size_t size = ReadAt(mPlainBuf, sizeof mPlainBuf, mPlainOffset);
    mPlainOffset += static_cast<int64_t>(size);
    mpPlainCurPos = mPlainBuf;
    mpPlainLastPos = mPlainBuf + size;
    if (size == 0) {
      return kEndOfFile;
    }
  }
  return static_cast<unsigned char>(*mpPlainCurPos++);
}

static bool EndsLine(int c) {
  return c == kCr || c == kLf || c == kEndOfFile;
}

int ReadRestOfLine() {
  int c = NextChar();
  while (!EndsLine(c)) {
    c = NextChar();
  }
  return c;
}

void ReadLine() {
  int c = NextChar();
  while (c == kCr || c == kLf) {
    c = NextChar();
  }
  uint32_t length = 0;
  for (; !EndsLine(c) && length < mLogLimits.line; c = NextChar()) {
    mLineBuf[length++] = static_cast<char>(c);
  }
  if (!EndsLine(c)) {
    ReadRestOfLine();
  }
  mLineBuf[length] = '\0';
  mLineLen = length;
  mpLine = mLineBuf;
  mpLineEnd = FindByte(mLineBuf, mLineBuf + length, '\0');
}

bool SeekLog(int64_t offset) {
  if (mhFile < 0 || offset < 0) {
    return false;
  }
  mpPlainCurPos = mpPlainLastPos = mPlainBuf;
  mPlainOffset = offset;
  return true;
}

int64_t TellLog() {
  return mPlainOffset - (mpPlainLastPos - mpPlainCurPos);
}

void TrimEolChars(char* text) {
  text[strcspn(text, "\r\n")] = '\0';
}
