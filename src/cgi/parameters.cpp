#include "cgi/parameters.h"

#include <string_view>

#include "dates/years.h"
#include "report/extra_texts.h"
#include "superlog/superlog.h"

void initialize(Settings& settings, const Environment& env) {
  settings = {};
  CopyText(settings.config, kDefaultConfigFile);
  settings.sy = 1900;
  settings.ey = 1900;
  settings.last_year = kLastNarrowYear;
  settings.program_path = env.SCRIPT_NAME;
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

void ParseFieldValue(const char* line, char (&name)[kTextSize], char (&value)[kTextSize]) {
  const std::string_view text = line;
  const size_t equals = text.find('=');
  CopyText(name, text.substr(0, equals));
  // deliberate: "a=b=c" is the name "a" and the value "bc"
  CopyWithoutEquals(value, equals == std::string_view::npos ? "" : line + equals);
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
  settings.*kField = StrToYear4(param.value, settings.*kField, settings.last_year);
}

// Account lines always count; a request fills the field only while it is empty.
template <auto kField>
static void FixedByAccount(Settings& settings, const Param& param) {
  if (param.source == ParamSource::kAccount || (settings.*kField)[0] == '\0') {
    CopyText(settings.*kField, param.value);
  }
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

static void Url(Settings& settings, const Param& param) {
  std::string_view url = param.value;
  if (url.ends_with('/')) {
    url.remove_suffix(1);
  }
  CopyText(settings.url, url);
}

static void Date(Settings& settings, const Param& param) {
  ReturnValue(settings.start_date, sizeof settings.start_date, param.value, 1);
  ReturnValue(settings.end_date, sizeof settings.end_date, param.value, 2);
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
  report.top_is_percent = std::string_view(value).ends_with('%') ? 1 : 0;
}

// The whole report in one value: on[,top[,greater]].
template <auto kReport>
static void Ranked(Settings& settings, const Param& param) {
  RankedReport& report = settings.*kReport;
  report.on = ToInt(param.value);
  char field[kTextSize];
  ReturnValue(field, sizeof field, param.value, 2);
  SetTop(report, field);  // deliberate: without a second field an earlier top is reset to 0
  if (NumValues(param.value) >= 2) {
    ReturnValue(field, sizeof field, param.value, 3);
    report.greater = ToInt(field);
  }
}

template <auto kReport>
static void RankedTop(Settings& settings, const Param& param) {
  SetTop(settings.*kReport, param.value);
}

template <auto kReport>
static void RankedGreater(Settings& settings, const Param& param) {
  (settings.*kReport).greater = ToInt(param.value);
}

// The run has looked for this one before it read any other.
static void DecidedBefore(Settings&, const Param&) {}

// --- The keywords ---

enum Accepted : unsigned {
  kFromForm = 1,
  kFromShell = 2,
  kFromAccount = 4,
  kFromRequest = kFromForm | kFromShell,
  kFromAny = kFromRequest | kFromAccount,
};
enum AfterMatch { kStop, kGoOn };

struct Keyword {
  const char* name;
  void (*apply)(Settings& settings, const Param& param);
  Accepted accepted = kFromAny;
  AfterMatch after = kStop;
};

// In order of comparison: the first row of the name that accepts the source
// decides, unless it lets the comparison go on.
static const Keyword kKeywords[] = {
    {"edition", DecidedBefore, kFromShell},
    {"config", Copy<&Settings::config>, kFromRequest},
    {"password", Password<&Settings::password_account, &Settings::stored_password>, kFromAccount},
    {"signon", SignOn, kFromAccount},
    {"AccessLog", Copy<&Settings::AccessLog>, kFromAccount},
    {"logs", Copy<&Settings::logs>, kFromAccount},
    {"authrealm", FixedByAccount<&Settings::authrealm>},
    {"authuser", FixedByAccount<&Settings::authuser>},
    {"showquery", Number<&Settings::showquery>, kFromAny, kGoOn},
    {"summary", Copy<&Settings::summary>},
    {"username", Copy<&Settings::username>, kFromRequest},
    {"password", Password<&Settings::password_form, &Settings::typed_password>, kFromRequest},
    {"find", Find},
    {"find_casesensitive", Number<&Settings::find_casesensitive>},
    {"find_pattern", Number<&Settings::find_pattern>},
    {"title", Copy<&Settings::title>},
    {"url", Url},
    {"sm", Copy<&Settings::sm>},
    {"sd", Copy<&Settings::sd>},
    {"em", Copy<&Settings::em>},
    {"ed", Copy<&Settings::ed>},
    {"sy", Year<&Settings::sy>},
    {"ey", Year<&Settings::ey>},
    {"date", Date},
    {"filter_domains", Copy<&Settings::filter_domains>},
    {"filter_filetypes", Copy<&Settings::filter_filetypes>},

    {"badurls", Ranked<&Settings::badurls>},
    {"browsers", Ranked<&Settings::browsers>},
    {"requests", Ranked<&Settings::requests>},
    {"search", Ranked<&Settings::search>},
    {"badreferrers", Ranked<&Settings::badreferrers>},
    {"domaintypes", Ranked<&Settings::domaintypes>},
    {"domains", Ranked<&Settings::domains>},
    {"referrers", Ranked<&Settings::referrers>},

    {"badurls_top", RankedTop<&Settings::badurls>},
    {"browsers_top", RankedTop<&Settings::browsers>},
    {"requests_top", RankedTop<&Settings::requests>},
    {"search_top", RankedTop<&Settings::search>},
    {"badreferrers_top", RankedTop<&Settings::badreferrers>},
    {"domaintypes_top", RankedTop<&Settings::domaintypes>},
    {"domains_top", RankedTop<&Settings::domains>},
    {"referrers_top", RankedTop<&Settings::referrers>},

    {"badurls_greater", RankedGreater<&Settings::badurls>},
    {"browsers_greater", RankedGreater<&Settings::browsers>},
    {"requests_greater", RankedGreater<&Settings::requests>},
    {"search_greater", RankedGreater<&Settings::search>},
    {"badreferrers_greater", RankedGreater<&Settings::badreferrers>},
    {"domaintypes_greater", RankedGreater<&Settings::domaintypes>},
    {"domains_greater", RankedGreater<&Settings::domains>},
    {"referrers_greater", RankedGreater<&Settings::referrers>},

    {"search_casesensitive", Number<&Settings::search_casesensitive>},
    {"badurl_referrers", Number<&Settings::badurl_referrers>},
    {"filter_referrers", Number<&Settings::filter_referrers>},
    {"subdirs", Number<&Settings::subdirs>},
    {"dailytotals", Number<&Settings::dailytotals>},
    {"hitsperdayofweek", Number<&Settings::hitsperdayofweek>},
    {"hitsperhour", Number<&Settings::hitsperhour>},
    {"base", Copy<&Settings::base>},
    {"fixgmt", Levelled<SuperLog_SetFixGmt>},
    {"dateformat", Levelled<SuperLog_SetDateFormat>},
    {"logformat", Levelled<SuperLog_SetLogFormat>},
    {"extrafooter", LevelledText<log_SetExtraFooter>},
    {"extraheader", LevelledText<log_SetExtraHeader>},
    {"priority", Number<&Settings::priority>},
    {"debug", Debug},
    {"dnslookupenabled", Number<&Settings::dnslookupenabled>},
    {"smartmemorydisabled", SmartMemoryDisabled, kFromRequest},
    {"flushtoserver", Number<&Settings::flushtoserver>},
};

static Accepted AcceptedFrom(ParamSource source) {
  switch (source) {
    case ParamSource::kForm:
      return kFromForm;
    case ParamSource::kShell:
      return kFromShell;
    default:
      return kFromAccount;
  }
}

void CompareParam(const char* line, Settings& settings, ParamSource source, int level) {
  char name[kTextSize];
  char value[kTextSize];
  ParseFieldValue(line, name, value);
  const std::string_view wanted = name;
  const Accepted origin = AcceptedFrom(source);
  for (const Keyword& keyword : kKeywords) {
    if ((keyword.accepted & origin) != 0 && EqualIgnoreCase(wanted, keyword.name)) {
      keyword.apply(settings, {value, source, level});
      if (keyword.after == kStop) {
        return;
      }
    }
  }
}
