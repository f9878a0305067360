#include "analysis/url_times.h"

#include <algorithm>
#include <array>
#include <bit>

#include "base/text.h"
#include "layouts/taken.h"
#include "superlog/byte_scan.h"

static constexpr unsigned kBits = 6;                  // 64 buckets for each doubling
static constexpr size_t kExact = size_t{2} << kBits;  // times that are buckets of their own

size_t BucketOf(int64_t taken) {
  const auto time = static_cast<uint64_t>(taken);
  if (time < kExact) {
    return static_cast<size_t>(time);
  }
  const auto shift = static_cast<unsigned>(std::bit_width(time)) - 1 - kBits;
  return (size_t{shift} << kBits) + static_cast<size_t>(time >> shift);
}

static constexpr size_t kBuckets = (size_t{std::bit_width(uint64_t{kMostTaken})} - kBits + 1) << kBits;

int64_t MiddleOf(size_t bucket) {
  if (bucket < kExact) {
    return static_cast<int64_t>(bucket);
  }
  const size_t shift = (bucket >> kBits) - 1;
  const auto first =
      static_cast<int64_t>(((bucket & ((size_t{1} << kBits) - 1)) + (size_t{1} << kBits)) << shift);
  return first + (((int64_t{1} << shift) - 1) >> 1);
}

// ---- Names ----

static constexpr size_t kDigits = 4;
static_assert(kBuckets <= 10000);

// Whoever counts keys may read what is behind them.
struct BucketNames {
  char digits[kBuckets * kDigits + kScanOverread];
};

static constexpr BucketNames MakeNames() {
  BucketNames names{};
  for (size_t bucket = 0; bucket < kBuckets; ++bucket) {
    size_t rest = bucket;
    for (size_t i = kDigits; i-- > 0; rest /= 10) {
      names.digits[bucket * kDigits + i] = static_cast<char>('0' + rest % 10);
    }
  }
  return names;
}

static constexpr BucketNames kNames = MakeNames();

std::string_view NameOfBucket(size_t bucket) {
  return {kNames.digits + bucket * kDigits, kDigits};
}

// kBuckets where it is none.
static size_t BucketOfName(std::string_view name) {
  size_t bucket = 0;
  for (const char c : name) {
    if (!IsDigitAscii(c)) {
      return kBuckets;
    }
    bucket = bucket * 10 + static_cast<size_t>(c - '0');
  }
  return name.size() == kDigits ? std::min(bucket, kBuckets) : kBuckets;
}

// ---- Times ----

using Counts = std::array<uint64_t, kBuckets>;

static uint64_t TakeCounts(const ListItem& item, Counts& counts) {
  uint64_t all = 0;
  counts.fill(0);
  const List* const sublist = item.sublist();
  for (const ListItem* sub = sublist == nullptr ? nullptr : sublist->first; sub != nullptr; sub = sub->next) {
    const size_t bucket = BucketOfName(sub->key());
    if (bucket < kBuckets) {
      counts[bucket] += static_cast<uint64_t>(sub->count);
      all += static_cast<uint64_t>(sub->count);
    }
  }
  return all;
}

// The first bucket up to which there are so many.
static size_t BucketAt(const Counts& counts, uint64_t rank) {
  size_t bucket = 0;
  uint64_t passed = counts[0];
  while (passed < rank && bucket + 1 < kBuckets) {
    passed += counts[++bucket];
  }
  return bucket;
}

// A single time is the sum, and none of several is above it.
TimesTaken TimesOf(const ListItem& item) {
  Counts counts;
  const uint64_t all = TakeCounts(item, counts);
  const int64_t sum = AmountOf(item);
  const auto time_at = [&](uint64_t rank) {
    return all == 1 ? sum : std::min(MiddleOf(BucketAt(counts, rank)), sum);
  };
  return {.median = time_at(all - all / 2),
          .of_95 = time_at(all - all / 20),
          .of_99 = time_at(all - all / 100),
          .sum = sum};
}
