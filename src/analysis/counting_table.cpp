#include "analysis/counting_table.h"

#include <algorithm>
#include <cstdlib>

#include "analysis/item_key.h"
#include "analysis/smart_memory.h"
#include "analysis/smart_memory_internal.h"
#include "base/memory_end.h"
#include "base/text.h"

ListInfoChain gListInfo;
static ListInfoChain mExempt;  // lists that no reclaim takes from

// A slot repeats the hash, so that a probe reads a record only where it is very
// likely the right one.
struct IndexSlot {
  ListItem* item;  // null: the slot is free
  uint32_t hash;
};

static constexpr size_t kUnindexedMax = 8;  // a list up to this length is searched by walking it
static constexpr size_t kWalkedMax = 64;    // and one up to this length where memory for an index is refused
static constexpr size_t kSmallestIndex = 32;
static constexpr size_t kLastCapacity = size_t{1} << 31;
static constexpr size_t kCacheLine = 64;
static constexpr size_t kGroupSize = 32;  // keys that are counted together

static KeySeed ChooseSeed() noexcept {
  KeySeed seed = RandomSeed(
      KeySeed{"any bytes do where the system has no random ones", 0x243f6a8885a308d3, 0x13198a2e03707344});
  seed.chain |= 1;
  return seed;
}

static const KeySeed mSeed = ChooseSeed();

Limits mCountingLimits = kClassicLimits;

void SetCountingLimits(const Limits& limits) {
  mCountingLimits = limits;
}

// ---- Index ----

static uint8_t SpareBits(size_t capacity) {
  return static_cast<uint8_t>(32 - std::countr_zero(capacity));
}

static IndexSlot& FreeSlot(IndexSlot* slots, size_t capacity, uint32_t hash) {
  size_t i = hash >> SpareBits(capacity);
  while (slots[i].item != nullptr) {
    i = (i + 1) & (capacity - 1);
  }
  return slots[i];
}

[[gnu::noinline]] static ListItem* WalkFor(const List& list, std::string_view key, uint32_t hash,
                                           bool ignore_case) {
  ListItem* item = list.first;
  while (item != nullptr && (item->hash != hash || !SameKey(*item, key, ignore_case))) {
    item = item->next;
  }
  return item;
}

[[gnu::always_inline]] inline static ListItem* Find(const List& list, std::string_view key, uint32_t hash,
                                                    bool ignore_case) {
  if (list.slots == nullptr) {
    return WalkFor(list, key, hash, ignore_case);
  }
  for (uint32_t i = hash >> list.spare_bits;; i = (i + 1) & list.mask()) {
    const IndexSlot& slot = list.slots[i];
    if (slot.item == nullptr || (slot.hash == hash && SameKey(*slot.item, key, ignore_case))) {
      return slot.item;
    }
  }
}

