#include "dates/clock.h"

static time_t mFixedTime = -1;

time_t CurrentTime() {
  return mFixedTime != -1 ? mFixedTime : time(nullptr);
}

void SetCurrentTimeForTest(time_t now) {
  mFixedTime = now;
}
