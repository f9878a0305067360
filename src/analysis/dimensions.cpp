#include "analysis/dimensions.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>

#include "agents/agent.h"
#include "analysis/countries.h"
#include "analysis/country_names.h"
#include "analysis/normalise.h"
#include "analysis/protocols.h"
#include "analysis/rules.h"
#include "analysis/smart_memory.h"
#include "analysis/status_meanings.h"
#include "analysis/unknown_lines.h"
#include "analysis/url_times.h"
#include "base/capped_sum.h"
#include "base/text.h"
#include "dates/days.h"

// ---- Items ----------------------------------------------------------------------------

static std::string_view HostOf(const Request& request, ItemRoom&) {
  return request.record.host;
}

static std::string_view UserOf(const Request& request, ItemRoom&) {
  return request.record.user;
}

static std::string_view ItselfOf(std::string_view item, ItemRoom&) {
  return item;
}

// Of texts of the program nobody may read what is behind them, as those do who count a view.
static std::string_view Copied(std::string_view text, ItemRoom& room) {
  return {room, text.copy(room, kLongestItem)};
}

static std::string_view MethodItem(const Request& request, ItemRoom& room) {
  return Copied(MethodOf(request.record), room);
}

static std::string_view ProtocolItem(const Request& request, ItemRoom& room) {
  return Copied(ProtocolOf(request.record), room);
}

static std::string_view TlsVersionItem(const Request& request, ItemRoom& room) {
  return Copied(TlsVersionOf(request.record), room);
}

// In small letters.
static std::string_view Lowered(std::string_view text, ItemRoom& room) {
  const size_t length = text.copy(room, kLongestItem);
  std::transform(room, room + length, room, ToLowerAscii);
  return {room, length};
}

// Without its port and a trailing dot, as all of these are one site.
static std::string_view VhostOf(const Request& request, ItemRoom& room) {
  std::string_view site = WithoutPort(request.record.site);
  site.remove_suffix(site.size() > 1 && site.back() == '.' ? 1 : 0);
  return std::ranges::any_of(site, [](char c) { return c >= 'A' && c <= 'Z'; }) ? Lowered(site, room) : site;
}

// Of a request whose time is known.
static std::string_view UrlOf(const Request& request, ItemRoom&) {
  return request.record.taken < 0 ? std::string_view{} : request.url;
}

static bool IsError(int64_t status) {
  return status >= 400 && status < static_cast<int64_t>(kStatuses) && status != 404;
}

// "503 /path".
static std::string_view WithStatus(const Request& request, ItemRoom& room) {
  const auto status = static_cast<int>(request.record.status);
  room[0] = static_cast<char>('0' + status / 100);
  room[1] = static_cast<char>('0' + status / 10 % 10);
  room[2] = static_cast<char>('0' + status % 10);
  room[3] = ' ';
  return {room, 4 + request.url.copy(room + 4, kLongestItem - 4)};
}

static std::string_view ErrorOf(const Request& request, ItemRoom& room) {
  return IsError(request.record.status) ? WithStatus(request, room) : std::string_view{};
}

// What was not changed is no other place.
static std::string_view RedirectOf(const Request& request, ItemRoom& room) {
  const int64_t status = request.record.status;
  const bool leads_on = status >= 300 && status < 400 && status != 304;
  return leads_on ? WithStatus(request, room) : std::string_view{};
}

