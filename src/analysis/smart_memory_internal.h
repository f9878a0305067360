// What the counting tables and smart memory share with each other and the tests.
#pragma once

#include <cstddef>
#include <cstdint>

struct List;
struct ListItem;

// Where all memory of this module and the counting tables comes from; the tests
// put allocators in that refuse.
extern void* (*mpAllocate)(size_t size);
extern void* (*mpAllocateZeroed)(size_t count, size_t size);

// After a refused allocation: one reclaim, unless smart memory is disabled. True
// when another try is worth making.
bool ReclaimAfterRefusal(const ListItem* spared);

// Sends for the memory that finding a key of this hash will read first.
void FetchSlot(const List& list, uint32_t hash);

// Takes the record, already out of its list's chain, out of the list's index and
// releases it with its sub-list. Returns how many records were released.
size_t ReleaseItem(List& list, ListItem* item);
