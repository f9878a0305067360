// What a run gives up before it reads any log.
#pragma once

#include "cgi/settings.h"

// Whether this build gives anything up.
inline constexpr bool kShutsIn = ORVELLIS_SANDBOX != 0;

// Leaves the process what a report by these settings needs, for the rest of its life: the logs, now found,
// the file of networks, the error log and the summary file, memory and the time. Names are asked for by a
// helper that is started now and keeps name servers alone (analysis/look_up_helper.h). Of the logs, no more
// is looked at before than whether they are compressed, for which a helper has to be started now
// (unpack/helper.h). What the kernel has no means for stays as it is. What goes wrong in another way is a
// line in the error log, and the run goes on with the rest given up.
void ShutIn(const Settings& settings);
