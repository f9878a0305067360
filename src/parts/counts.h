// What an analysis has counted, as the counts of a part, and added to another one.
#pragma once

#include "analysis/analysis.h"
#include "analysis/rules.h"
#include "base/part_bytes.h"

// The kinds of counts, each a bit, in the order in which they are written.
enum class CountKind : unsigned {
  kUrls,
  kReferrers,
  kPhrases,
  kBrowsers,
  kBadUrls,
  kBadUrlReferrers,  // sub-lists of the bad URLs
  kBadReferrers,
  kDomains,
  kDomainTypes,
  kDays,
  kHoursOfWeek,
  kAddresses,  // whose names the domains wait for
  kBytes,      // of the items of all lists, and of statuses
  kCompared,   // days that those of the report are compared with
};
inline constexpr unsigned kNamedKinds = 14;
// Behind these, the dimensions (analysis/dimensions.h) whose items requests have, by their rows.
inline constexpr unsigned kVisitsKind = kNamedKinds + kMostDimensions;  // of which other dimensions are made
inline constexpr unsigned kCountKinds = kVisitsKind + 1;

// The bits of what a run counts by its rules.
uint64_t KindsOf(const Rules& rules);

// The parameter that asks for a kind.
const char* NameOf(CountKind kind);

// Writes down everything that was counted, behind CountRecords and before CompleteCounts.
void SaveCounts(PartWriter& part, const Rules& rules, const Analysis& analysis);

// Adds what was written down to an analysis that counts these kinds, as if it had been counted behind all
// that is there; kinds that it does not count are left out. False when the part is damaged, or lacks one of
// the kinds: then missing is the lowest of these, otherwise it is kCountKinds.
bool AddSavedCounts(PartReader& part, const Rules& rules, Analysis& analysis, unsigned& missing);
