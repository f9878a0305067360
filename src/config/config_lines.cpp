#include "config/config_lines.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr char kEndMark = '\xFF';

static bool IsEndOfLine(char c) {
  return c == '\n' || c == '\r';
}

// Makes unread bytes available; false when there are none left.
static bool Refill(ConfigLines& lines) {
  if (lines.next < lines.filled) {
    return true;
  }
  const ssize_t bytes = lines.file == -1 ? 0 : read(lines.file, lines.block, sizeof lines.block);
  lines.next = 0;
  lines.filled = bytes > 0 ? static_cast<size_t>(bytes) : 0;
  return lines.filled > 0;
}

// Moves past the bytes for which skip holds.
template <typename Test>
static void SkipWhile(ConfigLines& lines, Test skip) {
  while (Refill(lines)) {
    while (lines.next < lines.filled) {
      if (!skip(lines.block[lines.next])) {
        return;
      }
      ++lines.next;
    }
  }
}

// The request may name any file. Opening waits for no writer of a pipe, and a
// device is not read, since some never end.
bool OpenConfigLines(ConfigLines& lines, const char* path, bool wait_for_pipes) {
  lines.file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  lines.next = lines.filled = 0;
  if (lines.file == -1) {
    return false;
  }
  struct stat info {};
  if (fstat(lines.file, &info) != 0 || S_ISCHR(info.st_mode) || S_ISBLK(info.st_mode) ||
      (S_ISFIFO(info.st_mode) && !wait_for_pipes)) {
    CloseConfigLines(lines);
  } else {
    fcntl(lines.file, F_SETFL, 0);
  }
  return true;
}

bool NextConfigLine(ConfigLines& lines, char (&line)[kLineMax + 1]) {
  SkipWhile(lines, IsEndOfLine);
  size_t length = 0;
  while (Refill(lines)) {
    while (lines.next < lines.filled) {
      const char c = lines.block[lines.next++];
      // deliberate: byte 0xFF ends the line as the end of the file would
      if (IsEndOfLine(c) || (c == kEndMark && length > 0)) {
        line[length] = '\0';
        return true;
      }
      if (length == kLineMax) {
        line[length] = '\0';
        SkipWhile(lines, [](char rest) { return !IsEndOfLine(rest); });
        return true;
      }
      line[length++] = c;
    }
  }
  line[length] = '\0';
  return length > 0;
}

void CloseConfigLines(ConfigLines& lines) {
  if (lines.file != -1) {
    close(lines.file);
    lines.file = -1;
  }
}
