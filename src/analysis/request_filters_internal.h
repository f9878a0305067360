// What the filters show to their tests.
#pragma once

// Returns both filters to their state at the start of a run.
void ResetFilters();
