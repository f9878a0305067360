#include "analysis/driver.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "agents/rules_in_use.h"
#include "analysis/anonymity.h"
#include "analysis/countries.h"
#include "analysis/country_database.h"
#include "analysis/dimensions.h"
#include "analysis/dns_cache.h"
#include "analysis/dns_cache_internal.h"
#include "analysis/domain_counts.h"
#include "analysis/known_agents.h"
#include "analysis/look_ups.h"
#include "analysis/normalise.h"
#include "analysis/page_requests.h"
#include "analysis/request_filters.h"
#include "analysis/request_filters_internal.h"
#include "analysis/resolve_item.h"
#include "analysis/rules.h"
#include "analysis/search_phrases.h"
#include "analysis/smart_memory.h"
#include "analysis/smart_memory_internal.h"
#include "analysis/wildcard.h"
#include "analysis/wildcard_internal.h"
#include "base/capped_sum.h"
#include "dates/clock.h"
#include "dates/days.h"
#include "dates/local_time.h"
#include "dates/years.h"
#include "superlog/byte_scan.h"
#include "superlog/odd_request.h"
#include "superlog/superlog.h"

static LineListener mpLineRead = nullptr;  // who listens to this run

// ---- Set-up -------------------------------------------------------------------

static time_t LocalTimeOf(const CalendarDate& date, int hour, int minute, int second) {
  tm parts{};
  // A year is taken as written; unsigned, because any number may be written there.
  parts.tm_year = static_cast<int>(static_cast<unsigned>(date.year) - 1900U);
  parts.tm_mon = date.month - 1;
  parts.tm_mday = date.day;
  parts.tm_hour = hour;
  parts.tm_min = minute;
  parts.tm_sec = second;
  parts.tm_isdst = -1;
  return LocalToTime(parts);
}

static void SetRange(const Settings& settings, Analysis& analysis) {
  CalendarDate start{};
  CalendarDate end{};
  ParseDate(start, end, settings);
  if (settings.rules.real_days && IsDay(start) && IsDay(end)) {
    analysis.range_first = BeginOfDay(start);
    analysis.range_last = BeginOfDay(DayOfNumber(NumberOfDay(end) + 1)) - 1;
  } else {
    analysis.range_first = LocalTimeOf(start, 0, 0, 0);
    analysis.range_last = LocalTimeOf(end, 23, 59, 59);
  }
}

// The first or the last day of the logs is known when these have been read: until then, the range has no end
// there.
static void OpenRange(const Settings& settings, Analysis& analysis) {
  if (settings.from_first) {
    analysis.range_first = std::numeric_limits<time_t>::min();
  }
  if (settings.to_last) {
    analysis.range_last = std::numeric_limits<time_t>::max();
  }
}

// Which day it is must be known before the first record is counted.
static void TakeFirstDay(Settings& settings, Analysis& analysis) {
  time_t first = 0;
  time_t last = 0;
  if (SuperLog_FindTimes(first, last)) {
    SetDays(settings, {DayOf(first), DayOf(first)});
  }
  settings.first_alone = false;
  SetRange(settings, analysis);
  SuperLog_BeginAgain(analysis.range_first, analysis.range_last);
}

static bool EndsBefore(const CalendarDate& last, const CalendarDate& first) {
  return CountDays({first, last}) < 1;
}

void CloseRange(Settings& settings, Analysis& analysis) {
  if (!settings.from_first && !settings.to_last) {
    return;
  }
  DayRange days{};
  ParseDate(days.first, days.last, settings);
  time_t first = 0;
  time_t last = 0;
  if (SuperLog_TimesHeld(first, last)) {
    days.first = settings.from_first ? DayOf(first) : days.first;
    days.last = settings.to_last ? DayOf(last) : days.last;
  }
  if (EndsBefore(days.last, days.first)) {
    (settings.to_last ? days.last : days.first) = settings.to_last ? days.first : days.last;
  }
  SetDays(settings, days);
  SetRange(settings, analysis);
}

static constexpr uint8_t kMsieKind = 1;
static constexpr uint8_t kNavigatorKind = 2;

