// SuperLong: the program's byte counter for totals that may pass 4 GB.
#pragma once

#include <cstdint>

// Value: billions * 1,000,000,000 + units.
struct SuperLong {
  uint32_t billions;
  uint32_t units;  // normally below 10^9; exactly 10^9 stays until the next addition (deliberate)
};

void SuperLongAdd(SuperLong& counter, uint32_t amount);
double SuperLongToDouble(SuperLong value);
