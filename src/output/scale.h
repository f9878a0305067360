// Round numbers for axes and classes.
#pragma once

#include <cstdint>
#include <span>

#include "output/sink.h"

// From 0 in equal steps up to the largest value or just beyond it.
struct Scale {
  uint64_t step;   // at least 1
  uint64_t steps;  // 0 where there is nothing but 0
};

// The smallest round step with which most steps reach the largest value, which may be any
// (one below 0 counts as 0): 1, 2 or 5 times a power of ten.
Scale AxisScale(int64_t largest, uint64_t most);

// With more kinds of steps, so that from 4 values on there are never few of them: of
// most = 6, at least 4.
Scale ClassScale(int64_t largest, uint64_t most);

// Never 0, so that it can be divided by.
uint64_t TopOf(const Scale& scale);

// A value of the scale, in short: "5,000", but "0.5 M" where others reach a million
// (G, T, P and E beyond).
void PutStep(Sink& sink, const Scale& scale, uint64_t steps);
