#include "parts/workers.h"

#include <gtest/gtest.h>
#include <sched.h>

namespace {

int Settled(int workers) {
  Settings settings{};
  settings.workers = workers;
  SettleWorkers(settings);
  return settings.workers;
}

int Allowed() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  EXPECT_EQ(sched_getaffinity(0, sizeof processors, &processors), 0);
  return CPU_COUNT(&processors);
}

}  // namespace

TEST(SettleWorkers, LeavesANumberAsItIs) {
  EXPECT_EQ(Settled(1), 1);
  EXPECT_EQ(Settled(7), 7);
  EXPECT_EQ(Settled(kMostWorkers), kMostWorkers);
}

TEST(SettleWorkers, TakesNoMoreThanTheProcessorsOfThisProcess) {
  EXPECT_GE(Settled(0), 1);
  EXPECT_LE(Settled(0), Allowed());
}

TEST(SettleWorkers, TakesOneWhereThereIsOneProcessor) {
  cpu_set_t processors;
  ASSERT_EQ(sched_getaffinity(0, sizeof processors, &processors), 0);
  int first = 0;
  while (!CPU_ISSET(first, &processors)) {
    ++first;
  }
  CPU_ZERO(&processors);
  CPU_SET(first, &processors);
  ASSERT_EQ(sched_setaffinity(0, sizeof processors, &processors), 0);
  EXPECT_EQ(Settled(0), 1);
}
