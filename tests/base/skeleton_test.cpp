#include <gtest/gtest.h>
TEST(Skeleton, Builds) { SUCCEED(); }
