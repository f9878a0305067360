#include "base/memory_end.h"

#include <stdio_ext.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

static void DropOutput() {
  __fpurge(stdout);
}

void EndWithoutMemory() {
  DropOutput();
  exit(1);
}

// Some tools that watch a process end write what waits.
void EndWithoutOutput(int status) {
  DropOutput();
  _exit(status);
}
