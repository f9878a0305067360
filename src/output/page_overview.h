// What stands before the sections of a page: what the report is of, the contents, the
// figures that matter, and what is to be known about them.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "output/page_logs.h"
#include "output/sink.h"

// The text of the title of a report.
void PutTitle(Sink& sink, const Settings& settings, const Analysis& analysis);

void PutReportHead(Sink& sink, const Settings& settings, const Analysis& analysis, const LogsRead& logs);

// Links to what follows.
void PutContents(Sink& sink, const Settings& settings);

void PutOverview(Sink& sink, const Settings& settings, Analysis& analysis, const LogsRead& logs);