static const IndexSlot* HomeSlot(const List& list, uint32_t hash) {
  return list.slots == nullptr ? nullptr : &list.slots[hash >> list.spare_bits];
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
  const size_t old_capacity = list.capacity();
  for (size_t i = 0; i < old_capacity; ++i) {
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
  list.spare_bits = SpareBits(capacity);
  return true;
}

// Prepares the index for one more record. A full one grows; when that is refused
// it works on, ever slower, until 15 of 16 slots are taken, and each record tries
// again. False when the list can take no more records in reasonable time.
static bool MakeRoom(List& list) {
  if (list.slots == nullptr) {
    return list.length < kUnindexedMax || Reindex(list, std::bit_ceil(size_t{list.length} * 4)) ||
           list.length < kWalkedMax;
  }
  const size_t capacity = list.capacity();
  return list.length < capacity / 4 * 3 || (capacity < kLastCapacity && Reindex(list, capacity * 2)) ||
         list.length < capacity / 16 * 15;
}

// Moves the list to a smaller index. In place: memory for another one is what is
// missing.
static void ShrinkIndex(List& list, size_t capacity) {
  std::fill_n(list.slots, capacity, IndexSlot{});
  for (ListItem* item = list.first; item != nullptr; item = item->next) {
    FreeSlot(list.slots, capacity, item->hash) = {item, item->hash};
  }
  void* const slots = realloc(list.slots, capacity * sizeof(IndexSlot));
  list.slots = slots == nullptr ? list.slots : static_cast<IndexSlot*>(slots);
  list.spare_bits = SpareBits(capacity);
}

// Indexes of a quarter shrink to a half, and grow at three: none goes back and forth.
void ShrinkIndexes() {
  for (const ListInfo* info = gListInfo.first; info != nullptr; info = info->next) {
    List& list = *info->head;
    const size_t capacity = std::max(kSmallestIndex, std::bit_ceil(size_t{list.length} * 2));
    if (list.slots != nullptr && capacity * 2 <= list.capacity()) {
      ShrinkIndex(list, capacity);
    }
  }
}

// Takes the record out of the index; those behind it move up, so that a free
// slot still ends every search.
static void Unindex(List& list, const ListItem* item) {
  if (list.slots == nullptr) {
    return;
  }
  IndexSlot* const slots = list.slots;
  const uint32_t mask = list.mask();
  uint32_t gap = item->hash >> list.spare_bits;
  while (slots[gap].item != item) {
    gap = (gap + 1) & mask;
  }
  for (uint32_t i = (gap + 1) & mask; slots[i].item != nullptr; i = (i + 1) & mask) {
    const uint32_t from_home = (i - (slots[i].hash >> list.spare_bits)) & mask;
    if (from_home >= ((i - gap) & mask)) {
      slots[gap] = slots[i];
      gap = i;
    }
  }
  slots[gap].item = nullptr;
}

// ---- Counting ----

static void Append(ListInfoChain& chain, const ListInfoChain& more) {
  if (more.first != nullptr) {
    (chain.last == nullptr ? chain.first : chain.last->next) = more.first;
    chain.last = more.last;
  }
}

void init_list(List& list, ListInfo*& info, const char* name, SubLists sublists) {
  list = {};
  info = static_cast<ListInfo*>(mpAllocateZeroed(1, sizeof(ListInfo)));
  if (info == nullptr) {
    EndWithoutMemory();
  }
  info->head = &list;
  info->name = name;
  info->sublists = sublists == SubLists::kAny;
  Append(gListInfo, {info, info});
}

// Makes a record of count 0. A reclaim on the way may thin any list, this one
// included, but spares the parent.
[[gnu::noinline]] static ListItem& NewItem(List& list, ListInfo& info, std::string_view key, uint32_t hash,
                                           const ListItem* parent) {
  if (!MakeRoom(list) && !TryWithReclaims(parent, [&] { return MakeRoom(list); })) {
    EndWithoutMemory();
  }
  const size_t padded = PaddedKeySize(key.size());
  const bool has_tail = info.sublists && parent == nullptr;
  const size_t size = sizeof(ListItem) + padded + (has_tail ? kTailSize : 0);
  ListItem* item = static_cast<ListItem*>(smart_alloc(size, info, parent));
  if (item == nullptr) {
    EndWithoutMemory();
  }
  item->next = list.first;
  item->hash = hash;
  item->rank = 0;
  item->count = 0;
  item->length = static_cast<uint16_t>(key.size());
  item->kind = info.classify == nullptr ? uint8_t{0} : info.classify(key);
  memset(item->name + padded - kKeyWord, 0, kKeyWord);
  key.copy(item->name, key.size());
  item->has_tail = has_tail;
  if (has_tail) {
    *item->tail() = nullptr;
  }
  list.first = item;
  ++list.length;
  if (list.slots != nullptr) {
    FreeSlot(list.slots, list.capacity(), hash) = {item, hash};
  }
  return *item;
}

static List& SublistOf(ListItem& item) {
  List*& sublist = *item.tail();
  if (sublist == nullptr) {
    const auto allocate = [] { return static_cast<List*>(mpAllocateZeroed(1, sizeof(List))); };
    List* list = allocate();
    if (list == nullptr) {
      list = TryWithReclaims(&item, allocate);
    }
    if (list == nullptr) {
      EndWithoutMemory();
    }
    sublist = list;
  }
  return *sublist;
}

[[gnu::always_inline]] inline static ListItem& CountKey(List& list, ListInfo* info, std::string_view key,
                                                        uint32_t hash, const ListItem* parent,
                                                        bool ignore_case) {
  ListItem* item = Find(list, key, hash, ignore_case);
  if (item == nullptr) {
    list.ignore_case = ignore_case;
    item = &NewItem(list, *info, key, hash, parent);
  }
  ++item->count;
  ++info->kinds[item->kind];
  return *item;
}

static void CountSubkey(ListItem& item, ListInfo* info, std::string_view subkey, uint32_t hash,
                        bool ignore_case) {
  if (item.has_tail) {
    CountKey(SublistOf(item), info, subkey, hash, &item, ignore_case);
  }
}

// ---- Keys that wait ----

// Of the group before the one that is being filled, slots come in, and of the oldest one the records.
static constexpr size_t kGroups = 3;
static WaitingKey mGroups[kGroups][kGroupSize];
static size_t mLengths[kGroups];         // of all groups but the one that is being filled
static size_t mFilling = 0;              // which that is
static WaitingKey* mpNext = mGroups[0];  // its next key
static WaitingKey* mpEnd = mGroups[0] + kGroupSize;

// Keys whose texts go before they are counted. A restart follows each count_queued.
static constexpr size_t kCopiesSize = 16384;
static char mCopies[kCopiesSize + kScanOverread];
static size_t mCopied = 0;
static_assert(2 * kLongestItem <= kCopiesSize);

static void Refill(size_t group) {
  mFilling = group;
  mpNext = mGroups[group];
  mpEnd = mpNext + kGroupSize;
}

// The record that a key of this hash will very likely be; null: a new one, or unknown.
static ListItem* Foresee(const List& list, uint32_t hash) {
  if (list.slots == nullptr) {
    return nullptr;
  }
  uint32_t i = hash >> list.spare_bits;
  while (list.slots[i].item != nullptr && list.slots[i].hash != hash) {
    i = (i + 1) & list.mask();
  }
  return list.slots[i].item;
}

static void FetchSlots(const WaitingKey* keys, size_t count) {
  for (const WaitingKey* const end = keys + count; keys != end; ++keys) {
    __builtin_prefetch(HomeSlot(*keys->list, keys->hash));
  }
}

static void FetchItems(WaitingKey* keys, size_t count) {
  for (WaitingKey* const end = keys + count; keys != end; ++keys) {
    keys->item = keys->is_subkey ? nullptr : Foresee(*keys->list, keys->hash);
    if (keys->item != nullptr) {
      __builtin_prefetch(&keys->item->count);
      __builtin_prefetch(reinterpret_cast<const char*>(&keys->item->count) + kCacheLine);
    }
  }
}

// A key whose record is not the one that was foreseen, or that is a sub-key of the record before.
[[gnu::noinline]] static ListItem* CountOther(const WaitingKey& key, ListItem* before) {
  if (key.is_subkey) {
    CountSubkey(*before, key.info, key.key(), key.hash, key.ignore_case);
    return before;
  }
  return &CountKey(*key.list, key.info, key.key(), key.hash, nullptr, key.ignore_case);
}

static void CountGroup(WaitingKey* keys, size_t count) {
  mKeyForm.drop_others(keys, count);
  ListItem* item = nullptr;
  for (const WaitingKey* const end = keys + count; keys != end; ++keys) {
    if (keys->item == nullptr) {
      item = CountOther(*keys, item);
      continue;
    }
    item = keys->item;
    ++item->count;
    ++keys->info->kinds[item->kind];
  }
}

// Counts the oldest group, which is the next to be filled.
[[gnu::noinline]] static void TurnOver() {
  const size_t before = (mFilling + kGroups - 1) % kGroups;
  const size_t oldest = (mFilling + 1) % kGroups;
  WaitingKey* const filled = mGroups[mFilling];
  mLengths[mFilling] = static_cast<size_t>(mpNext - filled);
  mKeyForm.hash_all(filled, mLengths[mFilling], mSeed);
  FetchSlots(filled, mLengths[mFilling]);
  FetchItems(mGroups[before], mLengths[before]);
  CountGroup(mGroups[oldest], mLengths[oldest]);
  Refill(oldest);
}

void ForgetForeseen() {
  for (WaitingKey(&group)[kGroupSize] : mGroups) {
    for (WaitingKey& key : group) {
      key.item = nullptr;
    }
  }
}

static void Wait(List& list, ListInfo* info, std::string_view key, bool ignore_case, bool is_subkey) {
  const size_t length = std::min(key.size(), mCountingLimits.item);
  *mpNext++ = {key.data(), &list, info, nullptr, 0, static_cast<uint16_t>(length), ignore_case, is_subkey};
  if (mpNext == mpEnd) {
    TurnOver();
  }
}

void queue_item(List& list, ListInfo* info, std::string_view key, bool ignore_case) {
  if (!key.empty()) {
    Wait(list, info, key, ignore_case, false);
  }
}

void queue_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, bool ignore_case) {
  if (key.empty() || subkey.empty()) {
    queue_item(list, info, key, ignore_case);
    return;
  }
  if (mpNext + 1 == mpEnd) {
    TurnOver();  // both wait in one group
  }
  Wait(list, info, key, ignore_case, false);
  Wait(list, info, subkey, ignore_case, true);
}

