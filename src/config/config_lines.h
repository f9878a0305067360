// Cuts the lines of the configuration file out of 8192-byte blocks.
//
// Inner header of this folder. The reader has a buffer and a read position of its
// own; it knows nothing of what the lines mean.
#pragma once

#include <cstddef>

#include "base/text.h"

struct ConfigLines {
  int file = -1;  // -1: nothing (more) to read
  size_t next = 0;
  size_t filled = 0;
  char block[8192];
};

// Opens the file and starts before its first line. False when it cannot be
// opened. A folder or a device opens and yields no line; so does a pipe, unless
// wait_for_pipes allows waiting for what its writer has yet to send.
bool OpenConfigLines(ConfigLines& lines, const char* path, bool wait_for_pipes);

// Copies the next line that is not empty into line, without its CR or LF; false
// at the end of the file, for which a read error counts too. Lines longer than
// kLineMax are cut to it. A byte 0xFF that does not begin a line ends it, and
// what follows is the next line.
bool NextConfigLine(ConfigLines& lines, char (&line)[kLineMax + 1]);

void CloseConfigLines(ConfigLines& lines);
