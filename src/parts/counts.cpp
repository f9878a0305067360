#include "parts/counts.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "analysis/dimensions.h"
#include "analysis/search_phrases.h"
#include "base/capped_sum.h"

// ---- Figures ----

// Of a part: sums of thousands of parts do not pass 64 bits.
static constexpr uint64_t kMostCounted = uint64_t{1} << 48;

static void Put(PartWriter& part, int64_t figure) {
  PutFigure(part, static_cast<uint64_t>(figure));
}

static int64_t Take(PartReader& part) {
  return static_cast<int64_t>(TakeFigureUpTo(part, kMostCounted));
}

static void Add(PartReader& part, int64_t& figure) {
  figure = static_cast<int64_t>(static_cast<uint64_t>(figure) + static_cast<uint64_t>(Take(part)));
}

template <size_t N>
static void PutAll(PartWriter& part, const int64_t (&figures)[N]) {
  for (const int64_t figure : figures) {
    Put(part, figure);
  }
}

// The total is the sum.
template <size_t N>
static bool AddAll(PartReader& part, TimeDistribution<N>& distribution) {
  for (int64_t& count : distribution.counts) {
    const int64_t more = Take(part);
    count += more;
    distribution.total += more;
  }
  return !part.damaged;
}

template <size_t N>
static bool PassAll(PartReader& part) {
  for (size_t i = 0; i < N; ++i) {
    TakeFigure(part);
  }
  return !part.damaged;
}

// Nearly all statuses are those of no request: each figure that is not 0 comes with its number.
static void SaveByStatus(PartWriter& part, const int64_t (&figures)[kStatuses]) {
  PutFigure(part, kStatuses - static_cast<size_t>(std::ranges::count(figures, 0)));
  for (size_t status = 0; status < kStatuses; ++status) {
    if (figures[status] != 0) {
      PutFigure(part, status);
      Put(part, figures[status]);
    }
  }
}

static void AddByStatus(PartReader& part, uint64_t most, int64_t (&figures)[kStatuses]) {
  for (uint64_t left = TakeFigureUpTo(part, kStatuses); left > 0; --left) {
    int64_t& figure = figures[TakeFigureUpTo(part, kStatuses - 1)];
    AddCapped(figure, static_cast<int64_t>(TakeFigureUpTo(part, most)));
  }
}

static void SaveStatusBytes(PartWriter& part, const Analysis& analysis) {
  SaveByStatus(part, analysis.status_bytes);
}

static bool AddStatusBytes(PartReader& part, const Rules&, Analysis& analysis) {
  AddByStatus(part, INT64_MAX, analysis.status_bytes);
  return !part.damaged;
}

static bool PassStatusBytes(PartReader& part, const Analysis&) {
  for (uint64_t left = TakeFigureUpTo(part, kStatuses); left > 0; --left) {
    TakeFigure(part);
    TakeFigure(part);
  }
  return !part.damaged;
}

static void SaveSum(PartWriter& part, const SuperLongSum& sum) {
  PutFigure(part, sum.sum.billions);
  PutFigure(part, sum.sum.units);
  PutFigure(part, (sum.ends_full[0] ? 1U : 0U) | (sum.ends_full[1] ? 2U : 0U));
}

static SuperLongSum TakeSum(PartReader& part, const Limits& limits) {
  static constexpr uint64_t kMostUnits = 1000000000;
  SuperLongSum sum;
  sum.sum.billions = TakeFigureUpTo(part, limits.wide_figures ? INT64_MAX / kBillion : UINT32_MAX);
  sum.sum.units = static_cast<uint32_t>(TakeFigureUpTo(part, kMostUnits));
  const uint64_t full = TakeFigureUpTo(part, 3);
  sum.ends_full[0] = (full & 1U) != 0;
  sum.ends_full[1] = (full & 2U) != 0;
  return sum;
}

static SuperLong CounterOf(const Limits& limits, const SuperLongSum& sum) {
  SuperLong counter{};
  (limits.wide_figures ? AddSumWide : AddSumWrapping)(counter, sum);
  return counter;
}

static void Append(const Limits& limits, SuperLongSum& sum, const SuperLongSum& more) {
  if (limits.wide_figures) {
    AppendWide(sum, more);
  } else {
    AppendWrapping(sum, more);
  }
}

