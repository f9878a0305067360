// SuperLong: the program's byte counter for totals that may pass 4 GB.
#pragma once

#include <cstdint>

inline constexpr uint32_t kBillion = 1000000000;

// Value: billions * 1,000,000,000 + units.
struct SuperLong {
  uint64_t billions;
  uint32_t units;  // normally below 10^9; exactly 10^9 stays until the next addition (deliberate)
};

// Adds amount in place. The billions wrap at 32 bits.
void SuperLongAdd(SuperLong& counter, uint32_t amount);

// The same of any amount, for wide figures: one below 0 adds nothing, and the counter stays at the largest
// number of 64 bits with a sign.
void SuperLongAddWide(SuperLong& counter, int64_t amount);

// A counter that amounts were added to from 0 on, and what they would have left in another one: exactly 10^9
// units can stay only where the sum ends at a whole billion, and whether they do depends on the last amounts,
// and perhaps on whether the counter held as many at first.
struct SuperLongSum {
  SuperLong sum{};
  bool ends_full[2] = {false, true};  // by whether the counter held 10^9 units before
};

// Notes an amount that was added to the sum; below 0 or 0: nothing.
void NoteLargeAmount(SuperLongSum& sum, int64_t amount);
inline void NoteAmount(SuperLongSum& sum, int64_t amount) {
  if (amount > 0 && amount < kBillion) {
    sum.ends_full[0] = sum.ends_full[1] = true;
  } else {
    NoteLargeAmount(sum, amount);
  }
}

// The sum of a counter to which only amounts below a billion were added, from 0 on.
SuperLongSum SumOfSmall(SuperLong counter);

// Adds the amounts of more behind those of sum, the billions wrapping or not.
void AppendWrapping(SuperLongSum& sum, const SuperLongSum& more);
void AppendWide(SuperLongSum& sum, const SuperLongSum& more);

// Adds all amounts of the sum, in their order, to the counter, the billions wrapping or not.
void AddSumWrapping(SuperLong& counter, const SuperLongSum& sum);
void AddSumWide(SuperLong& counter, const SuperLongSum& sum);

// The value for printing and for rates; exact up to 2^53.
double SuperLongToDouble(SuperLong value);

// The value itself, exact.
uint64_t SuperLongToBytes(SuperLong value);
