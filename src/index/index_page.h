// The page over a folder of reports: one row for each, linked to it.
#pragma once

#include <ctime>

#include "index/report_folder.h"
#include "output/sink.h"

// What a page shows, shared among its sites; what is left out is told.
inline constexpr size_t kMostSites = 500;
inline constexpr size_t kMostRows = 5000;

// Writes the whole page, and sorts the reports for it.
void PutIndexPage(Sink& sink, FoundReports& found, time_t made);