// ---- What every run counts ----

static void SaveTotals(PartWriter& part, const Analysis& analysis) {
  Put(part, analysis.hits);
  Put(part, analysis.without_url);
  SaveByStatus(part, analysis.statuses);
  SaveSum(part, analysis.part_bytes);
  Put(part, analysis.urls.total);
  SaveSum(part, SumOfSmall(analysis.logs.bytes_read));
  Put(part, analysis.logs.in_range ? 1 : 0);
  Put(part, analysis.logs.lines_not_understood);
  Put(part, analysis.logs.records);
}

static void AddTotals(PartReader& part, const Rules& rules, Analysis& analysis) {
  const Limits& limits = analysis.counting.limits;
  Add(part, analysis.hits);
  Add(part, analysis.without_url);
  AddByStatus(part, kMostCounted, analysis.statuses);
  Append(limits, analysis.part_bytes, TakeSum(part, limits));
  analysis.bytes = CounterOf(limits, analysis.part_bytes);
  const int64_t of_urls = analysis.urls.total;
  Add(part, analysis.urls.total);
  analysis.urls.total = rules.url_total ? analysis.urls.total : of_urls;
  SuperLongSum read = SumOfSmall(analysis.logs.bytes_read);
  Append(limits, read, TakeSum(part, limits));
  analysis.logs.bytes_read = CounterOf(limits, read);
  analysis.logs.in_range |= TakeFigureUpTo(part, 1) != 0;
  Add(part, analysis.logs.lines_not_understood);
  Add(part, analysis.logs.records);
}

// ---- Kinds ----

// How counts of a kind are written, added, and passed over.
struct Kind {
  const char* name;
  bool Rules::*counted;  // null: see Counts
  void (*save)(PartWriter& part, const Analysis& analysis);
  bool (*add)(PartReader& part, const Rules& rules, Analysis& analysis);
  bool (*pass)(PartReader& part, const Analysis& analysis);
};

template <CountedReport Analysis::*kReport>
static void SaveReport(PartWriter& part, const Analysis& analysis) {
  Put(part, (analysis.*kReport).total);
  SaveList(part, (analysis.*kReport).list);
}

static bool AddToReport(PartReader& part, CountedReport& report, bool ignore_case) {
  Add(part, report.total);
  return AddSavedList(part, report.list, report.info, ignore_case);
}

// Of times the total is a sum of microseconds.
static bool AddToDimension(PartReader& part, const Dimension& dimension, CountedReport& report) {
  if (!dimension.timed) {
    return AddToReport(part, report, false);
  }
  AddCapped(report.total, static_cast<int64_t>(TakeFigureUpTo(part, INT64_MAX)));
  return AddSavedList(part, report.list, report.info, false);
}

template <CountedReport Analysis::*kReport>
static bool AddReport(PartReader& part, const Rules&, Analysis& analysis) {
  return AddToReport(part, analysis.*kReport, false);
}

static bool PassReport(PartReader& part, const Analysis&) {
  TakeFigure(part);
  return PassSavedList(part);
}

// Their total counts for the bad URLs, too.
static void SaveUrls(PartWriter& part, const Analysis& analysis) {
  SaveList(part, analysis.urls.list);
}

static bool AddUrls(PartReader& part, const Rules& rules, Analysis& analysis) {
  return AddSavedList(part, analysis.urls.list, analysis.urls.info, rules.urls_ignore_case);
}

static bool PassUrls(PartReader& part, const Analysis&) {
  return PassSavedList(part);
}

static void SaveReferrers(PartWriter& part, const Analysis& analysis) {
  Put(part, analysis.own_referrers);
  SaveReport<&Analysis::referrers>(part, analysis);
}

static bool AddReferrers(PartReader& part, const Rules&, Analysis& analysis) {
  Add(part, analysis.own_referrers);
  return AddToReport(part, analysis.referrers, true);
}

static bool PassReferrers(PartReader& part, const Analysis& analysis) {
  TakeFigure(part);
  return PassReport(part, analysis);
}

static void SavePhrases(PartWriter& part, const Analysis& analysis) {
  SaveSearch(part, analysis.search);
}

