#include "report/totals.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "dates/local_time.h"
#include "superlog/superlog.h"

TEST(TellTotals, OneObjectOnStandardError) {
  Analysis analysis{};
  analysis.hits = int64_t{1} << 40;
  analysis.bytes = {12, 345678901};
  analysis.logs = {{0, 77}, true, 5};
  testing::internal::CaptureStderr();
  analysis.range_first = 952214400;  // 2000-03-05
  analysis.range_last = 952387199;
  setenv("TZ", "UTC", 1);
  ResetSuperLog();
  ResetLocalTime();
  TellTotals({}, analysis);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "{\"requests\": 1099511627776, \"bytes\": 12345678901, \"log_bytes\": 77, "
            "\"lines_not_understood\": 5, \"copies\": 0, \"not_unpacked\": 0, \"days\": {\"first\": "
            "\"2000-03-05\", \"last\": "
            "\"2000-03-06\"}}\n");
}
