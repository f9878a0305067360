#include "analysis/day_counts.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <vector>

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

// The slot of the day, which may have been counted never before: whoever asks for it counts it.
static DayCount& SlotToCount(DayCounts& days, int64_t day) {
  if (days.length >= days.capacity / 2) {
    Grow(days);
  }
  DayCount& slot = SlotOf(days.slots, days.capacity, day);
  days.length += slot.count == 0;
  slot.day = day;
  return slot;
}

// Makes the day of the record the latest one.
static void FindDay(DayCounts& days, const tm& local) {
  days.latest = &SlotToCount(days, DayNumber(local));
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

// ---- Counts that were written down ----

// Beyond those of all years that a date can have.
static constexpr int64_t kNoDay = int64_t{366} * INT32_MAX;
static constexpr uint64_t kMostOfDay = uint64_t{1} << 48;  // of a part: sums of thousands do not pass 64 bits

static bool ComesBefore(const DayCount& a, const DayCount& b) {
  return a.day < b.day;
}

// In order, so that the same days are the same bytes: slots lie in another one in each process.
void SaveDays(PartWriter& part, const DayCounts& days) {
  std::vector<DayCount> counted;
  std::copy_if(days.slots, days.slots + days.capacity, std::back_inserter(counted),
               [](const DayCount& slot) { return slot.count != 0; });
  std::sort(counted.begin(), counted.end(), ComesBefore);
  PutFigure(part, counted.size());
  for (const DayCount& day : counted) {
    PutSigned(part, day.day);
    PutFigure(part, static_cast<uint64_t>(day.count));
  }
}

bool AddSavedDays(PartReader& part, DayCounts& days) {
  days.latest = nullptr;  // slots may move
  for (uint64_t left = TakeFigure(part); left > 0; --left) {
    const int64_t day = TakeSigned(part);
    const auto count = static_cast<int64_t>(TakeFigureUpTo(part, kMostOfDay));
    if (count == 0 || day > kNoDay || day < -kNoDay) {
      MarkDamaged(part);
      return false;
    }
    SlotToCount(days, day).count += count;
    days.total += count;
  }
  return !part.damaged;
}

bool PassSavedDays(PartReader& part) {
  for (uint64_t left = TakeFigure(part); left > 0 && !part.damaged; --left) {
    TakeFigure(part);
    TakeFigure(part);
  }
  return !part.damaged;
}

std::span<DayCount> OrderDays(DayCounts& days) {
  DayCount* const end = std::remove_if(days.slots, days.slots + days.capacity,
                                       [](const DayCount& slot) { return slot.count == 0; });
  std::sort(days.slots, end, ComesBefore);
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
