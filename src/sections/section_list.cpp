#include "sections/section_list.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "analysis/rules.h"

static constexpr Brand kBrands[] = {
    {"Netscape Navigator-brand browsers", &Analysis::NavCount, &Analysis::gHits_Browsers},
    {"Microsoft Internet Explorer", &Analysis::MsieCount, &Analysis::gHits_Browsers},
};

static constexpr Section Ranked(SectionId id, const char* parameter, RankedReport Settings::*report,
                                const RankedItems& items) {
  return {id, parameter, RowKind::kRanked, report, nullptr, items, nullptr};
}

static constexpr Section Timed(SectionId id, const char* parameter, RowKind rows, int Settings::*on,
                               TimeRows (*times)(const Analysis&)) {
  return {id, parameter, rows, nullptr, on, {}, times};
}

// A section that came after the classic page.
static constexpr Section Later(Section section) {
  section.classic = false;
  return section;
}

// deliberate: what was not found is measured against all that was asked for, and
// domains do not link
static constexpr Section kNamed[kNamedSections] = {
    Ranked(SectionId::kUrls, "requests", &Settings::requests,
           {.counted = &Analysis::urls, .base = &Analysis::urls, .link = ItemLink::kSite}),
    Ranked(SectionId::kReferrers, "referrers", &Settings::referrers,
           {.counted = &Analysis::referrers, .base = &Analysis::referrers, .link = ItemLink::kItself}),
    {SectionId::kPhrases, "search", RowKind::kPhrases, &Settings::search, nullptr, {}, nullptr},
    Ranked(SectionId::kBrowsers, "browsers", &Settings::browsers,
           {.counted = &Analysis::browsers, .base = &Analysis::browsers, .brands = kBrands}),
    Ranked(SectionId::kBadUrls, "badurls", &Settings::badurls,
           {.counted = &Analysis::badurls,
            .base = &Analysis::urls,
            .link = ItemLink::kSite,
            .with_referrers = true}),
    Ranked(SectionId::kBadReferrers, "badreferrers", &Settings::badreferrers,
           {.counted = &Analysis::badreferrers, .base = &Analysis::referrers, .link = ItemLink::kItself}),
    Ranked(SectionId::kDomains, "domains", &Settings::domains,
           {.counted = &Analysis::domains, .base = &Analysis::domains}),
    Ranked(SectionId::kDomainTypes, "domaintypes", &Settings::domaintypes,
           {.counted = &Analysis::domaintypes, .base = &Analysis::domaintypes, .described = true}),
    Timed(SectionId::kDays, "dailytotals", RowKind::kDays, &Settings::dailytotals, OpenDays),
    Timed(SectionId::kWeekdays, "hitsperdayofweek", RowKind::kWeekdays, &Settings::hitsperdayofweek,
          OpenWeekdays),
    Timed(SectionId::kHours, "hitsperhour", RowKind::kHours, &Settings::hitsperhour, OpenHours),
    Later(Timed(SectionId::kHoursOfWeek, "hoursofweek", RowKind::kHoursOfWeek, &Settings::hoursofweek,
                OpenHoursOfWeek)),
};

static_assert(StandInPlace(kNamed));
static_assert(std::size(kBrands) <= kMostBrands);

struct AllSections {
  Section sections[kNamedSections + kMostDimensions];
};

static Section SectionOfDimension(size_t row) {
  const Dimension& dimension = kDimensions[row];
  RankedItems items;
  items.with_referrers = HasSubItems(dimension);
  items.link = dimension.of_site ? ItemLink::kSite : ItemLink::kNone;
  Section section =
      Later(Ranked(static_cast<SectionId>(kNamedSections + row), dimension.parameter, nullptr, items));
  section.dimension = &dimension;
  return section;
}

static AllSections MakeSections() {
  AllSections all{};
  std::ranges::copy(kNamed, all.sections);
  for (size_t row = 0; row < kDimensionCount; ++row) {
    all.sections[kNamedSections + row] = SectionOfDimension(row);
  }
  return all;
}

std::span<const Section> Sections() {
  static const AllSections all = MakeSections();
  return {all.sections, kNamedSections + kDimensionCount};
}

const SubItemWords& SubItemWordsOf(const Section& section) {
  return section.dimension != nullptr ? section.dimension->below : kLeadingPages;
}

const Section& SectionOf(SectionId id) {
  return Sections()[static_cast<size_t>(id)];
}

static size_t RowOf(const Dimension& dimension) {
  return static_cast<size_t>(&dimension - kDimensions);
}

template <typename AnySettings>
static auto* ReportIn(const Section& section, AnySettings& settings) {
  if (section.dimension != nullptr) {
    return &settings.dimensions[RowOf(*section.dimension)];
  }
  return section.report != nullptr ? &(settings.*section.report) : nullptr;
}

const RankedReport* ReportOf(const Section& section, const Settings& settings) {
  return ReportIn(section, settings);
}

CountedReport& CountedIn(const Section& section, Analysis& analysis) {
  if (section.dimension != nullptr) {
    return analysis.dimensions[RowOf(*section.dimension)];
  }
  return analysis.*section.items.counted;
}

const CountedReport& BaseOf(const Section& section, const Analysis& analysis) {
  return section.dimension != nullptr ? analysis.dimensions[RowOf(*section.dimension)]
                                      : analysis.*section.items.base;
}

template <typename AnySettings>
static auto& SwitchOf(const Section& section, AnySettings& settings) {
  auto* const report = ReportIn(section, settings);
  return report != nullptr ? report->on : settings.*section.on;
}

bool IsOn(const Section& section, const Settings& settings) {
  return SwitchOf(section, settings) != 0;
}

static constexpr std::string_view kFirst[] = {
    "dailytotals", "hoursofweek",  "visitors", "requests",        "entrypages", "referringsites",
    "badurls",     "servererrors", "statuses", "browserfamilies", "systems",    "robots",
};

void SuggestPagesOnly(Settings& settings) {
  if (!settings.pages_only_asked) {
    settings.pages_only = OrderOf(settings) == RankedBy::kAmount ? 0 : 1;
  }
}

void TakeFirstSectionsForNone(Settings& settings) {
  const auto is_on = [&settings](const Section& section) { return IsOn(section, settings); };
  if (std::ranges::any_of(Sections(), is_on)) {
    return;
  }
  for (const Section& section : Sections()) {
    if (std::ranges::find(kFirst, section.parameter) != std::end(kFirst)) {
      SwitchOf(section, settings) = 1;
    }
  }
  settings.badurl_referrers = 1;
  SuggestPagesOnly(settings);
}