static uint8_t AgentKind(std::string_view agent) {
  const bool navigator = agent.starts_with("Mozilla/") && !ContainsText(agent, "ompatible");
  return static_cast<uint8_t>((MSIE(agent) ? kMsieKind : 0) | (navigator ? kNavigatorKind : 0));
}

static int64_t CountOfBrand(const ListInfo& browsers, uint8_t kind) {
  return browsers.kinds[kind] + browsers.kinds[kMsieKind | kNavigatorKind];
}

static void CountTypesWithDomains(const Rules& rules, Analysis& analysis) {
  if (rules.type_of_domain != nullptr) {
    count_parts_too(*analysis.domains.info, *analysis.domaintypes.info, rules.type_of_domain);
  }
}

static void SetTypeCounts(Analysis& analysis) {
  if (analysis.domains.info->part_of != nullptr) {
    count_parts(*analysis.domains.info);
    analysis.domaintypes.total = analysis.domains.total;
  }
}

static void SetBrandCounts(Analysis& analysis) {
  const Limits& limits = analysis.counting.limits;
  analysis.MsieCount = Wrapped(limits, CountOfBrand(*analysis.browsers.info, kMsieKind));
  analysis.NavCount = Wrapped(limits, CountOfBrand(*analysis.browsers.info, kNavigatorKind));
  analysis.gHits_Browsers = Wrapped(limits, analysis.browsers.total);
}

static SearchCounts* mpSearch = nullptr;  // of this run
static VisitCounts* mpVisits = nullptr;   // of this run

static uint8_t ReferrerKind(std::string_view referrer) {
  return MayCountForEngine(referrer, *mpSearch) ? kWatchedKind : uint8_t{0};
}

static void CountSearchNow(std::string_view referrer) {
  CountSearchHits(referrer, *mpSearch, count_now);
}

// Most referrers come from no engine, which their records remember: a new one is looked at before its record
// is made.
static void WatchReferrers(const Rules& rules, Analysis& analysis) {
  if (rules.search && rules.referrers) {
    mpSearch = &analysis.search;
    analysis.referrers.info->classify = ReferrerKind;
    analysis.referrers.info->watcher = CountSearchNow;
  }
}

// The order of creation decides which of two equally long tables is thinned.
static void CreateTables(const Settings& settings, Analysis& analysis) {
  const SubLists referrers = settings.badurl_referrers != 0 ? SubLists::kAny : SubLists::kNone;
  const struct {
    CountedReport& report;
    const char* name;
    SubLists sublists = SubLists::kNone;
  } tables[] = {
      {analysis.urls, "Top URLs"},
      {analysis.referrers, "Top Referrers"},
      {analysis.browsers, "Browsers"},
      {analysis.badurls, "Bad URLs", referrers},
      {analysis.badreferrers, "Bad Referrers"},
      {analysis.domains, "Domains"},
      {analysis.domaintypes, "Domain Types"},
  };
  for (const auto& table : tables) {
    init_list(table.report.list, table.report.info, table.name, table.sublists, AmountsOf(settings));
  }
  analysis.browsers.info->classify = AgentKind;
  CreateDimensions(settings, analysis);
  if (ResolveDnsMode(settings, analysis.counting.limits) == DnsMode::kAfterwards) {
    init_list(analysis.addresses.list, analysis.addresses.info, "Addresses", SubLists::kNone,
              AmountsOf(settings));
  }
}

static void BeginRange(const Settings& settings, const Counting& counting, Analysis& analysis) {
  analysis = {};
  analysis.counting = counting;
  analysis.ReportStartTime = CurrentTime();
  SetRange(settings, analysis);
  OpenRange(settings, analysis);
  analysis.comparison = ComparisonOf(settings);
}

// What the logs are read for: the days that the others are compared with are earlier ones.
static time_t FirstRead(const Analysis& analysis) {
  return analysis.comparison.asked ? analysis.comparison.first : analysis.range_first;
}

