// Counting by several processes at once, which hand their counts back as parts.
//
// A run that divides its logs (superlog/log_shares.h) leaves the work to another process and stands by: that
// one counts the first share while further ones count the others, adds theirs to its own, and goes on as the
// run. When anything keeps the sum from being what one process would have counted, or one of them has gone,
// they end without a word, and the run counts alone. Whenever it ends itself, so do all of them.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"

// Where the settings ask for as many workers as there are processors: these, as far as this process may use
// them. Before the run gives up looking at other files.
void SettleWorkers(Settings& settings);

// Does what CountRecords does (analysis/driver.h), by as many processes as the settings say where the logs
// and the rules allow it. Has the same listeners told the same. May return in another process than the one
// that called, which then ends with the status of that one; nothing but standard output may wait to be
// written then.
void CountByWorkers(const Settings& settings, Analysis& analysis);
