#include "superlog/super_long.h"

#include <cstdint>

// Moves what is too much in the sum of the units to the billions, whose new value
// is returned.
static uint64_t Carry(SuperLong& counter, uint64_t sum) {
  uint64_t billions = counter.billions;
  if (sum > kBillion) {  // deliberate: strictly greater, a sum of exactly 10^9 is kept as units
    const uint64_t more = sum / kBillion;
    billions += more;
    sum -= more * kBillion;
  }
  counter.units = static_cast<uint32_t>(sum);
  return billions;
}

void SuperLongAdd(SuperLong& counter, uint32_t amount) {
  counter.billions = static_cast<uint32_t>(Carry(counter, uint64_t{counter.units} + amount));
}

static void SetWide(SuperLong& counter, uint64_t billions) {
  constexpr SuperLong kMost{INT64_MAX / kBillion, INT64_MAX % kBillion};
  counter.billions = billions;
  if (billions >= kMost.billions && (billions > kMost.billions || counter.units > kMost.units)) {
    counter = kMost;
  }
}

void SuperLongAddWide(SuperLong& counter, int64_t amount) {
  if (amount <= 0) {
    return;
  }
  const uint64_t billions = Carry(counter, counter.units + static_cast<uint64_t>(amount));
  SetWide(counter, billions);
}

void NoteLargeAmount(SuperLongSum& sum, int64_t amount) {
  if (amount <= 0) {
    return;
  }
  bool* const full = sum.ends_full;
  if (amount % kBillion != 0) {
    full[0] = full[1] = amount < kBillion;
  } else {
    const bool one = amount == kBillion;
    full[0] = !full[0] && one;
    full[1] = !full[1] && one;
  }
}

// Adds the sum to the units, and returns the new billions.
static uint64_t AddSum(SuperLong& counter, const SuperLongSum& sum) {
  const bool full = counter.units == kBillion;
  const uint64_t units = uint64_t{counter.units} + sum.sum.units;
  uint64_t billions = counter.billions + sum.sum.billions + units / kBillion;
  counter.units = static_cast<uint32_t>(units % kBillion);
  if (counter.units == 0 && sum.ends_full[full]) {
    counter.units = kBillion;
    --billions;
  }
  return billions;
}

void AddSumWrapping(SuperLong& counter, const SuperLongSum& sum) {
  counter.billions = static_cast<uint32_t>(AddSum(counter, sum));
}

void AddSumWide(SuperLong& counter, const SuperLongSum& sum) {
  SetWide(counter, AddSum(counter, sum));
}

SuperLongSum SumOfSmall(SuperLong counter) {
  const bool any = counter.billions != 0 || counter.units != 0;
  return {counter, {any, true}};
}

// Whether 10^9 units stay depends on what was there before only where the later amounts end where they began.
static void AppendEnds(SuperLongSum& sum, const SuperLongSum& more) {
  const bool returns = more.sum.units % kBillion == 0;
  for (bool& full : sum.ends_full) {
    full = more.ends_full[returns && full];
  }
}

void AppendWrapping(SuperLongSum& sum, const SuperLongSum& more) {
  AppendEnds(sum, more);
  AddSumWrapping(sum.sum, {more.sum, {false, false}});
}

void AppendWide(SuperLongSum& sum, const SuperLongSum& more) {
  AppendEnds(sum, more);
  AddSumWide(sum.sum, {more.sum, {false, false}});
}

double SuperLongToDouble(SuperLong value) {
  return static_cast<double>(value.billions) * 1e9 + value.units;
}

uint64_t SuperLongToBytes(SuperLong value) {
  return value.billions * kBillion + value.units;
}
