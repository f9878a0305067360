// Arrays that begin as zeros: of large ones, which the system gives so, no byte is written before it is used.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include "base/pages.h"

struct FreeZeroed {
  void operator()(void* memory) const { free(memory); }
};

// Of plain records.
template <typename T>
using Zeroed = std::unique_ptr<T[], FreeZeroed>;

// As any new records where memory is refused.
template <typename T>
Zeroed<T> NewZeroed(size_t count) {
  void* memory = nullptr;
  while ((memory = calloc(count, sizeof(T))) == nullptr) {
    if (std::get_new_handler() == nullptr) {
      throw std::bad_alloc();
    }
    std::get_new_handler()();
  }
  AskForPages(memory, count * sizeof(T));
  return Zeroed<T>(static_cast<T*>(memory));
}
