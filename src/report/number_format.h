// Figures of the header and debugging rows.
#pragma once

#include <cstddef>
#include <cstdint>

// Room for the longest figure: twenty digits, their commas and the NUL.
inline constexpr size_t kFigureSize = 40;

// Writes a decimal text with commas: of value when it is not 0, else of billions
// and units written one after the other (units unpadded: deliberate), else of
// units. out holds at least kFigureSize characters; a smaller capacity cuts.
void FormatWithCommas(char* out, size_t capacity, uint64_t value, uint64_t billions, uint32_t units);

// Prints the size billions * 10^9 + units (bytes) as " (%0.1f MB)" or, from 2^30
// on, " (%0.1f GB)", computed in single precision; nothing below half a megabyte.
void PrintMbGbSuffix(uint64_t billions, uint32_t units);
