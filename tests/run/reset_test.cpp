#include "run/reset.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "analysis/dns_cache_internal.h"
#include "analysis/search_engines.h"
#include "dates/local_time.h"
#include "superlog/superlog.h"

TEST(ResetRun, ForgetsWhatARunHasSet) {
  const auto resolver = mpResolver;
  char definition[] = "F;domain=finder.example;vars=q";
  setenv("TZ", "UTC", 1);
  ResetRun();
  const int order = SuperLog_GetDateFormat();
  ParseSearchEngineDefinition(definition);
  SuperLog_SetDateFormat("YMD", kLevelAccount);
  mpResolver = nullptr;
  tm parts{};
  ASSERT_TRUE(TimeToLocal(0, parts));
  ASSERT_EQ(parts.tm_hour, 0);
  ASSERT_NE(mpEngineHead, nullptr);
  setenv("TZ", "CET-1", 1);

  ResetRun();
  EXPECT_EQ(mpEngineHead, nullptr);
  EXPECT_EQ(SuperLog_GetDateFormat(), order);
  SuperLog_SetDateFormat("DMY", kLevelForm);
  EXPECT_NE(SuperLog_GetDateFormat(), order) << "no stronger level is remembered";
  EXPECT_EQ(mpResolver, resolver);
  ASSERT_TRUE(TimeToLocal(0, parts));
  EXPECT_EQ(parts.tm_hour, 1);
}
