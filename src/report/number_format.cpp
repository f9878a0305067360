#include "report/number_format.h"

#include <cinttypes>
#include <cstdio>

#include "base/text.h"

static constexpr uint32_t kHalfMegabyte = 524288;
static constexpr uint32_t kGigabyteBeyondBillion = 73741824;  // 2^30 - 10^9

// Writes the digits without commas and returns how many they are.
static size_t FormatDigits(char (&digits)[kFigureSize], uint64_t value, uint64_t billions, uint32_t units) {
  if (value != 0) {
    return static_cast<size_t>(snprintf(digits, sizeof digits, "%" PRIu64, value));
  }
  if (billions != 0) {
    // deliberate: units are not padded to nine digits, so 1 billion and 5 reads 15
    return static_cast<size_t>(snprintf(digits, sizeof digits, "%" PRIu64 "%" PRIu32, billions, units));
  }
  return static_cast<size_t>(snprintf(digits, sizeof digits, "%" PRIu32, units));
}

void FormatWithCommas(char* out, size_t capacity, uint64_t value, uint64_t billions, uint32_t units) {
  char digits[kFigureSize];
  const size_t length = FormatDigits(digits, value, billions, units);
  char grouped[kFigureSize];
  size_t used = 0;
  for (size_t i = 0; i < length; ++i) {
    if (i != 0 && (length - i) % 3 == 0) {
      grouped[used++] = ',';
    }
    grouped[used++] = digits[i];
  }
  CopyText(out, capacity, {grouped, used});
}

void PrintMbGbSuffix(uint64_t billions, uint32_t units) {
  if (billions == 0 && units < kHalfMegabyte) {
    return;
  }
  const float bytes = static_cast<float>(billions) * 1000000000.0F + static_cast<float>(units);
  if (billions == 0 || (billions == 1 && units < kGigabyteBeyondBillion)) {
    printf(" (%0.1f MB)", static_cast<double>(bytes / 1048576.0F));
  } else {
    printf(" (%0.1f GB)", static_cast<double>(bytes / 1073741824.0F));
  }
}
