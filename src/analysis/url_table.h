// URLs as numbers: each different one is kept once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

// Two URLs of the same length and hash are taken for one: of ten million by a chance of one in a million at
// most.
struct UrlSlot {
  uint64_t hash;
  uint32_t length;
  uint32_t number;  // 1 more; 0: free
};

inline constexpr size_t kUrlRoom = size_t{64} << 10;  // bytes; a longer text is alone in a room of its own

// Texts by number, from 0, and found by a hash that differs from run to run, so that nobody can foretell it.
// Numbers depend on nothing but the texts and the order in which they came.
struct UrlTable {
  std::vector<UrlSlot> slots;
  std::vector<std::string_view> texts;  // by number
  std::vector<std::unique_ptr<char[]>> rooms;
  size_t room_used = 0;  // of the last one
  size_t bytes = 0;      // that all of it takes, about
};

uint64_t HashOfUrl(std::string_view text);

// The number of the text, which is kept when it is a new one, by its hash.
uint32_t NumberOfUrl(UrlTable& urls, std::string_view text, uint64_t hash);
inline uint32_t NumberOfUrl(UrlTable& urls, std::string_view text) {
  return NumberOfUrl(urls, text, HashOfUrl(text));
}

inline std::string_view UrlOf(const UrlTable& urls, uint32_t number) {
  return urls.texts[number];
}

// Has what NumberOfUrl will look at be brought to the processor.
void FetchUrl(const UrlTable& urls, uint64_t hash);
