#include "parts/fingerprint.h"

#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <limits>

#include "agents/rules_in_use.h"
#include "analysis/country_database.h"
#include "analysis/search_engines.h"
#include "base/crc64.h"
#include "dates/days.h"
#include "superlog/log_parts.h"

// Of what makes counts of records: another number where the same logs would count otherwise.
static constexpr const char* kCountingVersion = "1";

// ---- Fields ----

static FingerprintField& NewField(Fingerprint& fingerprint, const char* name) {
  FingerprintField& field = fingerprint.fields[fingerprint.count++];
  field.name = name;
  return field;
}

static void AddText(Fingerprint& fingerprint, const char* name, std::string_view value) {
  CopyText(NewField(fingerprint, name).value, value);
}

static void AddSwitch(Fingerprint& fingerprint, const char* name, bool on) {
  AddText(fingerprint, name, on ? "1" : "0");
}

static void AddNumber(Fingerprint& fingerprint, const char* name, int64_t number) {
  FingerprintField& field = NewField(fingerprint, name);
  snprintf(field.value, sizeof field.value, "%" PRId64, number);
}

// What may be longer than a field, or is nothing to be read.
static void AddChecksum(Fingerprint& fingerprint, const char* name, uint64_t checksum) {
  FingerprintField& field = NewField(fingerprint, name);
  snprintf(field.value, sizeof field.value, "%016" PRIx64, checksum);
}

// An end of the range that is open until the logs are known.
static bool IsOpen(time_t when) {
  return when == std::numeric_limits<time_t>::min() || when == std::numeric_limits<time_t>::max();
}

static void AddDay(Fingerprint& fingerprint, const char* name, time_t when) {
  if (IsOpen(when)) {
    AddText(fingerprint, name, "all");
    return;
  }
  const CalendarDate day = DayOf(when);
  FingerprintField& field = NewField(fingerprint, name);
  snprintf(field.value, sizeof field.value, "%04d-%02d-%02d", day.year, day.month, day.day);
}

// ---- Checksums ----

static uint64_t AddToChecksum(uint64_t checksum, std::string_view text) {
  const uint64_t size = text.size();
  char bytes[8];
  for (size_t i = 0; i < sizeof bytes; ++i) {
    bytes[i] = static_cast<char>(size >> 8 * i);
  }
  return AddToCrc64(AddToCrc64(checksum, bytes, sizeof bytes), text.data(), text.size());
}

static uint64_t AddFigure(uint64_t checksum, int64_t figure) {
  char text[24];
  const int length = snprintf(text, sizeof text, "%" PRId64, figure);
  return AddToChecksum(checksum, {text, static_cast<size_t>(length)});
}

static uint64_t AddDomain(uint64_t checksum, const SearchDomainInfo& domain) {
  checksum = AddToChecksum(checksum, domain.text());
  for (const SearchVariable* variable = domain.variables; variable != nullptr; variable = variable->next) {
    checksum = AddToChecksum(checksum, variable->text());
  }
  return AddToChecksum(checksum, {});
}

// Their pages are printed, and decide nothing.
static uint64_t ChecksumOfEngines(const SearchEngine* engine) {
  uint64_t checksum = 0;
  for (; engine != nullptr; engine = engine->next) {
    checksum = AddToChecksum(checksum, engine->name);
    checksum = AddFigure(checksum, engine->counts_referrals ? 1 : 0);
    for (const SearchDomainInfo* domain = engine->domains; domain != nullptr; domain = domain->next) {
      checksum = AddDomain(checksum, *domain);
    }
  }
  return checksum;
}

static int64_t OffsetAt(time_t when) {
  tm local{};
  localtime_r(&when, &local);
  return 2 * int64_t{local.tm_gmtoff} + (local.tm_isdst > 0 ? 1 : 0);
}

// The moment between two others, of different offsets, at which the first one ends.
static time_t ChangeBetween(time_t before, time_t behind) {
  const int64_t offset = OffsetAt(before);
  while (behind - before > 1) {
    const time_t middle = before + (behind - before) / 2;
    (OffsetAt(middle) == offset ? before : behind) = middle;
  }
  return behind;
}

// When the clocks of the zone are changed, and how: no zone changes and changes back within the step.
static uint64_t ChecksumOfZone() {
  static constexpr time_t kStep = time_t{14} * 86400;
  static constexpr time_t kEnd = time_t{75} * 366 * 86400;  // from 1970
  int64_t offset = OffsetAt(0);
  uint64_t checksum = AddFigure(0, offset);
  for (time_t when = 0; when < kEnd; when += kStep) {
    const int64_t next = OffsetAt(when + kStep);
    if (next != offset) {
      checksum = AddFigure(checksum, ChangeBetween(when, when + kStep));
      checksum = AddFigure(checksum, next);
    }
    offset = next;
  }
  return checksum;
}

static uint64_t ChecksumOfFilters(const ActiveFilters& filters) {
  uint64_t checksum = 0;
  for (const ActiveFilter& active : filters.all()) {
    checksum = AddToChecksum(checksum, active.filter->name);
    checksum = AddToChecksum(checksum, active.list);
    checksum = AddFigure(checksum, active.only ? 1 : 0);
  }
  return checksum;
}

