// One process serves one request.
#include <csignal>
#include <cstdio>
#include <new>

#include "base/memory_end.h"
#include "run/run.h"
#include "run/shut_in.h"

// Not left to the library, so that it takes no memory: where there is too little
// for a report, its head can still be held back.
static char mPageBuffer[16384];

int main(int argc, char** argv) {
  // A file that may not grow any more is a full disk, not a reason to die.
  signal(SIGXFSZ, SIG_IGN);
  setvbuf(stdout, mPageBuffer, _IOFBF, sizeof mPageBuffer);
  std::set_new_handler(EndWithoutMemory);
  return Run({.argc = argc, .argv = argv, .form = stdin, .shut_in = kShutsIn ? ShutIn : nullptr});
}
