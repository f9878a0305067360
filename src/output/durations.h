// Times that requests took, as people read them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "output/sink.h"

// "0.345 ms", "12.3 ms", "1.23 s", "1,234 s": three digits of microseconds, which are not below 0, halves
// upwards. The same everywhere, as nothing but whole numbers is reckoned with.
void PutDuration(Sink& sink, int64_t microseconds);

// How many characters that are.
size_t DurationWidth(int64_t microseconds);
