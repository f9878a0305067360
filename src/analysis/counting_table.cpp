#include "analysis/counting_table.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <utility>

#include "analysis/item_key.h"
#include "analysis/item_store.h"
#include "analysis/smart_memory.h"
#include "analysis/smart_memory_internal.h"
#include "base/capped_sum.h"
#include "base/memory_end.h"
#include "base/pages.h"
#include "base/sip_hash.h"
#include "base/text.h"
#include "superlog/byte_scan.h"

ListInfoChain gListInfo;
static ListInfoChain mExempt;  // lists that no reclaim takes from

// A line of the index is one of the cache. A place repeats its record's hash, so that a search
// reads a record only where it is very likely the right one; those that are taken come first.
static constexpr uint32_t kPlaces = 8;
struct alignas(kIndexLine) IndexLine {
  uint32_t hashes[kPlaces];
  ItemRef items[kPlaces];  // 0: the place is free

  bool full() const { return items[kPlaces - 1] != 0; }
};
static_assert(sizeof(IndexLine) == kIndexLine);

size_t List::capacity() const {
  return lines == nullptr ? 0 : (static_cast<size_t>(mask()) + 1) * kPlaces;
}

static constexpr size_t kUnindexedMax = 8;  // a sub-list up to this length is searched by walking it
static constexpr size_t kWalkedMax = 64;    // and one up to this length where memory for an index is refused
static constexpr size_t kSmallestIndex = 32;
static constexpr size_t kLastCapacity = size_t{1} << 31;
static constexpr size_t kCacheLine = 64;
static constexpr uint32_t kMostLines = 64;  // that an entry finds full; by chance hardly ever 40 of them
static constexpr size_t kGroupSize = 32;    // keys that are counted together

static KeySeed ChooseSeed() noexcept {
  KeySeed seed = RandomSeed(
      KeySeed{"any bytes do where the system has no random ones", 0x243f6a8885a308d3, 0x13198a2e03707344});
  seed.chain |= 1;
  return seed;
}

static const KeySeed mSeed = ChooseSeed();
static const SipKey mSipKey = RandomSeed(SipKey{"as above"});

Limits mCountingLimits = kClassicLimits;

void SetCountingLimits(const Limits& limits) {
  mCountingLimits = limits;
}

// ---- Index ----

// Bit n is set when word n has that value.
static uint32_t PlacesOf(const uint32_t (&words)[kPlaces], uint32_t value) {
#if defined(__SSE2__)
  const __m128i wanted = _mm_set1_epi32(static_cast<int>(value));
  const auto* const four = reinterpret_cast<const __m128i*>(words);
  const __m128i found = _mm_packs_epi32(_mm_cmpeq_epi32(four[0], wanted), _mm_cmpeq_epi32(four[1], wanted));
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(found, _mm_setzero_si128())));
#else
  uint32_t places = 0;
  for (uint32_t i = 0; i < kPlaces; ++i) {
    places |= uint32_t{words[i] == value} << i;
  }
  return places;
#endif
}

static uint8_t SpareBits(size_t capacity) {
  return static_cast<uint8_t>(32 - std::countr_zero(capacity / kPlaces));
}

static uint32_t HomeOf(const List& list, uint32_t hash) {
  return hash >> list.spare_bits;
}

// Returns how many lines were full.
static uint32_t Enter(List& list, uint32_t hash, ItemRef item) {
  uint32_t full = 0;
  uint32_t i = HomeOf(list, hash);
  for (; list.lines[i].full(); ++full) {
    i = (i + 1) & list.mask();
  }
  IndexLine& line = list.lines[i];
  const int place = std::countr_zero(PlacesOf(line.items, 0));
  line.hashes[place] = hash;
  line.items[place] = item;
  return full;
}

[[gnu::noinline]] static ListItem* WalkFor(const List& list, std::string_view key, uint32_t hash,
                                           bool ignore_case) {
  ListItem* item = list.first;
  while (item != nullptr && (item->hash != hash || !SameKey(*item, key, ignore_case))) {
    item = item->next;
  }
  return item;
}

static ListItem* Find(const List& list, std::string_view key, uint32_t hash, bool ignore_case) {
  if (list.lines == nullptr) {
    return WalkFor(list, key, hash, ignore_case);
  }
  for (uint32_t i = HomeOf(list, hash);; i = (i + 1) & list.mask()) {
    const IndexLine& line = list.lines[i];
    for (uint32_t places = PlacesOf(line.hashes, hash); places != 0; places &= places - 1) {
      const ItemRef ref = line.items[std::countr_zero(places)];
      if (ref != 0 && SameKey(*ItemAt(ref), key, ignore_case)) {
        return ItemAt(ref);
      }
    }
    if (!line.full()) {
      return nullptr;
    }
  }
}

