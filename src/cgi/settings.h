// The records of a run: its settings, the CGI environment it was started in, and
// the entry of a posted form. The first two are owned by the run, filled at
// the start and read by everybody; this is the one header that code of every folder
// may include.
//
// Settings fields carry the names of the report parameters and configuration
// keys that set them. Texts are NUL-terminated, cut to their capacity.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

#include "base/text.h"

inline constexpr const char* kVersion = "1.5";
inline constexpr const char* kPlatform = "UNIX";
inline constexpr int kMostWorkers = 256;
inline constexpr size_t kMostDimensions = 32;
inline constexpr size_t kMostRecordFilters = 16;
inline constexpr int64_t kUsualWorkerBytes = 4 << 20;
inline constexpr int64_t kUsualPartCacheSize = int64_t{1} << 30;
inline constexpr const char* kDefaultConfigFile = "orvellis.conf";  // in the working directory

// Where a parameter comes from, and how strong it is: a level-aware setter keeps
// a value only when its level is at least that of the value already held.
enum Level : int { kLevelForm = 2, kLevelGlobalKey = 3, kLevelAccount = 4 };

enum Page : int { kPageReport = 0, kPageAbout = 1, kPageCredits = 2, kPageRemoteDebug = 3 };

struct RankedReport {
  int on;
  int top;      // most rows shown, or a percentage of the distinct items; 0 = all
  int greater;  // smallest count shown
  int top_is_percent;
  bool top_asked = false;  // top was given, even as 0: a page need not cut by itself
};

struct Environment {
  char current_date[100];
  char current_time[100];
  char AUTH_TYPE[100];
  char CONTENT_LENGTH[100];
  char CONTENT_TYPE[100];
  char DOCUMENT_ROOT[200];
  char GATEWAY_INTERFACE[100];
  char HTTP_ACCEPT[100];
  char HTTP_USER_AGENT[100];
  char HTTP_X_FORWARDED_FOR[1024];  // its end, where the proxies nearest to the server write
  char PATH[200];
  char PATH_INFO[200];
  char PATH_TRANSLATED[200];
  char QUERY_STRING[200];
  char REMOTE_ADDR[100];
  char REMOTE_HOST[100];
  char REMOTE_IDENT[100];
  char REMOTE_USER[kTextSize + 1];  // one more than a name to compare it with can have
  char REQUEST_METHOD[100];
  char SCRIPT_NAME[100];
  char SERVER_NAME[100];
  char SERVER_PORT[100];
  char SERVER_PROTOCOL[100];
  char SERVER_SOFTWARE[100];
  char SERVER_ADMIN[100];
  int command_line;  // 1 when the program runs from a shell
};

// One field of a posted form. Limits apply to the URL-encoded text.
struct FormEntry {
  char name[255];
  char value[2048];
};

// A form entry formatted as "name=value" reaches the parameter parser whole:
// the "=" takes the place of the name's NUL.
inline constexpr size_t kWorkingLineSize = sizeof(FormEntry);

// Room for a bit of each row of the keyword table.
using IgnoredNames = std::bitset<96>;

// The fields of a form that were taken, so that the same can be asked for again: as "name=value",
// decoded, with a NUL behind each; but for a password.
struct AskedFields {
  char text[8192];
  size_t length;
  bool cut;  // there was no room for all of them
};

// What the edition lays down and no parameter sets.
struct RunRules {
  int last_year;           // that sy and ey may name
  bool names_as_written;   // accounts are called as the configuration spells them
  bool whole_values;       // "=" is part of a parameter's value; otherwise it is dropped
  bool later_names;        // parameters that came after the classic ones are known
  bool real_days;          // the first day must be named, and each must be one of the calendar
  bool own_links_only;     // no link that somebody else may have put there leads to a file that is written
  bool whole_site;         // a request without a path is for the whole site
  bool nameless_site;      // an account need not tell the address of its site: then nothing leads there
  bool whole_logs;         // every log is read to its end: records may stand in any order
  bool looks_up_together;  // names of addresses are asked for many at once, within a limit of time
  bool unpacks;            // compressed logs are read as what is in them; only where logs are read whole
};

// Lists that requests are held against, divided by commas; empty: none.
struct FilterLists {
  char only[kTextSize];
  char exclude[kTextSize];
};

