// A hash of 128 bits of large contents, as fast as memory: whoever does not know its key cannot make two
// contents that have the same.
#pragma once

#include <cstddef>
#include <cstdint>

struct ContentKey {
  uint64_t words[4];
};

struct ContentHash {
  uint64_t low;
  uint64_t high;

  bool operator==(const ContentHash&) const = default;
};

inline constexpr size_t kContentBlock = 64 * 1024;

// The hash of what came before and of one more block. Every block but the last must be of kContentBlock
// bytes. Contents begin with the hash {}. Blocks may be hashed each by itself, and their hashes added in
// their order.
ContentHash HashOfBlock(const ContentKey& key, const char* block, size_t size);
ContentHash AddHash(const ContentKey& key, const ContentHash& before, const ContentHash& block);
ContentHash AddBlock(const ContentKey& key, const ContentHash& before, const char* block, size_t size);

// The hash of the first size bytes of an open file, read from its start; false when it is shorter or cannot
// be read, and of what is no regular file.
bool HashFile(const ContentKey& key, int file, uint64_t size, ContentHash& hash);

// The same of what lies between two places of the file, of which the first one is a multiple of
// kContentBlock: hash is that of what came before, and becomes that of all.
bool HashStretch(const ContentKey& key, int file, uint64_t from, uint64_t to, ContentHash& hash);
