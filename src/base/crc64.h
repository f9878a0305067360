// CRC-64/XZ: a checksum of 64 bits that tells damage by chance, not what somebody has made up (polynomial
// 0x42f0e1eba9ea3693 reflected, from all ones, all bits turned in the end; of "123456789" it is
// 0x995dc9bbdf1939fa).
#pragma once

#include <cstddef>
#include <cstdint>

// The checksum of what came before and of these bytes; of nothing it is 0.
uint64_t AddToCrc64(uint64_t before, const char* bytes, size_t size);
