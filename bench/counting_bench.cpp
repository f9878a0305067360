// Counting tables: the cost of one key, of a reclaim and of the order.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "analysis/counting_table.h"
#include "analysis/smart_memory.h"

static std::vector<std::string> MakeKeys(int64_t count) {
  std::vector<std::string> keys;
  keys.reserve(static_cast<size_t>(count));
  for (int64_t i = 0; i < count; ++i) {
    keys.push_back("/products/teapot/item" + std::to_string(i * 7919 % count) + ".html");
  }
  return keys;
}

static void UseSmartMemory(int budget_kilobytes) {
  Settings settings{};
  settings.SmartMemoryEnabled = 1;
  settings.SmartMemoryKeepEntries = 100;
  settings.SmartMemoryReclaimSize = 1000;
  settings.SmartMemoryMaxMemoryToAllocate = budget_kilobytes;
  smart_memory_init(settings);
}

struct Table {
  List list;
  ListInfo* info;

  Table() { init_list(list, info, "Table"); }
  ~Table() {
    destroy(list);
    destroyListInfo();
  }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  void Count(const std::string& key) { add_item(list, info, key, {}, nullptr, false); }
  void Count(const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
      Count(key);
    }
  }
};

// Keys that the table holds already.
static void AddItemHit(benchmark::State& state) {
  UseSmartMemory(0);
  const std::vector<std::string> keys = MakeKeys(state.range(0));
  Table table;
  table.Count(keys);
  size_t at = 0;
  for (auto step : state) {
    table.Count(keys[at]);
    at = at + 1 == keys.size() ? 0 : at + 1;
  }
}
BENCHMARK(AddItemHit)->Arg(1000)->Arg(100000)->Arg(900000);

// New keys, the release of the table included.
static void AddItemMiss(benchmark::State& state) {
  UseSmartMemory(0);
  const std::vector<std::string> keys = MakeKeys(state.range(0));
  for (auto step : state) {
    Table table;
    table.Count(keys);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(AddItemMiss)->Arg(1000)->Arg(100000)->Arg(900000)->Unit(benchmark::kMillisecond);

// Distinct keys under a budget that holds a tenth of them: reclaims included.
static void CountUnderBudget(benchmark::State& state) {
  const std::vector<std::string> keys = MakeKeys(state.range(0));
  for (auto step : state) {
    UseSmartMemory(static_cast<int>(state.range(0) / 10 * static_cast<int64_t>(kListItemSize) / 1024));
    Table table;
    table.Count(keys);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(CountUnderBudget)->Arg(100000)->Arg(500000)->Unit(benchmark::kMillisecond);

// One reclaim of 1000 KB; counting the keys that it took is not measured.
static void SmartFree(benchmark::State& state) {
  UseSmartMemory(0);
  const std::vector<std::string> keys = MakeKeys(state.range(0));
  Table table;
  for (auto step : state) {
    state.PauseTiming();
    table.Count(keys);
    state.ResumeTiming();
    smart_free(nullptr);
  }
}
BENCHMARK(SmartFree)->Arg(10000)->Arg(100000)->Iterations(50)->Unit(benchmark::kMicrosecond);

static void SortTable(benchmark::State& state) {
  UseSmartMemory(0);
  const std::vector<std::string> keys = MakeKeys(state.range(0));
  Table table;
  for (size_t i = 0; i < keys.size(); i += i % 3 + 1) {
    table.Count(keys[i]);
  }
  table.Count(keys);
  const auto shown = static_cast<size_t>(state.range(1));
  for (auto step : state) {
    state.PauseTiming();
    KeyOrder(table.list);
    state.ResumeTiming();
    benchmark::DoNotOptimize(SortList(table.list, shown == 0 ? SIZE_MAX : shown));
  }
}
BENCHMARK(SortTable)
    ->ArgNames({"items", "shown"})
    ->Args({20000, 30})
    ->Args({20000, 0})
    ->Args({900000, 30})
    ->Unit(benchmark::kMicrosecond);
