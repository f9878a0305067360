#include "analysis/counting_table.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "analysis/item_key.h"
#include "analysis/smart_memory.h"
#include "analysis/smart_memory_internal.h"
#include "base/text.h"

ListInfoChain gListInfo;

// A slot repeats the hash, so that a probe reads a record only where it is very
// likely the right one.
struct IndexSlot {
  ListItem* item;  // null: the slot is free
  uint32_t hash;
};

static constexpr size_t kUnindexedMax = 8;  // a list up to this length is searched by walking it
static constexpr size_t kLastCapacity = size_t{1} << 31;
static constexpr size_t kCacheLine = 64;
static constexpr size_t kWaitingMax = 16;
static constexpr int32_t kSortLimit = 999999;

static KeySeed RandomSeed() noexcept {
  KeySeed seed;
  if (getentropy(&seed, sizeof seed) != 0) {
    seed = {0x243f6a8885a308d3, 0x13198a2e03707344};  // digits of pi
  }
  return seed;
}

static const KeySeed mSeed = RandomSeed();

// ---- Index ----

static IndexSlot& FreeSlot(IndexSlot* slots, size_t capacity, uint32_t hash) {
  size_t i = hash & (capacity - 1);
  while (slots[i].item != nullptr) {
    i = (i + 1) & (capacity - 1);
  }
  return slots[i];
}

static ListItem* WalkFor(const List& list, std::string_view key, uint32_t hash, bool ignore_case) {
  ListItem* item = list.first;
  while (item != nullptr && (item->hash != hash || !SameKey(*item, key, ignore_case))) {
    item = item->next;
  }
  return item;
}

static ListItem* Find(const List& list, std::string_view key, uint32_t hash, bool ignore_case) {
  if (list.slots == nullptr) {
    return WalkFor(list, key, hash, ignore_case);
  }
  const uint32_t mask = list.capacity - 1;
  for (uint32_t i = hash & mask;; i = (i + 1) & mask) {
    const IndexSlot& slot = list.slots[i];
    if (slot.item == nullptr || (slot.hash == hash && SameKey(*slot.item, key, ignore_case))) {
      return slot.item;
    }
  }
}

static const IndexSlot* HomeSlot(const List& list, uint32_t hash) {
  return list.slots == nullptr ? nullptr : &list.slots[hash & (list.capacity - 1)];
}

void FetchSlot(const List& list, uint32_t hash) {
  __builtin_prefetch(HomeSlot(list, hash));
}

// Moves the list to an index of the given capacity; false, and nothing changed,
// when memory is refused.
static bool Reindex(List& list, size_t capacity) {
  IndexSlot* slots = static_cast<IndexSlot*>(mpAllocateZeroed(capacity, sizeof(IndexSlot)));
  if (slots == nullptr) {
    return false;
  }
  for (uint32_t i = 0; i < list.capacity; ++i) {
    if (list.slots[i].item != nullptr) {
      FreeSlot(slots, capacity, list.slots[i].hash) = list.slots[i];
    }
  }
  if (list.slots == nullptr) {
    for (ListItem* item = list.first; item != nullptr; item = item->next) {
      FreeSlot(slots, capacity, item->hash) = {item, item->hash};
    }
  }
  free(list.slots);
  list.slots = slots;
  list.capacity = static_cast<uint32_t>(capacity);
  return true;
}

// Prepares the index for one more record. A full one grows; when that is refused
// it works on, ever slower, until 15 of 16 slots are taken.
static bool MakeRoom(List& list) {
  if (list.slots == nullptr) {
    if (list.length >= kUnindexedMax) {
      // Refused: the list is still walked, and the next record tries again.
      Reindex(list, std::bit_ceil(list.length * 4));
    }
    return true;
  }
  const size_t capacity = list.capacity;
  return list.length < capacity / 4 * 3 || (capacity < kLastCapacity && Reindex(list, capacity * 2)) ||
         list.length < capacity / 16 * 15;
}

// Takes the record out of the index; those behind it move up, so that a free
// slot still ends every search.
static void Unindex(List& list, const ListItem* item) {
  if (list.slots == nullptr) {
    return;
  }
  IndexSlot* const slots = list.slots;
  const uint32_t mask = list.capacity - 1;
  uint32_t gap = item->hash & mask;
  while (slots[gap].item != item) {
    gap = (gap + 1) & mask;
  }
  for (uint32_t i = (gap + 1) & mask; slots[i].item != nullptr; i = (i + 1) & mask) {
    const uint32_t from_home = (i - slots[i].hash) & mask;
    if (from_home >= ((i - gap) & mask)) {
      slots[gap] = slots[i];
      gap = i;
    }
  }
  slots[gap].item = nullptr;
}

// ---- Counting ----

