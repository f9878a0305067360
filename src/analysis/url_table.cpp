#include "analysis/url_table.h"

#include <algorithm>
#include <cstring>

#include "base/hash_seed.h"

// Visitors choose what they ask for.
struct UrlSeed {
  uint64_t start;
  uint64_t factor;
};

static const UrlSeed mUrlSeed = RandomSeed(UrlSeed{0xa4093822299f31d0, 0x082efa98ec4e6c89});  // digits of pi

static uint64_t HashOfUrl(std::string_view text) {
  uint64_t hash = MultiplyFold(text.size() ^ mUrlSeed.start, mUrlSeed.factor | 1);
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), sizeof(uint64_t)))) {
    uint64_t word = 0;
    memcpy(&word, text.data(), std::min(text.size(), sizeof word));
    hash = MultiplyFold(hash ^ word, mUrlSeed.factor | 1);
  }
  return hash;
}

static size_t SlotOf(const UrlTable& urls, std::string_view text) {
  const size_t mask = urls.slots.size() - 1;
  size_t slot = HashOfUrl(text) & mask;
  while (urls.slots[slot] != 0 && urls.texts[urls.slots[slot] - 1] != text) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

// At most half of the slots are taken.
static void GrowSlots(UrlTable& urls) {
  static constexpr size_t kFirst = 256;
  urls.slots.assign(std::max(kFirst, 2 * urls.slots.size()), 0);
  for (uint32_t number = 0; number < urls.texts.size(); ++number) {
    urls.slots[SlotOf(urls, urls.texts[number])] = number + 1;
  }
}

static std::string_view Keep(UrlTable& urls, std::string_view text) {
  static constexpr size_t kRoom = 64 << 10;
  if (urls.rooms.empty() || text.size() > urls.room_left) {
    urls.room_left = std::max(kRoom, text.size());
    urls.rooms.push_back(std::make_unique_for_overwrite<char[]>(urls.room_left));
  }
  // Rooms are filled from their ends.
  urls.room_left -= text.size();
  char* const copy = urls.rooms.back().get() + urls.room_left;
  text.copy(copy, text.size());
  return {copy, text.size()};
}

uint32_t NumberOfUrl(UrlTable& urls, std::string_view text) {
  if (2 * urls.texts.size() >= urls.slots.size()) {
    GrowSlots(urls);
  }
  uint32_t& slot = urls.slots[SlotOf(urls, text)];
  if (slot == 0) {
    static constexpr size_t kOfEach = sizeof(std::string_view) + 4 * sizeof(uint32_t);
    urls.texts.push_back(Keep(urls, text));
    urls.bytes += text.size() + kOfEach;
    slot = static_cast<uint32_t>(urls.texts.size());
  }
  return slot - 1;
}
