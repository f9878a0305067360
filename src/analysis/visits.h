// Who visited, when, and where visits began and ended.
//
// A visitor is a host and an agent, known by a hash of both that is the same everywhere. Robots are none.
// What is counted is the same in whatever order, and in however many parts, requests come.
//
// Without a memory budget all visitors are kept. Within one they may take about half as much again: when they
// would take more, only those whose hashes are among the lower half stay, and so on; figures are estimated
// from these.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/part_bytes.h"
#include "superlog/superlog.h"

struct VisitCounts;

// Nothing was counted. Released by ReleaseVisits, which does nothing for null.
VisitCounts* NewVisits();
void ReleaseVisits(VisitCounts* visits);
void EmptyVisits(VisitCounts& visits);

// Counts a request whose record has host and agent; url is what the requested URLs have of it, and must stay
// until CountWaitingVisits, for several are counted together. Nothing but a new visitor, visit or URL takes
// memory; without that, the process ends with status 1.
void CountVisitOf(VisitCounts& visits, const SuperLogRecord& record, std::string_view url);
void CountWaitingVisits(VisitCounts& visits);

// When all are counted: where they take more than three quarters of what the memory budget lets them have,
// drops the upper half of the visitors, or more.
void FitVisits(VisitCounts& visits);

// Writes down what was counted; adds it; passes over it. False when the part is damaged, which may have added
// some of it.
void SaveVisits(PartWriter& part, VisitCounts& visits);
bool AddSavedVisits(PartReader& part, VisitCounts& visits);
bool PassSavedVisits(PartReader& part);

// Of visits on which a page was seen, and of those who made them.
struct VisitFigures {
  int64_t visitors;
  int64_t visits;
  int64_t pages;
  int64_t single_page;  // visits of one page
  int64_t seconds;      // from the first to the last request of each
  int64_t one_in;       // so many visitors was counted; 1: all
  int64_t kept;         // visitors that were counted
};

struct DayVisits {
  int64_t day;       // since 1970-01-01
  int64_t visitors;  // who had a request on it
  int64_t visits;    // that began on it
};

struct PageVisits {
  std::string_view url;
  int64_t entries;      // visits that began with it
  int64_t single_page;  // and ended with it
  int64_t exits;        // visits that ended with it
};

// Days with visitors, in order, and pages with visits. The texts are those of the counts.
struct VisitSums {
  VisitFigures figures;
  std::vector<DayVisits> days;
  std::vector<PageVisits> pages;
};

VisitSums SumUpVisits(VisitCounts& visits);

// Drops all that was counted but the texts of sums.
void ForgetVisitors(VisitCounts& visits);
