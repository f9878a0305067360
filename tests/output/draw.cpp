// Draws what counts are handed to it: a chart to look at, and to read in again.
//
//   draw days FIRST_DAY    a count for each day from FIRST_DAY (days since 1970-01-01) on
//   draw spark-days FIRST_DAY
//   draw weekdays|hours|hours-of-week     7, 24 or 168 counts, from Sunday, 00:00
//   draw spark             any counts
//   draw share SHARE
//
// Counts are read from standard input, one in a line.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "output/charts.h"

static std::vector<int64_t> ReadCounts() {
  std::vector<int64_t> counts;
  for (int64_t count = 0; scanf("%" SCNd64, &count) == 1;) {
    counts.push_back(count);
  }
  return counts;
}

static void SetDays(Analysis& analysis, std::vector<DayCount>& slots, int64_t first) {
  int64_t day = first;
  for (const int64_t count : ReadCounts()) {
    if (count != 0) {
      slots.push_back({day, count});
    }
    ++day;
  }
  analysis.range_first = first * 86400;
  analysis.range_last = day * 86400 - 1;
  analysis.dates.slots = slots.data();
  analysis.dates.length = slots.size();
}

static bool Set(std::span<int64_t> counts) {
  const std::vector<int64_t> read = ReadCounts();
  if (read.size() != counts.size()) {
    fprintf(stderr, "draw: %zu counts are needed\n", counts.size());
    return false;
  }
  memcpy(counts.data(), read.data(), counts.size_bytes());
  return true;
}

static bool Draw(Sink& sink, const char* what, const char* with) {
  Analysis analysis{};
  analysis.counting = kModernCounting;
  std::vector<DayCount> slots;
  if (strcmp(what, "days") == 0) {
    SetDays(analysis, slots, strtoll(with, nullptr, 10));
    DrawDays(sink, analysis);
  } else if (strcmp(what, "weekdays") == 0 && Set(analysis.weekdays.counts)) {
    DrawWeekdays(sink, analysis);
  } else if (strcmp(what, "hours") == 0 && Set(analysis.hours.counts)) {
    DrawHours(sink, analysis);
  } else if (strcmp(what, "hours-of-week") == 0 && Set(analysis.hours_of_week.counts)) {
    DrawHoursOfWeek(sink, analysis);
  } else if (strcmp(what, "spark") == 0) {
    DrawSpark(sink, ReadCounts());
  } else if (strcmp(what, "share") == 0) {
    DrawShare(sink, strtod(with, nullptr));
  } else {
    return false;
  }
  return true;
}

int main(int argc, char** argv) {
  setenv("TZ", "UTC", 1);
  if (argc < 2) {
    return 2;
  }
  Sink sink;
  const bool drawn = Draw(sink, argv[1], argc > 2 ? argv[2] : "0");
  FlushSink(sink);
  return drawn ? 0 : 2;
}
