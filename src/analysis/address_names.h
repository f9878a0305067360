// The names of visitors whose hosts are filtered by name: each address is asked for once, when it is first
// met.
#pragma once

#include <cstdint>

// What became of the addresses that a run wanted names of.
struct LookUpFigures {
  int64_t addresses;   // different ones
  int64_t left_out;    // of them, those that were not looked up, or not to the end, as the time was over
  int64_t unanswered;  // and those for which nobody answered
};

// The name of an address as a new text, released with free(), or null where it has none or none is known. A
// text that is no address has none. Waits for the answer, within the time of look_ups.h. Of more than 262,144
// addresses the others are neither looked up nor among the figures. When memory runs out, the process exits
// with status 1.
char* NameOfAddress(const char* text, LookUpFigures& figures);

// Releases all names.
void ForgetAddresses();
