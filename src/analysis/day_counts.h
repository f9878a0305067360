// Counts by date: of any days, in any order, however many.
//
// Zero-initialised it is empty. Memory grows with the distinct days only. First
// days are counted, then they are put in order once, then they are asked for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <span>

#include "base/part_bytes.h"

struct DayCount {
  int64_t day;  // since 1970-01-01
  int64_t count;
};

struct DayCounts {
  int64_t total;
  DayCount* slots;   // hashed by day, a count of 0 is a free slot; in order, the days from the first slot on
  size_t length;     // distinct days
  size_t capacity;   // a power of two; 0 without slots
  DayCount* latest;  // counted last, null at first
  int year;          // its date, as a broken-down time has it
  int day_of_year;
};

// Counts one record of a local date, of which the year and the day of the year are
// read. A record of the same day as the one before costs a compare. When memory is
// refused the process exits at once with status 1.
void CountDay(DayCounts& days, const tm& local);

// Writes down what was counted; days in order or not.
void SaveDays(PartWriter& part, const DayCounts& days);

// Adds what was written down. No day may be in order yet. False when the part is damaged.
bool AddSavedDays(PartReader& part, DayCounts& days);

// Passes over it. False when the part ends before.
bool PassSavedDays(PartReader& part);

// Puts the days in ascending order. No day may be counted any more, and the counts
// alone may be written to. Not to be called again.
std::span<DayCount> OrderDays(DayCounts& days);

// Of days in order: all of them, the count of one (days since 1970-01-01; 0 for
// days without a record), and the largest count (0 without any day).
std::span<const DayCount> DaysInOrder(const DayCounts& days);
int64_t CountOfDay(const DayCounts& days, int64_t day);
int64_t LargestDayCount(const DayCounts& days);

// Releases what was counted and leaves the counts empty.
void ReleaseDays(DayCounts& days);
