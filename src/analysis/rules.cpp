#include "analysis/rules.h"

#include "analysis/dimensions.h"
#include "analysis/dns_cache.h"
#include "analysis/normalise.h"
#include "analysis/request_filters.h"
#include "analysis/wildcard.h"

// The pattern for everything below the find value, too.
static void AppendStar(FindTest& find) {
  if (find.length != 0 && find.value[find.length - 1] == '*') {
    return;
  }
  if (find.length < kTextMax) {
    ++find.length;
  }
  find.value[find.length - 1] = '*';
  find.value[find.length] = '\0';
}

bool FindsAll(const Settings& settings) {
  const std::string_view find = settings.find;
  return settings.find_pattern != 0 ? find == "*" || find == "/*" : find == "/" && settings.subdirs != 0;
}

static bool IsShortPrefix(const FindTest& find) {
  return find.prefix && (find.length == 0 || (find.length == 1 && !IsLetterAscii(find.value[0])));
}

// Where all requests are some, not all of a site's have a path.
static FindTest ResolveFindTest(const Settings& settings, const Limits& limits) {
  FindTest find{};
  CopyText(find.value, settings.find);
  find.length = std::string_view(find.value).size();
  find.ignore_case = settings.find_casesensitive == 0;
  if (limits.all_requests && FindsAll(settings)) {
    find.length = 0;
    find.prefix = find.short_prefix = true;
    return find;
  }
  if (settings.find_pattern == 0) {
    find.prefix = settings.subdirs != 0;
    find.short_prefix = IsShortPrefix(find);
    return find;
  }
  find.wildmat = find.ignore_case ? super_wildmati : super_wildmat;
  if (settings.subdirs != 0) {
    AppendStar(find);
  }
  return find;
}

static bool OrdersByBytes(const Settings& settings) {
  return EqualIgnoreCase(settings.order, "bytes");
}

Amounts AmountsOf(const Settings& settings) {
  return settings.with_bytes != 0 || OrdersByBytes(settings) ? Amounts::kSummed : Amounts::kNone;
}

RankedBy OrderOf(const Settings& settings) {
  return OrdersByBytes(settings) ? RankedBy::kAmount : RankedBy::kCount;
}

bool NeedsNames(const Settings& settings) {
  return settings.dnslookupenabled != 0 &&
         (settings.domains.on != 0 || settings.domaintypes.on != 0 || settings.filter_domains[0] != '\0');
}

// Where hosts are cut, their countries are counted before.
static bool CountsByCountry(const Settings& settings) {
  return FilterByCountry(ActiveFiltersOf(settings)) ||
         (settings.anonymise != 0 && AreCountriesAsked(settings));
}

// Whoever makes a part, and no page, counts hosts; a plan looks at no record.
bool NeedsCountryDatabase(const Settings& settings) {
  const bool shown = settings.part == nullptr && AreCountriesAsked(settings);
  return settings.plan == nullptr && (shown || CountsByCountry(settings));
}

// Robots are no visitors.
static bool CountsByRobot(const Settings& settings) {
  return FilterByRobot(ActiveFiltersOf(settings)) || IsSummedFrom(settings, SummedFrom::kVisits);
}

bool NeedsAgentRules(const Settings& settings) {
  const bool shown = settings.part == nullptr && IsSummedFrom(settings, SummedFrom::kBrowsers);
  return settings.plan == nullptr && (shown || CountsByRobot(settings));
}

DnsMode ResolveDnsMode(const Settings& settings, const Limits& limits) {
  if (settings.dnslookupenabled == 0) {
    return DnsMode::kOff;
  }
  const bool names = limits.whole_addresses ? FiltersNames(settings) : !IpAddrsOnly(settings.filter_domains);
  if (names) {
    return DnsMode::kAllHosts;
  }
  return settings.rules.looks_up_together ? DnsMode::kAfterwards : DnsMode::kDomainReportsOnly;
}

static char* NameOneByOne(const char* address, LookUpFigures&) {
  return GetHostFromIP(address);
}

// Of what sections of their own show, other sections may be made.
static bool CountsUrls(const Settings& settings) {
  return settings.requests.on != 0 || IsSummedFrom(settings, SummedFrom::kUrls);
}

static bool CountsReferrers(const Settings& settings) {
  return settings.referrers.on != 0 || IsSummedFrom(settings, SummedFrom::kReferrers);
}

static bool CountsBrowsers(const Settings& settings) {
  return settings.browsers.on != 0 || IsSummedFrom(settings, SummedFrom::kBrowsers);
}

static AskedTexts ResolveTexts(const Settings& settings) {
  const AskedTexts asked = {
      .host = settings.domains.on != 0 || settings.domaintypes.on != 0 || settings.filter_domains[0] != '\0',
      .referrer = CountsReferrers(settings) || settings.search.on != 0 || settings.badreferrers.on != 0 ||
                  (settings.badurls.on != 0 && settings.badurl_referrers != 0),
      .agent = CountsBrowsers(settings),
      .realm = settings.authrealm[0] != '\0',
      .user = settings.authuser[0] != '\0',
  };
  return WithTextsOfFilters(ActiveFiltersOf(settings), WithTextsOfDimensions(settings, asked));
}

