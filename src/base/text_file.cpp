#include "base/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/memory_end.h"

// Without O_NONBLOCK, opening a named pipe would wait for a writer.
static constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;

static FileKind KindOf(int file) {
  struct stat info {};
  if (fstat(file, &info) != 0) {
    return FileKind::kOther;
  }
  return S_ISREG(info.st_mode)    ? FileKind::kRegular
         : S_ISDIR(info.st_mode)  ? FileKind::kFolder
         : S_ISFIFO(info.st_mode) ? FileKind::kPipe
                                  : FileKind::kOther;
}

OpenedFile OpenToRead(const char* path) {
  const int file = open(path, kReadFlags);
  return {file, file < 0 ? FileKind::kOther : KindOf(file)};
}

// ---- What comes through a pipe ----

static void Close(int& file) {
  if (file != -1) {
    close(file);
    file = -1;
  }
}

static void MakeRoom(TextFile& text, size_t& capacity) {
  if (text.kept_size == capacity) {
    capacity = capacity == 0 ? sizeof text.block : std::min(2 * capacity, kKeptOfPipe);
    char* const grown = static_cast<char*>(realloc(text.kept, capacity));
    if (grown == nullptr) {
      EndWithoutMemory();
    }
    text.kept = grown;
  }
}

// Keeps at most kKeptOfPipe bytes. Not in a file: a limit on the size of files would hold for it.
static void KeepPipe(TextFile& text) {
  fcntl(text.file, F_SETFL, 0);  // reading waits for the writer
  size_t capacity = 0;
  ssize_t bytes = 1;
  while (bytes > 0 && text.kept_size < kKeptOfPipe) {
    MakeRoom(text, capacity);
    bytes = read(text.file, text.kept + text.kept_size, capacity - text.kept_size);
    text.kept_size += bytes > 0 ? static_cast<size_t>(bytes) : 0;
  }
  if (bytes > 0) {
    text.rest = text.file;
    text.file = -1;
  } else {
    Close(text.file);
  }
}

// ---- The file ----

bool OpenTextFile(TextFile& text, const char* path, Pipes pipes) {
  const OpenedFile opened = OpenToRead(path);
  text.file = opened.file;
  text.rest = -1;
  text.kept = nullptr;
  text.kept_size = text.kept_next = 0;
  text.next = text.filled = 0;
  if (opened.file < 0) {
    return false;
  }
  if (opened.kind == FileKind::kPipe && pipes == Pipes::kKeep) {
    KeepPipe(text);
  } else if (opened.kind != FileKind::kRegular && opened.kind != FileKind::kFolder) {
    CloseTextFile(text);
  }
  return true;
}

void RewindTextFile(TextFile& text) {
  text.next = text.filled = text.kept_next = 0;
  if (text.file != -1) {
    lseek(text.file, 0, SEEK_SET);
  }
}

void CloseTextFile(TextFile& text) {
  Close(text.file);
  Close(text.rest);
  free(text.kept);
  text.kept = nullptr;
  text.kept_size = text.kept_next = 0;
  text.next = text.filled = 0;
}

// Fills the block from what was kept, then from the file, then from the rest of a pipe.
static ssize_t FillBlock(TextFile& text) {
  if (text.kept_next < text.kept_size) {
    const size_t bytes = std::min(sizeof text.block, text.kept_size - text.kept_next);
    memcpy(text.block, text.kept + text.kept_next, bytes);
    text.kept_next += bytes;
    return static_cast<ssize_t>(bytes);
  }
  const int file = text.file != -1 ? text.file : text.rest;
  return file == -1 ? 0 : read(file, text.block, sizeof text.block);
}

// Makes unread bytes available; false when there are none left.
static bool Refill(TextFile& text) {
  if (text.next < text.filled) {
    return true;
  }
  const ssize_t bytes = FillBlock(text);
  text.next = 0;
  text.filled = bytes > 0 ? static_cast<size_t>(bytes) : 0;
  return text.filled > 0;
}

int PeekByte(TextFile& text) {
  return Refill(text) ? static_cast<unsigned char>(text.block[text.next]) : -1;
}

// ---- Lines ----

static bool IsEndOfLine(char c) {
  return c == '\n' || c == '\r';
}

// Moves past the bytes for which skip holds.
template <typename Test>
static void SkipWhile(TextFile& text, Test skip) {
  while (Refill(text)) {
    while (text.next < text.filled) {
      if (!skip(text.block[text.next])) {
        return;
      }
      ++text.next;
    }
  }
}

static size_t NextWholeLine(TextFile& text, char* line, size_t room, bool ff_ends) {
  const char mark = ff_ends ? '\xFF' : '\n';
  SkipWhile(text, IsEndOfLine);
  size_t length = 0;
  while (Refill(text)) {
    const char* const end = text.block + text.filled;
    for (const char* at = text.block + text.next; at < end; ++at) {
      if (IsEndOfLine(*at) || (*at == mark && length > 0)) {
        text.next = static_cast<size_t>(at + 1 - text.block);
        return length;
      }
      if (length == room) {
        text.next = static_cast<size_t>(at - text.block);
        SkipWhile(text, [](char c) { return !IsEndOfLine(c); });
        return length;
      }
      line[length++] = *at;
    }
    text.next = text.filled;
  }
  return length;
}

static size_t NextPiece(TextFile& text, char* piece, size_t room) {
  size_t length = 0;
  while (length < room && Refill(text)) {
    const char* const from = text.block + text.next;
    const size_t available = std::min(room - length, text.filled - text.next);
    const void* const end = memchr(from, '\n', available);
    const size_t taken =
        end == nullptr ? available : static_cast<size_t>(static_cast<const char*>(end) - from) + 1;
    memcpy(piece + length, from, taken);
    text.next += taken;
    length += taken;
    if (end != nullptr) {
      break;
    }
  }
  return length;
}

size_t NextLine(TextFile& text, char* line, size_t capacity, const LineRules& rules) {
  const size_t length = rules.whole ? NextWholeLine(text, line, capacity - 1, rules.ff_ends)
                                    : NextPiece(text, line, capacity - 1);
  line[length] = '\0';
  return length;
}
