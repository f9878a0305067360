// Writes a log of made-up requests to standard output. The same arguments
// always write the same bytes.
//
//   generate_log [name=value ...]
//
//   records=1000000   lines
//   urls=20000 hosts=50000 referrers=20000 agents=500   distinct items of each
//   spread=zipf       zipf: popularity falls with rank; even: each item in turn
//   search=5          per cent of referrers that are search result pages
//   missing=3         per cent of requests that get a 404
//   days=30           the records are spread over so many days
//   start=951868800   time of the first record (1 March 2000)
//   format=combined   combined, common, w3c, iis, tab
//   seed=1
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "made_up_log.h"

static bool Apply(LogOptions& options, std::string_view name, const char* value) {
  struct {
    std::string_view name;
    long* number;
  } const numbers[] = {{"records", &options.records}, {"urls", &options.urls},
                       {"hosts", &options.hosts},     {"referrers", &options.referrers},
                       {"agents", &options.agents},   {"search", &options.search},
                       {"missing", &options.missing}, {"days", &options.days},
                       {"start", &options.start},     {"seed", &options.seed}};
  for (const auto& row : numbers) {
    if (row.name == name) {
      *row.number = strtol(value, nullptr, 10);
      return true;
    }
  }
  if (name == "spread") {
    options.spread = value;
    return true;
  }
  if (name == "format") {
    options.format = value;
    return true;
  }
  return false;
}

int main(int argc, char** argv) {
  LogOptions options;
  for (int i = 1; i < argc; ++i) {
    const char* const equals = strchr(argv[i], '=');
    if (equals == nullptr ||
        !Apply(options, std::string_view(argv[i], static_cast<size_t>(equals - argv[i])), equals + 1)) {
      fprintf(stderr, "generate_log: unknown argument %s\n", argv[i]);
      return 2;
    }
  }
  if (!WriteLog(options, stdout)) {
    fprintf(stderr, "generate_log: unknown format %s\n", options.format.c_str());
    return 2;
  }
  return 0;
}
