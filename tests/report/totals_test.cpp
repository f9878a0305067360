#include "report/totals.h"

#include <gtest/gtest.h>

TEST(TellTotals, OneObjectOnStandardError) {
  Analysis analysis{};
  analysis.hits = int64_t{1} << 40;
  analysis.bytes = {12, 345678901};
  analysis.logs = {{0, 77}, true, 5};
  testing::internal::CaptureStderr();
  TellTotals({}, analysis);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "{\"requests\": 1099511627776, \"bytes\": 12345678901, \"log_bytes\": 77, "
            "\"lines_not_understood\": 5}\n");
}
