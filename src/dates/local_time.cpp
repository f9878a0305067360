#include "dates/local_time.h"

#include <algorithm>
#include <cstdint>

// How the sums are known to be exact.
//
// Time is cut into hours since the epoch. An hour is "steady" when the zone's
// offset, name and daylight-saving flag are the same from D before it to D after
// it, where D is the largest difference between any two offsets in force within
// two days and two hours around. Inside a steady hour localtime is a sum, and
// each of its local times occurs only once: another occurrence would lie at most
// D away, where the offset is the same.
//
// mktime guesses first with the offset of its previous result. Offsets are below
// 25 hours, so that guess lies within 50 hours of the answer, its correction
// within D of it, and the next correction is the answer. In a steady hour the
// previous call therefore does not matter. What a call leaves behind does: in an
// ambiguous hour the offset held from the call before picks the answer. So a sum
// replaces a call only while mktime already holds the offset that the call would
// leave behind (mHeldOffset); any other record goes to mktime, which then holds
// the new one.

static constexpr int64_t kHour = 3600;
static constexpr int64_t kDay = 86400;
static constexpr int64_t kSpan = 51;                    // hours on either side that an examination looks at
static constexpr int64_t kHourSlots = 256;              // power of two, above the hours looked at
static constexpr int64_t kFarthest = int64_t{1} << 36;  // seconds from the epoch; beyond, only plain calls
static constexpr int kWorthExamining = 4;               // calls; examining an hour costs as much as dozens
static constexpr int64_t kNoOffset = INT64_MIN;

struct Hour {
  int64_t number;  // hours since the epoch
  int64_t offset;  // local minus universal time at its start, seconds
  tm start;        // its start as localtime gives it
  bool start_known;
  bool steady;
  int calls;
};

struct Day {
  int64_t number;  // days since 1970-01-01
  tm date;
};

static Hour mHours[kHourSlots];
static int64_t mHeldOffset = kNoOffset;
static Day mDay = {INT64_MIN, {}};  // day of the previous sum

static int64_t FloorDivide(int64_t a, int64_t b) {
  return a / b - (a % b < 0 ? 1 : 0);
}

// Calendar arithmetic by 400-year eras of years that begin in March, after
// Howard Hinnant, "chrono-Compatible Low-Level Date Algorithms".
static int64_t DayOfMonthStart(int64_t year, int month) {
  year -= month < 2;
  const int64_t era = FloorDivide(year, 400);
  const int64_t year_of_era = year - era * 400;
  const int64_t day_of_year = (153 * ((month + 10) % 12) + 2) / 5;
  return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - 719468;
}

static void SetDate(int64_t day, tm& date) {
  const int64_t shifted = day + 719468;
  const int64_t era = FloorDivide(shifted, 146097);
  const int64_t day_of_era = shifted - era * 146097;
  const int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t month = (5 * day_of_year + 2) / 153;
  date.tm_mday = static_cast<int>(day_of_year - (153 * month + 2) / 5 + 1);
  date.tm_mon = static_cast<int>((month + 2) % 12);
  const int64_t year = year_of_era + era * 400 + (date.tm_mon < 2);
  date.tm_year = static_cast<int>(year - 1900);
  date.tm_wday = static_cast<int>(day + 4 - FloorDivide(day + 4, 7) * 7);
  date.tm_yday = static_cast<int>(day - DayOfMonthStart(year, 0));
}

// The record's date and time of day as seconds, as if it were universal time.
static int64_t LocalSeconds(const tm& parts) {
  static int year = 70;
  static int month = 0;
  static int64_t month_start = 0;
  if (parts.tm_year != year || parts.tm_mon != month) {
    year = parts.tm_year;
    month = parts.tm_mon;
    month_start = DayOfMonthStart(int64_t{year} + 1900, month);
  }
  return (month_start + parts.tm_mday - 1) * kDay + parts.tm_hour * kHour + parts.tm_min * 60 + parts.tm_sec;
}

static bool BelowLimit(int value, unsigned limit) {
  return static_cast<unsigned>(value) < limit;
}

// Seconds out of range need mktime itself, which adds them after its search.
static bool IsTimeOfDay(const tm& parts) {
  return BelowLimit(parts.tm_sec, 60) && BelowLimit(parts.tm_min, 60) && BelowLimit(parts.tm_hour, 24) &&
         BelowLimit(parts.tm_mon, 12);
}

