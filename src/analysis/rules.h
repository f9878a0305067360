// What a run asks of every record: the settings and the way of counting, resolved
// once into flags and values, so that the loop over the records only tests these.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "analysis/analysis.h"
#include "analysis/record_filters.h"
#include "cgi/settings.h"
#include "superlog/super_long.h"
#include "superlog/superlog.h"

enum class DnsMode {
  kOff,
  kAllHosts,           // of each record, as hosts are filtered by their names
  kDomainReportsOnly,  // of those that the reports of domains take
  kAfterwards,         // the same, but when all are counted
};

// The find test. Without a wildcard matcher it is an equality.
struct FindTest {
  char value[kTextSize];
  size_t length;
  int (*wildmat)(std::string_view pattern, std::string_view text);
  bool prefix;        // compare no more of the URL than the value is long
  bool short_prefix;  // which is not at all, or one character that is no letter: mostly "/"
  bool ignore_case;
};

// The site's host.
struct OwnHost {
  std::string_view name;  // without "www."; empty: none
  uint64_t start;         // its StartWord, of
  uint64_t mask;          // as many characters as it has
};

// The first characters of a text that has as many, letters of both cases being one, and some other
// characters, too.
template <typename Word>
Word StartWord(const char* text) {
  Word word = 0;
  memcpy(&word, text, sizeof word);
  return word | static_cast<Word>(0x2020202020202020);
}

struct Rules {
  const Settings& settings;
  FindTest find;
  AskedTexts texts;
  size_t longest_item;
  bool authenticated;      // realm or user is asked for
  std::string_view realm;  // empty: any
  std::string_view user;
  DnsMode dns;
  char* (*name_of)(const char* address, LookUpFigures& figures);  // of a record's host, as a new text or null
  void (*add_bytes)(SuperLong& counter, int64_t amount);
  bool filter_domains;
  bool (*host_counts)(const Settings& settings, std::string_view host);  // where hosts are filtered
  bool filter_types;
  ActiveFilters filters;
  bool anonymise;
  bool by_country;  // countries decide what is counted
  bool by_robot;    // so do rules of agents
  bool keep_query;
  char url_end_mark;  // besides "?", where the query is not kept: a quote, unless quotes are parts of fields
  bool bytes;         // of each item
  bool compares;      // days with earlier ones
  bool urls;
  bool urls_ignore_case;
  bool url_total;
  bool referrers;
  bool filter_referrers;
  bool search;
  OwnHost own_host;  // whose pages are no rows of the referrers
  bool browsers;
  bool bad_urls;
  bool bad_url_referrers;
  bool bad_referrers;
  bool domains;
  bool domain_types;       // counted record by record, or
  KeyPart type_of_domain;  // with their domains; null: not so
  uint32_t dimensions;     // that each request counts in, by row
  bool visits;
  bool days;
  bool dates;
  bool hours_of_week;
  bool whole_logs;  // a record behind the range says nothing of those that follow it
};

// What is behind the scheme of a web address, and behind its "www."; empty of anything else.
std::string_view HostBehindWww(std::string_view address);

// Whether ranked tables add up the bytes of their requests.
Amounts AmountsOf(const Settings& settings);

// What ranked rows stand by.
RankedBy OrderOf(const Settings& settings);

// Whether the find test of the settings lets all requests of a site pass.
bool FindsAll(const Settings& settings);

// Whether the names of addresses decide anything that the settings ask for.
bool NeedsNames(const Settings& settings);

// Whether the run tells countries, and must have their database open: it shows them, or counts by them.
bool NeedsCountryDatabase(const Settings& settings);

// The same of what agents are: their rules must be read.
bool NeedsAgentRules(const Settings& settings);

// When they are looked up.
DnsMode ResolveDnsMode(const Settings& settings, const Limits& limits);

// Whether a record is counted by nothing but what it and the settings say.
bool AreRecordsCountedAlone(const Rules& rules);

// Never fails: any settings give rules. They hold views of texts of the settings,
// which must outlive them.
Rules ResolveRules(const Settings& settings, const Counting& counting);
