// How long requests took, counted so that half, 95 and 99 of 100 of them can be told without keeping each.
//
// A time counts in a bucket: its own up to 127 microseconds; beyond that 64 buckets divide each doubling, so
// that the middle of one is less than 1 % off any time in it. Buckets are sub-keys of a counting table
// (counting_table.h), whose keys are what the times are of and whose amounts are their sums: they add up in
// any order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "analysis/counting_table.h"

// Of a time of 0 to kMostTaken microseconds (layouts/taken.h).
size_t BucketOf(int64_t taken);

// Its number, a text that stays.
std::string_view NameOfBucket(size_t bucket);

// The time that stands for all of a bucket, in microseconds.
int64_t MiddleOf(size_t bucket);

// Microseconds: what no more than half, 5 and 1 of 100 requests took longer than, as the middle of a bucket,
// or as it is of a single request; and what all took together.
struct TimesTaken {
  int64_t median = 0;
  int64_t of_95 = 0;
  int64_t of_99 = 0;
  int64_t sum = -1;  // -1: no times were counted
};

// Of a record with such sub-keys. Sub-keys that are no bucket's, as parts may hold, count for nothing.
TimesTaken TimesOf(const ListItem& item);
