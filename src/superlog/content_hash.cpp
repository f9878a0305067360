#include "superlog/content_hash.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/hash_seed.h"

// Two lanes, each of which takes every word with another part of the key: what makes one of them
// collide does not make the other.
ContentHash AddBlock(const ContentKey& key, const ContentHash& before, const char* block, size_t size) {
  ContentHash hash = before;
  const auto& words = key.words;
  const auto add = [&](uint64_t a, uint64_t b) {
    hash.low = MultiplyFold(hash.low ^ a ^ words[0], b ^ words[1]) + a;
    hash.high = MultiplyFold(hash.high ^ b ^ words[2], a ^ words[3]) + b;
  };
  uint64_t pair[2];
  size_t at = 0;
  for (; at + sizeof pair <= size; at += sizeof pair) {
    memcpy(pair, block + at, sizeof pair);
    add(pair[0], pair[1]);
  }
  pair[0] = pair[1] = 0;
  memcpy(pair, block + at, size - at);
  add(pair[0], pair[1]);
  add(size, ~words[0]);
  return hash;
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

bool HashFile(const ContentKey& key, int file, uint64_t size, ContentHash& hash) {
  static char block[kContentBlock];
  hash = {};
  for (uint64_t at = 0; at < size;) {
    const auto length = static_cast<size_t>(std::min<uint64_t>(sizeof block, size - at));
    if (!ReadBlock(file, block, length, at)) {
      return false;
    }
    hash = AddBlock(key, hash, block, length);
    at += length;
  }
  return true;
}
