#include "superlog/line_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/text.h"
#include "base/text_file.h"
#include "superlog/byte_scan.h"
#include "superlog/given_log.h"
#include "superlog/kept_texts.h"
#include "superlog/log_limits.h"
#include "superlog/window_marks.h"
#include "unpack/unpacking.h"

static constexpr char kCr = '\r';
static constexpr char kLf = '\n';
static constexpr char kFf = '\xFF';
static constexpr int kEndOfFile = -1;

static char mNoLine[kScanOverread];
char* mpLine = mNoLine;
char* mpLineEnd = mNoLine;
uint32_t mLineLen = 0;
LineQuotes mLineQuotes = {};

// The open file. Of a compressed one, which is read by others, no more is done with it than to close it.
static int mhFile = -1;
static bool mIsRegularFile = false;
static bool mIsStreamed = false;  // it comes by a stream, and the file is empty
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

// No line begins at or behind the stop, which lies behind the window where the window has none.
static char* const mpNoStop = mBigBuf + sizeof mBigBuf;
static char* mpStop = mpNoStop;
static int64_t mStopOffset = kNoStop;

struct Reading {
  bool hashed;
  int64_t to;  // the beginning of the next window
  ContentKey key;
  ContentHash hash;
};
static Reading mReading;
static std::vector<ContentHash> mWindowHashes;
static const ContentKey* mpWindowKey = nullptr;

// Ends of lines that were counted by reading the file again, up to that place.
static int64_t mRecountedTo;
static LineEnds mRecounted;
static LineEnds mUnpackedEnds;  // up to the end of the window: what is unpacked cannot be read again

// Marks of what was unread when the window was read, and the first of them that the reading may not have
// passed.
static uint32_t mMarks[sizeof mBigBuf + kMarksBehind];
static const uint32_t* mpNextMark = mMarks;
static char mLastPassed = '\0';  // the byte before the current position, as it stands in the file

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

static void UnpackIfPacked() {
  const PackFormat format = mUnpacks && mIsRegularFile ? FormatOfFile(mhFile) : PackFormat::kNone;
  if (format == PackFormat::kNone) {
    return;
  }
  if (OpenUnpacked(mhFile, format)) {
    mPackFormat = format;
  } else {
    close(mhFile);
    mhFile = -1;
  }
}

bool OpenLog(const char* path) {
  CloseLog();
  const OpenedFile opened = OpenLogFile(path);
  mhFile = opened.file;
  mIsRegularFile = opened.kind == FileKind::kRegular;
  mIsStreamed = IsStreamed(path);
  UnpackIfPacked();
  return IsLogOpen();
}

// Whoever does not read to the end does not learn how it would have been.
static UnpackEnd CloseFile() {
  if (mhFile >= 0) {
    close(mhFile);
  }
  if (mPackFormat == PackFormat::kNone) {
    return UnpackEnd::kWhole;
  }
  const UnpackEnd end = CloseUnpacked();
  return mUnpackedToEnd || end == UnpackEnd::kNoLibrary ? end : UnpackEnd::kUnwanted;
}