static void PrepareCounting(const Settings& settings, const Counting& counting, Analysis& analysis) {
  exempt_lists();  // phrases of engines that the configuration defined are never reclaimed
  SetCountingLimits(counting.limits);
  SetWildcardLimits(counting.limits);
  smart_memory_init(settings);
  DNSLookup_Init();
  LimitLookUps(settings.DNSLookupSeconds);
  Search_Init(*counting.search);
  analysis.search = NewSearchCounts();
  CreateTables(settings, analysis);
  mpVisits = analysis.visits;
}

// What texts are still needed for.
static void CountWaiting() {
  count_queued();
  if (mpVisits != nullptr) {
    CountWaitingVisits(*mpVisits);
  }
}

static LogEvents Listen(const AnalysisEvents& events) {
  mpLineRead = events.line_read;
  LogEvents logs = events.logs;
  logs.texts_go = CountWaiting;
  return logs;
}

bool BeginAnalysis(Settings& settings, const Counting& counting, Analysis& analysis,
                   const AnalysisEvents& events) {
  BeginRange(settings, counting, analysis);
  SuperLog_Init(settings, counting.limits, FirstRead(analysis), analysis.range_last, Listen(events));
  if (!SuperLog_LogFilesFound()) {
    return false;
  }
  if (settings.first_alone) {
    TakeFirstDay(settings, analysis);
  }
  PrepareCounting(settings, counting, analysis);
  return true;
}

void BeginAdding(const Settings& settings, const Counting& counting, Analysis& analysis,
                 const AnalysisEvents& events) {
  BeginRange(settings, counting, analysis);
  SuperLog_InitWithoutLogs(settings, counting.limits, FirstRead(analysis), analysis.range_last,
                           Listen(events));
  PrepareCounting(settings, counting, analysis);
}

// ---- Which records are counted -------------------------------------------------

static bool IsAbsent(std::string_view text) {
  return text.data() == nullptr;
}

// A rule without a text accepts every record, any other only those that carry the text.
static bool Authenticated(std::string_view rule, std::string_view text) {
  return rule.empty() || (!IsAbsent(text) && EqualIgnoreCase(rule, text));
}

static bool Finds(const FindTest& find, std::string_view url) {
  if (find.short_prefix) {
    return find.length == 0 || url.starts_with(find.value[0]);
  }
  if (find.prefix) {
    url = url.substr(0, find.length);
  }
  const std::string_view value{find.value, find.length};
  if (find.wildmat != nullptr) {
    return find.wildmat(value, url) == 0;
  }
  return find.ignore_case ? EqualIgnoreCase(url, value) : url == value;
}

static bool IsSelected(const Rules& rules, const SuperLogRecord& record, std::string_view url) {
  return (!rules.authenticated ||
          (Authenticated(rules.realm, record.realm) && Authenticated(rules.user, record.user))) &&
         (!rules.filter_domains || rules.host_counts(rules.settings, record.host)) &&
         Finds(rules.find, url) && (rules.filters.count == 0 || PassesFilters(rules.filters, record));
}

// ---- Steps of one record --------------------------------------------------------

template <size_t N>
static void CountAt(TimeDistribution<N>& distribution, int index) {
  ++distribution.counts[index];
  ++distribution.total;
}

static void CountNotFound(const Rules& rules, const SuperLogRecord& record, Analysis& analysis) {
  if (rules.bad_urls) {
    const std::string_view from = rules.bad_url_referrers ? record.referrer : std::string_view{};
    queue_item(analysis.badurls.list, analysis.badurls.info, record.url, from, false);
  }
  if (rules.bad_referrers) {
    queue_item(analysis.badreferrers.list, analysis.badreferrers.info, record.referrer, false);
  }
}

static void CountTime(const Rules& rules, const tm& local, Analysis& analysis) {
  if (rules.days) {
    CountAt(analysis.days, local.tm_yday);
  } else if (rules.dates) {
    CountDay(analysis.dates, local);
  }
  if (rules.hours_of_week) {
    CountAt(analysis.hours_of_week, local.tm_wday * 24 + local.tm_hour);
  }
}

static size_t PlaceOfStatus(int64_t status) {
  const auto place = static_cast<uint64_t>(status);
  return place < kStatuses ? place : 0;
}

