#include "config/config_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "analysis/search_engines.h"
#include "cgi/parameters.h"
#include "config/account_line.h"
#include "report/extra_texts.h"
#include "superlog/superlog.h"

// What one reading of the file keeps beside the settings.
struct Reading {
  Settings& settings;
  char line[kLineMax + 1] = {};
  char account_start[sizeof("user=;") + sizeof(Settings::username)] = {};  // how its line begins
  bool account_found = false;
  bool path_given = false;  // the file names an OrvellisPath
  int smart_parsing = 0;    // non-zero: read no further than the account's line
};

// ---- What each key does ----

template <auto kField>
static void StoreText(Reading& reading, char* value) {
  CopyText(reading.settings.*kField, value);
}

template <auto kField>
static void StoreNumber(Reading& reading, char* value) {
  reading.settings.*kField = ToInt(value);
}

template <void (*kSet)(const char* value, int level)>
static void SetLogOption(Reading&, char* value) {
  kSet(value, kLevelGlobalKey);
}

template <void (*kSet)(Settings& settings, const char* value, int level)>
static void SetByLevel(Reading& reading, char* value) {
  kSet(reading.settings, value, kLevelGlobalKey);
}

// Of a line for which there was no room nobody knows how its last item goes on.
static void LeaveOutCutItem(char (&line)[kLineMax + 1], char separator) {
  char* const last = strrchr(line, separator);
  if (strlen(line) == kLineMax && last != nullptr) {
    *last = '\0';
  }
}

static void StoreInternalIp(Reading& reading, char* value) {
  CopyText(reading.settings.InternalIp, value);
  LeaveOutCutItem(reading.line, ',');
  CopyText(reading.settings.internal_networks, value);
}

static void StoreTrustedProxies(Reading& reading, char* value) {
  LeaveOutCutItem(reading.line, ',');
  CopyText(reading.settings.TrustedProxies, value);
}

// A layout in words holds "=" and quotes and goes over lines: a file of its own has room for it.
static void TakeLayoutFile(const char* path) {
  TextFile file;
  if (!OpenTextFile(file, path)) {
    return;
  }
  char text[kLongestLayoutText + 1];
  size_t size = 0;
  while (const size_t got = NextLine(file, text + size, sizeof text - size, kPieces)) {
    size += got;
    if (sizeof text - size < 2) {
      break;
    }
  }
  CloseTextFile(file);
  SuperLog_SetLayoutText({text, size}, kLevelGlobalKey);
}

template <auto kTake>
static void TakeWhereKnown(Reading& reading, char* value) {
  if (reading.settings.rules.later_names) {
    kTake(value);
  }
}

static void TakeTimeZone(Reading& reading, char* value) {
  if (reading.settings.rules.later_names) {
    SetTimeZone(reading.settings, value, kLevelGlobalKey);
  }
}

static void SetAnonymity(Reading& reading, char* value) {
  if (reading.settings.rules.later_names) {
    SetAnonymise(reading.settings, value, kLevelGlobalKey);
  }
}

static bool CanBeAccount(std::string_view name) {
  return !name.empty() && std::none_of(name.begin(), name.end(), [](char c) {
    return c == '/' || c == '\x7F' || static_cast<unsigned char>(c) < ' ';
  });
}

// Calls the account what its line calls it, when the line is that of the requested one.
static bool TakeWrittenName(Reading& reading, std::string_view value) {
  const size_t end = value.find(';');
  const std::string_view name = value.substr(0, end);
  if (end == std::string_view::npos || !CanBeAccount(name) ||
      !EqualIgnoreCase(name, reading.settings.username)) {
    return false;
  }
  CopyText(reading.settings.username, name);
  LeaveOutCutItem(reading.line, ';');
  return true;
}

// deliberate: unless names are as written, the typed one may hold a ";" and run on into the line's items
static bool IsRequestedAccount(Reading& reading, const char* value) {
  return reading.settings.rules.names_as_written ? TakeWrittenName(reading, value)
                                                 : BeginsWithIgnoreCase(reading.line, reading.account_start);
}

