// The sections of a report, as data: what switches each on, and what it shows.
// How a page draws it is the page's own affair.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "analysis/analysis.h"
#include "analysis/dimensions.h"
#include "cgi/settings.h"
#include "sections/time_rows.h"

// In page order.
enum class SectionId {
  kUrls,
  kReferrers,
  kPhrases,
  kBrowsers,
  kBadUrls,
  kBadReferrers,
  kDomains,
  kDomainTypes,
  kDays,
  kWeekdays,
  kHours,
  kHoursOfWeek,
};
inline constexpr size_t kNamedSections = 12;  // behind them stand those of the table of dimensions

// Where the rows of a section come from: ranked_rows.h, phrase_rows.h, or one of
// the kinds of time_rows.h.
enum class RowKind { kRanked, kPhrases, kDays, kWeekdays, kHours, kHoursOfWeek };

// What the items of a ranked section link to.
enum class ItemLink {
  kNone,
  kItself,  // the item is an address
  kSite,    // the item is a path of the analysed site, unless it names a site itself
};

// A brand of browsers, and what its share is of. No section has more than two.
inline constexpr size_t kMostBrands = 2;
struct Brand {
  const char* name;
  int64_t Analysis::*count;
  int64_t Analysis::*total;
};

// What a ranked section counted.
struct RankedItems {
  CountedReport Analysis::*counted = nullptr;
  CountedReport Analysis::*base = nullptr;  // its total is the base of the shares
  ItemLink link = ItemLink::kNone;
  bool described = false;              // by the names file
  bool with_referrers = false;         // each item has a list of the pages that led to it, or others below it
  std::span<const Brand> brands = {};  // whose shares the section tells, too
};

struct Section {
  SectionId id;
  const char* parameter;  // the report parameter that switches it
  RowKind rows;
  RankedReport Settings::*report;        // its switch and cut-off; null where there is no cut-off
  int Settings::*on;                     // the switch then
  RankedItems items;                     // of ranked sections
  TimeRows (*times)(const Analysis&);    // opens the rows of the others but the phrases
  bool classic = true;                   // whether the classic page has it
  const Dimension* dimension = nullptr;  // of those whose switch, items and words stand in that table
};

// What outputs call what stands below the items of a section that has some.
const SubItemWords& SubItemWordsOf(const Section& section);

// In the order of their ids.
std::span<const Section> Sections();

// Whether each section has its row in a table, at the place of its id.
template <typename Row, size_t N>
constexpr bool StandInPlace(const Row (&table)[N]) {
  for (size_t place = 0; place < N; ++place) {
    if (table[place].id != static_cast<SectionId>(place)) {
      return false;
    }
  }
  return N == kNamedSections;
}

const Section& SectionOf(SectionId id);
bool IsOn(const Section& section, const Settings& settings);

// The switch and the cut-off of a section; null: it has no cut-off.
const RankedReport* ReportOf(const Section& section, const Settings& settings);

// What a ranked section counts, and its table of which the shares are.
CountedReport& CountedIn(const Section& section, Analysis& analysis);
const CountedReport& BaseOf(const Section& section, const Analysis& analysis);

// Pages alone among the requested URLs, unless somebody said otherwise, or has them stand by bytes: most of
// these are not those of pages.
void SuggestPagesOnly(Settings& settings);

// Who names no section at all wants those that a site's owner looks at first, pages alone,
// and the pages that led to what was not found.
void TakeFirstSectionsForNone(Settings& settings);
