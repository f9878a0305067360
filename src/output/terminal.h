// What is known of the place where a plain text is read.
#pragma once

#include <cstddef>

struct Terminal {
  size_t width;  // columns, 40 to 1000
  bool colours;
};

// Of a run from a shell: as wide as COLUMNS says, or the terminal that standard output
// is, or else 80 columns; with colours on a terminal that is not dumb, or where
// CLICOLOR_FORCE says so, but never with NO_COLOR. Behind a web server: 80, without.
Terminal TerminalOf(bool from_shell);
