#include "cgi/parameters.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "analysis/dimensions.h"
#include "analysis/record_filters.h"
#include "base/byte_size.h"
#include "dates/years.h"
#include "report/extra_texts.h"
#include "superlog/superlog.h"

void initialize(Settings& settings, const Environment& env) {
  settings = {};
  CopyText(settings.config, kDefaultConfigFile);
  settings.sy = 1900;
  settings.ey = 1900;
  settings.rules.last_year = kLastNarrowYear;
  settings.program_path = env.SCRIPT_NAME;
  settings.DNSLookupSeconds = 10;
  settings.workers = 1;
  settings.worker_bytes = kUsualWorkerBytes;
  settings.part_cache_size = kUsualPartCacheSize;
  settings.SmartMemoryEnabled = 1;
  settings.SmartMemoryKeepEntries = 100;
  settings.SmartMemoryReclaimSize = 1000;
}

// --- Splitting lines and values ---

// Copies at most kTextMax characters of text, leaving out every "=".
static void CopyWithoutEquals(char (&out)[kTextSize], const char* text) {
  size_t length = 0;
  for (; *text != '\0' && length < kTextMax; ++text) {
    if (*text != '=') {
      out[length++] = *text;
    }
  }
  out[length] = '\0';
}

void ParseFieldValue(const char* line, char (&name)[kTextSize], char (&value)[kTextSize], bool whole) {
  const std::string_view text = line;
  const size_t equals = text.find('=');
  CopyText(name, text.substr(0, equals));
  const char* const rest = equals == std::string_view::npos ? "" : line + equals + 1;
  if (whole) {
    CopyText(value, rest);
  } else {
    // deliberate: "a=b=c" is the name "a" and the value "bc"
    CopyWithoutEquals(value, rest);
  }
}

void ReturnValue(char* out, size_t capacity, const char* value, int n) {
  std::string_view rest = value == nullptr ? "" : value;
  for (int field = 1; field < n; ++field) {
    const size_t comma = rest.find(',');
    rest = comma == std::string_view::npos ? "" : rest.substr(comma + 1);
  }
  CopyText(out, capacity, n < 1 ? "" : rest.substr(0, rest.find(',')));
}

int NumValues(const char* value) {
  if (value == nullptr || *value == '\0') {
    return 0;
  }
  int fields = 1;
  for (; *value != '\0'; ++value) {
    fields += *value == ',' ? 1 : 0;
  }
  return fields;
}

// --- What a keyword does with its value ---

struct Param {
  const char* value;  // at most kTextMax characters
  ParamSource source;
  int level;
};

template <auto kField>
static void Copy(Settings& settings, const Param& param) {
  CopyText(settings.*kField, param.value);
}

static void Store(int& field, int number) {
  field = number;
}

// The two byte-wide switches keep the number modulo 256.
static void Store(unsigned char& field, int number) {
  field = static_cast<unsigned char>(number);
}

template <auto kField>
static void Number(Settings& settings, const Param& param) {
  Store(settings.*kField, ToInt(param.value));
}

template <auto kField>
static void Year(Settings& settings, const Param& param) {
  settings.*kField = StrToYear4(param.value, settings.*kField, settings.rules.last_year);
}

// Account lines always count; a request fills the text only while it is empty.
static void TakeUnlessFixed(char (&text)[kTextSize], const Param& param) {
  if (param.source == ParamSource::kAccount || text[0] == '\0') {
    CopyText(text, param.value);
  }
}

template <auto kField>
static void FixedByAccount(Settings& settings, const Param& param) {
  TakeUnlessFixed(settings.*kField, param);
}

// Hands the value and its level to a setter that weighs levels itself.
template <auto kSetter>
static void Levelled(Settings&, const Param& param) {
  kSetter(param.value, param.level);
}

template <auto kSetter>
static void LevelledText(Settings& settings, const Param& param) {
  kSetter(settings, param.value, param.level);
}

template <auto kField, auto kWhole>
static void Password(Settings& settings, const Param& param) {
  CopyText(settings.*kField, param.value);
  CopyText(settings.*kWhole, param.value);
}

// A name that was cut could be another one's.
static void SignOn(Settings& settings, const Param& param) {
  const std::string_view names = param.value;
  const size_t comma = names.rfind(',');
  const bool whole = names.size() < kTextMax;
  CopyText(settings.signon, whole ? names : names.substr(0, comma == std::string_view::npos ? 0 : comma));
}

static void Find(Settings& settings, const Param& param) {
  CopyText(param.source == ParamSource::kAccount ? settings.find_account : settings.find_form, param.value);
}

