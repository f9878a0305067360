#include "report/number_format.h"
void FormatWithCommas(char* out, size_t, uint32_t, uint32_t, uint32_t) { *out = 0; }
void PrintMbGbSuffix(uint32_t, uint32_t) {}