static void CountStatus(int64_t status, Analysis& analysis) {
  ++analysis.statuses[PlaceOfStatus(status)];
}

// What the record adds to each item that it counts for. A size below 0 is none.
[[gnu::noinline]] static void TakeBytes(const SuperLogRecord& record, bool counted, Analysis& analysis) {
  const int64_t bytes = std::max<int64_t>(record.bytes, 0);
  count_amounts(bytes);
  AddCapped(analysis.status_bytes[PlaceOfStatus(record.status)], counted ? bytes : 0);
}

static bool HoldsQuery(std::string_view referrer) {
  const char* const end = referrer.data() + referrer.size();
  return FindByte(referrer.data(), end, '?') != end;
}

// Tells nearly all addresses of other sites by one look behind the scheme, whatever that is. Letters of both
// cases are one there, and some other characters, too.
static bool IsOfOther(const OwnHost& own, std::string_view address) {
  constexpr size_t kSeen = 8 + 4 + sizeof own.start;  // "https://", "www." and the start
  if (address.size() < kSeen) {
    return false;
  }
  const char* host = address.data() + (address[4] == 's' ? 8 : 7);
  host += StartWord<uint32_t>(host) == StartWord<uint32_t>("www.") ? 4 : 0;
  return (StartWord<uint64_t>(host) & own.mask) != own.start;
}

// Whether the address is one of the site's: its host ends there, or at a port. What ends at "@" is no
// host, but a name for another site's.
[[gnu::noinline]] static bool IsOwn(const Rules& rules, std::string_view referrer) {
  const std::string_view host = HostBehindWww(referrer);
  const size_t length = rules.own_host.name.size();
  // Nearly all others are told by one character.
  if (host.size() < length || ToLowerAscii(host[length - 1]) != ToLowerAscii(rules.own_host.name.back()) ||
      !BeginsWithIgnoreCase(host, rules.own_host.name)) {
    return false;
  }
  const std::string_view behind = host.substr(length);
  if (behind.starts_with(':')) {
    return behind.substr(0, behind.find_first_of("/?#")).find('@') == std::string_view::npos;
  }
  return behind.empty() || behind[0] == '/' || behind[0] == '?' || behind[0] == '#';
}

static void CountReferrer(const Rules& rules, std::string_view referrer, bool counted, Analysis& analysis) {
  const bool as_referrer = rules.referrers && counted;
  if (IsAbsent(referrer) || (!rules.search && !as_referrer) ||
      (rules.filter_referrers && !NotFilteredDomain(rules.settings, referrer))) {
    return;
  }
  const bool own =
      !rules.own_host.name.empty() && !IsOfOther(rules.own_host, referrer) && IsOwn(rules, referrer);
  const bool watched = as_referrer && !own && !referrer.empty();
  if (rules.search && !watched && (!own || HoldsQuery(referrer))) {
    CountSearchHits(referrer, analysis.search);
  }
  if (as_referrer && own) {
    ++analysis.referrers.total;
    ++analysis.own_referrers;
  } else if (as_referrer) {
    CountItem(analysis.referrers, referrer, true);
  }
}

static void CountUrl(const Rules& rules, std::string_view url, Analysis& analysis) {
  if (rules.urls) {
    queue_item(analysis.urls.list, analysis.urls.info, url, rules.urls_ignore_case);
  }
  if (rules.url_total) {
    ++analysis.urls.total;
  }
}

// What the reports of counted records take, between the bad URLs and the referrers.
static void CountVisit(const Rules& rules, const SuperLogRecord& record, std::string_view url,
                       Visitor& visitor, Analysis& analysis) {
  if (rules.browsers && !IsAbsent(record.agent)) {
    CountItem(analysis.browsers, record.agent, false);
  }
  if ((rules.domains || rules.domain_types) && !IsAbsent(visitor.host)) {
    CountDomain(rules, visitor, analysis);
  }
  if (rules.dimensions != 0) {
    CountDimensions(rules.dimensions, {record, url}, analysis);
  }
  if (rules.visits) {
    CountVisitOf(*analysis.visits, record, url);
  }
  CountTime(rules, record.local, analysis);
}

