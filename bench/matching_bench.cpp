// Patterns, search phrases and the steps that cut a record's parts to items.
#include <benchmark/benchmark.h>

#include <string_view>

#include "analysis/normalise.h"
#include "analysis/search_engines.h"
#include "analysis/search_phrases.h"
#include "analysis/wildcard.h"

static void Match(benchmark::State& state, std::string_view pattern) {
  const std::string_view url = "/products/teapot/item4711.html";
  for (auto step : state) {
    benchmark::DoNotOptimize(DoMatch(url, pattern));
  }
}
BENCHMARK_CAPTURE(Match, prefix, std::string_view("/products/*"));
BENCHMARK_CAPTURE(Match, suffix, std::string_view("*.html"));
BENCHMARK_CAPTURE(Match, groups, std::string_view("/(news|products)/*.(gif|html)"));
BENCHMARK_CAPTURE(Match, stars, std::string_view("*t*e*m*9*"));

static void SearchHits(benchmark::State& state, std::string_view referrer) {
  Search_Init();
  SearchCounts counts = NewSearchCounts();
  for (auto step : state) {
    CountSearchHits(referrer, counts);
  }
}
BENCHMARK_CAPTURE(SearchHits, first_engine, std::string_view("http://search.yahoo.com/bin/search?p=tea+pot"));
BENCHMARK_CAPTURE(SearchHits, no_engine, std::string_view("http://www.example.com/list.html?page=2"));

static void NormaliseUrl(benchmark::State& state) {
  std::string_view url = "/products/teapot/item4711.html?id=7&view=full";
  for (auto step : state) {
    benchmark::DoNotOptimize(url);
    benchmark::DoNotOptimize(TruncateCGI(url));
    benchmark::DoNotOptimize(TruncateFileType(url));
  }
}
BENCHMARK(NormaliseUrl);

static void NormaliseHost(benchmark::State& state, std::string_view host) {
  for (auto step : state) {
    benchmark::DoNotOptimize(host);
    const std::string_view domain = IPaddress(host) ? TruncateIP(host) : TruncateLSD(host);
    benchmark::DoNotOptimize(checkIP(TruncateDomain(domain, 1)));
  }
}
BENCHMARK_CAPTURE(NormaliseHost, name, std::string_view("host12.pool7.example.com"));
BENCHMARK_CAPTURE(NormaliseHost, address, std::string_view("10.0.200.17"));
