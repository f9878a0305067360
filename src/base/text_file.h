// Reading files whose names were written by somebody else.
//
// There is one way to open a file for reading, and it never waits; and one way to
// take a text file apart into lines, from which each reader chooses what it needs.
#pragma once

#include <cstddef>

enum class FileKind {
  kRegular,
  kFolder,
  kPipe,   // named or not
  kOther,  // devices, some of which never end
};

struct OpenedFile {
  int file;  // -1: it cannot be opened
  FileKind kind;
};

// Opens a file for reading, without waiting for the writer of a pipe, and without
// becoming the owner of a terminal. Programs that this one starts do not get it.
// There is no file to open when it is missing, may not be read, or is a socket.
OpenedFile OpenToRead(const char* path);

// ---- Text files ----

enum class Pipes {
  kNeverWait,  // a pipe opens and holds nothing
  kKeep,       // what comes through it is waited for, and kept, so that it can be read again
};

inline constexpr size_t kKeptOfPipe = 16 * 1024 * 1024;  // bytes

// An open text file. What is no text file (a folder, a device) opens and holds
// nothing, and a read error looks like the end of the file.
struct TextFile {
  int file = -1;  // -1: nothing (more) to read
  int rest = -1;  // the pipe, behind what was kept of it; -1: all was kept
  char* kept = nullptr;
  size_t kept_size = 0;
  size_t kept_next = 0;
  size_t next = 0;
  size_t filled = 0;
  char block[8192];
};

// Opens the file, which must not be open, at its start. False when it cannot be
// opened. Where there is no memory to keep what comes through a pipe, the run ends.
bool OpenTextFile(TextFile& text, const char* path, Pipes pipes = Pipes::kNeverWait);

// Goes back to the start. Not behind the first kKeptOfPipe bytes of a pipe.
void RewindTextFile(TextFile& text);

// Closes the file, if it is open.
void CloseTextFile(TextFile& text);

// The next byte, which stays the next one; -1 at the end.
int PeekByte(TextFile& text);

// What a line is.
struct LineRules {
  // Lines end at CR, too; their ends are dropped, empty lines are passed over, and of
  // a line for which there is no room the rest is dropped. Otherwise lines are
  // delivered as fgets does: they end at LF, which is kept, and of a line for which
  // there is no room the rest is the next one.
  bool whole;
  // Of whole lines: the byte 0xFF ends one, too, unless it begins it.
  bool ff_ends = false;
};

inline constexpr LineRules kWholeLines{.whole = true};
inline constexpr LineRules kPieces{.whole = false};

// Copies the next line, at most capacity - 1 bytes of it, and a NUL. capacity must
// be at least 2. Returns its length, NULs within it included; 0, and an empty line,
// at the end of the file. A last line needs no end.
size_t NextLine(TextFile& text, char* line, size_t capacity, const LineRules& rules);

template <size_t N>
size_t NextLine(TextFile& text, char (&line)[N], const LineRules& rules) {
  return NextLine(text, line, N, rules);
}