// Those that are built in are the program's.
static uint64_t ChecksumOfAgentRules() {
  const AgentRules& rules = RulesInUse();
  uint64_t checksum = 0;
  for (size_t i = 0; AreRulesOfUser() && i < rules.count; ++i) {
    const AgentRule& rule = rules.rules[i];
    checksum = AddFigure(checksum, static_cast<int64_t>(rule.kind));
    checksum = AddToChecksum(checksum, rule.word);
    checksum = AddToChecksum(checksum, rule.name);
    checksum = AddFigure(checksum, static_cast<int64_t>(rule.purpose));
    checksum = AddFigure(checksum, static_cast<int64_t>(rule.device));
    checksum = AddFigure(checksum, (rule.begins_within ? 1 : 0) + (rule.goes_on ? 2 : 0));
  }
  return checksum;
}

// ---- The whole ----

static void AddLogs(Fingerprint& fingerprint, time_t first, time_t last) {
  const RecordRules records = RulesOfRecords();
  AddDay(fingerprint, "first day", first);
  AddDay(fingerprint, "last day", last);
  AddChecksum(fingerprint, "time zone", ChecksumOfZone());
  AddSwitch(fingerprint, "fixgmt", records.gmt);
  AddNumber(fingerprint, "dateformat", records.date_order);
  AddChecksum(fingerprint, "logformat", AddToChecksum(0, records.layout));
}

static void AddRequests(Fingerprint& fingerprint, const Rules& rules) {
  const Settings& settings = rules.settings;
  AddText(fingerprint, "find", settings.find);
  AddSwitch(fingerprint, "find_pattern", settings.find_pattern != 0);
  AddSwitch(fingerprint, "find_casesensitive", settings.find_casesensitive != 0);
  AddSwitch(fingerprint, "subdirs", settings.subdirs != 0);
  AddText(fingerprint, "authrealm", settings.authrealm);
  AddText(fingerprint, "authuser", settings.authuser);
  AddText(fingerprint, "filter_domains", settings.filter_domains);
  AddText(fingerprint, "filter_filetypes", settings.filter_filetypes);
  AddChecksum(fingerprint, "set of only_ and exclude_ filters", ChecksumOfFilters(rules.filters));
  AddChecksum(fingerprint, "set of agent rules", rules.by_robot ? ChecksumOfAgentRules() : 0);
  AddSwitch(fingerprint, "anonymise", rules.anonymise);
  AddText(fingerprint, "country database", rules.by_country ? CountryDatabaseName().text : "");
  AddSwitch(fingerprint, "use of filter_filetypes", rules.filter_types);
  AddSwitch(fingerprint, "filter_referrers", rules.filter_referrers);
  AddSwitch(fingerprint, "showquery", rules.keep_query);
  AddText(fingerprint, "url", rules.own_host.name);
  AddSwitch(fingerprint, "dnslookupenabled", rules.dns != DnsMode::kOff);
  AddText(fingerprint, "compare", rules.compares ? settings.compare : "");
}

static Fingerprint FingerprintOfRange(std::string_view edition, const Rules& rules, const Analysis& analysis,
                                      time_t first, time_t last) {
  Fingerprint fingerprint{};
  AddText(fingerprint, "edition", edition);
  AddText(fingerprint, "program", kVersion);
  AddText(fingerprint, "way of counting", kCountingVersion);
  AddLogs(fingerprint, first, last);
  AddRequests(fingerprint, rules);
  AddChecksum(fingerprint, "set of search engines", ChecksumOfEngines(analysis.search.engines));
  return fingerprint;
}

Fingerprint FingerprintOf(std::string_view edition, const Rules& rules, const Analysis& analysis) {
  return FingerprintOfRange(edition, rules, analysis, analysis.range_first, analysis.range_last);
}

Fingerprint FingerprintOfAnyDays(std::string_view edition, const Rules& rules, const Analysis& analysis) {
  using Time = std::numeric_limits<time_t>;
  return FingerprintOfRange(edition, rules, analysis, Time::min(), Time::max());
}

void SaveFingerprint(PartWriter& part, const Fingerprint& fingerprint) {
  PutFigure(part, fingerprint.count);
  for (size_t i = 0; i < fingerprint.count; ++i) {
    PutText(part, fingerprint.fields[i].name);
    PutText(part, fingerprint.fields[i].value);
  }
}

static bool Differs(PartReader& part, const FingerprintField& field, FingerprintCheck& check) {
  check.other_name = TakeText(part, kTextMax) != field.name;
  const std::string_view value = TakeText(part, kTextMax);
  CopyText(check.found, value);
  MakePrintable(check.found);
  return !part.damaged && (check.other_name || value != field.value);
}

FingerprintCheck CompareFingerprint(PartReader& part, const Fingerprint& fingerprint) {
  FingerprintCheck check{};
  if (TakeFigure(part) != fingerprint.count) {
    MarkDamaged(part);
  }
  for (size_t i = 0; i < fingerprint.count; ++i) {
    if (Differs(part, fingerprint.fields[i], check)) {
      check.other = &fingerprint.fields[i];
      return check;
    }
  }
  return check;
}
