// Runs that name pieces of logs in place of a page: those of the logs that there are, of a piece, or of other
// plans.
#pragma once

#include "run/part_run.h"

// Prints the lines of a plan. False, with a sentence on standard error, when there can be none.
bool PrintPlan(const PartRun& run);

// Whether a run joins plans, and looks for no log.
bool JoinsPlans(const Settings& settings);