void queue_copy(List& list, ListInfo* info, std::string_view key, bool ignore_case) {
  key = key.substr(0, mCountingLimits.item);
  if (mCopied + key.size() > kCopiesSize) {
    count_queued();
  }
  char* const copy = mCopies + mCopied;
  mCopied += key.copy(copy, key.size());
  queue_item(list, info, {copy, key.size()}, ignore_case);
}

void count_queued() {
  for (size_t i = 0; i < kGroups; ++i) {
    TurnOver();
  }
  mCopied = 0;
}

void forget_queued() {
  std::fill_n(mLengths, kGroups, 0);
  Refill(0);
  mCopied = 0;
}

size_t list_length(const List& list) {
  count_queued();
  return list.length;
}

int64_t TotalList(const List& list) {
  count_queued();
  int64_t total = 0;
  for (const ListItem* item = list.first; item != nullptr; item = item->next) {
    total += Wrapped(mCountingLimits, item->count);
  }
  return total;
}

// Of a key whose buffer may end with it.
static uint32_t HashOf(std::string_view key, bool ignore_case) {
  char room[kLongestItem + kScanOverread];
  return mKeyForm.hash({room, key.copy(room, key.size())}, ignore_case, mSeed);
}

void add_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, ListItem* parent,
              bool ignore_case) {
  count_queued();
  if (key.empty()) {
    return;
  }
  key = key.substr(0, mCountingLimits.item);
  ListItem& item = CountKey(list, info, key, HashOf(key, ignore_case), parent, ignore_case);
  if (!subkey.empty()) {
    subkey = subkey.substr(0, mCountingLimits.item);
    CountSubkey(item, info, subkey, HashOf(subkey, ignore_case), ignore_case);
  }
}

