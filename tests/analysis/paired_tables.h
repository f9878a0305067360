// A few tables counted twice, by the product and in the plain form, for tests
// that hold one against the other.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

#include "analysis/counting_table.h"
#include "analysis/item_store.h"
#include "analysis/plain_tables.h"
#include "analysis/smart_memory.h"
#include "analysis/smart_memory_internal.h"
#include "cgi/settings.h"
#include "support/room.h"

// Small repeatable random numbers (xorshift).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9e3779b97f4a7c15 + 1) {}

  uint32_t Below(uint32_t bound) {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<uint32_t>((state_ >> 32) * bound >> 32);
  }

 private:
  uint64_t state_;
};

inline std::string Numbered(const char* prefix, uint32_t number) {
  return std::string(prefix).append(std::to_string(number));
}

// Kilobytes that stand for a budget of so few records, for tests: they wrap.
inline int BudgetOfRecords(int records) {
  return 4194304 + records / 4;
}

inline Settings MemorySettings(int keep, int reclaim_kilobytes, int budget_kilobytes) {
  Settings settings = {};
  settings.SmartMemoryEnabled = 1;
  settings.SmartMemoryKeepEntries = keep;
  settings.SmartMemoryReclaimSize = reclaim_kilobytes;
  settings.SmartMemoryMaxMemoryToAllocate = budget_kilobytes;
  return settings;
}

inline void ResetMemory() {
  count_queued();
  gListInfo = {};
  gSM_TotalBytesAllocated = gSM_CurrentBytesAllocated = gSM_MaximumBytesAllocated = gSM_TotalBytesFreed = 0;
  mpAllocate = malloc;
  mpAllocateZeroed = calloc;
  mpTakeRoom = TakeRoom;
  SetCountingLimits(kClassicLimits);
  plain::memory = {};
}

struct Row {
  std::string key;
  int64_t count;
  std::vector<Row> rows;  // of the sub-list

  bool operator==(const Row&) const = default;
};

inline void PrintTo(const Row& row, std::ostream* out) {
  *out << row.key << "(" << row.count << ") and " << row.rows.size();
}

// The records as they are linked; sub-lists in key order.
inline std::vector<Row> Rows(const plain::Item* item) {
  std::vector<Row> rows;
  for (; item != nullptr; item = item->next) {
    rows.push_back({item->name, item->count, Rows(item->sublist)});
  }
  return rows;
}

inline std::vector<Row> Sorted(std::vector<Row> rows, bool ignore_case) {
  std::sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
    return (ignore_case ? strcasecmp : strcmp)(a.key.c_str(), b.key.c_str()) < 0;
  });
  return rows;
}

inline std::vector<Row> Rows(const ListItem* item, bool ignore_case) {
  std::vector<Row> rows;
  for (; item != nullptr; item = item->next) {
    EXPECT_EQ(item->name[item->length], '\0');
    const ListItem* const sub = item->sublist() == nullptr ? nullptr : item->sublist()->first;
    rows.push_back({std::string(item->key()), item->count, Sorted(Rows(sub, ignore_case), ignore_case)});
  }
  return rows;
}

// Leaves the list alone, unlike KeyOrder, which would make a later reclaim start
// from nothing.
inline std::vector<Row> RowsInKeyOrder(const List& list) {
  return Sorted(Rows(list.first, list.ignore_case), list.ignore_case);
}

class PairedTable {
 public:
  explicit PairedTable(bool ignore_case) : ignore_case_(ignore_case) {
    init_list(list, info, "Table", SubLists::kAny);
    plain::init_list(plain_list, plain_info);
  }
  PairedTable(const PairedTable&) = delete;
  // Also empties the chains: tables of one test end together.
  ~PairedTable() {
    destroy(list);
    free(info);
    plain::release(plain_list);
    gListInfo = {};
    plain::memory.first = plain::memory.last = nullptr;
  }

  void Add(const std::string& key, const std::string& subkey = "") {
    add_item(list, info, key, subkey, nullptr, ignore_case_);
    plain::add_item(plain_list, plain_info, key, subkey, nullptr, ignore_case_);
  }

  void Queue(const std::string& key, const std::string& subkey) {
    queue_item(list, info, texts_.emplace_back(key), texts_.emplace_back(subkey), ignore_case_);
    plain::add_item(plain_list, plain_info, key, subkey, nullptr, ignore_case_);
  }

  void ExpectSame() const {
    ASSERT_EQ(info->entries, plain_info.entries);
    ASSERT_EQ(info->reclaimed, plain_info.reclaimed);
    ASSERT_EQ(RowsInKeyOrder(list), Rows(plain_list));
    ASSERT_EQ(list_length(list), Rows(plain_list).size());
  }

  void ExpectSameDisplay(size_t shown) {
    std::vector<Row> expected = Rows(plain_list = plain::SortList(plain_list));
    std::vector<Row> rows = Rows(SortList(list, shown), ignore_case_);
    ASSERT_EQ(rows.size(), expected.size());
    ASSERT_EQ(Sorted(rows, ignore_case_), Sorted(expected, ignore_case_));
    rows.resize(std::min(shown, rows.size()));
    expected.resize(rows.size());
    ASSERT_EQ(rows, expected);
  }

  List list;
  ListInfo* info;
  plain::Item* plain_list;
  plain::Info plain_info;

 private:
  bool ignore_case_;
  std::deque<WithRoom> texts_;  // of keys that may wait
};

inline void SetLimits(const Limits& limits) {
  SetCountingLimits(limits);
  plain::memory.limits = limits;
}

inline void InitMemory(const Settings& settings) {
  smart_memory_init(settings);
  plain::memory.enabled = settings.SmartMemoryEnabled != 0;
  plain::memory.keep = settings.SmartMemoryKeepEntries;
  plain::memory.reclaim_kilobytes = settings.SmartMemoryReclaimSize;
  const int budget = settings.SmartMemoryMaxMemoryToAllocate;
  plain::memory.max_bytes = budget < 500 ? 0 : plain::Bytes(budget);
}

inline void ExpectSameStatistics() {
  ASSERT_EQ(gSM_TotalBytesAllocated, plain::memory.total);
  ASSERT_EQ(gSM_CurrentBytesAllocated, plain::memory.current);
  ASSERT_EQ(gSM_MaximumBytesAllocated, plain::memory.maximum);
  ASSERT_EQ(gSM_TotalBytesFreed, plain::memory.freed);
}
