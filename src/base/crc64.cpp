#include "base/crc64.h"

#include <array>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

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

// Takes all bytes; the checksum is inverted before and afterwards.
static uint64_t AddBytes(uint64_t crc, const char* bytes, size_t size) {
  for (; size >= kStep; bytes += kStep, size -= kStep) {
    crc = AddStep(crc, bytes);
  }
  for (; size > 0; ++bytes, --size) {
    crc = AddByte(crc, *bytes);
  }
  return crc;
}

#if defined(__x86_64__)

// Where the processor multiplies polynomials, blocks are folded: of a polynomial of 128 bits, what it adds to
// those that come so many bits later is its two halves, each times a power of x, modulo the checksum's
// polynomial. Bits are in the order of the checksum, the lowest one of the highest power, in which a product
// comes out times x: hence the power is one less.

static constexpr size_t kBlock = 16;
static constexpr size_t kBlocks = 4;  // that are folded side by side

static constexpr uint64_t PowerOfX(int power) {
  uint64_t value = uint64_t{1} << 63;
  for (; power > 0; --power) {
    value = value >> 1 ^ (value % 2 == 0 ? 0 : kPolynomial);
  }
  return value;
}

// Of the half that comes first, and of the other one.
struct Factors {
  uint64_t first;
  uint64_t second;
};

static constexpr Factors FactorsFor(int bits) {
  return {PowerOfX(bits + 64 - 1), PowerOfX(bits - 1)};
}

static constexpr Factors kToNextBlock = FactorsFor(8 * kBlock);
static constexpr Factors kToNextBlocks = FactorsFor(8 * kBlock * kBlocks);

#define FOLDING [[gnu::target("pclmul"), gnu::always_inline]] inline static

FOLDING __m128i Load(const char* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

FOLDING __m128i Load(const Factors& factors) {
  return _mm_set_epi64x(static_cast<int64_t>(factors.second), static_cast<int64_t>(factors.first));
}

FOLDING __m128i Fold(__m128i block, __m128i factors, __m128i next) {
  const __m128i first = _mm_clmulepi64_si128(block, factors, 0x00);
  const __m128i second = _mm_clmulepi64_si128(block, factors, 0x11);
  return _mm_xor_si128(next, _mm_xor_si128(first, second));
}

#undef FOLDING

// Of kBlocks blocks at least; takes whole blocks alone, and moves on behind them.
[[gnu::target("pclmul")]] static uint64_t AddBlocks(uint64_t crc, const char*& bytes, size_t& size) {
  const auto move_on = [&](size_t taken) {
    bytes += taken;
    size -= taken;
  };
  __m128i blocks[kBlocks];
  for (size_t i = 0; i < kBlocks; ++i) {
    blocks[i] = Load(bytes + i * kBlock);
  }
  blocks[0] = _mm_xor_si128(blocks[0], _mm_set_epi64x(0, static_cast<int64_t>(crc)));
  move_on(kBlocks * kBlock);
  for (const __m128i far = Load(kToNextBlocks); size >= kBlocks * kBlock; move_on(kBlocks * kBlock)) {
    for (size_t i = 0; i < kBlocks; ++i) {
      blocks[i] = Fold(blocks[i], far, Load(bytes + i * kBlock));
    }
  }
  const __m128i near = Load(kToNextBlock);
  __m128i all = blocks[0];
  for (size_t i = 1; i < kBlocks; ++i) {
    all = Fold(all, near, blocks[i]);
  }
  for (; size >= kBlock; move_on(kBlock)) {
    all = Fold(all, near, Load(bytes));
  }
  char last[kBlock];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(last), all);
  return AddBytes(0, last, sizeof last);
}

static const bool mFolds = __builtin_cpu_supports("pclmul") != 0;

uint64_t AddToCrc64(uint64_t before, const char* bytes, size_t size) {
  uint64_t crc = ~before;
  if (mFolds && size >= kBlocks * kBlock) {
    crc = AddBlocks(crc, bytes, size);
  }
  return ~AddBytes(crc, bytes, size);
}

#else

uint64_t AddToCrc64(uint64_t before, const char* bytes, size_t size) {
  return ~AddBytes(~before, bytes, size);
}

#endif
