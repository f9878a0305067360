// A log whose bytes come by a stream, for a run that counts one piece of it and cannot open its file.
//
// Of a piece that begins with the log the stream holds the log from its beginning; of any other one its first
// kGivenFirst bytes, and at once those from kGivenBefore bytes before the piece's lead on; from its
// beginning, where these are no more. It ends with the log, or kGivenBehind bytes behind the end of the
// piece: a line may be read as those that follow tell its layout.
//
// What has come is kept in an unnamed file, which is read as the log's own would be: its size and the places
// of its bytes are the same, and what did not come is a hole.
#pragma once

#include <cstdint>
#include <cstdio>

#include "base/text_file.h"
#include "superlog/log_pieces.h"

inline constexpr int64_t kGivenFirst = int64_t{2} << 20;
inline constexpr int64_t kGivenBefore = 4096;
inline constexpr int64_t kGivenBehind = int64_t{1} << 20;

enum class LogGiven {
  kAll,
  kTooShort,
  kTooLong,  // it goes on behind the piece
  kNotKept,  // errno tells why
};

// Takes all that comes. From here on it stands for the file of the piece's path.
LogGiven TakeGivenLog(std::FILE* stream, const LogPiece& piece);

// OpenToRead of a log: nothing of the path of one that was given is opened.
OpenedFile OpenLogFile(const char* path);

// The line ends (LF) of the log that was given that stand before the piece, as far as they came, and in it.
struct GivenLines {
  int64_t before;
  int64_t within;
};

// Null where no log was given.
const GivenLines* LinesOfGivenLog();

void ForgetGivenLog();