static void PagesOnly(Settings& settings, const Param& param) {
  settings.pages_only_asked = true;
  settings.pages_only = ToInt(param.value);
}

static void Url(Settings& settings, const Param& param) {
  std::string_view url = param.value;
  if (url.ends_with('/')) {
    url.remove_suffix(1);
  }
  CopyText(settings.url, url);
}

// What an account's line says of the days is final: no words of a request replace it.
static void FixDays(Settings& settings, const Param& param) {
  if (param.source == ParamSource::kAccount && !settings.fixed_days) {
    settings.fixed_days = true;
    settings.days[0] = settings.from[0] = settings.to[0] = '\0';
  }
}

template <auto kField>
static void Day(Settings& settings, const Param& param) {
  FixDays(settings, param);
  CopyText(settings.*kField, param.value);
}

template <auto kField>
static void YearOfDay(Settings& settings, const Param& param) {
  FixDays(settings, param);
  Year<kField>(settings, param);
}

static void Date(Settings& settings, const Param& param) {
  FixDays(settings, param);
  ReturnValue(settings.start_date, sizeof settings.start_date, param.value, 1);
  ReturnValue(settings.end_date, sizeof settings.end_date, param.value, 2);
}

void SetTimeZone(Settings& settings, const char* name, int level) {
  if (level >= settings.timezone_level) {
    CopyText(settings.timezone, name);
    settings.timezone_level = level;
  }
}

void SetWorkers(Settings& settings, const char* value, int level) {
  if (level < settings.workers_level) {
    return;
  }
  char bytes[kTextSize];
  ReturnValue(bytes, sizeof bytes, value, 2);
  settings.workers_level = level;
  settings.workers = std::clamp(ToInt(value), 0, kMostWorkers);
  settings.worker_bytes = bytes[0] == '\0' ? kUsualWorkerBytes : std::max(ToInt(bytes), 1);
}

void SetPartCache(Settings& settings, const char* value, int level) {
  if (level >= settings.part_cache_level) {
    settings.part_cache_level = level;
    CopyText(settings.part_cache, strlen(value) < kTextMax ? value : "");
  }
}

void SetPartCacheSize(Settings& settings, const char* value, int level) {
  static constexpr uint64_t kMost = uint64_t{1} << 50;
  const std::optional<uint64_t> size = ByteSize(value);
  if (size && level >= settings.part_cache_size_level) {
    settings.part_cache_size_level = level;
    settings.part_cache_size = static_cast<int64_t>(std::min(*size, kMost));
  }
}

void SetAnonymise(Settings& settings, const char* value, int) {
  settings.anonymise_asked = true;
  settings.anonymise |= ToInt(value) != 0 ? 1 : 0;
}

void SetCountryDatabase(Settings& settings, const char* value, int level) {
  if (level >= settings.country_database_level) {
    settings.country_database_level = level;
    CopyText(settings.country_database, value);
  }
}

// Whoever calls the program knows best.
template <auto kSetter>
static void BestByShell(Settings& settings, const Param& param) {
  constexpr int kLevelShell = kLevelAccount + 1;
  kSetter(settings, param.value, param.source == ParamSource::kShell ? kLevelShell : param.level);
}

static void Debug(Settings& settings, const Param& param) {
  settings.debug = ToInt(param.value);
  settings.debug_sources |= 1U << param.level;
}

static void SmartMemoryDisabled(Settings& settings, const Param& param) {
  settings.smartmemorydisabled = ToInt(param.value);
  if (settings.smartmemorydisabled != 0) {
    settings.SmartMemoryEnabled = 0;
  }
}

static void SetTop(RankedReport& report, const char* value) {
  report.top = ToInt(value);
  report.top_asked = *value != '\0';
  report.top_is_percent = std::string_view(value).ends_with('%') ? 1 : 0;
}

static void SetGreater(RankedReport& report, const char* value) {
  report.greater = ToInt(value);
}

// The whole report in one value: on[,top[,greater]].
static void SetReport(RankedReport& report, const char* value) {
  report.on = ToInt(value);
  char field[kTextSize];
  ReturnValue(field, sizeof field, value, 2);
  SetTop(report, field);  // deliberate: without a second field an earlier top is reset to 0
  if (NumValues(value) >= 2) {
    ReturnValue(field, sizeof field, value, 3);
    SetGreater(report, field);
  }
}

template <auto kReport>
static void Ranked(Settings& settings, const Param& param) {
  SetReport(settings.*kReport, param.value);
}

