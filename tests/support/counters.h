// The counters of an analysis as texts.
#pragma once

#include <map>
#include <span>
#include <string>

#include "analysis/analysis.h"
#include "analysis/dimensions.h"
#include "analysis/search_engines.h"
#include "support/counted.h"

// A new counter of requests makes this fail: it has to be saved, added, and listed in CountersOf.
static_assert(sizeof(Comparison) == 136);
static_assert(sizeof(Analysis) == 14912 + sizeof(Comparison) + kMostDimensions * sizeof(CountedReport));

// All that an analysis counts, in words.
inline std::map<std::string, std::string> CountersOf(Analysis& analysis) {
  std::map<std::string, std::string> counters;
  const auto add = [&counters](const char* name, auto figure) { counters[name] = std::to_string(figure); };
  const auto add_report = [&](const std::string& name, CountedReport& report) {
    counters[name] = Counted(report.list);
    counters[name + " total"] = std::to_string(report.total);
  };
  const auto add_all = [&](const char* name, const auto& figures) {
    for (const int64_t figure : figures) {
      counters[name] += figure == 0 ? "" : std::to_string(figure) + " ";
    }
  };
  add_report("urls", analysis.urls);
  add_report("referrers", analysis.referrers);
  add_report("browsers", analysis.browsers);
  add_report("badurls", analysis.badurls);
  add_report("badreferrers", analysis.badreferrers);
  add_report("domains", analysis.domains);
  add_report("domaintypes", analysis.domaintypes);
  add_report("addresses", analysis.addresses);
  for (size_t row = 0; row < kDimensionCount; ++row) {
    add_report(kDimensions[row].parameter, analysis.dimensions[row]);
  }
  add("looked up", analysis.look_ups.addresses);
  add("left out", analysis.look_ups.left_out);
  add("unanswered", analysis.look_ups.unanswered);
  add_all("days", analysis.days.counts);
  add("days total", analysis.days.total);
  for (const DayCount& day : std::span(analysis.dates.slots, analysis.dates.length)) {
    counters["dates"] += std::to_string(day.day) + "=" + std::to_string(day.count) + " ";
  }
  add("dates total", analysis.dates.total);
  add_all("hours of week", analysis.hours_of_week.counts);
  add("hours of week total", analysis.hours_of_week.total);
  add_all("weekdays", analysis.weekdays.counts);
  add_all("hours", analysis.hours.counts);
  add("hits", analysis.hits);
  add("without url", analysis.without_url);
  add_all("by status", analysis.statuses);
  add_all("bytes by status", analysis.status_bytes);
  add("bytes", SuperLongToBytes(analysis.bytes));
  add("own referrers", analysis.own_referrers);
  add("compared requests", analysis.comparison.requests);
  add("compared with status", analysis.comparison.with_status);
  add("compared errors", analysis.comparison.errors);
  add("compared not found", analysis.comparison.not_found);
  add("compared bytes", analysis.comparison.bytes);
  for (const DayCount& day : DaysInOrder(analysis.comparison.dates)) {
    counters["compared dates"] += std::to_string(day.day) + "=" + std::to_string(day.count) + " ";
  }
  add("search hits", analysis.search.hits);
  for (SearchEngine* engine = analysis.search.engines; engine != nullptr; engine = engine->next) {
    counters["phrases"] += Counted(engine->phrases);
    counters["referrals"] += engine->referrals == 0 ? "" : std::to_string(engine->referrals) + " ";
  }
  add("msie", analysis.MsieCount);
  add("navigator", analysis.NavCount);
  add("browser base", analysis.gHits_Browsers);
  add("log bytes", SuperLongToBytes(analysis.logs.bytes_read));
  add("in range", static_cast<int>(analysis.logs.in_range));
  add("not understood", analysis.logs.lines_not_understood);
  add("records", analysis.logs.records);
  add("memory", analysis.memory.current);
  const VisitFigures& visits = analysis.visit_figures;
  for (const int64_t figure : {visits.visitors, visits.visits, visits.pages, visits.single_page,
                               visits.seconds, visits.kept, visits.one_in}) {
    counters["figures of visits"] += analysis.visits == nullptr ? "" : std::to_string(figure) + " ";
  }
  return counters;
}
