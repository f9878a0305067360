// What the pages of this program say of themselves to programs, in lines of their heads
// that nobody sees. They stand at one place, right behind kPageTop, so that nothing a page
// holds further down can be taken for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "output/sink.h"

struct ReportSummary {
  int64_t first_day;  // since 1970-01-01; years 0 to 9999
  int64_t last_day;
  int64_t requests;
  int64_t bytes;               // served
  std::vector<int64_t> spark;  // the hours of one day, or periods of more days; empty: not counted
  std::string title;
  std::string site;  // its address
};

// What a reader of pages needs of the beginning of one.
inline constexpr size_t kSummaryReach = 16384;

ReportSummary SummaryOf(const Settings& settings, const Analysis& analysis);

// Three lines: <meta name="orvellis-report" ...>, -title and -site.
void PutSummary(Sink& sink, const ReportSummary& summary);

// Reads the lines from the beginning of a page that anybody may have written. False, and
// the summary is undefined, for all that PutSummary would not have written behind kPageTop.
bool ReadSummary(std::string_view page, ReportSummary& summary);

// The line of an index page, and whether a page begins with it.
void PutIndexMark(Sink& sink);
bool IsIndexPage(std::string_view page);
