#include "superlog/super_long.h"

#include <cstdint>

static constexpr uint32_t kBillion = 1000000000;

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

void SuperLongAddWide(SuperLong& counter, int64_t amount) {
  if (amount <= 0) {
    return;
  }
  const uint64_t billions = Carry(counter, counter.units + static_cast<uint64_t>(amount));
  if (billions > UINT32_MAX) {
    counter = {UINT32_MAX, kBillion - 1};
  } else {
    counter.billions = static_cast<uint32_t>(billions);
  }
}

double SuperLongToDouble(SuperLong value) {
  return value.billions * 1e9 + value.units;
}

uint64_t SuperLongToBytes(SuperLong value) {
  return uint64_t{value.billions} * kBillion + value.units;
}
