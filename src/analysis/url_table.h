// URLs as numbers: each different one is kept once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

struct UrlSlot {
  uint32_t place;     // 1 more; 0: free
  uint32_t hash_end;  // the lower half
};

// What stands before each text.
struct UrlHead {
  uint32_t number;
  uint32_t length;
};

inline constexpr size_t kUrlUnit = sizeof(UrlHead);           // places are multiples of it
inline constexpr size_t kUrlRoom = size_t{64} << 10;          // bytes
inline constexpr size_t kUrlRoomUnits = kUrlRoom / kUrlUnit;  // a longer text is alone in a room of its own

// Texts by number, from 0, and found by a hash that differs from run to run. Numbers and places depend on
// nothing but the texts and the order in which they came.
struct UrlTable {
  std::vector<UrlSlot> slots;
  std::vector<std::unique_ptr<char[]>> rooms;
  size_t room_used = kUrlRoom;   // of the last one
  std::vector<uint32_t> places;  // by number
  size_t bytes = 0;              // that all of it takes, about
};

uint64_t HashOfUrl(std::string_view text);

// The number of the text, which is kept when it is a new one, by its hash. Takes time in proportion to the
// text alone.
uint32_t NumberOfUrl(UrlTable& urls, std::string_view text, uint64_t hash);
inline uint32_t NumberOfUrl(UrlTable& urls, std::string_view text) {
  return NumberOfUrl(urls, text, HashOfUrl(text));
}

inline const UrlHead& UrlAt(const UrlTable& urls, uint32_t place) {
  const char* const room = urls.rooms[place / kUrlRoomUnits].get();
  return *reinterpret_cast<const UrlHead*>(room + place % kUrlRoomUnits * kUrlUnit);
}

inline std::string_view TextOf(const UrlHead& head) {
  return {reinterpret_cast<const char*>(&head + 1), head.length};
}

inline std::string_view UrlOf(const UrlTable& urls, uint32_t number) {
  return TextOf(UrlAt(urls, urls.places[number]));
}

// Has what NumberOfUrl will look at be brought to the processor: first where the text may stand, then, some
// time later, the text.
void FetchUrlSlot(const UrlTable& urls, uint64_t hash);
void FetchUrl(const UrlTable& urls, uint64_t hash);
