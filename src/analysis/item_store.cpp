#include "analysis/item_store.h"

#include <algorithm>
#include <cstdlib>

#include "analysis/smart_memory_internal.h"
#include "base/pages.h"
#include "superlog/byte_scan.h"

// Kind of a block that holds no record.
static constexpr uint8_t kFreeKind = UINT8_MAX;
static_assert(kKinds <= kFreeKind);

// Of a record's fields a free block has its length, in units, its kind and, unless it is of a single
// unit, which is in no list, the next one.
static_assert(kChunkUnits <= UINT16_MAX && offsetof(ListItem, next) + sizeof(void*) == 2 * kStoreUnit);

// Of a chunk: its number in front, and room to be read behind.
static constexpr size_t kHeadSize = kStoreUnit;
static constexpr size_t kChunkRoom = kChunkSize - kHeadSize - kScanOverread;

// Chunks are allocated several at a time, the more the more there are.
static constexpr size_t kSlabsMax = 1024;
static constexpr size_t kSmallestSlab = 4;
static constexpr size_t kSlabPart = 4;
static constexpr size_t kChunksMax = size_t{1} << 19;  // so that 32 bits name each unit

// Free blocks by units; what is longer than any record is in the last list.
static constexpr size_t kLongestRecord =
    sizeof(ListItem) + kLongestItem + kKeyWord + kTailSize + kAmountSize + kSpanSize;
static constexpr size_t kLists = kLongestRecord / kStoreUnit + 2;

char** mpChunks = nullptr;
static size_t mChunksHeld = 0;
static size_t mChunksCapacity = 0;
static void* mSlabs[kSlabsMax];
static size_t mSlabCount = 0;
static char* mpUntouched = nullptr;  // the chunks that are left of the last slab
static size_t mUntouched = 0;
static ListItem* mFree[kLists];
static char* mpRegion = nullptr;  // what new blocks are cut from
static char* mpRegionEnd = nullptr;
static size_t mRecords = 0;
static size_t mFreeUnits = 0;   // but for those of the region
static size_t mTakenUnits = 0;  // since free blocks were joined

static size_t UnitsOf(const ListItem& item) {
  return (sizeof(ListItem) + PaddedKeySize(item.length) + (item.has_tail ? kTailSize : 0) +
          (item.has_amount ? kAmountSize : 0) + (item.has_span ? kSpanSize : 0)) /
         kStoreUnit;
}

ItemRef RefOf(const ListItem& item) {
  const size_t place = reinterpret_cast<uintptr_t>(&item) % kChunkSize;
  const auto* const chunk = reinterpret_cast<const char*>(&item) - place;
  return *reinterpret_cast<const uint32_t*>(chunk) * kChunkUnits + static_cast<uint32_t>(place / kStoreUnit);
}

// ---- Free blocks ----

static ListItem* MarkFree(char* at, size_t units) {
  auto* const block = reinterpret_cast<ListItem*>(at);
  block->length = static_cast<uint16_t>(units);
  block->kind = kFreeKind;
  return block;
}

static void AddFree(char* at, size_t units) {
  ListItem* const block = MarkFree(at, units);
  mFreeUnits += units;
  if (units > 1) {
    ListItem*& list = mFree[std::min(units, kLists - 1)];
    block->next = list;
    list = block;
  }
}

static void LeaveRegion() {
  if (mpRegion != mpRegionEnd) {
    AddFree(mpRegion, static_cast<size_t>(mpRegionEnd - mpRegion) / kStoreUnit);
  }
  mpRegion = mpRegionEnd = nullptr;
}

static char* PopFree(size_t list) {
  ListItem* const block = mFree[list];
  mFree[list] = block->next;
  mFreeUnits -= block->length;
  return reinterpret_cast<char*>(block);
}

static void SetRegion(char* from, size_t units) {
  LeaveRegion();
  mpRegion = from;
  mpRegionEnd = from + units * kStoreUnit;
}

// Makes the shortest free block that is long enough the region.
static bool TakeLonger(size_t units) {
  size_t list = units;
  while (list < kLists && mFree[list] == nullptr) {
    ++list;
  }
  if (list == kLists) {
    return false;
  }
  const size_t length = mFree[list]->length;
  SetRegion(PopFree(list), length);
  return true;
}