// As the find test and the requests report take it; cutting it before or after
// the find test's own cut is one.
static std::string_view UrlOf(const Rules& rules, const SuperLogRecord& record) {
  return rules.keep_query ? record.url : TruncateAt(record.url, rules.url_end_mark);
}

static bool IsOfCountedType(const Rules& rules, const SuperLogRecord& record) {
  return !rules.filter_types || NotFilteredFileType(rules.settings, TruncateFileType(record.url));
}

// Whether the name of its address is that of a host that is left out.
static bool IsLeftOutByName(const Rules& rules, Visitor& visitor, Analysis& analysis) {
  return rules.dns == DnsMode::kAllHosts && ResolveHost(rules, visitor, analysis) &&
         !rules.host_counts(rules.settings, KeptOfHost(rules, visitor.host));
}

// A record of a filtered file type is not counted, but may be a bad URL and may
// hold a search phrase.
static void CountRecord(const Rules& rules, const SuperLogRecord& record, Analysis& analysis) {
  const std::string_view url = UrlOf(rules, record);
  if (!IsSelected(rules, record, url)) {
    return;
  }
  const bool counted = IsOfCountedType(rules, record);
  Visitor visitor(record);
  if (counted) {
    if (IsLeftOutByName(rules, visitor, analysis)) {
      return;
    }
    ++analysis.hits;
    analysis.without_url += HasNoUrl(url) ? 1 : 0;
    CountStatus(record.status, analysis);
    rules.add_bytes(analysis.bytes, record.bytes);
  }
  if (rules.bytes) {
    TakeBytes(record, counted, analysis);
  }
  if (record.status == kNotFound) {
    CountNotFound(rules, record, analysis);
  }
  if (counted) {
    CountVisit(rules, record, url, visitor, analysis);
  }
  CountReferrer(rules, record.referrer, counted, analysis);
  if (counted) {
    CountUrl(rules, url, analysis);
  }
}

// Of an earlier day, what is told of those that the others are compared with. False where it is of none.
[[gnu::noinline]] static bool CountEarlierRecord(const Rules& rules, SuperLogRecord& record,
                                                 Analysis& analysis) {
  Comparison& comparison = analysis.comparison;
  if (record.time < comparison.first || record.time > comparison.last) {
    return false;
  }
  if (rules.anonymise) {
    TakePersonOut(record, rules.by_country);
  }
  if (!IsSelected(rules, record, UrlOf(rules, record))) {
    return true;
  }
  const bool counted = IsOfCountedType(rules, record);
  Visitor visitor(record);
  if (counted && IsLeftOutByName(rules, visitor, analysis)) {
    return true;
  }
  comparison.not_found += record.status == kNotFound ? 1 : 0;
  if (counted) {
    CountCompared(record, comparison);
  }
  return true;
}

// ---- The loop over the records ---------------------------------------------------

// Records may stand in any order, unless the rules take a file to be in order of time.
static LogRecords CountLogFile(const Rules& rules, Analysis& analysis) {
  const time_t first = analysis.range_first;
  const time_t last = analysis.range_last;
  const bool compares = analysis.comparison.asked;
  const LineListener line_read = mpLineRead;
  LogRecords records;
  SuperLogRecord record{};
  while (SuperLog_ParseNextLine(record)) {
    if (line_read != nullptr) {
      line_read();
    }
    AddTime(records, record.time);
    if (record.time > last && !rules.whole_logs) {
      break;
    }
    if (record.time >= first && record.time <= last) {
      ++records.in_range;
      if (rules.anonymise) [[unlikely]] {
        TakePersonOut(record, rules.by_country);
      }
      CountRecord(rules, record, analysis);
    } else if (compares && CountEarlierRecord(rules, record, analysis)) {
      ++records.in_range;
    }
  }
  return records;
}

