// SuperLong: the program's byte counter for totals that may pass 4 GB.
#pragma once

#include <cstdint>

// Value: billions * 1,000,000,000 + units.
struct SuperLong {
  uint32_t billions;
  uint32_t units;  // normally below 10^9; exactly 10^9 stays until the next addition (deliberate)
};

// Adds amount in place. The billions wrap at 32 bits.
void SuperLongAdd(SuperLong& counter, uint32_t amount);

// The same of any amount, for wide figures: one below 0 adds nothing, and from
// 2^32 billions on the counter stays at its greatest value.
void SuperLongAddWide(SuperLong& counter, int64_t amount);

// The value for printing and for rates; exact up to 2^53.
double SuperLongToDouble(SuperLong value);

// The value itself, exact.
uint64_t SuperLongToBytes(SuperLong value);
