#include "analysis/record_filters.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>

#include "agents/agent.h"
#include "analysis/countries.h"
#include "analysis/known_agents.h"
#include "analysis/normalise.h"
#include "analysis/protocols.h"
#include "base/network.h"
#include "base/text.h"

// ---- Items of lists -------------------------------------------------------------------

// "*" is any run of characters, "?" any one; letters of both cases are one. Looks back to the last star
// alone, so that the time is bounded by the product of both lengths.
static bool MatchesWild(std::string_view pattern, std::string_view text) {
  size_t p = 0;
  size_t t = 0;
  size_t star = std::string_view::npos;
  size_t behind_star = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      behind_star = t;
    } else if (p < pattern.size() &&
               (pattern[p] == '?' || ToLowerAscii(pattern[p]) == ToLowerAscii(text[t]))) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      t = ++behind_star;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

static bool IsWild(std::string_view item) {
  return item.find_first_of("*?") != std::string_view::npos;
}

static bool IsText(std::string_view text, std::string_view item) {
  return IsWild(item) ? MatchesWild(item, text) : EqualIgnoreCase(text, item);
}

// "example.com" is itself and everything that ends in ".example.com".
static bool IsDomain(std::string_view host, std::string_view item) {
  if (IsText(host, item) || IsWild(item)) {
    return IsText(host, item);
  }
  item.remove_prefix(item.starts_with('.') ? 1 : 0);
  return host.size() > item.size() && host[host.size() - item.size() - 1] == '.' &&
         EqualIgnoreCase(host.substr(host.size() - item.size()), item);
}

static bool HoldsIgnoreCase(std::string_view text, std::string_view part) {
  const auto same = [](char a, char b) { return ToLowerAscii(a) == ToLowerAscii(b); };
  return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end();
}

static bool ReadNumber(std::string_view text, int most, int& number) {
  number = 0;
  for (const char c : text) {
    number = IsDigitAscii(c) && number <= most ? number * 10 + (c - '0') : most + 1;
  }
  return !text.empty() && number <= most;
}

// Whether the value is in "8-17" or "8"; from 22-5 goes over the end.
static bool IsInSpan(int value, std::string_view item, bool (*read)(std::string_view text, int& number)) {
  const size_t dash = item.find('-');
  int first = 0;
  int last = 0;
  if (!read(item.substr(0, dash), first) ||
      !read(dash == std::string_view::npos ? item : item.substr(dash + 1), last)) {
    return false;
  }
  return first <= last ? value >= first && value <= last : value >= first || value <= last;
}

static bool ReadHour(std::string_view text, int& hour) {
  return ReadNumber(text, 23, hour);
}

// By the first three letters, as many as tell them apart.
static bool ReadWeekday(std::string_view word, int& weekday) {
  static constexpr std::string_view kNames[] = {"sunday",   "monday", "tuesday", "wednesday",
                                                "thursday", "friday", "saturday"};
  const auto* const found = std::ranges::find_if(kNames, [word](std::string_view day) {
    return word.size() >= 3 && word.size() <= day.size() && BeginsWithIgnoreCase(day, word);
  });
  weekday = static_cast<int>(found - kNames);
  return found != std::end(kNames);
}

// ---- What filters look at -------------------------------------------------------------

// "404", "4xx".
static bool IsStatus(const SuperLogRecord& record, std::string_view item) {
  if (item.size() != 3 || record.status < 100 || record.status > 999) {
    return false;
  }
  int64_t rest = record.status;
  for (size_t i = item.size(); i-- > 0; rest /= 10) {
    if (ToLowerAscii(item[i]) != 'x' && item[i] != static_cast<char>('0' + rest % 10)) {
      return false;
    }
  }
  return true;
}

// An address, a network, the beginning of an address as "10.0.", or a name.
static bool IsHost(const SuperLogRecord& record, std::string_view item) {
  Address address;
  const bool parsed = record.ipv6 == nullptr && ParseAddress(record.host, address);
  if (record.ipv6 == nullptr && !parsed) {
    return IsDomain(record.host, item);
  }
  Network network;
  if (ParseNetwork(item, network)) {
    return IsInNetwork(parsed ? address : *record.ipv6, network);
  }
  return item.ends_with('.') ? record.host.starts_with(item) : IsText(record.host, item);
}

static bool IsCountry(const SuperLogRecord& record, std::string_view item) {
  return EqualIgnoreCase(CountryOfVisitor(record), item);
}

static bool IsAgent(const SuperLogRecord& record, std::string_view item) {
  return IsWild(item) ? MatchesWild(item, record.agent) : HoldsIgnoreCase(record.agent, item);
}