// ---- Order ----

// Merge sort of the first `length` records of the chain `rest`, which loses them. Counts
// get their width before anything is compared.
template <typename Before>
static ListItem* SortChain(ListItem*& rest, size_t length, const Before& before) {
  if (length == 1) {
    ListItem* const only = rest;
    rest = rest->next;
    only->next = nullptr;
    WrapCount(*only);
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
  list.first = rest == nullptr ? nullptr : SortChain(rest, list.length, before);
  return list.first;
}

ListItem* KeyOrder(List& list) {
  count_queued();
  return SortAll(list,
                 [&](const ListItem& a, const ListItem& b) { return KeyBefore(a, b, list.ignore_case); });
}

struct DisplayBefore {
  bool ignore_case;
  int64_t limit = mCountingLimits.ranked;

  bool Sorts(const ListItem& item) const { return item.count >= 0 && item.count <= limit; }

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
  const DisplayBefore display{list.ignore_case};
  const auto before = [&](const ListItem* a, const ListItem* b) { return display(*a, *b); };
  ListItem* item = list.first;
  for (size_t i = 0; i < shown; ++i, item = item->next) {
    WrapCount(*item);
    heap[i] = item;
  }
  std::make_heap(heap, heap + shown, before);
  ListItem* others = nullptr;
  while (item != nullptr) {
    ListItem* other = item;
    item = item->next;
    WrapCount(*other);
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
    if (List* const sublist = gone->sublist()) {
      Release(*sublist);
      free(sublist);
    }
    free(gone);
  }
  free(list.slots);
}

size_t ReleaseItem(List& list, ListItem* item) {
  Unindex(list, item);
  --list.length;
  size_t released = 1;
  if (List* const sublist = item->sublist()) {
    released += sublist->length;
    Release(*sublist);
    free(sublist);
  }
  free(item);
  return released;
}

void destroy(List& list) {
  count_queued();
  Release(list);
  list = {};
}

void exempt_lists() {
  count_queued();
  Append(mExempt, gListInfo);
  gListInfo = {};
}

void destroyListInfo() {
  exempt_lists();
  ListInfo* info = mExempt.first;
  while (info != nullptr) {
    ListInfo* const gone = info;
    info = info->next;
    free(gone);
  }
  mExempt = {};
}
