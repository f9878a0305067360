// Cuts log lines out of 8192-byte blocks of the open log file.
//
// One file is open and one line is current at a time; both live in file-scope
// state, so nothing here is reentrant. The current line stays valid, and may be
// written to, until the next read.
//
// Limits callers rely on: a line keeps its first kLineMax (1535) characters and
// the rest of it is dropped; empty lines are never delivered; length 0 means
// end of file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "superlog/super_long.h"

// The current line without its end-of-line characters, NUL-terminated at
// mLineLen (a NUL byte of the log may end its text earlier).
extern char* mpLine;
extern uint32_t mLineLen;

// Opens a log file for reading; false when it cannot be opened. The block
// buffer starts empty.
bool OpenLog(const char* path);

// Closes the open file, if any, and empties the block buffer.
void CloseLog();

bool IsLogOpen();

// Makes the next non-empty line current (mLineLen 0 at the end of the file),
// through the block buffer. CR, LF, a 0xFF byte after the first character, and
// the end of the file end a line. A read error looks like the end of the file.
void ReadLineFromBigBuf();

// The same without block buffer and byte counter, where 0xFF is an ordinary
// character. For files of which few lines are read or that are positioned.
void ReadLine();

// Discards up to and including the next CR or LF; returns the last character
// consumed, -1 at the end of the file. Goes with ReadLine.
int ReadRestOfLine();

// Position of the plain reader in the file, for ReadLine.
bool SeekLog(int64_t offset);
int64_t TellLog();

// Cuts a text at its first CR or LF.
void TrimEolChars(char* text);

// Bytes delivered by the block buffer since the start of the run.
SuperLong TotalLogBytesRead();

void ResetLineReader();
