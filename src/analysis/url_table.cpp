#include "analysis/url_table.h"

#include <algorithm>
#include <new>

#include "base/text_hash.h"

// Visitors choose what they ask for.
static const TextSeed mUrlSeed =
    RandomSeed(TextSeed{0xa4093822299f31d0, 0x082efa98ec4e6c89});  // digits of pi

uint64_t HashOfUrl(std::string_view text) {
  return HashOfText(text, mUrlSeed);
}

static size_t HomeOf(const UrlTable& urls, uint64_t hash) {
  return static_cast<uint32_t>(hash) & (urls.slots.size() - 1);
}

static size_t SlotOf(const UrlTable& urls, std::string_view text, uint64_t hash) {
  size_t place = HomeOf(urls, hash);
  for (;; place = (place + 1) & (urls.slots.size() - 1)) {
    const UrlSlot& slot = urls.slots[place];
    if (slot.place == 0 ||
        (slot.hash_end == static_cast<uint32_t>(hash) && TextOf(UrlAt(urls, slot.place - 1)) == text)) {
      return place;
    }
  }
}

// At most half of the slots are taken, of 2^32 at most.
static void GrowSlots(UrlTable& urls) {
  static constexpr size_t kFirst = 256;
  std::vector<UrlSlot> before(std::max(kFirst, 2 * urls.slots.size()));
  before.swap(urls.slots);
  for (const UrlSlot& slot : before) {
    if (slot.place != 0) {
      size_t place = HomeOf(urls, slot.hash_end);
      while (urls.slots[place].place != 0) {
        place = (place + 1) & (urls.slots.size() - 1);
      }
      urls.slots[place] = slot;
    }
  }
}

// Tells where it stands.
static uint32_t Keep(UrlTable& urls, std::string_view text) {
  const size_t size = (sizeof(UrlHead) + text.size() + kUrlUnit - 1) / kUrlUnit * kUrlUnit;
  if (urls.room_used + size > kUrlRoom) {
    urls.rooms.push_back(std::make_unique_for_overwrite<char[]>(std::max(kUrlRoom, size)));
    urls.room_used = 0;
  }
  char* const room = urls.rooms.back().get() + urls.room_used;
  new (room) UrlHead{.number = static_cast<uint32_t>(urls.places.size()),
                     .length = static_cast<uint32_t>(text.size())};
  text.copy(room + sizeof(UrlHead), text.size());
  const size_t place = (urls.rooms.size() - 1) * kUrlRoomUnits + urls.room_used / kUrlUnit;
  urls.room_used += size;
  urls.places.push_back(static_cast<uint32_t>(place));
  return urls.places.back();
}

uint32_t NumberOfUrl(UrlTable& urls, std::string_view text, uint64_t hash) {
  if (2 * urls.places.size() >= urls.slots.size()) {
    GrowSlots(urls);
  }
  UrlSlot& slot = urls.slots[SlotOf(urls, text, hash)];
  if (slot.place == 0) {
    static constexpr size_t kOfEach = 32;
    slot = {.place = Keep(urls, text) + 1, .hash_end = static_cast<uint32_t>(hash)};
    urls.bytes += text.size() + kOfEach;
  }
  return UrlAt(urls, slot.place - 1).number;
}

void FetchUrlSlot(const UrlTable& urls, uint64_t hash) {
  if (!urls.slots.empty()) {
    __builtin_prefetch(&urls.slots[HomeOf(urls, hash)]);
  }
}

void FetchUrl(const UrlTable& urls, uint64_t hash) {
  if (!urls.slots.empty()) {
    const UrlSlot& slot = urls.slots[HomeOf(urls, hash)];
    if (slot.place != 0) {
      __builtin_prefetch(&UrlAt(urls, slot.place - 1));
    }
  }
}
