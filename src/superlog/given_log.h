// A log whose bytes come by a stream, for a run that counts one piece of it and cannot open its file.
//
// Of a piece that begins with the log the stream holds the log from its beginning; of any other one its first
// kGivenFirst bytes, and at once those from kGivenBefore bytes before the piece's lead on; from its
// beginning, where these are no more. It ends with the log, or kGivenBehind bytes behind the end of the
// piece: a line may be read as those that follow tell its layout.
//
// It is read as it comes, of which the last few MiB are kept, and stands for the log: the places of its bytes
// are the same, and what did not come is a hole. Of a compressed log, which another process unpacks, all is
// kept in an unnamed file.
#pragma once

#include <cstdint>
#include <cstdio>

#include "base/text_file.h"
#include "superlog/byte_scan.h"
#include "superlog/log_pieces.h"

inline constexpr int64_t kGivenFirst = int64_t{2} << 20;
inline constexpr int64_t kGivenBefore = 4096;
inline constexpr int64_t kGivenBehind = int64_t{1} << 20;

enum class LogGiven {
  kAll,  // or all so far
  kTooShort,
  kPassed,   // what was asked for had gone
  kTooLong,  // it goes on behind the piece
  kNotKept,  // errno tells why
};

// From here on the stream stands for the file of the piece's path.
LogGiven TakeGivenLog(std::FILE* stream, const LogPiece& piece);

// What has come of it so far. And behind the last line: takes what nobody has asked for, and tells of all.
LogGiven GivenSoFar();
LogGiven EndGivenLog();

// OpenToRead of a log: nothing of the path of one that was given is opened.
OpenedFile OpenLogFile(const char* path);

// ---- Of a log that is read as it comes ----

bool IsStreamed(const char* path);

// Reads size bytes at offset, fewer only at the end, and where they have gone: then it has not come as its
// piece wants.
size_t ReadStreamed(char* dst, size_t size, int64_t offset);

// The first byte from there on that is no part of a hole.
int64_t StreamedFrom(int64_t offset);

// The line ends before a place that was read last.
LineEnds StreamedEndsBefore(int64_t offset);

// ---- Lines ----

// The line ends (LF) of the log that was given that stand before the piece, as far as they came, and in it.
struct GivenLines {
  int64_t before;
  int64_t within;
};

// Null where no log was given.
const GivenLines* LinesOfGivenLog();

void ForgetGivenLog();