// Adds the hours of the week to what is shown of them by part: part_of tells which each belongs to.
template <size_t N>
static void SumUp(const Analysis& analysis, TimeDistribution<N>& parts, size_t (*part_of)(size_t hour)) {
  for (size_t hour = 0; hour < kHoursInWeek; ++hour) {
    parts.counts[part_of(hour)] += analysis.hours_of_week.counts[hour];
  }
  parts.total += analysis.hours_of_week.total;
}

static void SumUpHours(const Settings& settings, Analysis& analysis) {
  if (settings.hitsperdayofweek != 0) {
    SumUp(analysis, analysis.weekdays, [](size_t hour) { return hour / 24; });
  }
  if (settings.hitsperhour != 0) {
    SumUp(analysis, analysis.hours, [](size_t hour) { return hour % 24; });
  }
}

template <size_t N>
static void WrapFigures(const Limits& limits, TimeDistribution<N>& distribution) {
  for (int64_t& count : distribution.counts) {
    count = Wrapped(limits, count);
  }
  distribution.total = Wrapped(limits, distribution.total);
}

// Figures simply rise while records stream through, and get their width in the end.
static void WrapFigures(Analysis& analysis) {
  const Limits& limits = analysis.counting.limits;
  for (int64_t* figure : {&analysis.hits, &analysis.urls.total, &analysis.referrers.total,
                          &analysis.browsers.total, &analysis.badurls.total, &analysis.badreferrers.total,
                          &analysis.domains.total, &analysis.domaintypes.total}) {
    *figure = Wrapped(limits, *figure);
  }
  for (DayCount& day : OrderDays(analysis.dates)) {
    day.count = Wrapped(limits, day.count);
  }
  analysis.dates.total = Wrapped(limits, analysis.dates.total);
  OrderDays(analysis.comparison.dates);
  WrapFigures(limits, analysis.days);
  WrapFigures(limits, analysis.hours_of_week);
  WrapFigures(limits, analysis.weekdays);
  WrapFigures(limits, analysis.hours);
}

// What the modules keep of a run joins the record of all that was counted.
static void CollectFigures(Analysis& analysis) {
  SetBrandCounts(analysis);
  // Smart memory notes its peak only where it reclaims; without any reclaim memory has only grown.
  const int64_t peak = gSM_TotalBytesFreed == 0 ? gSM_CurrentBytesAllocated : gSM_MaximumBytesAllocated;
  analysis.memory = {gSM_TotalBytesAllocated, gSM_CurrentBytesAllocated, peak, gSM_TotalBytesFreed};
  analysis.tables = gListInfo.first;
}

// Of a part, what the amounts would leave in a counter that others were added to before.
static SuperLongSum mPartBytes;

static void AddNotedBytes(SuperLong& counter, int64_t amount) {
  const auto narrow = static_cast<uint32_t>(amount);
  SuperLongAdd(counter, narrow);
  NoteAmount(mPartBytes, narrow);
}

// Wide figures are sums whatever the order of their amounts.
static Rules RulesOf(const Settings& settings, const Analysis& analysis) {
  Rules rules = ResolveRules(settings, analysis.counting);
  const bool added_to = settings.part != nullptr || settings.workers > 1;
  if (added_to && !analysis.counting.limits.wide_figures) {
    rules.add_bytes = AddNotedBytes;
  }
  return rules;
}

static void TakeLogFigures(Analysis& analysis) {
  analysis.logs = {SuperLog_GetTotalLogBytesRead(), SuperLog_LogsInRange(), SuperLog_GetLinesNotUnderstood(),
                   SuperLog_GetRecordsRead()};
}

void CollectLogFigures(const Settings& settings, Analysis& analysis) {
  if (settings.rules.whole_logs) {
    TakeLogFigures(analysis);
  }
}

void SettleCounts(Analysis& analysis) {
  SetTypeCounts(analysis);
  if (analysis.visits != nullptr) {
    FitVisits(*analysis.visits);
  }
  mPartBytes.sum = analysis.bytes;
  analysis.part_bytes = mPartBytes;
}

static constexpr CountedReport Analysis::*kReports[] = {
    &Analysis::urls,         &Analysis::referrers, &Analysis::browsers,    &Analysis::badurls,
    &Analysis::badreferrers, &Analysis::domains,   &Analysis::domaintypes, &Analysis::addresses};

