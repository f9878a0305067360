// The present moment. Everything that asks for it asks here, so that tests can
// set it.
#pragma once

#include <ctime>

time_t CurrentTime();

// When a report says that it was made: the seconds in SOURCE_DATE_EPOCH, so that
// the same logs give the same bytes again, or else made.
time_t MomentMade(time_t made);

// For tests: fixes CurrentTime until called again; -1 restores the real clock.
void SetCurrentTimeForTest(time_t now);
