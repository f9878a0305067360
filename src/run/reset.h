// Many runs in one process.
#pragma once

// Returns everything that a run leaves behind to its state at the start of the
// process; TZ is read anew. For tests, and for programs that make more than one
// run. A time that a test has set stays set. The extra texts of the settings belong
// to their record: EndOrvellisCleanup releases them.
void ResetRun();