static bool AddPhrases(PartReader& part, const Rules&, Analysis& analysis) {
  return AddSavedSearch(part, analysis.search);
}

static bool PassPhrases(PartReader& part, const Analysis&) {
  return PassSavedSearch(part);
}

// They stand in the bad URLs.
static void SaveNothing(PartWriter&, const Analysis&) {}

static bool AddNothing(PartReader&, const Rules&, Analysis&) {
  return true;
}

static bool PassNothing(PartReader&, const Analysis&) {
  return true;
}

static bool ByDate(const Analysis& analysis) {
  return analysis.counting.days == DayCounting::kByDate;
}

static void SaveDayCounts(PartWriter& part, const Analysis& analysis) {
  if (ByDate(analysis)) {
    SaveDays(part, analysis.dates);
  } else {
    PutAll(part, analysis.days.counts);
  }
}

static bool AddDayCounts(PartReader& part, const Rules&, Analysis& analysis) {
  return ByDate(analysis) ? AddSavedDays(part, analysis.dates) : AddAll(part, analysis.days);
}

static bool PassDayCounts(PartReader& part, const Analysis& analysis) {
  if (!ByDate(analysis)) {
    return PassAll<std::size(Analysis{}.days.counts)>(part);
  }
  return PassSavedDays(part);
}

static void SaveHours(PartWriter& part, const Analysis& analysis) {
  PutAll(part, analysis.hours_of_week.counts);
}

static bool AddHours(PartReader& part, const Rules&, Analysis& analysis) {
  return AddAll(part, analysis.hours_of_week);
}

static bool PassHours(PartReader& part, const Analysis&) {
  return PassAll<kHoursInWeek>(part);
}

static void SaveCompared(PartWriter& part, const Analysis& analysis) {
  SaveComparison(part, analysis.comparison);
}

static bool AddCompared(PartReader& part, const Rules&, Analysis& analysis) {
  return AddSavedComparison(part, analysis.comparison);
}

static bool PassCompared(PartReader& part, const Analysis&) {
  return PassSavedComparison(part);
}

template <CountedReport Analysis::*kReport>
static constexpr Kind RankedKind(const char* name, bool Rules::*counted) {
  return {name, counted, SaveReport<kReport>, AddReport<kReport>, PassReport};
}

// In the order of CountKind.
static constexpr Kind kKindTable[] = {
    {"requests", &Rules::urls, SaveUrls, AddUrls, PassUrls},
    {"referrers", &Rules::referrers, SaveReferrers, AddReferrers, PassReferrers},
    {"search", &Rules::search, SavePhrases, AddPhrases, PassPhrases},
    RankedKind<&Analysis::browsers>("browsers", &Rules::browsers),
    RankedKind<&Analysis::badurls>("badurls", &Rules::bad_urls),
    {"badurl_referrers", &Rules::bad_url_referrers, SaveNothing, AddNothing, PassNothing},
    RankedKind<&Analysis::badreferrers>("badreferrers", &Rules::bad_referrers),
    RankedKind<&Analysis::domains>("domains", &Rules::domains),
    RankedKind<&Analysis::domaintypes>("domaintypes", nullptr),
    {"dailytotals", nullptr, SaveDayCounts, AddDayCounts, PassDayCounts},
    {"hitsperhour", &Rules::hours_of_week, SaveHours, AddHours, PassHours},
    RankedKind<&Analysis::addresses>("addresses", nullptr),
    {"bytes", &Rules::bytes, SaveStatusBytes, AddStatusBytes, PassStatusBytes},
    {"compare", &Rules::compares, SaveCompared, AddCompared, PassCompared},
};
static_assert(std::size(kKindTable) == kNamedKinds);

static size_t RowOf(unsigned kind) {
  return kind - kNamedKinds;
}

static void SaveKind(PartWriter& part, unsigned kind, const Analysis& analysis) {
  if (kind == kVisitsKind) {
    SaveVisits(part, *analysis.visits);
    return;
  }
  if (kind < kNamedKinds) {
    kKindTable[kind].save(part, analysis);
    return;
  }
  const CountedReport& report = analysis.dimensions[RowOf(kind)];
  Put(part, report.total);
  SaveList(part, report.list);
}