// Makes neighbouring free blocks of a chunk one.
static void JoinInChunk(char* chunk) {
  char* at = chunk + kHeadSize;
  char* const end = chunk + kHeadSize + kChunkRoom;
  char* first_free = nullptr;
  while (at != end) {
    const auto& item = *reinterpret_cast<const ListItem*>(at);
    const bool free = item.kind == kFreeKind;
    const size_t units = free ? item.length : UnitsOf(item);
    if (free && first_free == nullptr) {
      first_free = at;
    } else if (!free && first_free != nullptr) {
      AddFree(first_free, static_cast<size_t>(at - first_free) / kStoreUnit);
      first_free = nullptr;
    }
    at += units * kStoreUnit;
  }
  if (first_free != nullptr) {
    AddFree(first_free, static_cast<size_t>(end - first_free) / kStoreUnit);
  }
}

static void JoinFree() {
  LeaveRegion();
  std::fill_n(mFree, kLists, nullptr);
  mFreeUnits = mTakenUnits = 0;
  for (size_t i = 0; i < mChunksHeld; ++i) {
    JoinInChunk(mpChunks[i]);
  }
}

// Looking at all blocks is worth it when much is free, and not too often.
static bool IsWorthJoining() {
  const size_t all = mChunksHeld * kChunkUnits;
  return mFreeUnits > all / 8 && mTakenUnits > all / 4;
}

// ---- Chunks ----

static bool MakeRoomForChunks(size_t more) {
  const size_t needed = mChunksHeld + more;
  if (needed <= mChunksCapacity) {
    return true;
  }
  const size_t capacity = std::max(mChunksCapacity * 2, needed);
  char** const chunks = static_cast<char**>(realloc(mpChunks, capacity * sizeof(char*)));
  if (chunks != nullptr) {
    mpChunks = chunks;
    mChunksCapacity = capacity;
  }
  return chunks != nullptr;
}

static bool AddSlab(size_t chunks) {
  if (mSlabCount == kSlabsMax || mChunksHeld + chunks > kChunksMax || !MakeRoomForChunks(chunks)) {
    return false;
  }
  char* const memory = static_cast<char*>(mpAllocate((chunks + 1) * kChunkSize));
  if (memory == nullptr) {
    return false;
  }
  if (mSlabCount > 0) {  // most of the first one may never be used
    AskForPages(memory, (chunks + 1) * kChunkSize);
  }
  mSlabs[mSlabCount++] = memory;
  mpUntouched = memory + kChunkSize - reinterpret_cast<uintptr_t>(memory) % kChunkSize;
  mUntouched = chunks;
  return true;
}

// Makes another chunk the region.
static bool AddChunk() {
  if (mUntouched == 0 && !AddSlab(std::max(mChunksHeld / kSlabPart, kSmallestSlab)) && !AddSlab(1)) {
    return false;
  }
  char* const chunk = mpUntouched;
  mpUntouched += kChunkSize;
  --mUntouched;
  *reinterpret_cast<uint32_t*>(chunk) = static_cast<uint32_t>(mChunksHeld);
  mpChunks[mChunksHeld++] = chunk;
  SetRegion(chunk + kHeadSize, kChunkRoom / kStoreUnit);
  return true;
}

static void ReleaseAll() {
  for (size_t i = 0; i < mSlabCount; ++i) {
    free(mSlabs[i]);
  }
  free(mpChunks);
  mpChunks = nullptr;
  mChunksHeld = mChunksCapacity = mSlabCount = mUntouched = mFreeUnits = mTakenUnits = 0;
  mpRegion = mpRegionEnd = nullptr;
  std::fill_n(mFree, kLists, nullptr);
}

// ---- Room ----

// Makes something the region that is long enough.
[[gnu::noinline]] static bool FindRegion(size_t units) {
  if (IsWorthJoining()) {
    JoinFree();
  }
  if (TakeLonger(units) || AddChunk()) {
    return true;
  }
  JoinFree();
  return TakeLonger(units);
}

void* TakeRoom(size_t size) {
  const size_t units = (size + kStoreUnit - 1) / kStoreUnit;
  char* room = nullptr;
  if (mFree[units] != nullptr) {
    room = PopFree(units);
  } else if (static_cast<size_t>(mpRegionEnd - mpRegion) >= units * kStoreUnit || FindRegion(units)) {
    room = mpRegion;
    mpRegion += units * kStoreUnit;
    MarkFree(room, units);  // until a record is made of it
  } else {
    return nullptr;
  }
  mTakenUnits += units;
  ++mRecords;
  return room;
}

void LeaveRoom(ListItem* item) {
  AddFree(reinterpret_cast<char*>(item), UnitsOf(*item));
  LeaveRooms(1);
}

void LeaveRooms(size_t records) {
  mRecords -= records;
  if (mRecords == 0) {
    ReleaseAll();
  }
}

StoreFigures FiguresOfStore() {
  const auto region = static_cast<size_t>(mpRegionEnd - mpRegion);
  return {mChunksHeld * kChunkSize, mFreeUnits * kStoreUnit + region};
}
