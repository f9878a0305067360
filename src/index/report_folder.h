// The reports in a folder: pages of this program that stand in it, or in one of its
// folders. Everything else in there may be of anybody, and is read no further than it
// takes to see that it is no report.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "output/report_summary.h"

inline constexpr char kIndexName[] = "index.html";

// More are not kept.
inline constexpr size_t kMostReports = 100'000;

struct FoundReport {
  std::string folder;  // its name; empty for a report beside the index
  std::string file;
  ReportSummary summary;
};

struct FoundReports {
  std::vector<FoundReport> reports;  // in any order
  int64_t others = 0;                // pages (*.html) that are no report or could not be read
  int64_t closed_folders = 0;        // that could not be read
  bool too_many = false;             // there are more than kMostReports
};

// Adds the reports of an open folder and of the folders in it. Hidden names and index
// pages are passed over; nothing but plain files is opened, and no link is followed. False
// when the folder itself cannot be read: errno tells.
bool FindReports(int folder, FoundReports& found);