static void AddKind(PartReader& part, unsigned kind, const Rules& rules, Analysis& analysis) {
  if (kind < kNamedKinds) {
    kKindTable[kind].add(part, rules, analysis);
  } else if (kind == kVisitsKind) {
    AddSavedVisits(part, *analysis.visits);
  } else {
    AddToDimension(part, kDimensions[RowOf(kind)], analysis.dimensions[RowOf(kind)]);
  }
}

static void PassKind(PartReader& part, unsigned kind, const Analysis& analysis) {
  if (kind < kNamedKinds) {
    kKindTable[kind].pass(part, analysis);
  } else if (kind == kVisitsKind) {
    PassSavedVisits(part);
  } else {
    PassReport(part, analysis);
  }
}

static bool Counts(const Rules& rules, unsigned kind) {
  if (kind == kVisitsKind) {
    return rules.visits;
  }
  if (kind >= kNamedKinds) {
    return (rules.dimensions >> RowOf(kind) & 1) != 0;
  }
  switch (static_cast<CountKind>(kind)) {
    case CountKind::kDays:
      return rules.days || rules.dates;
    case CountKind::kBadUrlReferrers:
      return rules.bad_urls && rules.bad_url_referrers;
    case CountKind::kDomainTypes:
      return rules.domain_types || rules.type_of_domain != nullptr;
    case CountKind::kAddresses:
      return rules.dns == DnsMode::kAfterwards && (rules.domains || rules.domain_types);
    default:
      return rules.*kKindTable[kind].counted;
  }
}

uint64_t KindsOf(const Rules& rules) {
  uint64_t kinds = 0;
  for (unsigned kind = 0; kind < kCountKinds; ++kind) {
    kinds |= uint64_t{Counts(rules, kind)} << kind;
  }
  return kinds;
}

const char* NameOf(CountKind kind) {
  const auto number = static_cast<unsigned>(kind);
  if (number == kVisitsKind) {
    return "visitors";
  }
  return number < kNamedKinds ? kKindTable[number].name : kDimensions[RowOf(number)].parameter;
}

// ---- All ----

static bool Holds(uint64_t kinds, unsigned kind) {
  return (kinds >> kind & 1) != 0;
}

static constexpr uint64_t Bit(CountKind kind) {
  return uint64_t{1} << static_cast<unsigned>(kind);
}

// Domain types are those of what the domains leave of a host: they are others without domains.
static uint64_t Usable(uint64_t held, uint64_t wanted) {
  const bool other_types = ((held ^ wanted) & Bit(CountKind::kDomains)) != 0;
  return other_types ? held & ~Bit(CountKind::kDomainTypes) : held;
}

void SaveCounts(PartWriter& part, const Rules& rules, const Analysis& analysis) {
  const uint64_t kinds = KindsOf(rules);
  PutFigure(part, kinds);
  SaveTotals(part, analysis);
  for (unsigned kind = 0; kind < kCountKinds; ++kind) {
    if (Holds(kinds, kind)) {
      SaveKind(part, kind, analysis);
    }
  }
}

static constexpr uint64_t Below(size_t kind) {
  return (uint64_t{1} << kind) - 1;
}

bool AddSavedCounts(PartReader& part, const Rules& rules, Analysis& analysis, unsigned& missing) {
  const uint64_t wanted = KindsOf(rules);
  const uint64_t held = TakeFigure(part);
  if ((held & ~(Below(kNamedKinds + kDimensionCount) | uint64_t{1} << kVisitsKind)) != 0) {
    MarkDamaged(part);
  }
  const uint64_t lacking = wanted & ~Usable(held, wanted);
  missing = part.damaged || lacking == 0 ? kCountKinds : static_cast<unsigned>(std::countr_zero(lacking));
  if (part.damaged || missing != kCountKinds) {
    return false;
  }
  AddTotals(part, rules, analysis);
  for (unsigned kind = 0; kind < kCountKinds && !part.damaged; ++kind) {
    if (Holds(wanted, kind)) {
      AddKind(part, kind, rules, analysis);
    } else if (Holds(held, kind)) {
      PassKind(part, kind, analysis);
    }
  }
  return !part.damaged;
}
