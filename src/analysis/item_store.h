// Room for the records of the counting tables. Inner header of the counting tables,
// smart memory and their tests.
//
// Records lie close together in chunks, and 32 bits name one: a third less memory
// than a heap takes with its pointers, and half of an index. Room that records leave is
// for records of the same size first, then for smaller ones; neighbours become
// one when memory would have to grow, or is refused.
#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis/counting_table.h"

inline constexpr size_t kChunkSize = 65536;  // and a chunk lies at a multiple of it
inline constexpr size_t kStoreUnit = 8;      // of sizes and places
inline constexpr uint32_t kChunkUnits = kChunkSize / kStoreUnit;

extern char** mpChunks;

inline ListItem* ItemAt(ItemRef ref) {
  return reinterpret_cast<ListItem*>(mpChunks[ref / kChunkUnits] + ref % kChunkUnits * kStoreUnit);
}

ItemRef RefOf(const ListItem& item);

// Room for a record of size bytes, at most those of the longest, rounded up to a whole unit. Beyond it
// kScanOverread bytes can be read. Null when memory is refused.
void* TakeRoom(size_t size);

// Takes back the room of a record that is in no list.
void LeaveRoom(ListItem* item);

// Takes back the room of so many records, which must not be used again; when none is left, all memory is
// released, and until then their room is not used.
void LeaveRooms(size_t records);

// What the chunks hold, for tests, in bytes: all of them, and what is free.
struct StoreFigures {
  size_t chunks;
  size_t free;
};
StoreFigures FiguresOfStore();