// The record that a key of this hash will very likely be; 0: a new one, or unknown.
[[gnu::always_inline]] inline static ItemRef Foresee(const List& list, uint32_t hash) {
  if (list.lines == nullptr) {
    return 0;
  }
  for (uint32_t i = HomeOf(list, hash);; i = (i + 1) & list.mask()) {
    const IndexLine& line = list.lines[i];
    const uint32_t places = PlacesOf(line.hashes, hash);
    const ItemRef ref = places == 0 ? 0 : line.items[std::countr_zero(places)];
    if (ref != 0 || !line.full()) {
      return ref;
    }
  }
}

static void EnterAll(List& list) {
  for (const ListItem* item = list.first; item != nullptr; item = item->next) {
    Enter(list, item->hash, RefOf(*item));
  }
}

// Slower than the other one, and nobody can foretell it who sees no hash.
[[gnu::noinline]] static uint32_t SafeHash(std::string_view key, bool ignore_case) {
  SipHash hash = BeginSipHash(mSipKey);
  for (const char c : key) {
    AddByte(hash, static_cast<uint8_t>(ignore_case ? ToLowerAscii(c) : c));
  }
  return static_cast<uint32_t>(EndSipHash(hash));
}

// Of a key whose buffer may end with it.
static uint32_t HashOf(std::string_view key, bool ignore_case) {
  static char room[kLongestItem + kScanOverread];
  return mpKeyForm->hash({room, key.copy(room, key.size())}, ignore_case, mSeed);
}

static bool mAnyAttacked = false;  // some list, until now

// Hashes all keys of the list, from now on, in the safe way.
[[gnu::noinline]] static void RehashSafely(List& list) {
  list.attacked = mAnyAttacked = true;
  std::fill_n(list.lines, list.capacity() / kPlaces, IndexLine{});
  for (ListItem* item = list.first; item != nullptr; item = item->next) {
    item->hash = SafeHash(item->key(), list.ignore_case);
  }
  EnterAll(list);
}

// Memory for an index, of zeros. What is before its first whole line of the cache ends with its own length.
static IndexLine* NewLines(size_t lines) {
  auto* const memory = static_cast<unsigned char*>(mpAllocateZeroed(lines + 1, sizeof(IndexLine)));
  if (memory == nullptr) {
    return nullptr;
  }
  AskForPages(memory, lines * sizeof(IndexLine));
  const size_t before = sizeof(IndexLine) - reinterpret_cast<uintptr_t>(memory) % sizeof(IndexLine);
  memory[before - 1] = static_cast<unsigned char>(before);
  return reinterpret_cast<IndexLine*>(memory + before);
}

static unsigned char* MemoryOf(IndexLine* lines) {
  auto* const bytes = reinterpret_cast<unsigned char*>(lines);
  return bytes - bytes[-1];
}

static void FreeLines(IndexLine* lines) {
  if (lines != nullptr) {
    free(MemoryOf(lines));
  }
}

// Moves the list to an index of the given capacity; false, and nothing changed,
// when memory is refused.
static bool Reindex(List& list, size_t capacity) {
  IndexLine* const lines = NewLines(capacity / kPlaces);
  if (lines == nullptr) {
    return false;
  }
  const List old = list;
  list.lines = lines;
  list.spare_bits = SpareBits(capacity);
  for (size_t i = 0; i < old.capacity(); ++i) {
    const IndexLine& line = old.lines[i / kPlaces];
    if (line.items[i % kPlaces] != 0) {
      Enter(list, line.hashes[i % kPlaces], line.items[i % kPlaces]);
    }
  }
  if (old.lines == nullptr) {
    EnterAll(list);
  }
  FreeLines(old.lines);
  return true;
}

// Prepares the index for one more record. A full one grows; when that is refused
// it works on, ever slower, until 15 of 16 places are taken, and each record tries
// again. False when the list can take no more records in reasonable time.
static bool MakeRoom(List& list, size_t unindexed_max) {
  if (list.lines == nullptr) {
    const size_t capacity = std::max(kSmallestIndex, std::bit_ceil(size_t{list.length} * 4));
    return list.length < unindexed_max || Reindex(list, capacity) || list.length < kWalkedMax;
  }
  const size_t capacity = list.capacity();
  return list.length < capacity / 4 * 3 || (capacity < kLastCapacity && Reindex(list, capacity * 2)) ||
         list.length < capacity / 16 * 15;
}

