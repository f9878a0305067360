#include "run/reset.h"

#include "analysis/driver.h"
#include "dates/local_time.h"
#include "dates/zone.h"
#include "superlog/superlog.h"

void ResetRun() {
  ResetAnalysis();
  ResetSuperLog();
  ResetZone();
  ResetLocalTime();
}
