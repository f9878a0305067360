#include "base/pages.h"

#include <sys/mman.h>

#include <cstdint>

// Pages of the system are at most so large, but for large ones.
static constexpr size_t kSmallPages = 65536;

static void MapAtOnce([[maybe_unused]] char* memory, [[maybe_unused]] size_t size) {
#if defined(MADV_POPULATE_WRITE)
  madvise(memory, size, MADV_POPULATE_WRITE);
#endif
}

void AskForPages(void* memory, size_t size) {
  const auto address = reinterpret_cast<uintptr_t>(memory);
  const size_t before = -address % kLargePage;
  const size_t before_small = -address % kSmallPages;
  if (size >= before + kLargePage) {
    const size_t whole = (size - before) / kLargePage * kLargePage;
    madvise(static_cast<char*>(memory) + before, whole, MADV_HUGEPAGE);
  } else if (size >= before_small + kSmallPages) {
    const size_t whole = (size - before_small) / kSmallPages * kSmallPages;
    MapAtOnce(static_cast<char*>(memory) + before_small, whole);
  }
}
