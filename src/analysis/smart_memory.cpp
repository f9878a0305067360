#include "analysis/smart_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "analysis/counting_table.h"
#include "analysis/item_key.h"
#include "analysis/item_store.h"
#include "analysis/smart_memory_internal.h"
#include "superlog/byte_scan.h"

int64_t gSM_TotalBytesAllocated = 0;
int64_t gSM_CurrentBytesAllocated = 0;
int64_t gSM_MaximumBytesAllocated = 0;
int64_t gSM_TotalBytesFreed = 0;

void* (*mpAllocate)(size_t size) = malloc;
void* (*mpAllocateZeroed)(size_t count, size_t size) = calloc;
void* (*mpTakeRoom)(size_t size) = TakeRoom;

static constexpr int32_t kDefaultKeepEntries = 100;
static constexpr int32_t kDefaultReclaimSize = 1000;

static bool mSmartMemoryEnabled = true;
static int32_t mKeepEntries = kDefaultKeepEntries;
static int32_t mReclaimSize = kDefaultReclaimSize;  // kilobytes
static int64_t mMaxBytesToAllocate = 0;             // 0: no budget

static constexpr int32_t kSmallestBudget = 500;  // kilobytes

static void AddTo(int64_t& figure, int64_t bytes) {
  figure = Wrapped(mCountingLimits, figure + bytes);
}

static int64_t KilobytesToBytes(int32_t kilobytes) {
  return Wrapped(mCountingLimits, int64_t{kilobytes} * 1024);
}

void smart_memory_init(const Settings& settings) {
  mSmartMemoryEnabled = settings.SmartMemoryEnabled != 0 && settings.smartmemorydisabled == 0;
  mKeepEntries = settings.SmartMemoryKeepEntries;
  mReclaimSize = settings.SmartMemoryReclaimSize;
  // deliberate: a budget of 1 to 499 kilobytes is no budget at all
  mMaxBytesToAllocate = settings.SmartMemoryMaxMemoryToAllocate >= kSmallestBudget
                            ? KilobytesToBytes(settings.SmartMemoryMaxMemoryToAllocate)
                            : 0;
}

static void (*mpEnd)() = nullptr;  // in place of reclaims

void ForgetAllocations() {
  gSM_TotalBytesAllocated = gSM_CurrentBytesAllocated = gSM_MaximumBytesAllocated = gSM_TotalBytesFreed = 0;
}

void ResetSmartMemory() {
  ForgetAllocations();
  mSmartMemoryEnabled = true;
  mKeepEntries = kDefaultKeepEntries;
  mReclaimSize = kDefaultReclaimSize;
  mMaxBytesToAllocate = 0;
  mpAllocate = malloc;
  mpAllocateZeroed = calloc;
  mpTakeRoom = TakeRoom;
  mpEnd = nullptr;
}

// ---- Order of a reclaim ----
//
// A reclaim's passes take records by rising count and, within one, by key. That
// order is made only as far as it is asked for (incremental quicksort, Paredes
// and Navarro 2006), in the list's chain itself, so that it needs no memory: the
// records before the last pivot are split around some of their own until those
// in front are few enough to go all at once. The pivots stay for later reclaims.
// Counts that rise meanwhile only make a record's rank a lower bound, which is
// put right when its part comes to the front.

// More than one pivot for each split: walking a chain is what costs.
static constexpr size_t kSplitPivots = 15;

static constexpr size_t kFetchAhead = 8;

struct Chain {
  ListItem* first;
  ListItem* last;
};

// The records of the front part, out of their list's chain.
struct Part {
  Chain chain;
  int64_t length;
  int64_t records;                  // with those of the sub-lists
  ListItem* samples[kSplitPivots];  // those of the smallest hashes: a random choice
  size_t sampled;
};

static bool TakenBefore(const ListItem& a, const ListItem& b, bool ignore_case) {
  return a.rank != b.rank ? a.rank < b.rank : KeyBefore(a, b, ignore_case);
}

static void Push(Chain& chain, ListItem* item) {
  item->next = chain.first;
  chain.first = item;
  if (chain.last == nullptr) {
    chain.last = item;
  }
}

static void Prepend(List& list, const Chain& chain) {
  if (chain.first != nullptr) {
    chain.last->next = list.first;
    list.first = chain.first;
  }
}

static void Sample(Part& part, ListItem* item) {
  size_t place = part.sampled < kSplitPivots ? part.sampled++ : kSplitPivots - 1;
  for (; place > 0 && item->hash < part.samples[place - 1]->hash; --place) {
    part.samples[place] = part.samples[place - 1];
  }
  part.samples[place] = item;
}

