// From the bytes of a log file to its records.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "dates/local_time.h"
#include "made_up_log.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"

static constexpr long kRecords = 20000;

// A log in a file of its own, which goes with it.
class LogFileOf {
 public:
  explicit LogFileOf(const char* format) {
    char path[] = "/tmp/orvellis_benchXXXXXX";
    FILE* const file = fdopen(mkstemp(path), "w");
    LogOptions options;
    options.records = kRecords;
    options.format = format;
    WriteLog(options, file);
    fclose(file);
    path_ = path;
  }
  ~LogFileOf() { remove(path_.c_str()); }
  LogFileOf(const LogFileOf&) = delete;
  LogFileOf& operator=(const LogFileOf&) = delete;

  const char* path() const { return path_.c_str(); }

 private:
  std::string path_;
};

static void UseZone(const char* zone) {
  setenv("TZ", zone, 1);
  ResetLocalTime();
  ResetSuperLog();
  InitLogDates();
}

static void ReportRecords(benchmark::State& state, long each) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * each);
}

static void ReadLines(benchmark::State& state) {
  const LogFileOf log("combined");
  for (auto step : state) {
    OpenLog(log.path());
    do {
      ReadLineFromBigBuf();
    } while (mLineLen != 0);
  }
  ReportRecords(state, kRecords);
}
BENCHMARK(ReadLines);

static void ParseLog(benchmark::State& state, const char* format) {
  UseZone("UTC");
  const LogFileOf log(format);
  for (auto step : state) {
    ResetFileFormat();
    OpenLog(log.path());
    SuperLogRecord record;
    long records = 0;
    while (SuperLog_ParseNextLine(record)) {
      ++records;
    }
    if (records != kRecords) {
      state.SkipWithError("not every line is a record");
      break;
    }
  }
  ReportRecords(state, kRecords);
}
BENCHMARK_CAPTURE(ParseLog, combined, "combined");
BENCHMARK_CAPTURE(ParseLog, common, "common");
BENCHMARK_CAPTURE(ParseLog, w3c, "w3c");
BENCHMARK_CAPTURE(ParseLog, iis, "iis");
BENCHMARK_CAPTURE(ParseLog, tab, "tab");

static void ParseDateTime(benchmark::State& state) {
  UseZone("UTC");
  tm when = {};
  for (auto step : state) {
    ParseDateTime1("10/Oct/2000:13:55:36 -0700", when);
    benchmark::DoNotOptimize(when);
  }
}
BENCHMARK(ParseDateTime);

// There and back, as for each record of a log of a month.
static void ConvertTime(benchmark::State& state, const char* zone) {
  UseZone(zone);
  const time_t first = 951868800;
  constexpr long kSteps = 1000000;
  long at = 0;
  for (auto step : state) {
    tm parts;
    TimeToLocal(first + at * 2592 / 1000, parts);
    parts.tm_isdst = -1;
    benchmark::DoNotOptimize(LocalToTime(parts));
    at = at == kSteps ? 0 : at + 1;
  }
  UseZone("UTC");
}
BENCHMARK_CAPTURE(ConvertTime, UTC, "UTC");
BENCHMARK_CAPTURE(ConvertTime, Berlin, "Europe/Berlin");