struct Settings {
  char config[kPathSize];
  int config_opened;
  char OrvellisPath[kPathSize];  // URL of the installation's pictures, without trailing "/"
  char find[kTextSize];          // find_account and find_form combined
  unsigned char find_casesensitive;
  unsigned char find_pattern;
  char find_account[kTextSize];
  char find_form[kTextSize];
  char title[kTextSize];
  char output[kTextSize];   // name of the form that the report takes; empty: the default one
  char section[kTextSize];  // the only one that is wanted, where an output can do so; empty: all
  int csv_formulas;         // CSV: cells may be formulas
  int totals;               // told on standard error
  char url[kTextSize];
  char filter_domains[kTextSize];
  char filter_filetypes[kTextSize];
  FilterLists filters[kMostRecordFilters];  // by row of their table (analysis/record_filters.h)
  char start_date[20];                      // MMDDYYYY
  char end_date[20];
  char sm[3];
  char sd[3];
  int sy;
  char em[3];
  char ed[3];
  int ey;
  // The days in words and ISO dates, which count before all of the above.
  char days[kTextSize];
  char from[kTextSize];
  char to[kTextSize];
  // These days are those of the first and of the last record of the logs, once these are known.
  bool from_first;
  bool to_last;
  bool first_alone;          // the day of the first record is both; the logs are read for it beforehand
  char timezone[kTextSize];  // name of the zone in which days and hours are told; empty: the machine's
  int timezone_level;        // of who has named it
  bool fixed_days;           // the account's line says which: no request can ask for others
  AskedFields asked;
  RunRules rules;
  int workers;           // processes that count, up to kMostWorkers; 0: as many as there are processors
  int workers_level;     // of who has said so
  int64_t worker_bytes;  // of logs that one of them takes at least
  // Folder of counts that are kept between runs, empty: none. Until SettlePartCache (run/store_folder.h) as
  // it was given, "1" for that of the store and "0" for none.
  char part_cache[kPathSize];
  int part_cache_level;
  int64_t part_cache_size;  // bytes that these may take together
  int part_cache_size_level;
  bool no_remote_debug;  // RemoteDebugEnabled counts for nothing
  IgnoredNames ignored;  // by row of the keyword table: what a stranger's form may not set, but named
  char logs[kPathSize];
  char AccessLog[kPathSize];
  char summary[kPathSize];
  char store[kPathSize];  // folder of what is known of logs (superlog/log_store.h); empty: none
  int dailytotals;
  int hitsperdayofweek;
  int hitsperhour;
  int hoursofweek;
  int no_script;     // a page has none
  int linked_names;  // a log that is a link is called by what it leads to
  RankedReport badurls;
  RankedReport browsers;
  RankedReport requests;
  RankedReport domaintypes;
  RankedReport domains;
  RankedReport search;
  int search_casesensitive;
  RankedReport referrers;
  RankedReport badreferrers;
  RankedReport dimensions[kMostDimensions];  // by row of the table of dimensions (analysis/dimensions.h)
  int badurl_referrers;
  int filter_referrers;
  int with_bytes;                   // ranked rows have the bytes of their requests, too
  char directory_depth[kTextSize];  // levels of directories that are told apart (analysis/dimensions.h)
  char order[kTextSize];            // "bytes": they stand by these; anything else: by requests
  char compare[kTextSize];          // with which days those of the report are (analysis/comparison.h)
  int own_referrers;                // pages of the site itself are referrers like others
  int subdirs;
  int cgi;  // 1 in every run: reports are always HTML
  char referrer_log[50];
  char agent_log[50];
  char Networks[kPathSize];
  int pages_only;         // what belongs to pages is no row of the requested URLs
  bool pages_only_asked;  // somebody has said whether, if only not
  int anonymise;          // nothing of single visitors is counted, kept or looked up (analysis/anonymity.h)
  bool anonymise_asked;   // somebody has said whether, if only not
  char agents_file[kPathSize];
  char agent_rules[kPathSize];       // file of rules for agents (agents/rules_file.h); empty: those built in
  char country_database[kPathSize];  // file that tells countries (analysis/country_database.h); empty: none
  int country_database_level;
  bool countries_left_out;  // countries were asked for, and there is no database
  char username[100];
  char password_form[100];
  char ErrorLog[kPathSize];
  char password_account[100];
  // The same two, whole: what is compared with hashes.
  char typed_password[kTextSize];
  char stored_password[kTextSize];
  char signon[kTextSize];
  const char* program_path;  // the SCRIPT_NAME slot of the environment record
  int RemoteDebugEnabled;
  int debug;
  unsigned debug_sources;  // bit n: a source of level n set debug
  int priority;
  char* extra_header;  // heap texts, released by EndOrvellisCleanup; null = not set
  char* extra_footer;
  int page;
  char InternalIp[kTextSize];
  char internal_networks[kLineMax + 1];  // the same, whole
  char TrustedProxies[kLineMax + 1];
  char LoginLimits[kPathSize];
  char UserPasswords[kPathSize];
  char authrealm[kTextSize];
  char authuser[kTextSize];
  int showquery;
  char base[kTextSize];
  int dnslookupenabled;
  int DNSLookupSeconds;  // that a run may wait for names, where they are asked for together
  int SmartMemoryEnabled;
  int smartmemorydisabled;
  int SmartMemoryKeepEntries;
  int SmartMemoryReclaimSize;
  int SmartMemoryMaxMemoryToAllocate;
  int flushtoserver;
  // What the arguments say, whole (run/part_run.h); null: not asked for.
  const char* part;    // path to which the counts go, in place of a page
  const char* merge;   // pattern of the parts that are added, in place of reading logs
  const char* plan;    // size of the pieces of logs that are named, in place of a page
  const char* piece;   // the piece that is counted, in place of the logs that there are
  bool missing;        // of that piece: nobody can read it
  const char* stream;  // where the bytes of its log come from, in place of the file of its path
  int account_count;
  char working_line[kWorkingLineSize];
};
