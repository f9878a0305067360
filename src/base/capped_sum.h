// Sums that stay at the largest number instead of passing it, whatever the order in which figures come.
#pragma once

#include <cstdint>

// More is not below 0.
inline void AddCapped(int64_t& sum, int64_t more) {
  if (__builtin_add_overflow(sum, more, &sum)) {
    sum = INT64_MAX;
  }
}
