#include "sections/ranked_rows.h"

#include <algorithm>
#include <string_view>

#include "analysis/resolve_item.h"
#include "analysis/rules.h"
#include "superlog/super_long.h"

static bool CountsRequests(const Section& section) {
  return section.dimension == nullptr || IsOfRequests(*section.dimension);
}

static bool IsOfDays(const Section& section) {
  return section.dimension != nullptr && section.dimension->of_days;
}

static bool IsTimed(const Section& section) {
  return section.dimension != nullptr && section.dimension->timed;
}

// What is no request has no bytes, and rows with times stand by their sums.
static RankedBy OrderOf(const Section& section, const Settings& settings) {
  if (IsTimed(section)) {
    return RankedBy::kAmount;
  }
  return CountsRequests(section) ? OrderOf(settings) : RankedBy::kCount;
}

static int64_t LargestCount(const List& list) {
  int64_t largest = 0;
  for (const ListItem* item = list.first; item != nullptr; item = item->next) {
    largest = std::max(largest, item->count);
  }
  return largest;
}

int64_t BytesServed(const Analysis& analysis) {
  return static_cast<int64_t>(SuperLongToBytes(analysis.bytes));
}

static ItemSummary Summarise(const Settings& settings, const Section& section, Analysis& analysis) {
  const List& list = CountedIn(section, analysis).list;
  const auto distinct = static_cast<int64_t>(list_length(list));
  const CutOff cut_off = CutOffOf(*ReportOf(section, settings));
  ItemSummary summary{
      .distinct = distinct,
      .total = BaseOf(section, analysis).total,
      .cut_off = cut_off,
      .all_shown = AllShown(cut_off, distinct),
      .bytes = AmountsOf(settings) == Amounts::kSummed && CountsRequests(section) && !IsTimed(section),
      .times = IsTimed(section),
      .largest = IsOfDays(section) ? LargestCount(list) : 0,  // of others, the first row has it
      .brands = {},
      .by_bytes = !IsTimed(section) && OrderOf(section, settings) == RankedBy::kAmount,
      .served = BytesServed(analysis)};
  std::transform(section.items.brands.begin(), section.items.brands.end(), summary.brands.begin(),
                 [&analysis](const Brand& brand) {
                   const int64_t count = analysis.*brand.count;
                   return BrandShare{brand.name, count, Share(count, analysis.*brand.total)};
                 });
  return summary;
}

RankedRows OpenRanked(const Settings& settings, const Section& section, Analysis& analysis) {
  const ItemSummary summary = Summarise(settings, section, analysis);
  List& list = CountedIn(section, analysis).list;
  return {summary,
          &settings,
          &section.items,
          section.dimension,
          IsOfDays(section) ? OpenItemsByKey(list, summary.cut_off)
                            : OpenItems(list, summary.cut_off, OrderOf(section, settings)),
          {}};
}

// True when the item names its own site: "://" behind a scheme of 3 to 5
// characters. deliberate: items of 8 characters or fewer never do.
static bool IsAbsoluteUrl(std::string_view item) {
  if (item.size() < 9) {
    return false;
  }
  return item.substr(3, 3) == "://" || item.substr(4, 3) == "://" || item.substr(5, 3) == "://";
}

// An empty site is the item's own.
static const char* SiteOf(const RankedRows& rows, const ListItem& item) {
  if (rows.kind->link == ItemLink::kNone) {
    return nullptr;
  }
  if (rows.kind->link == ItemLink::kItself || IsAbsoluteUrl(item.key())) {
    return "";
  }
  const char* const site = rows.settings->url;
  return site[0] == '\0' ? nullptr : site;
}

static const char* Describe(RankedRows& rows, const ListItem& item) {
  if (rows.dimension != nullptr && rows.dimension->name_of != nullptr) {
    return rows.dimension->name_of(item.key());
  }
  if (!rows.kind->described) {
    return nullptr;
  }
  CopyText(rows.description, item.key());
  ResolveItem(rows.description, rows.settings->Networks);
  return rows.description;
}

static ItemCursor ReferrersOf(const RankedRows& rows, const ListItem& item) {
  const bool known = rows.kind->with_referrers && item.sublist() != nullptr;
  return known ? OpenItems(*item.sublist(), kUncut) : ItemCursor{};
}

static int MarkOf(const RankedRows& rows, const ListItem& item) {
  const bool marks = rows.dimension != nullptr && !rows.dimension->mark.title.text().empty();
  return marks ? static_cast<int>(item.sublist() != nullptr) : -1;
}

static double ShareOf(const ItemSummary& summary, const ListItem& item) {
  if (summary.by_bytes) {
    return Share(AmountOf(item), summary.served);
  }
  return Share(summary.times ? AmountOf(item) : item.count, summary.total);
}

bool NextRanked(RankedRows& rows, RankedRow& row) {
  const ListItem* const item = NextItem(rows.items);
  if (item == nullptr) {
    return false;
  }
  row = {item->name,
         item->count,
         item->has_amount && rows.summary.bytes ? item->amount() : -1,
         item->has_amount && !rows.summary.bytes && !rows.summary.times ? item->amount() : -1,
         ShareOf(rows.summary, *item),
         SiteOf(rows, *item),
         Describe(rows, *item),
         rows.summary.times ? TimesOf(*item) : TimesTaken{},
         ReferrersOf(rows, *item),
         SpanOf(*item),
         MarkOf(rows, *item)};
  return true;
}

bool HasReferrers(const RankedRow& row) {
  return row.referrers.next != nullptr;
}

bool NextReferrer(RankedRow& row, ReferrerRow& referrer) {
  const ListItem* const item = NextItem(row.referrers);
  if (item == nullptr) {
    return false;
  }
  referrer = {item->name, item->count};
  return true;
}