void init_list(List& list, ListInfo*& info, const char* name) {
  list = {};
  info = static_cast<ListInfo*>(mpAllocateZeroed(1, sizeof(ListInfo)));
  if (info == nullptr) {
    exit(1);
  }
  info->head = &list;
  info->name = name;
  (gListInfo.last == nullptr ? gListInfo.first : gListInfo.last->next) = info;
  gListInfo.last = info;
}

// Makes a record of count 1. A reclaim on the way may thin any list, this one
// included, but spares the parent.
static ListItem& NewItem(List& list, ListInfo& info, std::string_view key, uint32_t hash,
                         const ListItem* parent) {
  if (!MakeRoom(list) && !(ReclaimAfterRefusal(parent) && MakeRoom(list))) {
    exit(1);
  }
  const size_t padded = PaddedKeySize(key.size());
  ListItem* item = static_cast<ListItem*>(smart_alloc(offsetof(ListItem, name) + padded, info, parent));
  if (item == nullptr) {
    exit(1);
  }
  item->next = list.first;
  item->sublist = nullptr;
  item->hash = hash;
  item->rank = 0;
  item->count = 1;
  item->length = static_cast<uint8_t>(key.size());
  memset(item->name + padded - kKeyWord, 0, kKeyWord);
  memcpy(item->name, key.data(), key.size());
  list.first = item;
  ++list.length;
  if (list.slots != nullptr) {
    FreeSlot(list.slots, list.capacity, hash) = {item, hash};
  }
  return *item;
}

static List& SublistOf(ListItem& item) {
  if (item.sublist == nullptr) {
    List* list = static_cast<List*>(mpAllocateZeroed(1, sizeof(List)));
    if (list == nullptr && ReclaimAfterRefusal(&item)) {
      list = static_cast<List*>(mpAllocateZeroed(1, sizeof(List)));
    }
    if (list == nullptr) {
      exit(1);
    }
    item.sublist = list;
  }
  return *item.sublist;
}

static ListItem& CountKey(List& list, ListInfo* info, std::string_view key, uint32_t hash,
                          const ListItem* parent, bool ignore_case) {
  ListItem* item = Find(list, key, hash, ignore_case);
  if (item == nullptr) {
    list.ignore_case = ignore_case;
    return NewItem(list, *info, key, hash, parent);
  }
  item->count = static_cast<int32_t>(static_cast<uint32_t>(item->count) + 1);
  return *item;
}

static void CountSubkey(ListItem& item, ListInfo* info, std::string_view subkey, bool ignore_case) {
  subkey = subkey.substr(0, kTextMax);
  CountKey(SublistOf(item), info, subkey, HashKey(subkey, ignore_case, mSeed), &item, ignore_case);
}

void add_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, ListItem* parent,
              bool ignore_case) {
  count_queued();
  if (key.empty()) {
    return;
  }
  key = key.substr(0, kTextMax);
  ListItem& item = CountKey(list, info, key, HashKey(key, ignore_case, mSeed), parent, ignore_case);
  if (!subkey.empty()) {
    CountSubkey(item, info, subkey, ignore_case);
  }
}

// A key that waits while the memory that counting it takes is on its way.
struct Waiting {
  List* list;
  ListInfo* info;
  uint32_t hash;
  bool ignore_case;
  uint8_t length;
  uint8_t sublength;
  char key[kTextMax];
  char subkey[kTextMax];
};

static Waiting mWaiting[kWaitingMax];
static size_t mWaitingCount = 0;

static void FetchItem(const Waiting& waiting) {
  const IndexSlot* const slot = HomeSlot(*waiting.list, waiting.hash);
  if (slot != nullptr && slot->item != nullptr) {
    __builtin_prefetch(&slot->item->count);
    __builtin_prefetch(slot->item->name + kCacheLine);
  }
}

static void CountWaiting(const Waiting& waiting) {
  ListItem& item = CountKey(*waiting.list, waiting.info, {waiting.key, waiting.length}, waiting.hash, nullptr,
                            waiting.ignore_case);
  if (waiting.sublength > 0) {
    CountSubkey(item, waiting.info, {waiting.subkey, waiting.sublength}, waiting.ignore_case);
  }
}

void queue_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, bool ignore_case) {
  if (key.empty()) {
    return;
  }
  if (mWaitingCount == kWaitingMax) {
    count_queued();
  }
  Waiting& waiting = mWaiting[mWaitingCount++];
  waiting.list = &list;
  waiting.info = info;
  waiting.ignore_case = ignore_case;
  key = key.substr(0, kTextMax);
  subkey = subkey.substr(0, kTextMax);
  waiting.length = static_cast<uint8_t>(key.size());
  waiting.sublength = static_cast<uint8_t>(subkey.size());
  // Hashed where it stands: words just written cannot be read back at other places without a wait.
  waiting.hash = HashKey(key, ignore_case, mSeed);
  CopyKey(waiting.key, key.data(), key.size());
  CopyKey(waiting.subkey, subkey.data(), subkey.size());
  FetchSlot(list, waiting.hash);
}

