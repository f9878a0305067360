// URLs as numbers: each different one is kept once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

// Texts by number, from 0, and found by a hash that differs from run to run. Numbers depend on nothing but
// the order in which the texts came.
struct UrlTable {
  std::vector<std::string_view> texts;
  std::vector<uint32_t> slots;  // by hash: numbers, each 1 more; 0 is free
  std::vector<std::unique_ptr<char[]>> rooms;
  size_t room_left = 0;  // of the last one
  size_t bytes = 0;      // that all of it takes, about
};

// The number of the text, which is kept when it is a new one. Takes time in proportion to the text alone.
uint32_t NumberOfUrl(UrlTable& urls, std::string_view text);

inline std::string_view UrlOf(const UrlTable& urls, uint32_t number) {
  return urls.texts[number];
}