static void Append(Part& part, ListItem* item) {
  Push(part.chain, item);
  if (part.sampled < kSplitPivots || item->hash < part.samples[kSplitPivots - 1]->hash) {
    Sample(part, item);
  }
  ++part.length;
  const List* const sublist = item->sublist();
  part.records += 1 + (sublist == nullptr ? 0 : static_cast<int64_t>(sublist->length));
}

// Place of the first pivot that precedes the record, of pivots in falling order.
static size_t PivotBefore(ListItem* const* pivots, size_t count, const ListItem& item, bool ignore_case) {
  return std::partition_point(
             pivots, pivots + count,
             [&](const ListItem* pivot) { return !TakenBefore(*pivot, item, ignore_case); }) -
         pivots;
}

// Puts a record that the last pivot precedes into the part where it belongs.
static void File(ListInfo& info, ListItem* item) {
  const List& list = *info.head;
  ListItem* const pivot = info.pivots[PivotBefore(info.pivots, list.pivots, *item, list.ignore_case)];
  item->next = pivot->next;
  pivot->next = item;
}

static void PushPivot(ListInfo& info, ListItem* pivot) {
  List& list = *info.head;
  if (list.pivots == kMaxPivots) {
    // Without its pivot the rearmost part is one with the part before it.
    std::copy(info.pivots + 1, info.pivots + kMaxPivots, info.pivots);
    --list.pivots;
  }
  info.pivots[list.pivots++] = pivot;
}

// Takes the front part out of the chain, every rank brought up to date, but for
// the spared record, which is returned through its own argument.
static Part TakeFront(ListInfo& info, const ListItem* spared, ListItem*& spared_item) {
  List& list = *info.head;
  ListItem* const behind = list.pivots == 0 ? nullptr : info.pivots[list.pivots - 1];
  Part part = {};
  ListItem* item = list.first;
  list.first = behind;
  while (item != behind) {
    ListItem* const next = item->next;
    WrapCount(*item);
    item->rank = item->count > 1 ? item->count : 1;
    if (item == spared) {
      spared_item = item;
    } else if (behind != nullptr && TakenBefore(*behind, *item, list.ignore_case)) {
      File(info, item);
    } else {
      Append(part, item);
    }
    item = next;
  }
  return part;
}

// ---- Reclaim ----

struct Reclaim {
  const ListItem* spared;
  int64_t target;  // bytes
  int64_t freed;
};

static bool Unfinished(const Reclaim& reclaim, const ListInfo& info) {
  return reclaim.freed < reclaim.target && info.entries > mKeepEntries;
}

int64_t smart_release(ListInfo& info, ListItem* item) {
  const int64_t bytes = static_cast<int64_t>(ReleaseItem(*info.head, item) * kListItemSize);
  if (mSmartMemoryEnabled) {
    AddTo(gSM_CurrentBytesAllocated, -bytes);
    --info.entries;
  }
  return bytes;
}

static void Remove(Reclaim& reclaim, ListInfo& info, ListItem* item) {
  reclaim.freed += smart_release(info, item);
  ++info.reclaimed;
}

// Removes all records of the chain. Each one's place in the index is sent for
// some records ahead.
static void RemoveAll(Reclaim& reclaim, ListInfo& info, const Chain& chain) {
  const ListItem* ahead = chain.first;
  for (size_t i = 0; i < kFetchAhead && ahead != nullptr; ++i, ahead = ahead->next) {
    FetchSlot(*info.head, ahead->hash);
  }
  for (ListItem* item = chain.first; item != nullptr;) {
    if (ahead != nullptr) {
      FetchSlot(*info.head, ahead->hash);
      ahead = ahead->next;
    }
    ListItem* const gone = item;
    item = item->next;
    Remove(reclaim, info, gone);
  }
}

// Whether all of the part would go, whatever their order.
static bool AllGo(const Reclaim& reclaim, const ListInfo& info, const Part& part) {
  return part.records * static_cast<int64_t>(kListItemSize) <= reclaim.target - reclaim.freed &&
         part.length <= static_cast<int64_t>(info.entries) - mKeepEntries;
}

// Leaves in the part what precedes all of its samples; these become pivots, and
// they and the records behind them go back to the list.
static void Split(ListInfo& info, Part& part) {
  List& list = *info.head;
  ListItem** const pivots = part.samples;
  const size_t count = part.sampled;
  std::sort(pivots, pivots + count,
            [&](const ListItem* a, const ListItem* b) { return TakenBefore(*b, *a, list.ignore_case); });
  Part lower = {};
  Chain upper[kSplitPivots] = {};
  for (ListItem* item = part.chain.first; item != nullptr;) {
    ListItem* const next = item->next;
    const size_t place = PivotBefore(pivots, count, *item, list.ignore_case);
    const bool is_pivot = place > 0 && pivots[place - 1] == item;
    if (!is_pivot && place == count) {
      Append(lower, item);
    } else if (!is_pivot) {
      Push(upper[place], item);
    }
    item = next;
  }
  for (size_t i = 0; i < count; ++i) {
    Prepend(list, upper[i]);
    Prepend(list, {pivots[i], pivots[i]});
    PushPivot(info, pivots[i]);
  }
  part = lower;
}