static void ApplyUser(Reading& reading, char* value) {
  ++reading.settings.account_count;
  if (IsRequestedAccount(reading, value)) {
    ParseUserData(reading.line, reading.settings);
    reading.account_found = true;
  }
}

static void ApplyOrvellisPath(Reading& reading, char* value) {
  CopyText(reading.settings.OrvellisPath, value);
  reading.path_given = true;
}

static void ApplyDebug(Reading& reading, char* value) {
  reading.settings.debug = ToInt(value);
  reading.settings.debug_sources |= 1U << kLevelGlobalKey;
}

static void ApplyBase(Reading& reading, char* value) {
  if (strlen(value) <= kTextMax) {
    CopyText(reading.settings.base, value);
  }
}

static void ApplySmartParsing(Reading& reading, char* value) {
  reading.smart_parsing = ToInt(value);
}

// The form may switch lookups on for its report, but not off for the installation.
static void ApplyDnsLookup(Reading& reading, char* value) {
  if (reading.settings.dnslookupenabled == 0) {
    reading.settings.dnslookupenabled = ToInt(value);
  }
}

// A time that is none stays the default one; more than an hour is an hour.
static void ApplyDnsSeconds(Reading& reading, char* value) {
  constexpr int kMost = 3600;
  const int seconds = ToInt(value);
  if (seconds > 0) {
    reading.settings.DNSLookupSeconds = std::min(seconds, kMost);
  }
}

static void ApplySmartMemory(Reading& reading, char* value) {
  if (reading.settings.smartmemorydisabled == 0) {
    reading.settings.SmartMemoryEnabled = ToInt(value);
  }
}

static void ApplySearch(Reading&, char* value) {
  ParseSearchEngineDefinition(value);
}

// The run has looked for this one before it read any other.
static void DecidedBefore(Reading&, char*) {}

struct ConfigKey {
  std::string_view key;
  void (*apply)(Reading& reading, char* value);
};

static const ConfigKey kConfigKeys[] = {
    {"user", ApplyUser},
    {"search", ApplySearch},
    {"Networks", StoreText<&Settings::Networks>},
    {"ErrorLog", StoreText<&Settings::ErrorLog>},
    {"OrvellisPath", ApplyOrvellisPath},
    {"RemoteDebugEnabled", StoreNumber<&Settings::RemoteDebugEnabled>},
    {"Debug", ApplyDebug},
    {"Priority", StoreNumber<&Settings::priority>},
    {"Base", ApplyBase},
    {"TimeZone", TakeTimeZone},
    {"FixGmt", SetLogOption<SuperLog_SetFixGmt>},
    {"DateFormat", SetLogOption<SuperLog_SetDateFormat>},
    {"LogFormat", SetLogOption<SuperLog_SetLogFormat>},
    {"LogFormatFile", TakeWhereKnown<TakeLayoutFile>},
    {"ExtraHeader", SetByLevel<log_SetExtraHeader>},
    {"ExtraFooter", SetByLevel<log_SetExtraFooter>},
    {"SmartParsing", ApplySmartParsing},
    {"UserPasswords", StoreText<&Settings::UserPasswords>},
    {"InternalIp", StoreInternalIp},
    {"TrustedProxies", StoreTrustedProxies},
    {"LoginLimits", StoreText<&Settings::LoginLimits>},
    {"DNSLookupEnabled", ApplyDnsLookup},
    {"DNSLookupSeconds", ApplyDnsSeconds},
    {"Workers", SetByLevel<SetWorkers>},
    {"PartCache", SetByLevel<SetPartCache>},
    {"PartCacheSize", SetByLevel<SetPartCacheSize>},
    {"AgentRules", StoreText<&Settings::agent_rules>},
    {"Anonymise", SetAnonymity},
    {"CountryDatabase", SetByLevel<SetCountryDatabase>},
    {"SmartMemoryEnabled", ApplySmartMemory},
    {"SmartMemoryKeepEntries", StoreNumber<&Settings::SmartMemoryKeepEntries>},
    {"SmartMemoryReclaimSize", StoreNumber<&Settings::SmartMemoryReclaimSize>},
    {"SmartMemoryMaxMemoryToAllocate", StoreNumber<&Settings::SmartMemoryMaxMemoryToAllocate>},
    {"FlushToServer", StoreNumber<&Settings::flushtoserver>},
    {"search_casesensitive", StoreNumber<&Settings::search_casesensitive>},
    {"Edition", DecidedBefore},
};

