#include "analysis/status_meanings.h"

#include <gtest/gtest.h>

namespace {

TEST(MeaningOfStatus, KnowsRegisteredCodesAndThoseOfServers) {
  EXPECT_STREQ(MeaningOfStatus("100"), "Continue");
  EXPECT_STREQ(MeaningOfStatus("200"), "OK");
  EXPECT_STREQ(MeaningOfStatus("404"), "Not Found");
  EXPECT_STREQ(MeaningOfStatus("499"), "nginx: closed by the client");
  EXPECT_STREQ(MeaningOfStatus("511"), "Network Authentication Required");
}

TEST(MeaningOfStatus, OtherCodesHaveNone) {
  for (const char* const status : {"", "0", "099", "20", "2000", "306", "418", "512", "599", "ok", "\xff"}) {
    EXPECT_EQ(MeaningOfStatus(status), nullptr) << status;
  }
}

}  // namespace