UnpackEnd CloseLog() {
  const UnpackEnd end = CloseFile();
  mhFile = -1;
  mIsRegularFile = mIsStreamed = false;
  mRecountedTo = 0;
  mRecounted = {};
  mPackFormat = PackFormat::kNone;
  mUnpackedToEnd = false;
  mpBigBufCurPos = mpBigBufLastPos = mpCountedTo = mpWindow;
  mWindowOffset = 0;
  mReading.hashed = false;
  mpWindowKey = nullptr;
  StopLinesAt(kNoStop);
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

FileId IdOfLog() {
  struct stat file;
  const bool known = mhFile >= 0 && fstat(mhFile, &file) == 0;
  return known ? FileId{file.st_dev, file.st_ino} : FileId{};
}

int FileOfLog() {
  return mhFile;
}

SuperLong TotalLogBytesRead() {
  return mTotalLogBytesRead;
}

void SetTotalLogBytesRead(SuperLong bytes) {
  mTotalLogBytesRead = bytes;
}

static bool IsReadAhead(int64_t offset) {
  return offset >= mFarOffset && offset < mFarOffset + static_cast<int64_t>(mFarSize);
}

static ssize_t ReadSomeAt(char* dst, size_t size, int64_t offset) {
  if (IsReadAhead(offset)) {
    const std::string_view far = {mFarBuf, mFarSize};
    return static_cast<ssize_t>(far.copy(dst, size, static_cast<size_t>(offset - mFarOffset)));
  }
  if (mIsStreamed) {
    return static_cast<ssize_t>(ReadStreamed(dst, size, offset));
  }
  return mPackFormat == PackFormat::kNone ? pread(mhFile, dst, size, offset)
                                          : static_cast<ssize_t>(ReadUnpacked(dst, size));
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

// --- Stretches ---------------------------------------------------------------

int64_t NextLineOffset() {
  return mWindowOffset - (mpBigBufLastPos - mpBigBufCurPos);
}

static void FindStop() {
  const int64_t behind = mStopOffset - mWindowOffset;
  const bool reached = behind < 0;
  const bool before_window = behind < mpWindow - mpBigBufLastPos;
  mpStop = !reached ? mpNoStop : before_window ? mBigBuf : mpBigBufLastPos + behind;
}

void StopLinesAt(int64_t offset) {
  mStopOffset = offset;
  FindStop();
}

bool IsStopped() {
  return mpBigBufCurPos != mpBigBufLastPos && mpBigBufCurPos >= mpStop;
}

bool HashOfLog(const ContentKey& key, uint64_t from, uint64_t to, ContentHash& hash) {
  return mPackFormat == PackFormat::kNone && HashStretch(key, mhFile, from, to, hash);
}

void HashReading(const ContentKey& key, const ContentHash& hash, int64_t from) {
  mReading = {true, from, key, hash};
}

bool HashOfReading(ContentHash& hash) {
  hash = mReading.hash;
  return mReading.hashed && mReading.to >= mWindowOffset;
}

void HashWindows(const ContentKey& key) {
  mWindowHashes.clear();
  mpWindowKey = &key;
}

const std::vector<ContentHash>& HashesOfWindows() {
  return mWindowHashes;
}

// What was passed over is not hashed; nor is anything behind it.
static void HashWindow(size_t size) {
  if (mpWindowKey != nullptr && size > 0) {
    mWindowHashes.push_back(HashOfBlock(*mpWindowKey, mpWindow, size));
  }
  if (mReading.hashed && mReading.to == mWindowOffset && size > 0) {
    mReading.hash = AddBlock(mReading.key, mReading.hash, mpWindow, size);
    mReading.to += static_cast<int64_t>(size);
  }
}

// --- The block reader -------------------------------------------------------

// Counts the blocks that hold the bytes before a position of the window.
[[gnu::noinline]] static void CountBlocksTo(const char* position) {
  while (mpCountedTo < position) {
    const auto block = std::min<size_t>(kBlockSize, static_cast<size_t>(mpBigBufLastPos - mpCountedTo));
    SuperLongAdd(mTotalLogBytesRead, static_cast<uint32_t>(block));
    mpCountedTo += block;
  }
}

// CRs end lines of a log without any LF before.
static void CountUnpackedEnds(const char* from, const char* to) {
  mUnpackedEnds.crs += mUnpackedEnds.lfs == 0 ? CountByte(from, to, kCr) : 0;
  mUnpackedEnds.lfs += CountByte(from, to, kLf);
}

static size_t PlaceOf(const char* position) {
  return static_cast<size_t>(position - mBigBuf);
}

// The first byte from there on that is no NUL; the window's end at the latest, which is marked as none. The
// hole that a log begins with when it was emptied under its writer may be longer than all that was written.
static char* PassNuls(char* from) {
  uint64_t eight = 0;
  while (mpBigBufLastPos - from >= static_cast<ptrdiff_t>(sizeof eight)) {
    memcpy(&eight, from, sizeof eight);
    if (eight != 0) {
      break;
    }
    from += sizeof eight;
  }
  while (from != mpBigBufLastPos && *from == '\0') {
    ++from;
  }
  return from;
}

// The window's end, which is marked, too, looks as a line's end does. NULs that a window begins with are no
// part of a line unless one goes on in it.
static void MarkUnread() {
  const bool in_line = mpBigBufCurPos != mpWindow;
  char* const from = in_line || !mLogLimits.whole_lines ? mpBigBufCurPos : PassNuls(mpBigBufCurPos);
  *mpBigBufLastPos = kLf;
  mpMarkWindow(mBigBuf, PlaceOf(from), PlaceOf(mpBigBufLastPos), mLogLimits.ff_ends_line, mMarks);
  mpNextMark = mMarks;
}

// Of the byte-order mark that programs of Windows write at the beginning of a file.
static size_t SizeOfMark(std::string_view window) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  const bool there = mLogLimits.passes_mark && mWindowOffset == 0 && window.starts_with(kMark);
  return there ? kMark.size() : 0;
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
  HashWindow(size);
  const size_t mark = SizeOfMark({mpWindow, size});
  mWindowOffset += static_cast<int64_t>(size);
  if (mPackFormat != PackFormat::kNone) {
    CountUnpackedEnds(mpWindow, mpWindow + size);
  }
  mpBigBufCurPos = mpWindow - unread + mark;  // nothing is unread before the first window
  mpBigBufLastPos = mpWindow + size;
  mpCountedTo = mpWindow;
  FindStop();
  MarkUnread();
  return size > 0;
}

// The first byte from there on that is no part of a hole, as far as that is known.
static int64_t DataFrom(int64_t offset) {
  if (mIsStreamed) {
    return StreamedFrom(offset);
  }
  const bool may_seek = mIsRegularFile && mPackFormat == PackFormat::kNone;
  return may_seek ? std::max<int64_t>(offset, lseek(mhFile, offset, SEEK_DATA)) : offset;
}

// A hole of the file comes as NULs: whole windows of it need not be read. What is read then is not hashed.
static void PassHole() {
  const auto window = static_cast<int64_t>(kBigBufSize);
  mWindowOffset = std::max(mWindowOffset, DataFrom(mWindowOffset) / window * window);
}

// Whether the byte at the current position is none of a line; then it is passed, with what is like it.
[[gnu::cold, gnu::noinline]] static bool PassBetweenLines() {
  const char c = *mpBigBufCurPos;
  if (c == '\0' && mLogLimits.whole_lines) {
    mpBigBufCurPos = PassNuls(mpBigBufCurPos);
    if (mpBigBufCurPos == mpWindow + kBigBufSize) {
      PassHole();
    }
    return true;
  }
  const bool ends_line = c == kCr || c == kLf;
  mpBigBufCurPos += ends_line ? 1 : 0;
  return ends_line;
}

// Skips empty lines and the second half of CR LF pairs. False at the end.
static bool SkipEolChars() {
  for (;;) {
    while (mpBigBufCurPos < mpBigBufLastPos) {
      if (static_cast<unsigned char>(*mpBigBufCurPos) > kCr || !PassBetweenLines()) {
        return true;
      }
    }
    if (!RefreshBigBuf()) {
      return false;
    }
  }
}

static void PassMarks() {
  while (*mpNextMark < PlaceOf(mpBigBufCurPos)) {
    ++mpNextMark;
  }
}

static const uint32_t* PassQuotes(const uint32_t* mark) {
  while (mBigBuf[*mark] == '"') {
    ++mark;
  }
  return mark;
}

// Whether the line that begins at the current position goes on behind a mark that is no quote.
static bool GoesOnBehind(uint32_t mark) {
  // deliberate where the limits say so: 0xFF ends a line as the end of the file does, unless it is the
  // line's first character
  return mBigBuf[mark] == '\0' || (mBigBuf[mark] == kFf && mark == PlaceOf(mpBigBufCurPos));
}

// The length of the line that begins at the current position, at most
// one more than the longest, which means that it is over-long; and its marks up to the first that is no
// quote.
static size_t MeasureLine(LineQuotes& quotes) {
  for (;;) {
    PassMarks();
    const uint32_t* end = PassQuotes(mpNextMark);
    quotes = {mBigBuf, mpNextMark, end};
    while (GoesOnBehind(*end)) [[unlikely]] {
        quotes = {};
        end = PassQuotes(end + 1);
      }
    const size_t length = *end - PlaceOf(mpBigBufCurPos);
    if (length > mLogLimits.line) {
      return mLogLimits.line + 1;
    }
    mpNextMark = end;
    if (*end != PlaceOf(mpBigBufLastPos)) {
      return length;
    }
    if (!RefreshBigBuf()) {
      quotes = {};
      return length;
    }
  }
}

// Discards up to and including the next CR or LF, or all that is left.
static void PassRestOfLine() {
  do {
    PassMarks();
    while (mBigBuf[*mpNextMark] != kCr && mBigBuf[*mpNextMark] != kLf) {
      ++mpNextMark;
    }
    mpBigBufCurPos = mBigBuf + *mpNextMark;
    if (mpBigBufCurPos != mpBigBufLastPos) {
      ++mpBigBufCurPos;
      return;
    }
  } while (RefreshBigBuf());
}

// Discarding the rest of a line may read the next window over what is kept of it.
[[gnu::cold, gnu::noinline]] static void MoveLineAndPassRest() {
  TellThatTextsGo();
  mpLineEnd = mLineBuf + (mpLineEnd - mpLine);
  mpLine = static_cast<char*>(memcpy(mLineBuf, mpLine, mLineLen));
  mLineQuotes = {};
  PassRestOfLine();
}

void ReadLineFromBigBuf() {
  mpLine = mpLineEnd = mNoLine;
  mLineLen = 0;
  mLineQuotes = {};
  if (!SkipEolChars() || mpBigBufCurPos >= mpStop) {
    return;
  }
  const size_t length = MeasureLine(mLineQuotes);
  const size_t kept = std::min(length, mLogLimits.line);
  mLineLen = static_cast<uint32_t>(kept);
  mpLine = mpBigBufCurPos;
  mpLineEnd = mpLine + kept;
  if (mLineQuotes.begin == nullptr) [[unlikely]] {
    mpLineEnd = FindByte(mpLine, mpLineEnd, '\0');
  }
  mpBigBufCurPos = std::min(mpLine + kept + 1, mpBigBufLastPos);
  if (length > kept) [[unlikely]] {
    MoveLineAndPassRest();
  }
  mLastPassed = mpBigBufCurPos[-1];
  mpLine[kept] = '\0';
  if (mpCountedTo < mpBigBufCurPos) [[unlikely]] {
    CountBlocksTo(mpBigBufCurPos);
  }
}

[[gnu::cold]] bool IsLineCut() {
  const bool unended = mLastPassed != kCr && mLastPassed != kLf;
  return mLineQuotes.begin == nullptr && (unended || mpLineEnd != mpLine + mLineLen);
}

void GoToLine(int64_t offset) {
  const int64_t in_window = offset % static_cast<int64_t>(kBigBufSize);
  mpBigBufCurPos = mpBigBufLastPos = mpCountedTo = mpWindow;
  mWindowOffset = offset - in_window;
  RefreshBigBuf();
  char* const line = mpWindow + std::min<ptrdiff_t>(in_window, mpBigBufLastPos - mpWindow);
  mpBigBufCurPos = std::max(mpBigBufCurPos, line);
  constexpr auto block = static_cast<int64_t>(kBlockSize);
  const int64_t begun = (in_window + block - 1) / block * block;
  mpCountedTo = mpWindow + std::min<ptrdiff_t>(begun, mpBigBufLastPos - mpWindow);
}

// Those before a position of the file, by reading it again, from where that has come before.
static LineEnds CountLineEndsBefore(int64_t position) {
  if (position < mRecountedTo) {
    mRecountedTo = 0;
    mRecounted = {};
  }
  char piece[kBlockSize];
  while (mRecountedTo < position) {
    const auto wanted = std::min<size_t>(sizeof piece, static_cast<size_t>(position - mRecountedTo));
    const size_t size = ReadAt(piece, wanted, mRecountedTo);
    if (size == 0) {
      break;
    }
    const LineEnds more = CountLineEnds(piece, piece + size);
    mRecounted = {mRecounted.lfs + more.lfs, mRecounted.crs + more.crs};
    mRecountedTo += static_cast<int64_t>(size);
    mRecountedTo = piece[0] == '\0' ? std::min(position, DataFrom(mRecountedTo)) : mRecountedTo;
  }
  return mRecounted;
}

// Those that the reading has passed.
static LineEnds LineEndsPassed() {
  if (mIsStreamed) {
    return StreamedEndsBefore(NextLineOffset());
  }
  if (mPackFormat == PackFormat::kNone) {
    return CountLineEndsBefore(NextLineOffset());
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
  const bool own_passed = mLastPassed == (passed.lfs > 0 ? kLf : kCr);
  return ends + (own_passed ? 0 : 1);
}

std::string_view TextAhead() {
  return {mpBigBufCurPos, static_cast<size_t>(mpBigBufLastPos - mpBigBufCurPos)};
}

std::string_view BeginningOfLog() {
  if (mpBigBufCurPos == mpBigBufLastPos) {
    RefreshBigBuf();
  }
  return TextAhead();
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
  while (c == kCr || c == kLf || (c == '\0' && mLogLimits.whole_lines)) {
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
  mLineQuotes = {};
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