template <auto kReport>
static void RankedTop(Settings& settings, const Param& param) {
  SetTop(settings.*kReport, param.value);
}

template <auto kReport>
static void RankedGreater(Settings& settings, const Param& param) {
  SetGreater(settings.*kReport, param.value);
}

// The sections of the table of dimensions, by the same three names; anybody may ask for them.
static bool SetDimension(std::string_view name, const char* value, Settings& settings) {
  static constexpr struct {
    std::string_view suffix;
    void (*set)(RankedReport& report, const char* value);
  } kNames[] = {{"", SetReport}, {"_top", SetTop}, {"_greater", SetGreater}};
  for (size_t row = 0; settings.rules.later_names && row < kDimensionCount; ++row) {
    const std::string_view parameter = kDimensions[row].parameter;
    for (const auto& known : kNames) {
      if (BeginsWithIgnoreCase(name, parameter) &&
          EqualIgnoreCase(name.substr(parameter.size()), known.suffix)) {
        known.set(settings.dimensions[row], value);
        return true;
      }
    }
  }
  return false;
}

// The run has looked for this one before it read any other.
static void DecidedBefore(Settings&, const Param&) {}

static bool SetFilter(std::string_view name, const Param& param, Settings& settings) {
  for (size_t row = 0; settings.rules.later_names && row < kRecordFilterCount; ++row) {
    FilterLists& lists = settings.filters[row];
    const std::string filter = kRecordFilters[row].name;
    if (EqualIgnoreCase(name, "only_" + filter)) {
      TakeUnlessFixed(lists.only, param);
      return true;
    }
    if (EqualIgnoreCase(name, "exclude_" + filter)) {
      TakeUnlessFixed(lists.exclude, param);
      return true;
    }
  }
  return false;
}

// --- The keywords ---

enum Accepted : unsigned {
  kFromForm = 1,
  kFromShell = 2,
  kFromAccount = 4,
  kFromRequest = kFromForm | kFromShell,
  kFromAny = kFromRequest | kFromAccount,
  kNotFromForm = kFromShell | kFromAccount,
};
// Whether a form that may come from anybody can set it. Taken is only what says what
// to report, over which days and paths, how to show it, and who asks. A new row has to
// say which it is, and docs/security.md why.
enum Stranger { kIgnored, kTaken };
enum AfterMatch { kStop, kGoOn };
// Whether a name has been one from the beginning, or is unknown to a run whose settings say
// that it takes no later ones.
enum Age { kClassic, kLater };

struct Keyword {
  const char* name;
  void (*apply)(Settings& settings, const Param& param);
  Accepted accepted;
  Stranger stranger;
  AfterMatch after = kStop;
  Age age = kClassic;
};