// By its host, or by a pattern of the whole address.
static bool IsReferrer(const SuperLogRecord& record, std::string_view item) {
  const size_t scheme = record.referrer.find("://");
  if (IsWild(item) || scheme == std::string_view::npos) {
    return IsText(record.referrer, item);
  }
  const std::string_view host = record.referrer.substr(scheme + 3);
  return IsDomain(host.substr(0, host.find_first_of(":/?#")), item);
}

static bool IsVhost(const SuperLogRecord& record, std::string_view item) {
  return !record.site.empty() && IsText(WithoutPort(record.site), item);
}

// As they are counted; case counts, as it does in requests.
static bool IsMethod(const SuperLogRecord& record, std::string_view item) {
  return MethodOf(record) == item;
}

static bool IsUser(const SuperLogRecord& record, std::string_view item) {
  return !record.user.empty() && IsText(record.user, item);
}

static bool IsHour(const SuperLogRecord& record, std::string_view item) {
  return IsInSpan(record.local.tm_hour, item, ReadHour);
}

static bool IsWeekday(const SuperLogRecord& record, std::string_view item) {
  return IsInSpan(record.local.tm_wday, item, ReadWeekday);
}

// ---- Robots ---------------------------------------------------------------------------

// "1" and "all" are any robot; otherwise those of a purpose, by its word.
static bool IsRobot(const SuperLogRecord& record, std::string_view item) {
  const Purpose purpose = TellKnownAgent(record.agent).purpose;
  return purpose != Purpose::kNone &&
         (item == "1" || EqualIgnoreCase(item, "all") ||
          EqualIgnoreCase(item, PurposeNames()[static_cast<size_t>(purpose)].word));
}

// ---- The table ------------------------------------------------------------------------

constexpr RecordFilter kRecordFilters[] = {
    {"statuses", "Status", "404, 5xx", {}, IsStatus},
    {"hosts", "Host", "example.com, 10.0.0.0/8, *.crawl.example", {.host = true}, IsHost},
    {"agents", "Browser", "firefox, *bot*", {.agent = true}, IsAgent},
    {"robots", "Robots", "all, or what they are for: search, monitoring", {.agent = true}, IsRobot},
    {"referrers", "Referrer", "example.org, http*/forum/*", {.referrer = true}, IsReferrer},
    {"vhosts", "Virtual host", "shop.example.org", {.site = true}, IsVhost},
    {"users", "User", "ann, guest*", {.user = true}, IsUser, true},
    {"hours", "Hour", "8-17, 22-5", {}, IsHour},
    {"weekdays", "Weekday", "mon-fri, sunday", {}, IsWeekday},
    {"countries", "Country", "DE, FR", {.host = true}, IsCountry},
    {"methods", "Method", "GET, POST", {.method = true}, IsMethod},
};
constexpr size_t kRecordFilterCount = std::size(kRecordFilters);
static_assert(kRecordFilterCount <= kMostRecordFilters);

static void AddActive(ActiveFilters& filters, const RecordFilter& filter, const char* list, bool only) {
  if (list[0] != '\0') {
    filters.filters[filters.count++] = {&filter, list, only};
  }
}

ActiveFilters ActiveFiltersOf(const Settings& settings) {
  ActiveFilters filters;
  for (size_t row = 0; row < kRecordFilterCount; ++row) {
    AddActive(filters, kRecordFilters[row], settings.filters[row].only, true);
    AddActive(filters, kRecordFilters[row], settings.filters[row].exclude, false);
  }
  return filters;
}

static bool AnyMatchesBy(const ActiveFilters& filters,
                         bool (*matches)(const SuperLogRecord&, std::string_view)) {
  return std::ranges::any_of(
      filters.all(), [matches](const ActiveFilter& active) { return active.filter->matches == matches; });
}

bool FilterByCountry(const ActiveFilters& filters) {
  return AnyMatchesBy(filters, IsCountry);
}

bool FilterByRobot(const ActiveFilters& filters) {
  return AnyMatchesBy(filters, IsRobot);
}

AskedTexts WithTextsOfFilters(const ActiveFilters& filters, AskedTexts asked) {
  for (const ActiveFilter& active : filters.all()) {
    asked = Both(asked, active.filter->asks);
  }
  return asked;
}

static bool IsInList(const ActiveFilter& active, const SuperLogRecord& record) {
  std::string_view list = active.list;
  for (std::string_view item; NextListItem(list, item);) {
    if (active.filter->matches(record, item)) {
      return true;
    }
  }
  return false;
}

bool PassesFilters(const ActiveFilters& filters, const SuperLogRecord& record) {
  return std::ranges::all_of(filters.all(), [&record](const ActiveFilter& active) {
    return IsInList(active, record) == active.only;
  });
}
