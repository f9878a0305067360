// What the counting tables and smart memory share with each other and the tests.
#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis/counting_table.h"

// As SetCountingLimits took them.
extern Limits mCountingLimits;

// Counts simply rise while records stream through; whoever compares them has them
// wrapped first.
inline void WrapCount(ListItem& item) {
  const int64_t count = Wrapped(mCountingLimits, item.count);
  if (count != item.count) {
    item.count = count;
  }
}

// Where all memory of this module and the counting tables comes from; the tests
// put allocators in that refuse.
extern void* (*mpAllocate)(size_t size);
extern void* (*mpAllocateZeroed)(size_t count, size_t size);
extern void* (*mpTakeRoom)(size_t size);  // for records, from item_store.h

// Figures, settings and allocators as at the start of the process.
void ResetSmartMemory();

// Whether the settings ask for reclaims.
bool SmartMemoryIsOn();

// One reclaim, before which the peak is recorded. True when it freed anything.
bool ReclaimAfterRefusal(const ListItem* spared);

// Gives back what is too much of the indexes of tables that fill a quarter of theirs
// or less.
void ShrinkIndexes();

// Tries again what was refused, after a reclaim each, and returns what the try
// made. One reclaim is enough for a record where all have one size; here those
// given up may be too short for the one that is wanted, and too scattered for an
// index, and then others must go, too. Returns a null (or false) result when at
// last nothing was freed and, without any try, when smart memory is disabled.
template <typename Try>
auto TryWithReclaims(const ListItem* spared, const Try& try_again) -> decltype(try_again()) {
  bool more = SmartMemoryIsOn();
  for (bool first = true; more; first = false) {
    more = ReclaimAfterRefusal(spared);
    if (!first) {
      ShrinkIndexes();
    }
    if (const auto made = try_again()) {
      return made;
    }
  }
  return {};
}

// Makes the counts of parts of keys hold, of which lists soon will not tell any more.
void SettleAllParts();

// Forgets which records the keys that wait have been found to be: some are about to go.
void ForgetForeseen();

// Releases a record that is already out of its list's chain, with its sub-list. Returns the bytes that the
// statistics have it as.
int64_t smart_release(ListInfo& info, ListItem* item);

// Takes the record, already out of its list's chain, out of the list's index and
// releases it with its sub-list. Returns how many records were released.
size_t ReleaseItem(List& list, ListItem* item);
