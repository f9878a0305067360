// Which requests count, by what they are: only_NAME= and exclude_NAME= with a list, each NAME a row of a
// table. All that are given hold at once.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "base/literal.h"
#include "cgi/settings.h"
#include "superlog/superlog.h"

struct RecordFilter {
  const char* name;  // of what it looks at, as it stands behind "only_" and "exclude_"
  Literal title;     // what a form calls it
  Literal hint;      // some items that a list may have
  AskedTexts asks;   // what it needs of a record
  // Whether an item of the list is one of the record. An item that makes no sense is one of none.
  bool (*matches)(const SuperLogRecord& record, std::string_view item);
  bool of_persons = false;  // what it looks at tells one from another
};

extern const RecordFilter kRecordFilters[];
extern const size_t kRecordFilterCount;  // up to kMostRecordFilters of settings.h

// One that is given.
struct ActiveFilter {
  const RecordFilter* filter;
  std::string_view list;  // of the settings, divided by commas
  bool only;              // what is in the list counts; or what is not
};

// Those that the settings give, in the order of the table.
struct ActiveFilters {
  std::array<ActiveFilter, 2 * kMostRecordFilters> filters;
  size_t count = 0;

  std::span<const ActiveFilter> all() const { return {filters.data(), count}; }
};
ActiveFilters ActiveFiltersOf(const Settings& settings);

// Whether one of them looks at countries, or at robots.
bool FilterByCountry(const ActiveFilters& filters);
bool FilterByRobot(const ActiveFilters& filters);

// The texts of records that they need, on top of those.
AskedTexts WithTextsOfFilters(const ActiveFilters& filters, AskedTexts asked);

// Whether a record counts for all of them.
bool PassesFilters(const ActiveFilters& filters, const SuperLogRecord& record);
