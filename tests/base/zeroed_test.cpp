#include "base/zeroed.h"

#include <gtest/gtest.h>

#include <cstdint>

TEST(Zeroed, IsOfZerosWhateverItsSize) {
  for (const size_t count : {size_t{1}, size_t{100}, size_t{1} << 20}) {
    for (int round = 0; round < 2; ++round) {
      const Zeroed<uint64_t> figures = NewZeroed<uint64_t>(count);
      for (size_t i = 0; i < count; ++i) {
        ASSERT_EQ(figures[i], 0u);
        figures[i] = i + 1;  // which whoever takes the memory next must not see
      }
    }
  }
}

TEST(Zeroed, IsRefusedAsOtherMemoryIs) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer ends a process that asks for so much";
#endif
  EXPECT_THROW(NewZeroed<uint64_t>(SIZE_MAX / 16), std::bad_alloc);
}
