// The present moment. Everything that asks for it asks here, so that tests can
// set it.
#pragma once

#include <ctime>

time_t CurrentTime();

// For tests: fixes CurrentTime until called again; -1 restores the real clock.
void SetCurrentTimeForTest(time_t now);