// Gives back what an index has beyond that capacity. What stays may have to move within its memory.
static void CutLines(List& list, size_t capacity) {
  unsigned char* const memory = MemoryOf(list.lines);
  const auto before = static_cast<size_t>(reinterpret_cast<unsigned char*>(list.lines) - memory);
  const size_t size = capacity / kPlaces * sizeof(IndexLine);
  auto* const cut = static_cast<unsigned char*>(realloc(memory, size + sizeof(IndexLine)));
  if (cut == nullptr) {
    return;
  }
  const size_t before_cut = sizeof(IndexLine) - reinterpret_cast<uintptr_t>(cut) % sizeof(IndexLine);
  memmove(cut + before_cut, cut + before, size);
  cut[before_cut - 1] = static_cast<unsigned char>(before_cut);
  list.lines = reinterpret_cast<IndexLine*>(cut + before_cut);
}

// Moves the list to a smaller index. In place: memory for another one is what is
// missing.
static void ShrinkIndex(List& list, size_t capacity) {
  std::fill_n(list.lines, capacity / kPlaces, IndexLine{});
  list.spare_bits = SpareBits(capacity);
  EnterAll(list);
  CutLines(list, capacity);
}

// Indexes of a quarter shrink to a half, and grow at three: none goes back and forth.
void ShrinkIndexes() {
  for (const ListInfo* info = gListInfo.first; info != nullptr; info = info->next) {
    List& list = *info->head;
    const size_t capacity = std::max(kSmallestIndex, std::bit_ceil(size_t{list.length} * 2));
    if (list.lines != nullptr && capacity * 2 <= list.capacity()) {
      ShrinkIndex(list, capacity);
    }
  }
}

// The places of all lines, one behind the other.
static uint32_t& HashIn(const List& list, uint32_t place) {
  return list.lines[place / kPlaces].hashes[place % kPlaces];
}

static ItemRef& ItemIn(const List& list, uint32_t place) {
  return list.lines[place / kPlaces].items[place % kPlaces];
}

// Takes the record out of the index; those behind it move up, so that a free
// place still ends every search.
static void Unindex(List& list, const ListItem* item) {
  if (list.lines == nullptr) {
    return;
  }
  const ItemRef ref = RefOf(*item);
  const auto mask = static_cast<uint32_t>(list.capacity() - 1);
  uint32_t gap = HomeOf(list, item->hash) * kPlaces;
  while (ItemIn(list, gap) != ref) {
    gap = (gap + 1) & mask;
  }
  for (uint32_t i = (gap + 1) & mask; ItemIn(list, i) != 0; i = (i + 1) & mask) {
    const uint32_t from_home = (i - HomeOf(list, HashIn(list, i)) * kPlaces) & mask;
    if (from_home >= ((i - gap) & mask)) {
      HashIn(list, gap) = HashIn(list, i);
      ItemIn(list, gap) = ItemIn(list, i);
      gap = i;
    }
  }
  ItemIn(list, gap) = 0;
}

// ---- Counting ----

static void Append(ListInfoChain& chain, const ListInfoChain& more) {
  if (more.first != nullptr) {
    (chain.last == nullptr ? chain.first : chain.last->next) = more.first;
    chain.last = more.last;
  }
}

static bool mAnyAmounts = false;  // some list adds them up
static int64_t mAmount = 0;       // of the keys that are queued now
static int64_t mAmountNow = 0;    // of the key that is being counted

void init_list(List& list, ListInfo*& info, const char* name, SubLists sublists, Amounts amounts,
               Spans spans) {
  list = {};
  info = static_cast<ListInfo*>(mpAllocateZeroed(1, sizeof(ListInfo)));
  if (info == nullptr) {
    EndWithoutMemory();
  }
  info->head = &list;
  info->name = name;
  info->sublists = sublists == SubLists::kAny;
  info->amounts = amounts == Amounts::kSummed;
  info->spans = spans == Spans::kKept;
  mAnyAmounts |= info->amounts;
  Append(gListInfo, {info, info});
}

