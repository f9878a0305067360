#include "sections/status_rows.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "analysis/rules.h"
#include "analysis/status_meanings.h"
#include "base/capped_sum.h"
#include "sections/cut_off.h"

struct StatusClass {
  const char* name;
  const char* meaning;
};
static constexpr StatusClass kClasses[] = {
    {"1xx", "Information"},  {"2xx", "Success"},      {"3xx", "Redirection"},
    {"4xx", "Client error"}, {"5xx", "Server error"},
};
static_assert(std::size(kClasses) == kStatusClasses);

static constexpr size_t kCodes = 100;  // of a class
static_assert((kStatusClasses + 1) * kCodes == kStatuses);

static int64_t SumOf(const int64_t (&figures)[kStatuses], size_t first, size_t end) {
  int64_t sum = 0;
  std::for_each(figures + first, figures + end, [&sum](int64_t figure) { AddCapped(sum, figure); });
  return sum;
}

StatusClasses StatusClassesOf(const Settings& settings, const Analysis& analysis) {
  const int64_t all = SumOf(analysis.statuses, 1, kStatuses);
  const bool bytes = AmountsOf(settings) == Amounts::kSummed;
  const bool by_bytes = OrderOf(settings) == RankedBy::kAmount;
  const auto weight_of = [by_bytes](const SectionRow& row) { return by_bytes ? row.bytes : row.count; };
  int64_t largest = 0;
  StatusClasses classes{};
  for (size_t i = 0; i < kStatusClasses; ++i) {
    const size_t first = (i + 1) * kCodes;
    const int64_t count = SumOf(analysis.statuses, first, first + kCodes);
    if (count == 0) {
      continue;
    }
    SectionRow& row = classes.rows[classes.count++];
    row.item = kClasses[i].name;
    row.name = kClasses[i].meaning;
    row.explained = true;
    row.count = count;
    row.bytes = bytes ? SumOf(analysis.status_bytes, first, first + kCodes) : -1;
    row.share = by_bytes ? Share(row.bytes, BytesServed(analysis)) : Share(count, all);
    row.second = row.weekday = row.hour = -1;
    largest = std::max(largest, weight_of(row));
  }
  for (size_t i = 0; i < classes.count; ++i) {
    classes.rows[i].bar = Share(weight_of(classes.rows[i]), largest);
  }
  return classes;
}
