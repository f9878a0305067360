#include "analysis/item_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "analysis/item_key.h"
#include "analysis/paired_tables.h"
#include "analysis/smart_memory_internal.h"
#include "superlog/byte_scan.h"

static constexpr size_t kHeader = offsetof(ListItem, name);

static size_t SizeOf(size_t length, bool has_tail, bool has_amount, bool has_span) {
  return kHeader + PaddedKeySize(length) + (has_tail ? kTailSize : 0) + (has_amount ? kAmountSize : 0) +
         (has_span ? kSpanSize : 0);
}

class ItemStoreTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetMemory();
    ASSERT_EQ(FiguresOfStore().chunks, 0U);
  }
  void TearDown() override {
    mpAllocate = malloc;
    for (ListItem* item : items_) {
      LeaveRoom(item);
    }
    EXPECT_EQ(FiguresOfStore().chunks, 0U) << "released with its last record";
  }

  // A record full of one letter; null where memory is refused.
  ListItem* Make(size_t length, bool has_tail = false, bool has_amount = false, bool has_span = false) {
    auto* const item = static_cast<ListItem*>(TakeRoom(SizeOf(length, has_tail, has_amount, has_span)));
    if (item != nullptr) {
      item->length = static_cast<uint16_t>(length);
      item->kind = 0;
      item->has_tail = has_tail;
      item->has_amount = has_amount;
      item->has_span = has_span;
      memset(item->name, static_cast<char>('a' + items_.size() % 26),
             SizeOf(length, has_tail, has_amount, has_span) - kHeader);
      items_.push_back(item);
    }
    return item;
  }
  void Leave(size_t place) {
    LeaveRoom(items_[place]);
    items_.erase(items_.begin() + static_cast<ptrdiff_t>(place));
  }
  // Every other record goes.
  void Thin() {
    size_t kept = 0;
    for (size_t i = 0; i < items_.size(); ++i) {
      if (i % 2 == 0) {
        items_[kept++] = items_[i];
      } else {
        LeaveRoom(items_[i]);
      }
    }
    items_.resize(kept);
  }

  std::vector<ListItem*> items_;
};

TEST_F(ItemStoreTest, NamesLeadBackToRecords) {
  for (int i = 0; i < 5000; ++i) {
    ListItem* const item = Make(static_cast<size_t>(i % 300));
    ASSERT_NE(RefOf(*item), 0U);
    ASSERT_EQ(ItemAt(RefOf(*item)), item);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(item) % alignof(ListItem), 0U);
  }
}

// Records that come and go in any order never share a byte, and each keeps what it holds.
TEST_F(ItemStoreTest, RecordsNeverOverlap) {
  Random random(1);
  std::vector<std::string> names;
  for (int step = 0; step < 60000; ++step) {
    const bool growing = step / 10000 % 2 == 0;
    if (items_.empty() || random.Below(10) < (growing ? 7U : 3U)) {
      const size_t length = random.Below(random.Below(50) == 0 ? kLongestItem + 1 : 120);
      ListItem* const item = Make(length, random.Below(3) == 0);
      const std::string name(SizeOf(length, item->has_tail, item->has_amount, item->has_span) - kHeader,
                             static_cast<char>('a' + random.Below(26)));
      name.copy(item->name, name.size());
      names.push_back(name);
    } else {
      const size_t place = random.Below(static_cast<uint32_t>(items_.size()));
      ASSERT_EQ(std::string_view(items_[place]->name, names[place].size()), names[place]);
      Leave(place);
      names.erase(names.begin() + static_cast<ptrdiff_t>(place));
    }
  }
  for (size_t i = 0; i < items_.size(); ++i) {
    ASSERT_EQ(std::string_view(items_[i]->name, names[i].size()), names[i]);
  }
  const StoreFigures figures = FiguresOfStore();
  size_t held = 0;
  for (const ListItem* item : items_) {
    held += SizeOf(item->length, item->has_tail, item->has_amount, item->has_span);
  }
  const size_t chunk_ends = figures.chunks / kChunkSize * (kStoreUnit + kScanOverread);
  EXPECT_EQ(held + figures.free + chunk_ends, figures.chunks) << "every byte is held or free";
}

TEST_F(ItemStoreTest, RoomOfTheSameSizeIsUsedAgain) {
  for (int i = 0; i < 20000; ++i) {
    Make(static_cast<size_t>(40 + i % 10));
  }
  const size_t chunks = FiguresOfStore().chunks;
  for (int round = 0; round < 20; ++round) {
    Thin();
    for (int i = 0; i < 10000; ++i) {
      Make(static_cast<size_t>(40 + i % 10));
    }
  }
  EXPECT_LE(FiguresOfStore().chunks, chunks + chunks / 4);
}

TEST_F(ItemStoreTest, RoomOfLongRecordsIsUsedForShortOnes) {
  for (int i = 0; i < 4000; ++i) {
    Make(240);
  }
  const size_t chunks = FiguresOfStore().chunks;
  Thin();
  for (int i = 0; i < 5000; ++i) {
    Make(16);
  }
  EXPECT_EQ(FiguresOfStore().chunks, chunks);
}

TEST_F(ItemStoreTest, RoomOfShortRecordsBecomesThatOfLongOnes) {
  for (int i = 0; i < 40000; ++i) {
    Make(16);
  }
  const size_t chunks = FiguresOfStore().chunks;
  while (items_.size() > 1000) {
    LeaveRoom(items_.back());
    items_.pop_back();
  }
  for (int i = 0; i < 6000; ++i) {
    Make(240);
  }
  EXPECT_EQ(FiguresOfStore().chunks, chunks) << "1.7 MB of the 2.2 MB that were free at once";
}

static void* Refuse(size_t) {
  return nullptr;
}

TEST_F(ItemStoreTest, RefusedMemoryLeavesWhatIsFree) {
  for (int i = 0; i < 10000; ++i) {
    Make(16);
  }
  mpAllocate = Refuse;
  while (Make(240) != nullptr) {
  }
  while (Make(1) != nullptr) {
  }
  EXPECT_LT(FiguresOfStore().free, FiguresOfStore().chunks / 100);
  Leave(5000);
  EXPECT_EQ(Make(240), nullptr) << "too long";
  for (int i = 0; i < 5; ++i) {
    Leave(4995);
  }
  EXPECT_NE(Make(240), nullptr) << "neighbours";
}

TEST_F(ItemStoreTest, FirstMemoryMayBeRefused) {
  mpAllocate = Refuse;
  EXPECT_EQ(Make(16), nullptr);
  mpAllocate = malloc;
  EXPECT_NE(Make(16), nullptr);
}

static void* RefuseLarge(size_t size) {
  return size > 2 * kChunkSize ? nullptr : malloc(size);
}

TEST_F(ItemStoreTest, WhereMuchIsRefusedLittleIsAskedFor) {
  mpAllocate = RefuseLarge;
  for (int i = 0; i < 20000; ++i) {
    ASSERT_NE(Make(100), nullptr);
  }
}

TEST_F(ItemStoreTest, RecordsThatAreLeftTogetherReleaseAllWithTheLast) {
  for (int i = 0; i < 3000; ++i) {
    Make(60);
  }
  LeaveRooms(2999);
  EXPECT_NE(FiguresOfStore().chunks, 0U);
  LeaveRooms(1);
  EXPECT_EQ(FiguresOfStore().chunks, 0U);
  items_.clear();
}
