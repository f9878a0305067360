// Cuts log lines out of 8192-byte blocks of the open log file.
//
// One file is open and one line is current at a time; both live in file-scope
// state, so nothing here is reentrant. The current line may be written to
// until the next read, and stays where it is until mLogEvents.texts_go is told.
//
// Blocks are the unit in which bytes are counted; the file is read in windows
// of several blocks, and lines are delivered where they lie in the window.
//
// Limits callers rely on: a line keeps as many of its first characters as the
// limits of the run say and the rest of it is dropped; empty lines are never delivered; length 0 means
// end of file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "superlog/content_hash.h"
#include "superlog/super_long.h"
#include "unpack/codec.h"

inline constexpr size_t kBlockSize = 8192;             // bytes are counted in blocks of this size
inline constexpr size_t kBigBufSize = 8 * kBlockSize;  // and read from the file in windows of this size

// The current line without its end-of-line characters, NUL-terminated at
// mLineLen. A NUL byte of the log ends its text earlier: mpLineEnd is the first
// NUL. At least kScanOverread bytes from mpLineEnd on can be read.
extern char* mpLine;
extern char* mpLineEnd;
extern uint32_t mLineLen;

// The double quotes of the current line, as distances from the start of the buffer that it lies in. Null
// where nobody knows: of a line of ReadLine, of one whose rest was dropped, of one that holds a NUL or
// begins with 0xFF, and of one that ends with the file.
struct LineQuotes {
  const char* buffer;
  const uint32_t* begin;
  const uint32_t* end;
};
extern LineQuotes mLineQuotes;

// Opens a log file for reading, after closing the one that was open; false when
// it cannot be opened. Both readers begin at its start. What is no regular file
// (a folder, a device, a named pipe) opens and yields no lines; opening never
// waits. A compressed file, where these are unpacked, yields what is in it, to the one reader that is used
// first: it comes as a stream, which is read once. False then, too, when there is nobody to unpack it.
bool OpenLog(const char* path);

// Closes the open file, if any, and empties the block buffer. Tells how the unpacking of a compressed one
// ended; kUnwanted when it was not read to its end, kWhole of any other file, and when none is open.
UnpackEnd CloseLog();

// Whether compressed files are unpacked; otherwise they are files like any other, as they are until this is
// called and after a reset.
void SetUnpacking(bool unpacks);

// The format of the open file, kNone where it is not being unpacked.
PackFormat FormatOfLog();

// For other programs that link the library; tested, not used by orvellis.
bool IsLogOpen();

// ---- Stretches of a log ----

// Where in the file, or in what is unpacked of it, the next line begins, or ends of lines before it.
int64_t NextLineOffset();

// Of a file that is not compressed: no line that begins at that place or behind it becomes current, as if the
// file ended there, until this is called again; all do in a log that was just opened.
void StopLinesAt(int64_t offset);
inline constexpr int64_t kNoStop = INT64_MAX;

// Whether it was a stop that ended the lines. Without one the log is read to its end.
bool IsStopped();

// Goes on, in a file that is not compressed, at the beginning of a line. Blocks that begin before it are not
// counted.
void GoToLine(int64_t offset);

// HashStretch of the open file; false also of a compressed one.
bool HashOfLog(const ContentKey& key, uint64_t from, uint64_t to, ContentHash& hash);

// Hashes what is read from now on: from, a multiple of kContentBlock, is where the next reading of
// kContentBlock bytes begins, and hash that of all before.
void HashReading(const ContentKey& key, const ContentHash& hash, int64_t from);

// Hashes the windows that are read from now on, each by itself. They are good until the log is closed.
void HashWindows(const ContentKey& key);
const std::vector<ContentHash>& HashesOfWindows();

// The hash of all that was read since; false where nothing is hashed, and when something was passed over.
bool HashOfReading(ContentHash& hash);

// Makes the next non-empty line current (mLineLen 0 at the end of the file, or
// when none is open), through the block buffer. CR, LF, a 0xFF byte after the
// first character, and the end of the file end a line; of the rest of an
// over-long line only CR, LF and the end of the file. Limits without ff_ends_line
// make 0xFF an ordinary character; with passes_mark a byte-order mark of UTF-8 (EF BB BF) at the beginning of
// the file, or of what is unpacked of it, is passed over; with whole_lines NULs before a line's first other
// character are. A read error looks like the end of the file.
void ReadLineFromBigBuf();

// Whether a NUL ends the text of the line that was made current last by ReadLineFromBigBuf, or the end of
// the file ends it, without a line end.
bool IsLineCut();

// The number of the line that was made current last by ReadLineFromBigBuf, from 1, as editors count: a line
// ends at LF or, where the file has none before it, at CR. Reads a file that is not compressed up to
// the line once more. 0 when no file is open.
int64_t LineNumber();
// What has been read of the file behind the current line, as it stands there; empty when
// the line is not one of the block buffer. Stays valid as the line does.
std::string_view TextAhead();

// TextAhead of a log of which no line was read yet: its beginning.
std::string_view BeginningOfLog();

// The same and what follows in the file, together at most kMostAhead bytes, at least half of it where the
// file goes on for so long. It is read from the file once more, but for what is unpacked, which is kept.
// Stays valid until the next call.
inline constexpr size_t kMostAhead = size_t{1024} * 1024;
std::string_view TextFarAhead();

// The same without block buffer and byte counter, where 0xFF is an ordinary
// character, and so is a byte-order mark. For logs of which few lines are read, to learn their dates. The two
// readers have positions of their own in the file. It is not the reader of text
// files (base/text_file.h), because what looks for formats and dates takes the
// current line from here, wherever it came from, with the room behind it.
void ReadLine();

// Discards up to and including the next CR or LF; returns the last character
// consumed, -1 at the end of the file. Goes with ReadLine.
int ReadRestOfLine();

// Position of ReadLine in the file, in bytes from its start. False for a
// negative position (nothing changes) and when no file is open; a position
// behind the end is allowed and reads as the end.
// For other programs that link the library; tested, not used by orvellis.
bool SeekLog(int64_t offset);
int64_t TellLog();

// Cuts a text at its first CR or LF.
// For other programs that link the library; tested, not used by orvellis.
void TrimEolChars(char* text);

// Which file the open log is, whatever its name leads to by now; no file where there is none.
struct FileId {
  uint64_t device = 0;
  uint64_t inode = 0;

  bool operator==(const FileId&) const = default;
};
FileId IdOfLog();

// Its descriptor, for questions about the file; -1 where none is open.
int FileOfLog();

// Bytes delivered by the block buffer since the start of the run: whole blocks
// (the last of a file may be short), counted when their first byte is needed. Of compressed files, the
// unpacked ones.
SuperLong TotalLogBytesRead();
void SetTotalLogBytesRead(SuperLong bytes);

// Closes the open file and returns the counter to zero.
void ResetLineReader();