static bool IsNear(int64_t when) {
  return -kFarthest <= when && when <= kFarthest;
}

static Hour& HourNumbered(int64_t number) {
  Hour& hour = mHours[number & (kHourSlots - 1)];
  if (hour.number != number) {
    hour = Hour{};
    hour.number = number;
  }
  return hour;
}

static const Hour& HourWithStart(int64_t number) {
  Hour& hour = HourNumbered(number);
  if (!hour.start_known) {
    const time_t start = number * kHour;
    localtime_r(&start, &hour.start);
    hour.offset = LocalSeconds(hour.start) - start;
    hour.start_known = true;
  }
  return hour;
}

static bool SameZone(const Hour& a, const Hour& b) {
  return a.offset == b.offset && a.start.tm_isdst == b.start.tm_isdst &&
         a.start.tm_gmtoff == b.start.tm_gmtoff && a.start.tm_zone == b.start.tm_zone;
}

static bool ExamineHour(int64_t number) {
  const Hour& hour = HourWithStart(number);
  int64_t low = hour.offset;
  int64_t high = hour.offset;
  for (int64_t other = number - kSpan; other <= number + kSpan + 1; ++other) {
    const int64_t offset = HourWithStart(other).offset;
    low = std::min(low, offset);
    high = std::max(high, offset);
  }
  const int64_t reach = std::min((high - low + kHour - 1) / kHour, kSpan);
  for (int64_t other = number - reach; other <= number + 1 + reach; ++other) {
    if (!SameZone(hour, HourWithStart(other))) {
      return false;
    }
  }
  return true;
}

static bool IsSteady(Hour& hour) {
  if (hour.calls < kWorthExamining && ++hour.calls == kWorthExamining) {
    hour.steady = ExamineHour(hour.number);
  }
  return hour.steady;
}

static Hour& HourAt(int64_t when) {
  return HourNumbered(FloorDivide(when, kHour));
}

static bool FlagAgrees(int requested, int actual) {
  return requested < 0 || (requested != 0) == (actual != 0);
}

static time_t CallMktime(const tm& parts) {
  tm copy = parts;
  const time_t when = mktime(&copy);
  mHeldOffset = kNoOffset;
  if (IsTimeOfDay(parts) && IsNear(when)) {
    Hour& hour = HourAt(when);
    if (IsSteady(hour) && when + hour.offset == LocalSeconds(parts)) {
      mHeldOffset = hour.offset;
    }
  }
  return when;
}

time_t LocalToTime(const tm& parts) {
  if (mHeldOffset != kNoOffset && IsTimeOfDay(parts)) {
    const int64_t when = LocalSeconds(parts) - mHeldOffset;
    if (IsNear(when)) {
      Hour& hour = HourAt(when);
      if (IsSteady(hour) && hour.offset == mHeldOffset && FlagAgrees(parts.tm_isdst, hour.start.tm_isdst)) {
        return when;
      }
    }
  }
  return CallMktime(parts);
}

static bool CallLocaltime(time_t when, tm& parts) {
  tm result;
  if (localtime_r(&when, &result) == nullptr) {
    return false;
  }
  parts = result;
  return true;
}

static const tm& DateOfDay(int64_t day) {
  if (mDay.number != day) {
    SetDate(day, mDay.date);
    mDay.number = day;
  }
  return mDay.date;
}

bool TimeToLocal(time_t when, tm& parts) {
  if (!IsNear(when)) {
    return CallLocaltime(when, parts);
  }
  Hour& hour = HourAt(when);
  if (!IsSteady(hour)) {
    return CallLocaltime(when, parts);
  }
  const int64_t local = when + hour.offset;
  const int64_t day = FloorDivide(local, kDay);
  const int second = static_cast<int>(local - day * kDay);
  const tm& date = DateOfDay(day);
  parts = hour.start;
  parts.tm_sec = second % 60;
  parts.tm_min = second / 60 % 60;
  parts.tm_hour = second / 3600;
  parts.tm_mday = date.tm_mday;
  parts.tm_mon = date.tm_mon;
  parts.tm_year = date.tm_year;
  parts.tm_wday = date.tm_wday;
  parts.tm_yday = date.tm_yday;
  return true;
}

void ResetLocalTime() {
  tzset();
  for (Hour& hour : mHours) {
    hour = Hour{};
  }
  mHeldOffset = kNoOffset;
}