// What stands behind the scheme of an address of the web and "www."; empty where there is none.
std::string_view HostBehindWww(std::string_view address) {
  const size_t length = address.starts_with("http://")    ? 7
                        : address.starts_with("https://") ? 8
                                                          : address.size();
  address.remove_prefix(length);
  if (address.starts_with("www.") || BeginsWithIgnoreCase(address.substr(0, 4), "www.")) {
    address.remove_prefix(4);
  }
  return address;
}

static OwnHost ResolveOwnHost(const Settings& settings, const Counting& counting) {
  OwnHost own{};
  if (!counting.other_sites_alone || settings.own_referrers != 0) {
    return own;
  }
  const std::string_view host = HostBehindWww(settings.url);
  own.name = host.substr(0, host.find_first_of("/:?#"));
  char start[sizeof own.start] = {};
  const size_t length = own.name.copy(start, sizeof start);
  memset(&own.mask, 0xff, length);
  own.start = StartWord<uint64_t>(start) & own.mask;
  return own;
}

// Weekdays and hours are sums of them.
static bool NeedsHoursOfWeek(const Settings& settings) {
  return settings.hitsperdayofweek != 0 || settings.hitsperhour != 0 || settings.hoursofweek != 0;
}

// The file types decide only what these reports count.
static bool NeedsTypeFilter(const Settings& settings) {
  return settings.requests.on != 0 || settings.referrers.on != 0 || settings.browsers.on != 0 ||
         settings.domains.on != 0 || settings.domaintypes.on != 0 || settings.dailytotals != 0 ||
         NeedsHoursOfWeek(settings) || AreDimensionsAsked(settings);
}

// deliberate: an amount below 0 is a large one
static void AddNarrowBytes(SuperLong& counter, int64_t amount) {
  SuperLongAdd(counter, static_cast<uint32_t>(amount));
}

// With names that a resolver gave, which may be longer than an item, a type is not always that of its domain;
// and amounts are not counted with the parts of keys.
static KeyPart ResolveTypeOfDomain(const Settings& settings, const Limits& limits) {
  if (settings.domains.on == 0 || settings.domaintypes.on == 0 || settings.dnslookupenabled != 0 ||
      AmountsOf(settings) == Amounts::kSummed) {
    return nullptr;
  }
  return limits.whole_addresses ? TypeOfDomainOrNetwork : TypeOfDomain;
}

Rules ResolveRules(const Settings& settings, const Counting& counting) {
  const bool wide = counting.limits.wide_figures;
  const KeyPart type_of_domain = ResolveTypeOfDomain(settings, counting.limits);
  return {
      .settings = settings,
      .find = ResolveFindTest(settings, counting.limits),
      .texts = ResolveTexts(settings),
      .longest_item = counting.limits.item,
      .authenticated = settings.authrealm[0] != '\0' || settings.authuser[0] != '\0',
      .realm = settings.authrealm,
      .user = settings.authuser,
      .dns = ResolveDnsMode(settings, counting.limits),
      .name_of = settings.rules.looks_up_together ? NameOfAddress : NameOneByOne,
      .add_bytes = wide ? SuperLongAddWide : AddNarrowBytes,
      .filter_domains = settings.filter_domains[0] != '\0',
      .host_counts = counting.limits.whole_addresses ? NotFilteredHost : NotFilteredDomain,
      .filter_types = settings.filter_filetypes[0] != '\0' && NeedsTypeFilter(settings),
      .filters = ActiveFiltersOf(settings),
      .anonymise = settings.anonymise != 0,
      .by_country = CountsByCountry(settings),
      .by_robot = CountsByRobot(settings),
      .keep_query = settings.showquery != 0,
      .url_end_mark = counting.limits.escapes ? '?' : '"',
      .bytes = AmountsOf(settings) == Amounts::kSummed,
      .compares = ComparisonOf(settings).asked,
      .urls = CountsUrls(settings),
      .urls_ignore_case = settings.find_casesensitive == 0 && !counting.urls_as_written,
      .url_total = CountsUrls(settings) || settings.badurls.on != 0,
      .referrers = CountsReferrers(settings),
      .filter_referrers = settings.filter_referrers != 0 && settings.filter_domains[0] != '\0',
      .search = settings.search.on != 0,
      .own_host = ResolveOwnHost(settings, counting),
      .browsers = CountsBrowsers(settings),
      .bad_urls = settings.badurls.on != 0,
      .bad_url_referrers = settings.badurl_referrers != 0,
      .bad_referrers = settings.badreferrers.on != 0,
      .domains = settings.domains.on != 0,
      .domain_types = settings.domaintypes.on != 0 && type_of_domain == nullptr,
      .type_of_domain = type_of_domain,
      .dimensions = DimensionsOfRequests(settings),
      .visits = IsSummedFrom(settings, SummedFrom::kVisits),
      .days = settings.dailytotals != 0 && counting.days == DayCounting::kByDayOfYear,
      .dates = settings.dailytotals != 0 && counting.days == DayCounting::kByDate,
      .hours_of_week = NeedsHoursOfWeek(settings),
      .whole_logs = settings.rules.whole_logs,
  };
}

bool AreRecordsCountedAlone(const Rules& rules) {
  const Settings& settings = rules.settings;
  const bool names_decide = rules.dns != DnsMode::kOff && rules.dns != DnsMode::kAfterwards;
  return settings.debug == 0 && !names_decide &&
         (settings.find_pattern == 0 || !RemembersMatches(settings.find));
}