// ---- The file ----

static constexpr LineRules kConfigLines{.whole = true, .ff_ends = true};

bool OpenConfigFile(ConfigFile& file) {
  if (!file.opened) {
    file.opened = OpenTextFile(file.text, file.path, file.pipes) ||
                  (file.fall_back && OpenTextFile(file.text, kDefaultConfigFile, file.pipes));
  }
  return file.opened;
}

void CloseConfigFile(ConfigFile& file) {
  CloseTextFile(file.text);
  file.opened = false;
}

// Splits a line into its key and its value; null when it has none.
static char* ValueOf(char* line, std::string_view& key) {
  char* const equals = strchr(line, '=');
  if (equals == nullptr || line[0] == '#' || line[0] == ';') {
    return nullptr;
  }
  key = {line, equals};
  return equals + 1;
}

bool FindEditionKey(ConfigFile& file, char (&edition)[kTextSize]) {
  if (!OpenConfigFile(file)) {
    return false;
  }
  const int rest = std::exchange(file.text.rest, -1);
  char line[kLineMax + 1];
  std::string_view key;
  bool found = false;
  while (NextLine(file.text, line, kConfigLines) > 0) {
    const char* const value = ValueOf(line, key);
    if (value != nullptr && EqualIgnoreCase(key, "Edition")) {
      CopyText(edition, value);
      found = true;
    }
  }
  file.text.rest = rest;
  RewindTextFile(file.text);
  return found;
}

static void ApplyLine(Reading& reading) {
  std::string_view key;
  char* const value = ValueOf(reading.line, key);
  if (value == nullptr) {
    return;
  }
  for (const ConfigKey& known : kConfigKeys) {
    if (EqualIgnoreCase(known.key, key)) {
      known.apply(reading, value);
      return;
    }
  }
}

static void FinishOrvellisPath(char (&path)[kPathSize], bool path_given) {
  if (!path_given) {
    CopyText(path, "/orvellis");
    return;
  }
  const size_t length = strlen(path);
  if (length > 0 && (path[length - 1] == '/' || path[length - 1] == '\\')) {
    path[length - 1] = '\0';
  }
}

static void UseFileOf(const Settings& settings, ConfigFile& file) {
  if (strcmp(file.path, settings.config) != 0) {
    CloseConfigFile(file);
    CopyText(file.path, settings.config);
  }
}

Error ParseConfigFile(ConfigFile& file, Settings& settings, bool& account_found) {
  account_found = false;
  UseFileOf(settings, file);
  if (!OpenConfigFile(file)) {
    return settings.page == kPageAbout || settings.page == kPageCredits ? kNoError : kErrorConfigFile;
  }
  settings.config_opened = 1;
  Reading reading{.settings = settings};
  snprintf(reading.account_start, sizeof reading.account_start, "user=%s;", settings.username);
  while (NextLine(file.text, reading.line, kConfigLines) > 0) {
    ApplyLine(reading);
    if (reading.smart_parsing != 0 && reading.account_found) {
      break;
    }
  }
  CloseConfigFile(file);
  FinishOrvellisPath(settings.OrvellisPath, reading.path_given);
  account_found = reading.account_found;
  return kNoError;
}

bool NextAccount(ConfigFile& file, Settings& settings) {
  Reading reading{.settings = settings};
  std::string_view key;
  while (NextLine(file.text, reading.line, kConfigLines) > 0) {
    const char* const value = ValueOf(reading.line, key);
    if (value == nullptr || !EqualIgnoreCase(key, "user")) {
      continue;
    }
    const std::string_view name = std::string_view(value).substr(0, strcspn(value, ";"));
    CopyText(settings.username, name);
    if (TakeWrittenName(reading, value)) {
      ParseUserData(reading.line, settings);
      return true;
    }
  }
  return false;
}
