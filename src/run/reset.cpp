#include "run/reset.h"

#include "analysis/driver.h"
#include "dates/local_time.h"
#include "superlog/superlog.h"

void ResetRun() {
  ResetAnalysis();
  ResetSuperLog();
  ResetLocalTime();
}
