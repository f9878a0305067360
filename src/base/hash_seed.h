// Seeds of hash tables whose keys come from outside.
//
// Whoever knows how keys are hashed can choose many that collide, and so make
// every look-up a walk. A seed that differs from run to run keeps that from
// them; what a table holds, and in which order it is told, never depends on it.
#pragma once

#include <unistd.h>

#include <cstdint>

// Random bytes, or the given seed where the system has none to give.
template <typename Seed>
Seed RandomSeed(const Seed& otherwise) noexcept {
  Seed seed;
  return getentropy(&seed, sizeof seed) == 0 ? seed : otherwise;
}

// Both halves of the product, folded together.
inline uint64_t MultiplyFold(uint64_t a, uint64_t b) {
  const auto product = static_cast<unsigned __int128>(a) * b;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}