// In order of comparison: the first row of the name that accepts the source
// decides, unless it lets the comparison go on.
static const Keyword kKeywords[] = {
    {"edition", DecidedBefore, kFromShell, kIgnored},
    {"part", DecidedBefore, kFromShell, kIgnored},
    {"merge", DecidedBefore, kFromShell, kIgnored},
    {"plan", DecidedBefore, kFromShell, kIgnored},
    {"piece", DecidedBefore, kFromShell, kIgnored},
    {"missing", DecidedBefore, kFromShell, kIgnored},
    {"stream", DecidedBefore, kFromShell, kIgnored},
    {"workers", BestByShell<SetWorkers>, kNotFromForm, kIgnored},
    {"partcache", BestByShell<SetPartCache>, kNotFromForm, kIgnored},
    {"partcachesize", BestByShell<SetPartCacheSize>, kNotFromForm, kIgnored},
    {"anonymise", LevelledText<SetAnonymise>, kFromAny, kTaken, kStop, kLater},
    {"countrydatabase", BestByShell<SetCountryDatabase>, kNotFromForm, kIgnored, kStop, kLater},
    {"config", Copy<&Settings::config>, kFromRequest, kIgnored},
    {"password", Password<&Settings::password_account, &Settings::stored_password>, kFromAccount, kIgnored},
    {"signon", SignOn, kFromAccount, kIgnored, kStop, kLater},
    {"AccessLog", Copy<&Settings::AccessLog>, kFromAccount, kIgnored},
    {"logs", Copy<&Settings::logs>, kFromAccount, kIgnored},
    {"authrealm", FixedByAccount<&Settings::authrealm>, kFromAny, kTaken},
    {"authuser", FixedByAccount<&Settings::authuser>, kFromAny, kTaken},
    {"showquery", Number<&Settings::showquery>, kFromAny, kTaken, kGoOn},
    {"summary", Copy<&Settings::summary>, kFromAny, kIgnored},
    {"username", Copy<&Settings::username>, kFromRequest, kTaken},
    {"password", Password<&Settings::password_form, &Settings::typed_password>, kFromRequest, kTaken},
    {"find", Find, kFromAny, kTaken},
    {"find_casesensitive", Number<&Settings::find_casesensitive>, kFromAny, kTaken},
    {"find_pattern", Number<&Settings::find_pattern>, kFromAny, kTaken},
    {"title", Copy<&Settings::title>, kFromAny, kTaken},
    {"output", Copy<&Settings::output>, kFromAny, kTaken, kStop, kLater},
    {"section", Copy<&Settings::section>, kFromAny, kTaken, kStop, kLater},
    {"totals", Number<&Settings::totals>, kFromShell, kIgnored, kStop, kLater},
    {"csv_formulas", Number<&Settings::csv_formulas>, kFromAny, kIgnored, kStop, kLater},
    {"url", Url, kFromAny, kIgnored},
    {"sm", Day<&Settings::sm>, kFromAny, kTaken},
    {"sd", Day<&Settings::sd>, kFromAny, kTaken},
    {"em", Day<&Settings::em>, kFromAny, kTaken},
    {"ed", Day<&Settings::ed>, kFromAny, kTaken},
    {"sy", YearOfDay<&Settings::sy>, kFromAny, kTaken},
    {"ey", YearOfDay<&Settings::ey>, kFromAny, kTaken},
    {"date", Date, kFromAny, kTaken},
    {"days", Day<&Settings::days>, kFromAny, kTaken, kStop, kLater},
    {"from", Day<&Settings::from>, kFromAny, kTaken, kStop, kLater},
    {"to", Day<&Settings::to>, kFromAny, kTaken, kStop, kLater},
    {"filter_domains", Copy<&Settings::filter_domains>, kFromAny, kTaken},
    {"filter_filetypes", Copy<&Settings::filter_filetypes>, kFromAny, kTaken},

    {"badurls", Ranked<&Settings::badurls>, kFromAny, kTaken},
    {"browsers", Ranked<&Settings::browsers>, kFromAny, kTaken},
    {"requests", Ranked<&Settings::requests>, kFromAny, kTaken},
    {"search", Ranked<&Settings::search>, kFromAny, kTaken},
    {"badreferrers", Ranked<&Settings::badreferrers>, kFromAny, kTaken},
    {"domaintypes", Ranked<&Settings::domaintypes>, kFromAny, kTaken},
    {"domains", Ranked<&Settings::domains>, kFromAny, kTaken},
    {"referrers", Ranked<&Settings::referrers>, kFromAny, kTaken},

    {"badurls_top", RankedTop<&Settings::badurls>, kFromAny, kTaken},
    {"browsers_top", RankedTop<&Settings::browsers>, kFromAny, kTaken},
    {"requests_top", RankedTop<&Settings::requests>, kFromAny, kTaken},
    {"search_top", RankedTop<&Settings::search>, kFromAny, kTaken},
    {"badreferrers_top", RankedTop<&Settings::badreferrers>, kFromAny, kTaken},
    {"domaintypes_top", RankedTop<&Settings::domaintypes>, kFromAny, kTaken},
    {"domains_top", RankedTop<&Settings::domains>, kFromAny, kTaken},
    {"referrers_top", RankedTop<&Settings::referrers>, kFromAny, kTaken},

    {"badurls_greater", RankedGreater<&Settings::badurls>, kFromAny, kTaken},
    {"browsers_greater", RankedGreater<&Settings::browsers>, kFromAny, kTaken},
    {"requests_greater", RankedGreater<&Settings::requests>, kFromAny, kTaken},
    {"search_greater", RankedGreater<&Settings::search>, kFromAny, kTaken},
    {"badreferrers_greater", RankedGreater<&Settings::badreferrers>, kFromAny, kTaken},
    {"domaintypes_greater", RankedGreater<&Settings::domaintypes>, kFromAny, kTaken},
    {"domains_greater", RankedGreater<&Settings::domains>, kFromAny, kTaken},
    {"referrers_greater", RankedGreater<&Settings::referrers>, kFromAny, kTaken},

    {"search_casesensitive", Number<&Settings::search_casesensitive>, kFromAny, kTaken},
    {"badurl_referrers", Number<&Settings::badurl_referrers>, kFromAny, kTaken},
    {"filter_referrers", Number<&Settings::filter_referrers>, kFromAny, kTaken},
    {"pages_only", PagesOnly, kFromAny, kTaken, kStop, kLater},
    {"own_referrers", Number<&Settings::own_referrers>, kFromAny, kTaken, kStop, kLater},
    {"directory_depth", Copy<&Settings::directory_depth>, kFromAny, kTaken, kStop, kLater},
    {"bytes", Number<&Settings::with_bytes>, kFromAny, kTaken, kStop, kLater},
    {"order", Copy<&Settings::order>, kFromAny, kTaken, kStop, kLater},
    {"compare", Copy<&Settings::compare>, kFromAny, kTaken, kStop, kLater},
    {"subdirs", Number<&Settings::subdirs>, kFromAny, kTaken},
    {"dailytotals", Number<&Settings::dailytotals>, kFromAny, kTaken},
    {"hitsperdayofweek", Number<&Settings::hitsperdayofweek>, kFromAny, kTaken},
    {"hitsperhour", Number<&Settings::hitsperhour>, kFromAny, kTaken},
    {"no_script", Number<&Settings::no_script>, kFromAny, kTaken, kStop, kLater},
    {"hoursofweek", Number<&Settings::hoursofweek>, kFromAny, kTaken, kStop, kLater},
    {"linked_names", Number<&Settings::linked_names>, kFromAny, kIgnored, kStop, kLater},
    {"base", Copy<&Settings::base>, kFromAny, kIgnored},
    {"timezone", LevelledText<SetTimeZone>, kFromAny, kIgnored, kStop, kLater},
    {"fixgmt", Levelled<SuperLog_SetFixGmt>, kFromAny, kIgnored},
    {"dateformat", Levelled<SuperLog_SetDateFormat>, kFromAny, kIgnored},
    {"logformat", Levelled<SuperLog_SetLogFormat>, kFromAny, kIgnored},
    {"extrafooter", LevelledText<log_SetExtraFooter>, kFromAny, kIgnored},
    {"extraheader", LevelledText<log_SetExtraHeader>, kFromAny, kIgnored},
    {"priority", Number<&Settings::priority>, kFromAny, kIgnored},
    {"debug", Debug, kFromAny, kIgnored},
    {"dnslookupenabled", Number<&Settings::dnslookupenabled>, kFromAny, kTaken},
    {"smartmemorydisabled", SmartMemoryDisabled, kFromRequest, kIgnored},
    {"flushtoserver", Number<&Settings::flushtoserver>, kFromAny, kIgnored},
};

