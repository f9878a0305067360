#include "sections/section_list.h"

#include <algorithm>
#include <iterator>

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
constexpr Section kSections[kSectionCount] = {
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

static_assert(StandInPlace(kSections));
static_assert(std::size(kBrands) <= kMostBrands);

const Section& SectionOf(SectionId id) {
  return kSections[static_cast<size_t>(id)];
}

template <typename AnySettings>
static auto& SwitchOf(const Section& section, AnySettings& settings) {
  return section.report != nullptr ? (settings.*section.report).on : settings.*section.on;
}

bool IsOn(const Section& section, const Settings& settings) {
  return SwitchOf(section, settings) != 0;
}

void TakeAllSectionsForNone(Settings& settings) {
  const auto is_on = [&settings](const Section& section) { return IsOn(section, settings); };
  if (std::any_of(std::begin(kSections), std::end(kSections), is_on)) {
    return;
  }
  for (const Section& section : kSections) {
    SwitchOf(section, settings) = 1;
  }
  settings.badurl_referrers = 1;
}