template <typename Do>
static void ForEachReport(Analysis& analysis, Do do_it) {
  for (CountedReport Analysis::*const report : kReports) {
    do_it(analysis.*report);
  }
  for (CountedReport& report : analysis.dimensions) {
    do_it(report);
  }
}

static void EmptyReport(CountedReport& report) {
  if (report.info != nullptr) {
    empty_list(report.list, *report.info);
  }
  report.total = 0;
}

void ForgetCounts(Analysis& analysis) {
  Analysis empty{};
  empty.counting = analysis.counting;
  empty.ReportStartTime = analysis.ReportStartTime;
  empty.range_first = analysis.range_first;
  empty.range_last = analysis.range_last;
  empty.comparison = {.asked = analysis.comparison.asked,
                      .days = analysis.comparison.days,
                      .first = analysis.comparison.first,
                      .last = analysis.comparison.last};
  ForEachReport(analysis, EmptyReport);
  for (CountedReport Analysis::*const report : kReports) {
    empty.*report = analysis.*report;
  }
  std::ranges::copy(analysis.dimensions, empty.dimensions);
  EmptySearch(analysis.search);
  empty.search = analysis.search;
  ReleaseDays(analysis.dates);
  ReleaseDays(analysis.comparison.dates);
  empty.visits = analysis.visits;
  if (empty.visits != nullptr) {
    EmptyVisits(*empty.visits);
  }
  analysis = empty;
  mPartBytes = {};
  ForgetAllocations();
}

void CountRecords(const Settings& settings, Analysis& analysis) {
  const Rules rules = RulesOf(settings, analysis);
  mPartBytes = {};
  SuperLog_AskFor(rules.texts);
  CountTypesWithDomains(rules, analysis);
  WatchReferrers(rules, analysis);
  while (SuperLog_NextLogFile()) {
    const LogRecords records = CountLogFile(rules, analysis);
    CountWaiting();
    SuperLog_LogRead(records);
  }
  SuperLog_NextLogFile_Done();
  SettleCounts(analysis);
  TakeLogFigures(analysis);
}

void CompleteCounts(const Settings& settings, Analysis& analysis) {
  const Rules rules = ResolveRules(settings, analysis.counting);
  CollectFigures(analysis);
  if (rules.dns == DnsMode::kAfterwards) {
    NameAddresses(rules, analysis);
  }
  StopLookUps();
  SumUpDimensions(settings, analysis);
  LeaveOutPartsOfPages(settings, analysis);
  SumUpHours(settings, analysis);
  WrapFigures(analysis);
}

void CountLogs(const Settings& settings, Analysis& analysis) {
  CountRecords(settings, analysis);
  CompleteCounts(settings, analysis);
}

LineListener TakeLineListener() {
  return std::exchange(mpLineRead, nullptr);
}

void TellLines(LineListener listener, int64_t lines) {
  for (int64_t line = 0; listener != nullptr && line < lines; ++line) {
    listener();
  }
}

void EndAnalysis(Analysis& analysis) {
  destroyListInfo();
  DestroyDNSCache();
  ForgetAddresses();
  StopLookUps();
  SuperLog_Uninit();
  ForEachReport(analysis, [](CountedReport& report) { destroy(report.list); });
  ReleaseDays(analysis.dates);
  ReleaseDays(analysis.comparison.dates);
  ReleaseVisits(std::exchange(analysis.visits, nullptr));
  mpVisits = nullptr;
  FreeDomainsNow();
  FreeFileTypesNow();
  ForgetKnownAgents();
  ForgetCountries();
}

void ResetAnalysis() {
  forget_queued();
  destroyListInfo();
  Search_Reset();
  ResetSmartMemory();
  ResetFilters();
  ResetWildcards();
  ForgetNames();
  DestroyDNSCache();
  ForgetAddresses();
  CloseCountryDatabase();
  UseBuiltInRules();
  StopLookUps();
  mpResolver = gethostbyaddr;
  mpLineRead = nullptr;
  mpSearch = nullptr;
}
