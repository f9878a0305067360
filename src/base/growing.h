// A sequence that grows without moving what it holds: it never takes twice its room, and what points to one
// of its items stays right.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#include "base/pages.h"

inline constexpr std::align_val_t kRoomAlignment{kLargePage};

struct FreeRoom {
  void operator()(void* room) const { operator delete(room, kRoomAlignment); }
};

// Of plain records, numbered from 0.
template <typename T>
struct Growing {
  static constexpr size_t kEach = kLargePage / sizeof(T);  // items of a room

  std::vector<std::unique_ptr<T[], FreeRoom>> rooms;
  size_t length = 0;

  T& operator[](size_t item) { return rooms[item / kEach][item % kEach]; }
  const T& operator[](size_t item) const { return rooms[item / kEach][item % kEach]; }
};

// As any new record where memory is refused. The first room is made of small pages, and takes no more of them
// than items need.
template <typename T>
T& Append(Growing<T>& items, const T& item) {
  if (items.length == items.rooms.size() * Growing<T>::kEach) {
    void* const room = operator new(kLargePage, kRoomAlignment);
    if (!items.rooms.empty()) {
      AskForPages(room, kLargePage);
    }
    items.rooms.emplace_back(static_cast<T*>(room));
  }
  return items[items.length++] = item;
}

// Drops all items but the first ones.
template <typename T>
void CutTo(Growing<T>& items, size_t length) {
  items.length = length;
  items.rooms.resize((length + Growing<T>::kEach - 1) / Growing<T>::kEach);
}
