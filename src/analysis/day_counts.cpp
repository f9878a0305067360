#include "analysis/day_counts.h"

#include <algorithm>
#include <cstdlib>

#include "base/hash_seed.h"
#include "base/memory_end.h"
#include "dates/local_time.h"

static constexpr size_t kFirstCapacity = 64;

// Logs may hold any dates.
struct DaySeed {
  uint64_t start;
  uint64_t factor;
};

static const DaySeed mSeed = RandomSeed(DaySeed{0x243f6a8885a308d3, 0x13198a2e03707344});  // digits of pi

// The slot of the day, or the free one where it belongs.
static DayCount& SlotOf(DayCount* slots, size_t capacity, int64_t day) {
  size_t i = MultiplyFold(static_cast<uint64_t>(day) ^ mSeed.start, mSeed.factor | 1) & (capacity - 1);
  while (slots[i].count != 0 && slots[i].day != day) {
    i = (i + 1) & (capacity - 1);
  }
  return slots[i];
}

static void Grow(DayCounts& days) {
  const size_t capacity = days.capacity == 0 ? kFirstCapacity : 2 * days.capacity;
  auto* const slots = static_cast<DayCount*>(calloc(capacity, sizeof(DayCount)));
  if (slots == nullptr) {
    EndWithoutMemory();
  }
  for (const DayCount& known : std::span(days.slots, days.capacity)) {
    if (known.count != 0) {
      SlotOf(slots, capacity, known.day) = known;
    }
  }
  free(days.slots);
  days.slots = slots;
  days.capacity = capacity;
}

// Makes the day of the record the latest one.
static void FindDay(DayCounts& days, const tm& local) {
  if (days.length >= days.capacity / 2) {
    Grow(days);
  }
  const int64_t day = DayNumber(local);
  DayCount& slot = SlotOf(days.slots, days.capacity, day);
  days.length += slot.count == 0;
  slot.day = day;
  days.latest = &slot;
  days.year = local.tm_year;
  days.day_of_year = local.tm_yday;
}

void CountDay(DayCounts& days, const tm& local) {
  if (days.latest == nullptr || local.tm_yday != days.day_of_year || local.tm_year != days.year) {
    FindDay(days, local);
  }
  ++days.latest->count;
  ++days.total;
}

std::span<DayCount> OrderDays(DayCounts& days) {
  DayCount* const end = std::remove_if(days.slots, days.slots + days.capacity,
                                       [](const DayCount& slot) { return slot.count == 0; });
  std::sort(days.slots, end, [](const DayCount& a, const DayCount& b) { return a.day < b.day; });
  return {days.slots, days.length};
}

std::span<const DayCount> DaysInOrder(const DayCounts& days) {
  return {days.slots, days.length};
}

int64_t CountOfDay(const DayCounts& days, int64_t day) {
  const std::span<const DayCount> known = DaysInOrder(days);
  const auto found = std::lower_bound(known.begin(), known.end(), day,
                                      [](const DayCount& a, int64_t wanted) { return a.day < wanted; });
  return found != known.end() && found->day == day ? found->count : 0;
}

int64_t LargestDayCount(const DayCounts& days) {
  int64_t largest = 0;
  for (const DayCount& day : DaysInOrder(days)) {
    largest = std::max(largest, day.count);
  }
  return largest;
}

void ReleaseDays(DayCounts& days) {
  free(days.slots);
  days = {};
}