static_assert(std::size(kKeywords) <= IgnoredNames().size());

static bool Accepts(const Keyword& keyword, ParamSource source) {
  switch (source) {
    case ParamSource::kForm:
      return (keyword.accepted & kFromForm) != 0;
    case ParamSource::kStranger:
      return (keyword.accepted & kFromForm) != 0 && keyword.stranger == kTaken;
    case ParamSource::kShell:
      return (keyword.accepted & kFromShell) != 0;
    default:
      return (keyword.accepted & kFromAccount) != 0;
  }
}

static bool IsKnown(const Keyword& keyword, const Settings& settings) {
  return keyword.age == kClassic || settings.rules.later_names;
}

// A name of several rows counts as its first.
static void NoteIgnored(std::string_view name, Settings& settings) {
  for (size_t row = 0; row < std::size(kKeywords); ++row) {
    if (IsKnown(kKeywords[row], settings) && EqualIgnoreCase(name, kKeywords[row].name)) {
      settings.ignored.set(row);
      return;
    }
  }
}

bool CompareParam(const char* line, Settings& settings, ParamSource source, int level) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue(line, name, value, settings.rules.whole_values);
  const std::string_view wanted = name;
  bool applied = false;
  for (const Keyword& keyword : kKeywords) {
    if (IsKnown(keyword, settings) && Accepts(keyword, source) && EqualIgnoreCase(wanted, keyword.name)) {
      keyword.apply(settings, {value, source, level});
      applied = true;
      if (keyword.after == kStop) {
        return true;
      }
    }
  }
  applied =
      applied || SetDimension(wanted, value, settings) || SetFilter(wanted, {value, source, level}, settings);
  if (!applied && source == ParamSource::kStranger && value[0] != '\0') {
    NoteIgnored(wanted, settings);
  }
  return applied;
}

void ListNames(const IgnoredNames& ignored, char* out, size_t capacity) {
  size_t length = CopyText(out, capacity, "");
  for (size_t row = 0; row < std::size(kKeywords); ++row) {
    if (ignored.test(row)) {
      length += CopyText(out + length, capacity - length, length == 0 ? "" : ", ");
      length += CopyText(out + length, capacity - length, kKeywords[row].name);
    }
  }
}
