// How long a server has taken for a request, as it stands in the fields of a line.
#pragma once

#include <cstdint>
#include <string_view>

#include "layouts/line_fields.h"

// Microseconds. What took longer, nearly twelve days, is none.
inline constexpr int64_t kMostTaken = 1'000'000'000'000;
inline constexpr int64_t kNotTaken = -1;

// Digits with or without a fraction and an exponent, of which what is less than a microsecond is cut off;
// power: that of ten which makes microseconds of the unit. A unit behind the number, "ns", "us", "ms" or "s",
// counts in its place. kNotTaken of anything else: signs, words, a list of several.
int64_t ReadTaken(std::string_view text, int power);

// The same of a column that some write in seconds with a fraction, and others in whole milliseconds.
int64_t ReadTakenByForm(std::string_view text);

// By the field of the finest unit that there is; where a server tells parts of the time, their sum, of which
// none may be missing. kNotTaken: the fields do not tell it.
int64_t TakenIn(const LineFields& fields);
