// The rows of a ranked section: the items of a counting table by rank.
#pragma once

#include <array>
#include <cstdint>

#include "analysis/analysis.h"
#include "analysis/url_times.h"
#include "base/limits.h"
#include "cgi/settings.h"
#include "sections/cut_off.h"
#include "sections/section_list.h"

struct BrandShare {
  const char* name;  // null: there is none
  int64_t count;
  double share;
};

// What there is to say of a section's items before any is shown.
struct ItemSummary {
  int64_t distinct;  // items, before any was cut off
  int64_t total;     // what the shares are of, but for those of bytes
  CutOff cut_off;
  bool all_shown;   // AllShown
  bool bytes;       // of each item's requests are known
  bool times;       // that each item's requests took are; the total is their sum in microseconds
  int64_t largest;  // count of items that do not stand by rank; else 0
  std::array<BrandShare, kMostBrands> brands;
  bool by_bytes;   // the order of the items is that of their bytes, and so are shares
  int64_t served;  // bytes in all
};

struct RankedRow {
  const char* item;
  int64_t count;
  int64_t bytes;     // of its requests; -1: nobody asks for them
  int64_t second;    // the second figure of a dimension's items; -1: they have none
  double share;      // of the base's total, which the count of a bad section may exceed; or of all bytes
  const char* site;  // stands before the item in its link, "" of an address; null: no link
  const char* description;  // good until the next row; null: none
  TimesTaken times;         // that its requests took, where they are known
  ItemCursor referrers;     // the pages that led to the item, or others below it, by rank and never cut off
  TimeSpan seen;            // when requests had the item, where that is known
  int marked;               // whether the item has the dimension's mark, 1 or 0; -1: it has none
};

struct ReferrerRow {
  const char* address;  // or another text
  int64_t count;
};

// The way through the rows, and what was known before the first.
struct RankedRows {
  ItemSummary summary;
  const Settings* settings;
  const RankedItems* kind;
  const Dimension* dimension;  // null: of none
  ItemCursor items;
  char description[kLongestItem + 1];
};

// Bytes served by all requests, or the most that a figure can be.
int64_t BytesServed(const Analysis& analysis);

// Opens the rows of a ranked section. Both records must outlive the rows, and
// the table may not be counted in until they were read.
RankedRows OpenRanked(const Settings& settings, const Section& section, Analysis& analysis);

// False behind the last row, which is then unchanged.
bool NextRanked(RankedRows& rows, RankedRow& row);
bool HasReferrers(const RankedRow& row);
bool NextReferrer(RankedRow& row, ReferrerRow& referrer);
