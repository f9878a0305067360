#include "base/crc64.h"

#include <array>

static constexpr uint64_t kPolynomial = 0xc96c5795d7870f42;
static constexpr size_t kStep = 8;  // bytes taken at once

// A row for each byte of a step: what its values add to the checksum, once the bytes behind it have come.
using Rows = std::array<std::array<uint64_t, 256>, kStep>;

static constexpr Rows MakeRows() {
  Rows rows{};
  for (uint64_t byte = 0; byte < 256; ++byte) {
    uint64_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) {
      crc = crc >> 1 ^ (crc % 2 == 0 ? 0 : kPolynomial);
    }
    rows[0][byte] = crc;
  }
  for (size_t row = 1; row < kStep; ++row) {
    for (size_t byte = 0; byte < 256; ++byte) {
      const uint64_t before = rows[row - 1][byte];
      rows[row][byte] = before >> 8 ^ rows[0][before % 256];
    }
  }
  return rows;
}

static constexpr Rows kRows = MakeRows();

static uint64_t AddByte(uint64_t crc, char byte) {
  return crc >> 8 ^ kRows[0][(crc ^ static_cast<unsigned char>(byte)) % 256];
}

static uint64_t AddStep(uint64_t crc, const char* bytes) {
  uint64_t sum = 0;
  for (size_t i = 0; i < kStep; ++i) {
    const uint64_t byte = static_cast<unsigned char>(bytes[i]) ^ (crc >> 8 * i & 0xff);
    sum ^= kRows[kStep - 1 - i][byte];
  }
  return sum;
}

uint64_t AddToCrc64(uint64_t before, const char* bytes, size_t size) {
  uint64_t crc = ~before;
  for (; size >= kStep; bytes += kStep, size -= kStep) {
    crc = AddStep(crc, bytes);
  }
  for (; size > 0; ++bytes, --size) {
    crc = AddByte(crc, *bytes);
  }
  return ~crc;
}
