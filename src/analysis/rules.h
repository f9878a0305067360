// What a run asks of every record: the settings and the way of counting, resolved
// once into flags and values, so that the loop over the records only tests these.
#pragma once

#include <cstddef>
#include <string_view>

#include "analysis/analysis.h"
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
  bool prefix;  // compare no more of the URL than the value is long
  bool ignore_case;
};

struct Rules {
  const Settings& settings;
  FindTest find;
  AskedTexts texts;
  size_t longest_item;
  std::string_view realm;  // empty: any
  std::string_view user;
  DnsMode dns;
  char* (*name_of)(const char* address, LookUpFigures& figures);  // of a record's host, as a new text or null
  void (*add_bytes)(SuperLong& counter, int64_t amount);
  bool filter_domains;
  bool (*host_counts)(const Settings& settings, std::string_view host);  // where hosts are filtered
  bool filter_types;
  bool keep_query;
  char url_end_mark;  // besides "?", where the query is not kept: a quote, unless quotes are parts of fields
  bool urls;
  bool url_total;
  bool referrers;
  bool filter_referrers;
  bool search;
  bool referrals;             // of search engines, those without a phrase, too
  std::string_view own_host;  // whose pages are no rows of the referrers, without "www."; empty: none
  bool browsers;
  bool bad_urls;
  bool bad_url_referrers;
  bool bad_referrers;
  bool domains;
  bool domain_types;
  bool days;
  bool dates;
  bool hours_of_week;
  bool whole_logs;  // a record behind the range says nothing of those that follow it
};

// What is behind the scheme of a web address, and behind its "www."; empty of anything else.
std::string_view HostBehindWww(std::string_view address);

// Whether the find test of the settings lets all requests of a site pass.
bool FindsAll(const Settings& settings);

// Whether the names of addresses decide anything that the settings ask for.
bool NeedsNames(const Settings& settings);

// When they are looked up.
DnsMode ResolveDnsMode(const Settings& settings, const Limits& limits);

// Never fails: any settings give rules. They hold views of texts of the settings,
// which must outlive them.
Rules ResolveRules(const Settings& settings, const Counting& counting);
