// The pipe through which a part goes from one process to another one of the same run, which takes it while it
// is still written.
#pragma once

#include <vector>

#include "base/part_bytes.h"

// Ends of a pipe; below 0: there is none.
struct PartPipe {
  int from = -1;
  int to = -1;
};

// Opens one; false when the system refuses it.
bool OpenPartPipe(PartPipe& pipe);

// Closes an end, if it is there.
void CloseEnd(int& end);

// What comes through it and has not been taken yet. Behind it kScanOverread bytes can be read.
struct PartInlet {
  int from;
  std::vector<char> room{};
};

// The inlet must stay where it is as long as its part is taken. When memory runs out, the process exits with
// status 1.
PartReader ReaderOf(PartInlet& inlet);

struct PartOutlet {
  int to;
  bool written = true;  // all of it, until now
};

PartSink SinkOf(PartOutlet& outlet);