// Makes a record of count 0. A reclaim on the way may thin any list, this one
// included, but spares the parent.
[[gnu::noinline]] static ListItem& NewItem(List& list, ListInfo& info, std::string_view key, uint32_t hash,
                                           const ListItem* parent) {
  const auto make_room = [&] { return MakeRoom(list, parent == nullptr ? 0 : kUnindexedMax); };
  if (!make_room() && !TryWithReclaims(parent, make_room)) {
    EndWithoutMemory();
  }
  const size_t padded = PaddedKeySize(key.size());
  const bool has_tail = info.sublists && parent == nullptr;
  const bool has_amount = info.amounts && parent == nullptr;
  const bool has_span = info.spans && parent == nullptr;
  const size_t size = sizeof(ListItem) + padded + (has_tail ? kTailSize : 0) +
                      (has_amount ? kAmountSize : 0) + (has_span ? kSpanSize : 0);
  ListItem* item = static_cast<ListItem*>(smart_alloc(size, info, parent));
  if (item == nullptr) {
    EndWithoutMemory();
  }
  const ItemRef ref = RefOf(*item);
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
    list.has_sublists = true;
  }
  item->has_amount = has_amount;
  if (has_amount) {
    item->amount() = 0;
  }
  item->has_span = has_span;
  if (has_span) {
    item->span() = kNoTimes;
  }
  list.first = item;
  ++list.length;
  if (list.lines != nullptr && Enter(list, hash, ref) > kMostLines && !list.attacked) {
    RehashSafely(list);
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

// Parts may hold anything: a sum beyond 64 bits wraps.
[[gnu::always_inline]] inline static void Raise(int64_t& count, int64_t times) {
  count = static_cast<int64_t>(static_cast<uint64_t>(count) + static_cast<uint64_t>(times));
}

// A record whose key is another spelling of this one has the lesser of the two, in whatever order they come.
static void TakeLeastSpelling(ListItem& item, std::string_view key) {
  if (key < item.key()) {
    key.copy(item.name, key.size());
  }
}

[[gnu::always_inline]] inline static ListItem& CountKey(List& list, ListInfo* info, std::string_view key,
                                                        uint32_t hash, const ListItem* parent,
                                                        bool ignore_case, int64_t times = 1) {
  if (list.attacked) {
    hash = SafeHash(key, ignore_case);
  }
  ListItem* item = Find(list, key, hash, ignore_case);
  if (item == nullptr) {
    list.ignore_case = ignore_case;
    item = &NewItem(list, *info, key, hash, parent);
  } else if (ignore_case && mCountingLimits.least_spelling) {
    TakeLeastSpelling(*item, key);
  }
  Raise(item->count, times);
  Raise(info->kinds[item->kind], times);
  return *item;
}

// Amounts are not below 0.
static void AddAmount(const ListItem& item, int64_t amount) {
  if (item.has_amount) {
    AddCapped(item.amount(), amount);
  }
}

static void AddSpan(const ListItem& item, const TimeSpan& more) {
  if (item.has_span) {
    TimeSpan& span = item.span();
    span.first = std::min(span.first, more.first);
    span.last = std::max(span.last, more.last);
  }
}

void count_amounts(int64_t amount) {
  mAmount = amount;
}

// ---- Parts of keys ----
//
// A key's part counts when its record is new; what the record's count rises by afterwards is the
// part's as well, and is added once: in the end, or before a reclaim, for which counts must hold. From then
// on parts are counted one by one.

void count_parts_too(ListInfo& info, ListInfo& parts, KeyPart part_of) {
  info.parts = &parts;
  info.part_of = part_of;
}

static void AddToPart(const ListInfo& info, const ListItem& item) {
  if (item.count == 1) {
    return;
  }
  const std::string_view part = info.part_of(item.key());
  const List& parts = *info.parts->head;
  const uint32_t hash = parts.attacked ? SafeHash(part, false) : HashOf(part, false);
  if (ListItem* const into = Find(parts, part, hash, false)) {
    into->count += item.count - 1;
    info.parts->kinds[into->kind] += item.count - 1;
  }
}

static void SettleParts(ListInfo& info) {
  List& list = *info.head;
  if (info.part_of == nullptr || list.parts_behind) {
    return;
  }
  list.parts_behind = true;
  for (const ListItem* item = list.first; item != nullptr; item = item->next) {
    AddToPart(info, *item);
  }
}

void SettleAllParts() {
  for (ListInfo* info = gListInfo.first; info != nullptr; info = info->next) {
    SettleParts(*info);
  }
}

// Of a record that has just been counted. It may go with a reclaim on the way: the part is taken from the
// key.
static void CountPart(const ListItem& item, const ListInfo& info, std::string_view key) {
  if (item.count != 1 && !info.head->parts_behind) {
    return;
  }
  const std::string_view part = info.part_of(key);
  if (!part.empty()) {
    CountKey(*info.parts->head, info.parts, part, HashOf(part, false), nullptr, false);
  }
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

[[gnu::noinline]] static void HashSafely(WaitingKey* keys, size_t count) {
  for (const WaitingKey* const end = keys + count; keys != end; ++keys) {
    if (keys->list->attacked) {
      keys->hash = SafeHash(keys->key(), keys->ignore_case);
      FetchSlot(*keys->list, keys->hash);
    }
  }
}

static void FetchItems(WaitingKey* keys, size_t count) {
  for (const WaitingKey* const end = keys + count; keys != end; ++keys) {
    const ItemRef ref = keys->list->parts_behind ? 0 : Foresee(*keys->list, keys->hash);
    keys->item = nullptr;
    if (ref != 0) {
      keys->item = ItemAt(ref);
      __builtin_prefetch(keys->item);
      __builtin_prefetch(reinterpret_cast<const char*>(keys->item) + kCacheLine);
    }
  }
}

// What belongs to the record before: a sub-key, or without one a time, in the place of an amount.
static void CountBehind(const WaitingKey& key) {
  ListItem& item = *(&key)[-1].item;
  if (key.length == 0) {
    AddSpan(item, {key.amount, key.amount});
  } else {
    CountSubkey(item, key.info, key.key(), key.hash, key.ignore_case);
  }
}

// A key whose record is not the one that was foreseen or is watched, or that belongs to the record before.
[[gnu::noinline]] static void CountOther(WaitingKey& key) {
  if (key.is_subkey) {
    CountBehind(key);
    return;
  }
  mAmountNow = key.amount;
  if (key.info->watcher != nullptr) {
    key.info->watcher(key.key());
  }
  key.item = &CountKey(*key.list, key.info, key.key(), key.hash, nullptr, key.ignore_case);
  AddAmount(*key.item, key.amount);
  if (key.info->part_of != nullptr) {
    CountPart(*key.item, *key.info, key.key());
  }
}

static void CountGroup(WaitingKey* keys, size_t count) {
  for (size_t i = 0; (i += mpKeyForm->count_known(keys + i, count - i)) < count; ++i) {
    CountOther(keys[i]);
  }
}

// The same with amounts: a record may go as soon as one is made for another key.
static void CountGroupWithAmounts(WaitingKey* keys, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const size_t known = mpKeyForm->count_known(keys + i, count - i);
    for (const size_t end = i + known; i < end; ++i) {
      AddAmount(*keys[i].item, keys[i].amount);
    }
    if (i < count) {
      CountOther(keys[i]);
    }
  }
}

// Counts the oldest group, which is the next to be filled.
[[gnu::noinline]] static void TurnOver() {
  const size_t before = (mFilling + kGroups - 1) % kGroups;
  const size_t oldest = (mFilling + 1) % kGroups;
  WaitingKey* const filled = mGroups[mFilling];
  mLengths[mFilling] = static_cast<size_t>(mpNext - filled);
  mpKeyForm->hash_all(filled, mLengths[mFilling], mSeed);
  if (mAnyAttacked) {
    HashSafely(filled, mLengths[mFilling]);
  }
  FetchItems(mGroups[before], mLengths[before]);
  (mAnyAmounts ? CountGroupWithAmounts : CountGroup)(mGroups[oldest], mLengths[oldest]);
  Refill(oldest);
}

void ForgetForeseen() {
  for (WaitingKey(&group)[kGroupSize] : mGroups) {
    for (WaitingKey& key : group) {
      key.item = nullptr;
    }
  }
}

// Stands for any sub-list, of which nothing is known before its key is counted, and for the times of records.
static List mSublist = {};

static void Wait(List& list, ListInfo* info, std::string_view key, bool ignore_case, bool is_subkey) {
  const size_t length = std::min(key.size(), mCountingLimits.item);
  WaitingKey& waiting = *mpNext++;  // hash and record follow
  waiting.text = key.data();
  waiting.list = &list;
  waiting.info = info;
  waiting.length = static_cast<uint16_t>(length);
  waiting.ignore_case = ignore_case;
  waiting.is_subkey = is_subkey;
  waiting.amount = mAmount;
  if (mpNext == mpEnd) {
    TurnOver();
  }
}

// A key and what belongs to it wait in one group.
static void BeginPair() {
  if (mpNext + 1 == mpEnd) {
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
  BeginPair();
  Wait(list, info, key, ignore_case, false);
  Wait(mSublist, info, subkey, ignore_case, true);
}

void queue_item_at(List& list, ListInfo* info, std::string_view key, int64_t time, bool ignore_case) {
  if (key.empty()) {
    return;
  }
  BeginPair();
  Wait(list, info, key, ignore_case, false);
  const int64_t amount = std::exchange(mAmount, time);
  Wait(mSublist, info, key.substr(0, 0), ignore_case, true);
  mAmount = amount;
}

void queue_copy(List& list, ListInfo* info, std::string_view key, std::string_view subkey, bool ignore_case) {
  key = key.substr(0, mCountingLimits.item);
  if (mCopied + key.size() > kCopiesSize) {
    count_queued();
  }
  char* const copy = mCopies + mCopied;
  mCopied += key.copy(copy, key.size());
  queue_item(list, info, {copy, key.size()}, subkey, ignore_case);
}

void queue_copy(List& list, ListInfo* info, std::string_view key, bool ignore_case) {
  queue_copy(list, info, key, {}, ignore_case);
}

void count_now(List& list, ListInfo* info, std::string_view key, bool ignore_case) {
  key = key.substr(0, mCountingLimits.item);
  if (!key.empty()) {
    AddAmount(CountKey(list, info, key, HashOf(key, ignore_case), nullptr, ignore_case), mAmountNow);
  }
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

void count_parts(ListInfo& info) {
  count_queued();
  SettleParts(info);
}

size_t list_length(const List& list) {
  count_queued();
  return list.length;
}

int64_t TotalList(const List& list) {
  count_queued();
  int64_t total = 0;
  for (const ListItem* item = list.first; item != nullptr; item = item->next) {
    Raise(total, Wrapped(mCountingLimits, item->count));
  }
  return total;
}

void add_item(List& list, ListInfo* info, std::string_view key, std::string_view subkey, ListItem* parent,
              bool ignore_case) {
  count_queued();
  if (key.empty()) {
    return;
  }
  key = key.substr(0, mCountingLimits.item);
  ListItem& item = CountKey(list, info, key, HashOf(key, ignore_case), parent, ignore_case);
  AddAmount(item, mAmount);
  if (info->part_of != nullptr && parent == nullptr) {
    CountPart(item, *info, key);
    return;
  }
  if (!subkey.empty()) {
    subkey = subkey.substr(0, mCountingLimits.item);
    CountSubkey(item, info, subkey, HashOf(subkey, ignore_case), ignore_case);
  }
}

void add_items(List& list, ListInfo* info, std::string_view key, const KeyCount& count) {
  count_queued();
  if (key.empty()) {
    return;
  }
  key = key.substr(0, mCountingLimits.item);
  const ListItem& item = CountKey(list, info, key, HashOf(key, false), nullptr, false, count.count);
  AddAmount(item, count.amount);
}

void add_subitems(const List& list, ListInfo* info, std::string_view key, std::string_view subkey,
                  int64_t count) {
  count_queued();
  key = key.substr(0, mCountingLimits.item);
  subkey = subkey.substr(0, mCountingLimits.item);
  const uint32_t hash = list.attacked ? SafeHash(key, false) : HashOf(key, false);
  ListItem* const item = Find(list, key, hash, false);
  if (item != nullptr && item->has_tail && !subkey.empty()) {
    CountKey(SublistOf(*item), info, subkey, HashOf(subkey, false), item, false, count);
  }
}

// ---- Counts that were written down ----

static void SaveItem(PartWriter& part, const ListItem& item) {
  PutText(part, item.key());
  PutFigure(part, static_cast<uint64_t>(item.count));
}

static const List& SublistIn(const ListItem& item) {
  static constexpr List kEmpty = {};
  const List* const sublist = item.sublist();
  return sublist == nullptr ? kEmpty : *sublist;
}

// Records of a list come the newest first, and each lies somewhat before the one that was made next.
static void FetchBefore(const ListItem& item) {
  static constexpr size_t kAhead = 2048;
  const char* const ahead = reinterpret_cast<const char*>(&item) - kAhead;
  __builtin_prefetch(ahead);
  __builtin_prefetch(ahead - kCacheLine);
}

// What follows each key of a list that was written down, behind its count.
static constexpr uint64_t kWithSublists = 1;
static constexpr uint64_t kWithAmounts = 2;
static constexpr uint64_t kWithSpans = 4;
static constexpr uint64_t kWithAll = kWithSublists | kWithAmounts | kWithSpans;
static constexpr int64_t kLatestTime = int64_t{1} << 40;  // seconds, far behind the last year of a date

static void SaveSpan(PartWriter& part, const TimeSpan& span) {
  PutSigned(part, span.first);
  PutFigure(part, static_cast<uint64_t>(span.last - span.first));
}

static TimeSpan TakeSpan(PartReader& part) {
  const int64_t first = TakeSigned(part);
  if (first < -kLatestTime || first > kLatestTime) {
    MarkDamaged(part);
    return kNoTimes;
  }
  return {first,
          first + static_cast<int64_t>(TakeFigureUpTo(part, static_cast<uint64_t>(kLatestTime - first)))};
}

void SaveList(PartWriter& part, const List& list) {
  const bool amounts = list.first != nullptr && list.first->has_amount;
  const bool spans = list.first != nullptr && list.first->has_span;
  PutFigure(part, list.length);
  PutFigure(part, (list.has_sublists ? kWithSublists : 0) | (amounts ? kWithAmounts : 0) |
                      (spans ? kWithSpans : 0));
  for (const ListItem* item = list.first; item != nullptr; item = item->next) {
    FetchBefore(*item);
    SaveItem(part, *item);
    if (amounts) {
      PutFigure(part, static_cast<uint64_t>(item->amount()));
    }
    if (spans) {
      SaveSpan(part, item->span());
    }
    if (list.has_sublists) {
      const List& sublist = SublistIn(*item);
      PutFigure(part, sublist.length);
      for (const ListItem* sub = sublist.first; sub != nullptr; sub = sub->next) {
        SaveItem(part, *sub);
      }
    }
  }
}

struct SavedKey {
  std::string_view key;
  int64_t count;
  int64_t amount;
  TimeSpan span;
  uint32_t hash;
};

static size_t LongestSavedKey() {
  return mCountingLimits.item + 5 * kLongestFigure;
}

// How the keys of a list that is being added are read.
struct SavedForm {
  bool ignore_case;
  bool amounts;
  bool spans;
};

// False when there is none that could have been saved.
static bool TakeKey(PartReader& part, const SavedForm& form, SavedKey& saved) {
  FetchBytes(part, LongestSavedKey());
  saved.key = TakeText(part, mCountingLimits.item);
  saved.count = static_cast<int64_t>(TakeFigureUpTo(part, INT64_MAX));
  if (saved.key.empty() || saved.count == 0 || saved.key.find('\0') != std::string_view::npos) {
    MarkDamaged(part);
    return false;
  }
  saved.amount = form.amounts ? static_cast<int64_t>(TakeFigureUpTo(part, INT64_MAX)) : 0;
  saved.span = form.spans ? TakeSpan(part) : kNoTimes;
  saved.hash = mpKeyForm->hash(saved.key, form.ignore_case, mSeed);
  return true;
}

static ListItem& CountSaved(List& list, ListInfo* info, const SavedKey& saved, const ListItem* parent,
                            bool ignore_case) {
  ListItem& item = CountKey(list, info, saved.key, saved.hash, parent, ignore_case, saved.count);
  AddAmount(item, saved.amount);
  AddSpan(item, saved.span);
  return item;
}

static bool AddSavedSublist(PartReader& part, ListItem& item, ListInfo* info, bool ignore_case) {
  for (uint64_t left = TakeFigure(part); left > 0; --left) {
    SavedKey saved;
    if (!TakeKey(part, {ignore_case, false, false}, saved)) {
      return false;
    }
    if (item.has_tail) {
      CountSaved(SublistOf(item), info, saved, &item, ignore_case);
    }
  }
  return !part.damaged;
}

static bool AddWithSublists(PartReader& part, List& list, ListInfo* info, uint64_t length,
                            const SavedForm& form) {
  for (SavedKey saved; length > 0; --length) {
    if (!TakeKey(part, form, saved) ||
        !AddSavedSublist(part, CountSaved(list, info, saved, nullptr, form.ignore_case), info,
                         form.ignore_case)) {
      return false;
    }
  }
  return !part.damaged;
}

// Lines of the index have time to come in.
static constexpr size_t kSavedGroupSize = 128;

// Takes keys, one at least, as long as none of them has to move; 0 when there is none.
static size_t TakeGroup(PartReader& part, const List& list, std::span<SavedKey> group,
                        const SavedForm& form) {
  size_t taken = 0;
  do {
    if (!TakeKey(part, form, group[taken])) {
      return 0;
    }
    FetchSlot(list, group[taken].hash);
  } while (++taken < group.size() && AreBytesThere(part, LongestSavedKey()));
  return taken;
}

// As keys that wait: lines of the index come in together, and then records.
static void AddGroup(List& list, ListInfo* info, std::span<const SavedKey> group, bool ignore_case) {
  for (const SavedKey& saved : group) {
    const ItemRef ref = list.attacked ? 0 : Foresee(list, saved.hash);
    if (ref != 0) {
      const ListItem* const record = ItemAt(ref);
      __builtin_prefetch(record);
      __builtin_prefetch(reinterpret_cast<const char*>(record) + kCacheLine);
    }
  }
  for (const SavedKey& saved : group) {
    CountSaved(list, info, saved, nullptr, ignore_case);
  }
}

bool AddSavedList(PartReader& part, List& list, ListInfo* info, bool ignore_case) {
  count_queued();
  const uint64_t length = TakeFigure(part);
  const uint64_t with = TakeFigureUpTo(part, kWithAll);
  const SavedForm form{ignore_case, (with & kWithAmounts) != 0, (with & kWithSpans) != 0};
  if (info->spans && !form.spans && length > 0) {
    MarkDamaged(part);
  }
  if ((with & kWithSublists) != 0) {
    return AddWithSublists(part, list, info, length, form);
  }
  SavedKey group[kSavedGroupSize];
  for (uint64_t left = length; left > 0 && !part.damaged;) {
    const auto most = static_cast<size_t>(std::min<uint64_t>(left, kSavedGroupSize));
    const size_t taken = TakeGroup(part, list, {group, most}, form);
    AddGroup(list, info, {group, taken}, ignore_case);
    left -= taken;
  }
  return !part.damaged;
}

static void PassItem(PartReader& part) {
  TakeText(part, mCountingLimits.item);
  TakeFigure(part);
}

bool PassSavedList(PartReader& part) {
  const uint64_t length = TakeFigure(part);
  const uint64_t with = TakeFigureUpTo(part, kWithAll);
  for (uint64_t left = length; left > 0 && !part.damaged; --left) {
    PassItem(part);
    if ((with & kWithAmounts) != 0) {
      TakeFigure(part);
    }
    if ((with & kWithSpans) != 0) {
      TakeSpan(part);
    }
    for (uint64_t subs = (with & kWithSublists) != 0 ? TakeFigure(part) : 0; subs > 0 && !part.damaged;
         --subs) {
      PassItem(part);
    }
  }
  return !part.damaged;
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
  RankedBy by;
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
    if (by == RankedBy::kAmount && AmountOf(a) != AmountOf(b)) {
      return AmountOf(a) > AmountOf(b);
    }
    return a.count != b.count ? a.count > b.count : KeyBefore(b, a, ignore_case);
  }
};

// Moves the first `shown` records to the front of the chain, in order: a heap of
// the best so far has the last of them on top.
static ListItem* SelectFirst(List& list, ListItem** heap, size_t shown, RankedBy by) {
  const DisplayBefore display{list.ignore_case, by};
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

ListItem* SortList(List& list, size_t shown, RankedBy by) {
  count_queued();
  ListItem** heap = nullptr;
  if (shown > 0 && shown < list.length / 4) {
    heap = static_cast<ListItem**>(mpAllocate(shown * sizeof(void*)));
  }
  if (heap == nullptr) {
    return SortAll(list, DisplayBefore{list.ignore_case, by});
  }
  ListItem* const first = SelectFirst(list, heap, shown, by);
  free(heap);
  return first;
}

// ---- Release ----

// Releases the list's records one by one; their room may be used again.
static void ReleaseItems(List& list) {
  for (ListItem* item = list.first; item != nullptr;) {
    ListItem* const gone = item;
    item = item->next;
    LeaveRoom(gone);
  }
  FreeLines(list.lines);
}

size_t ReleaseItem(List& list, ListItem* item) {
  Unindex(list, item);
  --list.length;
  size_t released = 1;
  if (List* const sublist = item->sublist()) {
    released += sublist->length;
    ReleaseItems(*sublist);
    free(sublist);
  }
  LeaveRoom(item);
  return released;
}

bool take_first(List& list, ListInfo& info, char* key, size_t capacity, KeyCount& count) {
  count_queued();
  ListItem* const item = list.first;
  if (item == nullptr) {
    return false;
  }
  if (list.pivots > 0 && info.pivots[list.pivots - 1] == item) {
    --list.pivots;
  }
  list.first = item->next;
  CopyText(key, capacity, item->key());
  count = {item->count, AmountOf(*item)};
  smart_release(info, item);
  return true;
}

KeyCount drop_items(List& list, ListInfo& info, bool (*goes)(std::string_view key)) {
  count_queued();
  KeyCount dropped{.count = 0};
  list.pivots = 0;
  for (ListItem** place = &list.first; *place != nullptr;) {
    ListItem* const item = *place;
    if (goes(item->key())) {
      *place = item->next;
      dropped.count += item->count;
      AddCapped(dropped.amount, AmountOf(*item));
      smart_release(info, item);
    } else {
      place = &item->next;
    }
  }
  return dropped;
}

// Releases all of a list but its records, and returns how many these are, sub-lists included.
static size_t ReleaseIndexes(const List& list) {
  size_t records = list.length;
  for (ListItem* item = list.has_sublists ? list.first : nullptr; item != nullptr; item = item->next) {
    if (List* const sublist = item->sublist()) {
      records += ReleaseIndexes(*sublist);
      free(sublist);
    }
  }
  FreeLines(list.lines);
  return records;
}

void destroy(List& list) {
  count_queued();
  LeaveRooms(ReleaseIndexes(list));
  list = {};
}

void empty_list(List& list, ListInfo& info) {
  destroy(list);
  info.entries = info.reclaimed = 0;
  std::fill_n(info.kinds, kKinds, 0);
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
  mAnyAttacked = mAnyAmounts = false;
  mAmount = mAmountNow = 0;
}