// Removes the first records of the part, at least one of them; the others go
// back to the list.
static void RemoveFirst(Reclaim& reclaim, ListInfo& info, Part& part) {
  List& list = *info.head;
  while (!AllGo(reclaim, info, part)) {
    Split(info, part);
    if (part.length == 0) {
      ListItem* const lowest = list.first;
      list.first = lowest->next;
      --list.pivots;
      Remove(reclaim, info, lowest);
      return;
    }
  }
  RemoveAll(reclaim, info, part.chain);
}

// Thins one table. False when nothing but the spared record is left in it.
static bool ThinTable(Reclaim& reclaim, ListInfo& info) {
  List& list = *info.head;
  ListItem* spared = nullptr;
  bool left = true;
  while (left && Unfinished(reclaim, info)) {
    Part part = TakeFront(info, reclaim.spared, spared);
    if (part.length > 0) {
      RemoveFirst(reclaim, info, part);
    } else if (list.pivots > 0) {
      --list.pivots;
    } else {
      left = false;
    }
  }
  if (spared != nullptr) {
    Prepend(list, {spared, spared});
  }
  return left;
}

// The table with the most entries: the first of them, unless last is one.
static ListInfo* ChooseVictim(ListInfo* last) {
  ListInfo* victim = last;
  for (ListInfo* info = gListInfo.first; info != nullptr; info = info->next) {
    if (victim == nullptr || info->entries > victim->entries) {
      victim = info;
    }
  }
  return victim;
}

bool SetReclaiming(bool on) {
  return std::exchange(mSmartMemoryEnabled, on);
}

void EndInsteadOfReclaims(void (*end)()) {
  mpEnd = end;
}

int64_t MemoryBudget() {
  return mSmartMemoryEnabled ? mMaxBytesToAllocate : 0;
}

void BeginToReclaim() {
  if (mpEnd != nullptr) {
    mpEnd();
  }
}

void NoteReclaimed(int64_t bytes) {
  AddTo(gSM_TotalBytesFreed, bytes);
}

int64_t smart_free(const ListItem* spared) {
  BeginToReclaim();
  ForgetForeseen();
  SettleAllParts();
  Reclaim reclaim = {spared, KilobytesToBytes(mReclaimSize), 0};
  ListInfo* victim = nullptr;
  do {
    victim = ChooseVictim(victim);
  } while (victim != nullptr && Unfinished(reclaim, *victim) && ThinTable(reclaim, *victim));
  NoteReclaimed(reclaim.freed);
  return reclaim.freed;
}

// ---- Allocation ----

bool SmartMemoryIsOn() {
  return mSmartMemoryEnabled;
}

bool ReclaimAfterRefusal(const ListItem* spared) {
  if (gSM_MaximumBytesAllocated < gSM_CurrentBytesAllocated) {
    gSM_MaximumBytesAllocated = gSM_CurrentBytesAllocated;
  }
  return smart_free(spared) > 0;
}

void* smart_alloc(size_t size, ListInfo& info, const ListItem* parent) {
  if (!mSmartMemoryEnabled) {
    return mpTakeRoom(size);
  }
  void* block = nullptr;
  if (mMaxBytesToAllocate == 0 || gSM_CurrentBytesAllocated < mMaxBytesToAllocate) {
    block = mpTakeRoom(size);
  }
  if (block == nullptr) {
    // whatever the budget: one allocation follows each reclaim
    block = TryWithReclaims(parent, [&] { return mpTakeRoom(size); });
  }
  if (block != nullptr) {
    info.entries += parent == nullptr ? 1 : 0;
    AddTo(gSM_TotalBytesAllocated, kListItemSize);
    AddTo(gSM_CurrentBytesAllocated, kListItemSize);
  }
  return block;
}

static char* Duplicate(const char* text) {
  const size_t size = strlen(text) + 1;
  char* copy = static_cast<char*>(mpAllocate(size + kScanOverread));
  return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, text, size));
}

char* smart_strdup(const char* text) {
  if (text == nullptr) {
    return nullptr;
  }
  char* const copy = Duplicate(text);
  if (copy != nullptr) {
    return copy;
  }
  count_queued();  // a reclaim takes from all that was to be counted until now
  return TryWithReclaims(nullptr, [&] { return Duplicate(text); });
}