void count_queued() {
  // The slots were sent for when the keys were queued; most have come in by now.
  for (size_t i = 0; i < mWaitingCount; ++i) {
    FetchItem(mWaiting[i]);
  }
  for (size_t i = 0; i < mWaitingCount; ++i) {
    CountWaiting(mWaiting[i]);
  }
  mWaitingCount = 0;
}

size_t list_length(const List& list) {
  count_queued();
  return list.length;
}

int64_t TotalList(const List& list) {
  count_queued();
  int64_t total = 0;
  for (const ListItem* item = list.first; item != nullptr; item = item->next) {
    total += item->count;
  }
  return total;
}

// ---- Order ----

// Merge sort of the first `length` records of the chain `rest`, which loses them.
template <typename Before>
static ListItem* SortChain(ListItem*& rest, size_t length, const Before& before) {
  if (length == 1) {
    ListItem* const only = rest;
    rest = rest->next;
    only->next = nullptr;
    return only;
  }
  ListItem* left = SortChain(rest, length / 2, before);
  ListItem* right = SortChain(rest, length - length / 2, before);
  ListItem* sorted = nullptr;
  ListItem** end = &sorted;
  while (left != nullptr && right != nullptr) {
    ListItem*& lower = before(*right, *left) ? right : left;
    *end = lower;
    end = &lower->next;
    lower = lower->next;
  }
  *end = left != nullptr ? left : right;
  return sorted;
}

template <typename Before>
static ListItem* SortAll(List& list, const Before& before) {
  list.pivots = 0;
  ListItem* rest = list.first;
  list.first = list.length == 0 ? nullptr : SortChain(rest, list.length, before);
  return list.first;
}

ListItem* KeyOrder(List& list) {
  count_queued();
  return SortAll(list,
                 [&](const ListItem& a, const ListItem& b) { return KeyBefore(a, b, list.ignore_case); });
}

struct DisplayBefore {
  bool ignore_case;

  static bool Sorts(const ListItem& item) { return item.count >= 0 && item.count <= kSortLimit; }

  bool operator()(const ListItem& a, const ListItem& b) const {
    // deliberate: counts above the limit stay behind all others
    if (Sorts(a) != Sorts(b)) {
      return Sorts(a);
    }
    if (!Sorts(a)) {
      return KeyBefore(a, b, ignore_case);
    }
    return a.count != b.count ? a.count > b.count : KeyBefore(b, a, ignore_case);
  }
};

// Moves the first `shown` records to the front of the chain, in order: a heap of
// the best so far has the last of them on top.
static ListItem* SelectFirst(List& list, ListItem** heap, size_t shown) {
  const auto before = [&](const ListItem* a, const ListItem* b) {
    return DisplayBefore{list.ignore_case}(*a, *b);
  };
  ListItem* item = list.first;
  for (size_t i = 0; i < shown; ++i, item = item->next) {
    heap[i] = item;
  }
  std::make_heap(heap, heap + shown, before);
  ListItem* others = nullptr;
  while (item != nullptr) {
    ListItem* other = item;
    item = item->next;
    if (before(other, heap[0])) {
      std::pop_heap(heap, heap + shown, before);
      std::swap(other, heap[shown - 1]);
      std::push_heap(heap, heap + shown, before);
    }
    other->next = others;
    others = other;
  }
  std::sort_heap(heap, heap + shown, before);
  for (size_t i = shown; i-- > 0;) {
    heap[i]->next = others;
    others = heap[i];
  }
  list.pivots = 0;
  return list.first = others;
}

ListItem* SortList(List& list, size_t shown) {
  count_queued();
  ListItem** heap = nullptr;
  if (shown > 0 && shown < list.length / 4) {
    heap = static_cast<ListItem**>(mpAllocate(shown * sizeof(void*)));
  }
  if (heap == nullptr) {
    return SortAll(list, DisplayBefore{list.ignore_case});
  }
  ListItem* const first = SelectFirst(list, heap, shown);
  free(heap);
  return first;
}

// ---- Release ----

static void Release(List& list) {
  ListItem* item = list.first;
  while (item != nullptr) {
    ListItem* const gone = item;
    item = item->next;
    if (gone->sublist != nullptr) {
      Release(*gone->sublist);
      free(gone->sublist);
    }
    free(gone);
  }
  free(list.slots);
}

size_t ReleaseItem(List& list, ListItem* item) {
  Unindex(list, item);
  --list.length;
  size_t released = 1;
  if (item->sublist != nullptr) {
    released += item->sublist->length;
    Release(*item->sublist);
    free(item->sublist);
  }
  free(item);
  return released;
}

void destroy(List& list) {
  count_queued();
  Release(list);
  list = {};
}

void destroyListInfo() {
  count_queued();
  ListInfo* info = gListInfo.first;
  while (info != nullptr) {
    ListInfo* const gone = info;
    info = info->next;
    free(gone);
  }
  gListInfo = {};
}
