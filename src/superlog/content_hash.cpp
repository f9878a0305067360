#include "superlog/content_hash.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/hash_seed.h"

// Two halves, each of which takes every word with another part of the key: what makes one of them
// collide does not make the other.
static void AddPair(const ContentKey& key, ContentHash& hash, uint64_t a, uint64_t b) {
  const auto& words = key.words;
  hash.low = MultiplyFold(hash.low ^ a ^ words[0], b ^ words[1]) + a;
  hash.high = MultiplyFold(hash.high ^ b ^ words[2], a ^ words[3]) + b;
}

static void AddPairAt(const ContentKey& key, ContentHash& hash, const char* at) {
  uint64_t pair[2];
  memcpy(pair, at, sizeof pair);
  AddPair(key, hash, pair[0], pair[1]);
}

// A multiplication waits for the one before: four chains go on side by side, each of which begins and ends
// as no other does.
static constexpr size_t kChains = 4;
static constexpr size_t kPair = 2 * sizeof(uint64_t);

static size_t AddInChains(const ContentKey& key, ContentHash& hash, const char* block, size_t size) {
  ContentHash chains[kChains];
  for (size_t i = 0; i < kChains; ++i) {
    chains[i] = {hash.low + i, hash.high - i};
  }
  size_t at = 0;
  for (; at + kChains * kPair <= size; at += kChains * kPair) {
    for (size_t i = 0; i < kChains; ++i) {
      AddPairAt(key, chains[i], block + at + i * kPair);
    }
  }
  for (const ContentHash& chain : chains) {
    AddPair(key, hash, chain.low, chain.high);
  }
  return at;
}

ContentHash HashOfBlock(const ContentKey& key, const char* block, size_t size) {
  ContentHash hash{};
  size_t at = AddInChains(key, hash, block, size);
  for (; at + kPair <= size; at += kPair) {
    AddPairAt(key, hash, block + at);
  }
  char rest[kPair] = {};
  memcpy(rest, block + at, size - at);
  AddPairAt(key, hash, rest);
  AddPair(key, hash, size, ~key.words[0]);
  return hash;
}

ContentHash AddHash(const ContentKey& key, const ContentHash& before, const ContentHash& block) {
  ContentHash hash = before;
  AddPair(key, hash, block.low, block.high);
  return hash;
}

ContentHash AddBlock(const ContentKey& key, const ContentHash& before, const char* block, size_t size) {
  return AddHash(key, before, HashOfBlock(key, block, size));
}

static bool ReadBlock(int file, char* block, size_t size, uint64_t offset) {
  for (size_t got = 0; got < size;) {
    const ssize_t n = pread(file, block + got, size - got, static_cast<off_t>(offset + got));
    if (n > 0) {
      got += static_cast<size_t>(n);
    } else if (n == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool HashStretch(const ContentKey& key, int file, uint64_t from, uint64_t to, ContentHash& hash) {
  static char block[kContentBlock];
  for (uint64_t at = from; at < to;) {
    const auto length = static_cast<size_t>(std::min<uint64_t>(sizeof block, to - at));
    if (!ReadBlock(file, block, length, at)) {
      return false;
    }
    hash = AddBlock(key, hash, block, length);
    at += length;
  }
  return true;
}

bool HashFile(const ContentKey& key, int file, uint64_t size, ContentHash& hash) {
  hash = {};
  return HashStretch(key, file, 0, size, hash);
}
