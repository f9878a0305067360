// SipHash-2-4: a hash that nobody can foretell who does not know its key, of texts
// that anybody may choose (J.-P. Aumasson and D. J. Bernstein, "SipHash: a fast
// short-input PRF", 2012).
//
// A text is handed over byte by byte, so that it can be folded or put together on
// the way:
//
//   SipHash hash = BeginSipHash(key);
//   AddByte(hash, 'a'), AddByte(hash, 'b');
//   const std::uint64_t of_ab = EndSipHash(hash);
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

using SipKey = std::array<std::uint8_t, 16>;

struct SipHash {
  std::uint64_t v[4];
  std::uint64_t word;    // the bytes since the last whole word, the first one the lowest
  std::uint64_t length;  // bytes so far
};

SipHash BeginSipHash(const SipKey& key);
void AddByte(SipHash& hash, std::uint8_t byte);
// What was added stays as it is, and more may be added afterwards.
std::uint64_t EndSipHash(SipHash hash);

// As if its bytes were added one by one; eight at once where eight times as many came before.
void AddBytes(SipHash& hash, std::string_view text);
