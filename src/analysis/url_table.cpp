#include "analysis/url_table.h"

#include <algorithm>

#include "base/memory_end.h"
#include "base/text_hash.h"

// Visitors choose what they ask for.
static const TextSeed mUrlSeed =
    RandomSeed(TextSeed{0xa4093822299f31d0, 0x082efa98ec4e6c89});  // digits of pi

uint64_t HashOfUrl(std::string_view text) {
  return HashOfLongText(text, mUrlSeed);
}

static size_t HomeOf(const UrlTable& urls, uint64_t hash) {
  return hash & (urls.slots.size() - 1);
}

// Where the text stands, or may stand.
static UrlSlot& SlotOf(UrlTable& urls, uint64_t hash, size_t length) {
  size_t place = HomeOf(urls, hash);
  for (;; place = (place + 1) & (urls.slots.size() - 1)) {
    UrlSlot& slot = urls.slots[place];
    if (slot.number == 0 || (slot.hash == hash && slot.length == length)) {
      return slot;
    }
  }
}

// At most half of the slots are taken.
static void GrowSlots(UrlTable& urls) {
  static constexpr size_t kFirst = 256;
  std::vector<UrlSlot> before(std::max(kFirst, 2 * urls.slots.size()));
  before.swap(urls.slots);
  for (const UrlSlot& slot : before) {
    if (slot.number != 0) {
      SlotOf(urls, slot.hash, slot.length) = slot;
    }
  }
}

static void Keep(UrlTable& urls, std::string_view text) {
  if (urls.texts.size() == UINT32_MAX) {
    EndWithoutMemory();  // of several hundred GB
  }
  if (urls.rooms.empty() || urls.room_used + text.size() > kUrlRoom) {
    urls.rooms.push_back(std::make_unique_for_overwrite<char[]>(std::max(kUrlRoom, text.size())));
    urls.room_used = 0;
  }
  char* const room = urls.rooms.back().get() + urls.room_used;
  text.copy(room, text.size());
  urls.room_used += text.size();
  urls.texts.emplace_back(room, text.size());
}

uint32_t NumberOfUrl(UrlTable& urls, std::string_view text, uint64_t hash) {
  if (2 * urls.texts.size() >= urls.slots.size()) {
    GrowSlots(urls);
  }
  UrlSlot& slot = SlotOf(urls, hash, text.size());
  if (slot.number == 0) {
    static constexpr size_t kOfEach = 4 * sizeof(UrlSlot);
    Keep(urls, text);
    slot = {.hash = hash,
            .length = static_cast<uint32_t>(text.size()),
            .number = static_cast<uint32_t>(urls.texts.size())};
    urls.bytes += text.size() + kOfEach;
  }
  return slot.number - 1;
}

void FetchUrl(const UrlTable& urls, uint64_t hash) {
  if (!urls.slots.empty()) {
    __builtin_prefetch(&urls.slots[HomeOf(urls, hash)]);
  }
}
