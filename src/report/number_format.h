// Figures of the header and debugging rows.
#pragma once

#include <cstddef>
#include <cstdint>

// Decimal text with commas: of value when it is not 0, else of billions and
// units written one after the other (units unpadded: deliberate), else of units.
// out holds at least 40 characters.
void FormatWithCommas(char* out, size_t capacity, uint32_t value, uint32_t billions, uint32_t units);

// Prints " (%0.1f MB)" or " (%0.1f GB)", nothing below half a megabyte.
void PrintMbGbSuffix(uint32_t billions, uint32_t units);