struct SizeClass {
  int64_t below;  // bytes
  std::string_view name;
};
static constexpr SizeClass kSizes[] = {
    {1, "nothing"},
    {1000, "below 1 kB"},
    {10'000, "1 kB to 10 kB"},
    {100'000, "10 kB to 100 kB"},
    {1'000'000, "100 kB to 1 MB"},
    {10'000'000, "1 MB to 10 MB"},
    {100'000'000, "10 MB to 100 MB"},
    {1'000'000'000, "100 MB to 1 GB"},
    {INT64_MAX, "1 GB and more"},
};

static std::string_view SizeOf(const Request& request, ItemRoom& room) {
  const SizeClass* size = kSizes;
  while (request.record.bytes >= size->below && size->below < INT64_MAX) {
    ++size;
  }
  return Copied(size->name, room);
}

static std::string_view ReferrerOf(const SuperLogRecord& record) {
  return record.referrer;
}

// The host of an address, whatever its scheme; those with "www." and without are one site.
static std::string_view SiteOf(std::string_view referrer, ItemRoom& room) {
  const size_t scheme = referrer.find("://");
  if (scheme == std::string_view::npos || scheme == 0 || referrer.find('/') < scheme) {
    return "(no address)";
  }
  std::string_view host = referrer.substr(scheme + 3);
  host = host.substr(0, host.find_first_of("/?#"));
  host.remove_prefix(std::min(host.rfind('@') + 1, host.size()));
  const size_t port = host.starts_with('[') ? host.find(':', host.find(']')) : host.find(':');
  host = Lowered(host.substr(0, port), room);
  host.remove_prefix(host.starts_with("www.") ? 4 : 0);
  return host.empty() ? "(no address)" : host;
}

std::string_view PathOf(std::string_view url) {
  const auto* const end = std::ranges::find_if(url, [](char c) { return c == '?' || c == '#'; });
  url = url.substr(0, static_cast<size_t>(end - url.begin()));
  const size_t scheme = url.find("://");
  if (!url.starts_with('/') && scheme != std::string_view::npos) {
    const size_t path = url.find('/', scheme + 3);
    return path == std::string_view::npos ? "/" : url.substr(path);
  }
  return url;
}

int DirectoryDepthOf(const Settings& settings) {
  return static_cast<int>(std::clamp(strtol(settings.directory_depth, nullptr, 10), 1L, kMostDirectoryDepth));
}

// With the slash behind the last of them, as a name without one is a file.
static std::string_view DirectoriesOf(std::string_view url, int levels) {
  const std::string_view path = PathOf(url);
  if (!path.starts_with('/')) {
    return path;  // there is no URL
  }
  size_t length = 1;
  for (size_t end = 0; levels > 0 && (end = path.find('/', length)) != std::string_view::npos; --levels) {
    length = end + 1;
  }
  return path.substr(0, length);
}

std::string_view TypeOfPath(std::string_view path, ItemRoom& room) {
  static constexpr size_t kLongest = 12;
  if (!path.starts_with('/')) {
    return path;
  }
  const std::string_view name = path.substr(path.rfind('/') + 1);
  if (name.empty()) {
    return "(directory)";
  }
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size() || name.size() - dot > kLongest) {
    return "(none)";
  }
  const std::string_view type = name.substr(dot);
  const bool plain =
      std::ranges::all_of(type.substr(1), [](char c) { return IsLetterAscii(c) || (c >= '0' && c <= '9'); });
  return plain ? Lowered(type, room) : "(none)";
}

static std::string_view FileTypeOf(std::string_view url, ItemRoom& room) {
  return TypeOfPath(PathOf(url), room);
}

static std::string_view BrowserOf(std::string_view agent, ItemRoom&) {
  return TellAgent(agent).family;
}

// "Firefox 115"; empty where no version is told.
static std::string_view BrowserVersionOf(std::string_view agent, ItemRoom& room) {
  const Agent told = TellAgent(agent);
  if (told.family.empty() || told.version.empty()) {
    return {};
  }
  size_t length = told.family.copy(room, kLongestItem - 1);
  room[length++] = ' ';
  return {room, length + told.version.copy(room + length, kLongestItem - length)};
}

static std::string_view SystemOf(std::string_view agent, ItemRoom&) {
  return TellAgent(agent).system;
}

static std::string_view DeviceOf(std::string_view agent, ItemRoom&) {
  const Agent told = TellAgent(agent);
  return told.robot.empty() ? DeviceNames()[static_cast<size_t>(told.device)].title : std::string_view{};
}

static std::string_view RobotOf(std::string_view agent, ItemRoom&) {
  return TellAgent(agent).robot;
}

// Nearly all URLs are told by their first characters.
static bool AsksForRobotsTxt(std::string_view url) {
  static constexpr std::string_view kRobotsTxt = "/robots.txt";
  return (url.starts_with(kRobotsTxt) || !url.starts_with('/')) && PathOf(url) == kRobotsTxt;
}

static std::string_view AgentAskingForRobotsTxt(const Request& request, ItemRoom&) {
  return AsksForRobotsTxt(request.url) ? request.record.agent : std::string_view{};
}

static std::string_view CountryOfRequest(const Request& request, ItemRoom& room) {
  return Copied(CountryOfVisitor(request.record), room);
}

static std::string_view CountryOf(std::string_view host, ItemRoom&) {
  return CountryOfHost(host);
}

// That of the first rule of the name; robots that are called by their own words are of no known purpose.
static const char* PurposeOfRobot(std::string_view name) {
  const AgentRules& rules = RulesInUse();
  const auto* const end = rules.rules.begin() + rules.count;
  const auto* const rule = std::find_if(rules.rules.begin(), end, [name](const AgentRule& other) {
    return other.kind == RuleKind::kRobot && (other.name.empty() ? other.word : other.name) == name;
  });
  const Purpose purpose = rule == end ? Purpose::kOther : rule->purpose;
  return PurposeNames()[static_cast<size_t>(purpose)].title.data();
}

// "2001-03-05".
static void AddVisitorsByDay(const VisitSums& sums, CountedReport& report) {
  report.total = sums.figures.visitors;
  for (const DayVisits& day : sums.days) {
    const CalendarDate date = DayOfNumber(day.day);
    char item[sizeof "9999-12-31" + 16];
    snprintf(item, sizeof item, "%04d-%02d-%02d", date.year, date.month, date.day);
    add_items(report.list, report.info, item, {day.visitors, day.visits});
  }
}

static void AddEntryPages(const VisitSums& sums, CountedReport& report) {
  report.total = sums.figures.visits;
  for (const PageVisits& page : sums.pages) {
    if (page.entries > 0) {
      add_items(report.list, report.info, page.url, {page.entries, page.single_page});
    }
  }
}

static void AddExitPages(const VisitSums& sums, CountedReport& report) {
  report.total = sums.figures.visits;
  for (const PageVisits& page : sums.pages) {
    if (page.exits > 0) {
      add_items(report.list, report.info, page.url, {page.exits});
    }
  }
}

// ---- The table ------------------------------------------------------------------------

constexpr Dimension kDimensions[] = {
    {.parameter = "statuses",
     .behind = "hoursofweek",
     .words = {"Status codes", "Status", "codes", "code", "request with a status", "requests with a status",
               "How the server answered."},
     .columns = "rank,status,count,share,name",
     .from = SummedFrom::kStatusCodes,
     .of_item = ItselfOf,
     .name_of = MeaningOfStatus,
     .in_classes = true},
    {.parameter = "servererrors",
     .behind = "badurls",
     .words = {"Errors", "Status and URL", "errors", "error", "request that failed otherwise than by 404",
               "requests that failed otherwise than by 404",
               "URLs answered with a status from 400 on but 404, and the pages that link to them."},
     .columns = "rank,error,count,share",
     .from = SummedFrom::kRequests,
     .of_request = ErrorOf,
     .asks = {.referrer = true},
     .led_by = ReferrerOf,
     .below_table = "servererrors_referrers",
     .below_columns = "rank,page,count,share,error"},
    {.parameter = "hosts",
     .behind = "browsers",
     .words = {"Visitors' addresses", "Address", "addresses", "address", "request that names a host",
               "requests that name a host",
               "Who asked most, by whole address or name, and when first and last in this report."},
     .columns = "rank,host,count,share,first_seen,last_seen",
     .from = SummedFrom::kRequests,
     .of_request = HostOf,
     .asks = {.host = true},
     .seen = true},
    {.parameter = "users",
     .behind = "domaintypes",
     .words = {"Users who signed on", "User", "users", "user", "request of a user", "requests of users",
               "Who signed on, by the names that the server knows."},
     .columns = "rank,user,count,share",
     .from = SummedFrom::kRequests,
     .of_request = UserOf,
     .asks = {.user = true}},
    {.parameter = "vhosts",
     .behind = "requests",
     .words = {"Virtual hosts", "Host", "hosts", "host", "request that names a virtual host",
               "requests that name a virtual host", "Which of the server's sites visitors asked for."},
     .columns = "rank,vhost,count,share",
     .from = SummedFrom::kRequests,
     .of_request = VhostOf,
     .asks = {.site = true}},
    {.parameter = "referringsites",
     .behind = "badreferrers",
     .words = {"Referring sites", "Site", "sites", "site", "request that another site led to",
               "requests that other sites led to", "The sites that visitors came from."},
     .columns = "rank,site,count,share",
     .from = SummedFrom::kReferrers,
     .of_item = SiteOf},
    {.parameter = "directories",
     .behind = "requests",
     .words = {"Directories", "Directory", "directories", "directory", "request", "requests",
               "The parts of the site that visitors asked for."},
     .columns = "rank,directory,count,share",
     .from = SummedFrom::kUrls,
     .of_levels = DirectoriesOf,
     .of_site = true},
    {.parameter = "filetypes",
     .behind = "directories",
     .words = {"File types", "Type", "types", "type", "request", "requests",
               "What kinds of files visitors asked for."},
     .columns = "rank,type,count,share",
     .from = SummedFrom::kUrls,
     .of_item = FileTypeOf},
    {.parameter = "browserfamilies",
     .behind = "browsers",
     .words = {"Browser families", "Browser", "browsers", "browser", "request of a browser",
               "requests of browsers",
               "What visitors look at the site with, without robots, and in which versions."},
     .columns = "rank,browser,count,share",
     .from = SummedFrom::kBrowsers,
     .of_item = BrowserOf,
     .divided_by = BrowserVersionOf,
     .below = {"versions", " versions", " ", "- ", false},
     .below_table = "browserfamilies_versions",
     .below_columns = "rank,version,count,share,browser"},
    {.parameter = "systems",
     .behind = "browserfamilies",
     .words = {"Operating systems", "System", "systems", "system", "request of a browser",
               "requests of browsers", "What visitors' browsers run on, where these tell it."},
     .columns = "rank,system,count,share",
     .from = SummedFrom::kBrowsers,
     .of_item = SystemOf},
    {.parameter = "devices",
     .behind = "systems",
     .words = {"Devices", "Device", "kinds", "kind", "request of a browser", "requests of browsers",
               "What kinds of devices visitors hold in their hands."},
     .columns = "rank,device,count,share",
     .from = SummedFrom::kBrowsers,
     .of_item = DeviceOf},
    {.parameter = "robots",
     .behind = "devices",
     .words =
         {"Robots", "Robot", "robots", "robot", "request of a robot", "requests of robots",
          "Programs that ask for pages by themselves, and what they are for. Each is called as it calls "
          "itself. Whether it has asked for robots.txt, which tells robots what they may not ask for, is "
          "told by the requests of this report."},
     .columns = "rank,robot,count,share,purpose,robots_txt",
     .from = SummedFrom::kBrowsers,
     .of_request = AgentAskingForRobotsTxt,
     .of_item = RobotOf,
     .name_of = PurposeOfRobot,
     .mark = {"robots.txt", "robots_txt"}},
    {.parameter = "visitors",
     .behind = "dailytotals",
     .words =
         {"Visitors", "Day", "days", "day", "", "",
          "Who came, how often and for how long. An address and a browser together are a visitor, and a "
          "visit ends when half an hour passes without a request. Robots are left out, and so is who saw "
          "no page."},
     .columns = "day,count,share,visits",
     .from = SummedFrom::kVisits,
     .asks = {.host = true, .agent = true},
     .of_visits = AddVisitorsByDay,
     .counted = "Visitors",
     .second = {"Visits", "visits", "visits"},
     .of_days = true,
     .with_figures = true},
    {.parameter = "entrypages",
     .behind = "requests",
     .words = {"Entry pages", "URL", "URLs", "URL", "visit", "visits",
               "Where visits begin. Those of robots do not count."},
     .columns = "rank,url,count,share,single_page_visits",
     .from = SummedFrom::kVisits,
     .asks = {.host = true, .agent = true},
     .of_site = true,
     .of_visits = AddEntryPages,
     .counted = "Visits",
     .second = {"Single-page", "single_page_visits", "single-page visits"}},
    {.parameter = "exitpages",
     .behind = "entrypages",
     .words = {"Exit pages", "URL", "URLs", "URL", "visit", "visits",
               "Where visits end. Those of robots do not count."},
     .columns = "rank,url,count,share",
     .from = SummedFrom::kVisits,
     .asks = {.host = true, .agent = true},
     .of_site = true,
     .of_visits = AddExitPages,
     .counted = "Visits"},
    {.parameter = "countries",
     .behind = "hosts",
     .words = {"Countries", "Country", "countries", "country", "request that names a host",
               "requests that name a host", "Where visitors' addresses are, by the country database."},
     .columns = "rank,country,count,share,name",
     .from = SummedFrom::kHosts,
     .of_request = CountryOfRequest,
     .asks = {.host = true},
     .of_item = CountryOf,
     .name_of = NameOfCountry,
     .name_is_read = true},
    {.parameter = "methods",
     .behind = "statuses",
     .words = {"Methods", "Method", "methods", "method", "request that names a method",
               "requests that name a method", "What visitors asked the server to do."},
     .columns = "rank,method,count,share",
     .from = SummedFrom::kRequests,
     .of_request = MethodItem,
     .asks = {.method = true}},
    {.parameter = "protocols",
     .behind = "methods",
     .words = {"Protocols", "Protocol", "protocols", "protocol", "request that names a protocol",
               "requests that name a protocol", "Which HTTP visitors' programs spoke."},
     .columns = "rank,protocol,count,share",
     .from = SummedFrom::kRequests,
     .of_request = ProtocolItem,
     .asks = {.protocol = true}},
    {.parameter = "tlsversions",
     .behind = "protocols",
     .words = {"TLS versions", "Version", "versions", "version", "request that came under TLS",
               "requests that came under TLS", "How connections were encrypted, where the log tells it."},
     .columns = "rank,version,count,share",
     .from = SummedFrom::kRequests,
     .of_request = TlsVersionItem,
     .asks = {.tls = true}},
    {.parameter = "slow",
     .behind = "requests",
     .words =
         {"Slow URLs", "URL", "URLs", "URL", "the time that a request took", "the time that requests took",
          "URLs by the time that all of their requests took. Half of a URL's requests took no longer than "
          "its median, 95 and 99 of 100 no longer than what stands behind it; these figures are less than "
          "1 % off, and sums are exact."},
     .columns = "rank,url,count,share,median_us,p95_us,p99_us,sum_us",
     .from = SummedFrom::kRequests,
     .of_request = UrlOf,
     .asks = {.taken = true},
     .of_site = true,
     .timed = true},
    {.parameter = "redirects",
     .behind = "servererrors",
     .words = {"Redirections", "Status and URL", "redirections", "redirection",
               "request that was sent elsewhere", "requests that were sent elsewhere",
               "URLs that lead to others, by status."},
     .columns = "rank,redirection,count,share",
     .from = SummedFrom::kRequests,
     .of_request = RedirectOf},
    {.parameter = "sizes",
     .behind = "filetypes",
     .words = {"Sizes of answers", "Size", "sizes", "size", "request", "requests",
               "How much visitors were sent at a time."},
     .columns = "rank,size,count,share",
     .from = SummedFrom::kRequests,
     .of_request = SizeOf},
    {.parameter = "unknown",
     .behind = "domaintypes",
     .words = {"Lines not understood", "Log and reason", "reasons", "reason", "line that was not understood",
               "lines that were not understood",
               "Lines of logs that hold no request, and why: where something is missing is told of the first "
               "such line."},
     .columns = "rank,log,count,share,first_line",
     .from = SummedFrom::kLogs,
     .of_logs = AddUnknownLines,
     .counted = "Lines",
     .second = {"First line", "first_line", "first line"}},
};
constexpr size_t kDimensionCount = std::size(kDimensions);
static_assert(kDimensionCount <= kMostDimensions);

// ---- Which are asked for --------------------------------------------------------------

static bool IsAsked(const Settings& settings, size_t row) {
  return settings.dimensions[row].on != 0;
}

// The hosts, too, are counted without being shown where others are made of them.
static bool IsCounted(const Settings& settings, size_t row) {
  return IsAsked(settings, row) ||
         (kDimensions[row].of_request == HostOf && IsSummedFrom(settings, SummedFrom::kHosts));
}

bool AreDimensionsAsked(const Settings& settings) {
  return std::ranges::any_of(settings.dimensions, [](const RankedReport& report) { return report.on != 0; });
}

// What is made of hosts is counted for each request where hosts are cut.
static SummedFrom SourceOf(const Settings& settings, size_t row) {
  const SummedFrom from = kDimensions[row].from;
  return settings.anonymise != 0 && from == SummedFrom::kHosts ? SummedFrom::kRequests : from;
}

bool IsSummedFrom(const Settings& settings, SummedFrom from) {
  for (size_t row = 0; row < kDimensionCount; ++row) {
    if (IsAsked(settings, row) && SourceOf(settings, row) == from) {
      return true;
    }
  }
  return false;
}

bool AreCountriesAsked(const Settings& settings) {
  for (size_t row = 0; row < kDimensionCount; ++row) {
    if (IsAsked(settings, row) && kDimensions[row].from == SummedFrom::kHosts) {
      return true;
    }
  }
  return false;
}

void LeaveOutCountries(Settings& settings) {
  if (settings.country_database[0] != '\0' || !AreCountriesAsked(settings)) {
    return;
  }
  for (size_t row = 0; row < kDimensionCount; ++row) {
    if (kDimensions[row].from == SummedFrom::kHosts) {
      settings.dimensions[row].on = 0;
    }
  }
  settings.countries_left_out = true;
}

AskedTexts WithTextsOfDimensions(const Settings& settings, AskedTexts asked) {
  for (size_t row = 0; row < kDimensionCount; ++row) {
    if (IsAsked(settings, row)) {
      asked = Both(asked, kDimensions[row].asks);
    }
  }
  return asked;
}

static bool HasMarks(const Dimension& dimension) {
  return !dimension.mark.title.text().empty();
}

uint32_t DimensionsOfRequests(const Settings& settings) {
  uint32_t dimensions = 0;
  for (size_t row = 0; row < kDimensionCount; ++row) {
    const bool of_requests = SourceOf(settings, row) == SummedFrom::kRequests || HasMarks(kDimensions[row]);
    dimensions |= uint32_t{IsCounted(settings, row) && of_requests} << row;
  }
  return dimensions;
}

// ---- Counting -------------------------------------------------------------------------

// A second figure needs the room of bytes, which what is no request has none of.
static Amounts AmountsOf(const Dimension& dimension, const Settings& settings) {
  if (dimension.timed) {
    return Amounts::kSummed;
  }
  if (IsOfRequests(dimension)) {
    return AmountsOf(settings);
  }
  return dimension.second.title.text().empty() ? Amounts::kNone : Amounts::kSummed;
}

static bool HasSublists(const Dimension& dimension) {
  return HasSubItems(dimension) || dimension.timed || HasMarks(dimension);
}

void CreateDimensions(const Settings& settings, Analysis& analysis) {
  for (size_t row = 0; row < kDimensionCount; ++row) {
    if (IsCounted(settings, row)) {
      CountedReport& report = analysis.dimensions[row];
      const Dimension& dimension = kDimensions[row];
      init_list(report.list, report.info, dimension.words.title.text().data(),
                HasSublists(dimension) ? SubLists::kAny : SubLists::kNone, AmountsOf(dimension, settings),
                dimension.seen ? Spans::kKept : Spans::kNone);
    }
  }
  analysis.visits = IsSummedFrom(settings, SummedFrom::kVisits) ? NewVisits() : nullptr;
}

// Amounts of all other keys are the bytes of the request, where they have some.
static void CountTaken(CountedReport& report, std::string_view item, const SuperLogRecord& record) {
  count_amounts(record.taken);
  queue_item(report.list, report.info, item, NameOfBucket(BucketOf(record.taken)), false);
  count_amounts(std::max<int64_t>(record.bytes, 0));
  AddCapped(report.total, record.taken);
}

static void CountSeen(CountedReport& report, std::string_view item, const SuperLogRecord& record) {
  queue_item_at(report.list, report.info, item, record.time, false);
  ++report.total;
}

void CountDimensions(uint32_t dimensions, const Request& request, Analysis& analysis) {
  ItemRoom room;
  for (; dimensions != 0; dimensions &= dimensions - 1) {
    const auto row = static_cast<size_t>(std::countr_zero(dimensions));
    const Dimension& dimension = kDimensions[row];
    const std::string_view item = dimension.of_request(request, room);
    if (item.empty()) {
      continue;
    }
    if (dimension.timed) {
      CountTaken(analysis.dimensions[row], item, request.record);
    } else if (item.data() == room) {
      CountCopy(analysis.dimensions[row], item,
                dimension.led_by != nullptr ? dimension.led_by(request.record) : std::string_view{});
    } else if (dimension.seen) {
      CountSeen(analysis.dimensions[row], item, request.record);
    } else {
      CountItem(analysis.dimensions[row], item, false);
    }
  }
}

static void Add(CountedReport& report, std::string_view item, const KeyCount& count) {
  add_items(report.list, report.info, item, count);
}

static void SumUpStatuses(CountedReport& report, const Analysis& analysis) {
  for (size_t status = 1; status < kStatuses; ++status) {
    if (analysis.statuses[status] != 0) {
      const char digits[] = {static_cast<char>('0' + status / 100), static_cast<char>('0' + status / 10 % 10),
                             static_cast<char>('0' + status % 10)};
      Add(report, {digits, sizeof digits}, {analysis.statuses[status], analysis.status_bytes[status]});
      report.total += analysis.statuses[status];
    }
  }
}

static void AddBelow(const Dimension& dimension, std::string_view of_item, const ListItem& item,
                     CountedReport& report) {
  if (dimension.divided_by != nullptr) {
    ItemRoom room;
    add_subitems(report.list, report.info, of_item, dimension.divided_by(item.key(), room), item.count);
  }
}

// What memory reclaims took from the source is missing here.
static void SumUpItems(const Dimension& dimension, const Settings& settings, const CountedReport& source,
                       int64_t total, CountedReport& report) {
  const int levels = DirectoryDepthOf(settings);
  ItemRoom room;
  report.total = total;
  for (const ListItem* item = source.list.first; item != nullptr; item = item->next) {
    const std::string_view of_item = dimension.of_levels != nullptr ? dimension.of_levels(item->key(), levels)
                                                                    : dimension.of_item(item->key(), room);
    if (of_item.empty()) {
      report.total -= item->count;
    } else {
      Add(report, of_item, {item->count, AmountOf(*item)});
      AddBelow(dimension, of_item, *item, report);
    }
  }
  report.info->reclaimed += source.info->reclaimed;
}

// While requests are counted, the list holds what is to be marked: the items of these, each once.
static std::set<std::string> TakeMarked(const Dimension& dimension, CountedReport& report) {
  std::set<std::string> marked;
  ItemRoom room;
  char source[kLongestItem + 1];
  for (KeyCount count{}; take_first(report.list, *report.info, source, sizeof source, count);) {
    marked.emplace(dimension.of_item(source, room));
  }
  return marked;
}

static void SumUpMarkedItems(const Dimension& dimension, const Settings& settings,
                             const CountedReport& source, CountedReport& report) {
  const std::set<std::string> marked = TakeMarked(dimension, report);
  SumUpItems(dimension, settings, source, source.total, report);
  for (const std::string& item : marked) {
    add_subitems(report.list, report.info, item, dimension.mark.name.text(), 1);
  }
}

static const CountedReport& HostsOf(const Analysis& analysis) {
  const auto* const hosts = std::ranges::find_if(
      kDimensions, [](const Dimension& dimension) { return dimension.of_request == HostOf; });
  return analysis.dimensions[hosts - kDimensions];
}

static void SumUp(const Dimension& dimension, const Settings& settings, SummedFrom from,
                  CountedReport& report, const Analysis& analysis, const VisitSums& visits) {
  switch (from) {
    case SummedFrom::kRequests:
      return;
    case SummedFrom::kStatusCodes:
      SumUpStatuses(report, analysis);
      return;
    case SummedFrom::kUrls:
      SumUpItems(dimension, settings, analysis.urls, analysis.urls.total, report);
      return;
    case SummedFrom::kReferrers:
      SumUpItems(dimension, settings, analysis.referrers, analysis.referrers.total - analysis.own_referrers,
                 report);
      return;
    case SummedFrom::kBrowsers:
      if (HasMarks(dimension)) {
        SumUpMarkedItems(dimension, settings, analysis.browsers, report);
      } else {
        SumUpItems(dimension, settings, analysis.browsers, analysis.browsers.total, report);
      }
      return;
    case SummedFrom::kVisits:
      dimension.of_visits(visits, report);
      return;
    case SummedFrom::kLogs:
      dimension.of_logs(settings, report);
      return;
    case SummedFrom::kHosts:
      SumUpItems(dimension, settings, HostsOf(analysis), HostsOf(analysis).total, report);
      return;
  }
}

void SumUpDimensions(const Settings& settings, Analysis& analysis) {
  if (!AreDimensionsAsked(settings)) {
    return;
  }
  count_queued();
  const VisitSums visits = analysis.visits != nullptr ? SumUpVisits(*analysis.visits) : VisitSums{};
  if (analysis.visits != nullptr) {
    ForgetVisitors(*analysis.visits);  // what is made of them needs room, too
  }
  analysis.visit_figures = visits.figures;
  const bool reclaimed = SetReclaiming(false);
  for (size_t row = 0; row < kDimensionCount; ++row) {
    if (IsAsked(settings, row)) {
      SumUp(kDimensions[row], settings, SourceOf(settings, row), analysis.dimensions[row], analysis, visits);
    }
  }
  SetReclaiming(reclaimed);
}
