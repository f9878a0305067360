// A report of a million rows as each output: bytes a second, and how much memory writing
// it takes beyond what the counts take.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdio>
#include <string>

#include "analysis/analysis.h"
#include "analysis/smart_memory.h"
#include "output/csv_output.h"
#include "output/json_output.h"
#include "output/text_output.h"

static constexpr int kRows = 1000000;

// The counts of a million distinct URLs.
struct Counts {
  Settings settings{};
  Analysis analysis{};

  Counts() {
    smart_memory_init(settings);
    SetCountingLimits(kModernLimits);
    CopyText(settings.url, "http://www.example.com");
    settings.requests.on = 1;
    analysis.counting = kModernCounting;
    analysis.logs.in_range = true;
    init_list(analysis.urls.list, analysis.urls.info, "URLs");
    for (int i = 0; i < kRows; ++i) {
      const std::string key = "/products/teapot/item" + std::to_string(i) + ".html?colour=blue&size=12";
      add_item(analysis.urls.list, analysis.urls.info, key, {}, nullptr, false);
    }
    analysis.urls.total = kRows;
  }
  ~Counts() {
    destroy(analysis.urls.list);
    destroyListInfo();
  }
  Counts(const Counts&) = delete;
  Counts& operator=(const Counts&) = delete;
};

static ssize_t CountBytes(void* total, const char*, size_t size) {
  *static_cast<int64_t*>(total) += static_cast<int64_t>(size);
  return static_cast<ssize_t>(size);
}

// Kilobytes.
static long PeakMemory() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  return used.ru_maxrss;
}

template <typename Write>
static void WriteMillionRows(benchmark::State& state, Write write) {
  Counts counts;
  int64_t bytes = 0;
  std::FILE* const real = stdout;
  stdout = fopencookie(&bytes, "w", {nullptr, CountBytes, nullptr, nullptr});
  const long before = PeakMemory();
  for (auto step : state) {
    write(counts.settings, counts.analysis);
  }
  fflush(stdout);
  const long after = PeakMemory();
  fclose(stdout);
  stdout = real;
  state.SetBytesProcessed(bytes);
  state.counters["MB"] = static_cast<double>(bytes) / static_cast<double>(state.iterations()) / 1e6;
  state.counters["counts_kB"] = static_cast<double>(before);
  state.counters["more_kB"] = static_cast<double>(after - before);
}

static void Json(benchmark::State& state) {
  WriteMillionRows(state, WriteJson);
}
BENCHMARK(Json)->Unit(benchmark::kMillisecond);

static void Csv(benchmark::State& state) {
  WriteMillionRows(state, WriteCsv);
}
BENCHMARK(Csv)->Unit(benchmark::kMillisecond);

static void Text(benchmark::State& state) {
  WriteMillionRows(state, [](const Settings& settings, Analysis& analysis) {
    WriteText(settings, analysis, {80, false});
  });
}
BENCHMARK(Text)->Unit(benchmark::kMillisecond);
