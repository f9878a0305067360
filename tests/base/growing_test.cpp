#include "base/growing.h"

#include <gtest/gtest.h>

TEST(Growing, KeepsItemsWhereTheyAre) {
  Growing<int> items;
  const int* const first = &Append(items, 0);
  for (int i = 1; i < 2000000; ++i) {
    ASSERT_EQ(Append(items, i), i);
  }
  EXPECT_EQ(first, &items[0]);
  for (int i = 0; i < 2000000; ++i) {
    ASSERT_EQ(items[static_cast<size_t>(i)], i);
  }
  EXPECT_EQ(items.length, 2000000u);
}

TEST(Growing, IsCutAndGrowsAgain) {
  constexpr size_t kEach = Growing<int>::kEach;
  for (const size_t length : {size_t{0}, size_t{1}, kEach - 1, kEach, kEach + 1}) {
    Growing<int> items;
    for (size_t i = 0; i < 3 * kEach; ++i) {
      Append(items, static_cast<int>(i));
    }
    CutTo(items, length);
    EXPECT_EQ(items.rooms.size(), (length + kEach - 1) / kEach);
    Append(items, -1);
    EXPECT_EQ(items.length, length + 1);
    EXPECT_EQ(items[length], -1);
  }
}
