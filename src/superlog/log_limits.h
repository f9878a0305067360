// The limits of the run. Inner header of this folder.
#pragma once

#include "base/limits.h"

// As SuperLog_Init took them; the classic ones at the start of a run.
inline Limits mLogLimits = kClassicLimits;
