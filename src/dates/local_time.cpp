#include "dates/local_time.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>

#include "base/memory_end.h"

// How the sums are known to be exact.
//
// Time is cut into hours. An hour is steady when the zone's offset, name and
// daylight-saving flag are the same at both its ends, and then throughout,
// because no zone changes and changes back within an hour. There localtime is a
// sum.
//
// mktime tries the offset of its previous result first, and takes it when the
// time so found shows the requested local time. Later it holds the offset of
// what it returned; in an hour that a clock change repeats, that picks one of
// two answers. So a sum replaces a call only with the very offset that mktime
// holds (mHeldOffset), in an hour where that offset is in force: the call would
// give this sum and go on holding this offset. Every other record goes to mktime
// itself. Either way mktime holds afterwards what it would hold if it had been
// called for all records.
#ifdef __GLIBC__
static constexpr bool kMktimeTriesHeldOffset = true;
#else
static constexpr bool kMktimeTriesHeldOffset = false;  // other libraries: plain calls only
#endif

static constexpr int64_t kMinute = 60;
static constexpr int64_t kHour = 3600;
static constexpr int64_t kDay = 86400;
static constexpr int64_t kReach = 700000 * kDay;  // to either side of 1970; beyond, only plain calls
static constexpr uint64_t kHourSlots = 64;        // power of two
static constexpr int64_t kNoOffset = INT64_MIN;

struct Hour {
  uint64_t number;  // of those that begin kReach before 1970, plus one; 0 = free slot
  int64_t offset;   // local minus universal time, seconds
  tm start;         // its start as localtime gives it
  bool steady;
};

struct Day {
  int64_t number;  // since 1970-01-01
  tm date;
};

static Hour mHours[kHourSlots];
static int64_t mHeldOffset = kNoOffset;
static Day mDay = {INT64_MIN, {}};  // day of the previous sum

// The local hour of the previous sum. Nearly all times of a log lie in the hour of the
// time before.
struct LocalHour {
  tm start;
  int64_t when;    // of the start
  int64_t first;   // the part of it that lies in one steady hour
  int64_t length;  // 0: nothing is remembered
  int64_t offset;
};
static LocalHour mLocalHour;

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

int64_t DayNumber(const tm& date) {
  return DayOfMonthStart(int64_t{date.tm_year} + 1900, 0) + date.tm_yday;
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
  return (month_start + parts.tm_mday - 1) * kDay + parts.tm_hour * kHour + parts.tm_min * kMinute +
         parts.tm_sec;
}

static bool BelowLimit(int value, unsigned limit) {
  return static_cast<unsigned>(value) < limit;
}

// Seconds out of range need mktime itself, which adds them after its search.
static bool IsTimeOfDay(const tm& parts) {
  return BelowLimit(parts.tm_sec, 60) && BelowLimit(parts.tm_min, 60) && BelowLimit(parts.tm_hour, 24) &&
         BelowLimit(parts.tm_mon, 12);
}

time_t UniversalToTime(const tm& parts) {
  if (BelowLimit(parts.tm_mon, 12)) {
    return LocalSeconds(parts);
  }
  tm copy = parts;
  return timegm(&copy);
}

static bool IsInReach(int64_t when) {
  return static_cast<uint64_t>(when) + kReach < uint64_t{2} * kReach;
}

[[gnu::cold]] static void ExamineHour(Hour& hour, int64_t when) {
  const time_t start = when - (when + kReach) % kHour;
  const time_t end = start + kHour;
  tm after;
  localtime_r(&start, &hour.start);
  localtime_r(&end, &after);
  hour.offset = LocalSeconds(hour.start) - start;
  hour.steady = hour.offset == LocalSeconds(after) - end && hour.start.tm_isdst == after.tm_isdst &&
                hour.start.tm_gmtoff == after.tm_gmtoff && hour.start.tm_zone == after.tm_zone;
}

// The hour of a time in reach.
static const Hour& HourOf(int64_t when) {
  const uint64_t number = static_cast<uint64_t>(when + kReach) / kHour + 1;
  Hour& hour = mHours[number % kHourSlots];
  if (hour.number != number) {
    ExamineHour(hour, when);
    hour.number = number;
  }
  return hour;
}

static bool FlagAgrees(int requested, int actual) {
  return requested < 0 || (requested != 0) == (actual != 0);
}

[[gnu::cold]] static time_t CallMktime(const tm& parts) {
  tm copy = parts;
  const time_t when = mktime(&copy);
  mHeldOffset = kNoOffset;
  if (kMktimeTriesHeldOffset && IsTimeOfDay(parts) && IsInReach(when)) {
    const Hour& hour = HourOf(when);
    if (when + hour.offset == LocalSeconds(parts)) {
      mHeldOffset = hour.offset;
    }
  }
  return when;
}

static bool IsRemembered(int64_t when) {
  return static_cast<uint64_t>(when) - static_cast<uint64_t>(mLocalHour.first) <
         static_cast<uint64_t>(mLocalHour.length);
}

static bool IsInLocalHour(const tm& parts) {
  return parts.tm_hour == mLocalHour.start.tm_hour && parts.tm_mday == mLocalHour.start.tm_mday &&
         parts.tm_mon == mLocalHour.start.tm_mon && parts.tm_year == mLocalHour.start.tm_year &&
         BelowLimit(parts.tm_min, 60) && BelowLimit(parts.tm_sec, 60) && parts.tm_isdst < 0;
}

time_t LocalToTime(const tm& parts) {
  if (mHeldOffset == mLocalHour.offset && IsInLocalHour(parts)) {
    const int64_t when = mLocalHour.when + parts.tm_min * kMinute + parts.tm_sec;
    if (IsRemembered(when)) {
      return when;
    }
  }
  if (mHeldOffset != kNoOffset && IsTimeOfDay(parts)) {
    const int64_t when = LocalSeconds(parts) - mHeldOffset;
    if (IsInReach(when)) {
      const Hour& hour = HourOf(when);
      if (hour.steady && hour.offset == mHeldOffset && FlagAgrees(parts.tm_isdst, hour.start.tm_isdst)) {
        return when;
      }
    }
  }
  return CallMktime(parts);
}

bool StateOfLocalTime(int64_t& state) {
  state = mHeldOffset;
  return mHeldOffset != kNoOffset;
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

// As localtime for a time of a steady hour.
static void SumToLocal(int64_t when, const Hour& hour, tm& parts) {
  const int64_t local = when + hour.offset;
  const uint64_t shifted = static_cast<uint64_t>(local + 2 * kReach);
  const uint32_t second = static_cast<uint32_t>(shifted % kDay);
  const tm& date = DateOfDay((local - second) / kDay);
  parts = hour.start;
  parts.tm_sec = static_cast<int>(second % 60);
  parts.tm_min = static_cast<int>(second / 60 % 60);
  parts.tm_hour = static_cast<int>(second / 3600);
  parts.tm_mday = date.tm_mday;
  parts.tm_mon = date.tm_mon;
  parts.tm_year = date.tm_year;
  parts.tm_wday = date.tm_wday;
  parts.tm_yday = date.tm_yday;
}

// Remembers the local hour of a time, whose parts these are, in a steady hour.
static void RememberLocalHour(int64_t when, const Hour& hour, const tm& parts) {
  const int64_t start = when - parts.tm_min * kMinute - parts.tm_sec;
  const int64_t steady_from = when - (when + kReach) % kHour;
  mLocalHour.start = parts;
  mLocalHour.start.tm_min = mLocalHour.start.tm_sec = 0;
  mLocalHour.when = start;
  mLocalHour.first = std::max(start, steady_from);
  mLocalHour.length = std::min(start, steady_from) + kHour - mLocalHour.first;
  mLocalHour.offset = hour.offset;
}

bool TimeToLocal(time_t when, tm& parts) {
  if (IsRemembered(when)) {
    const auto second = static_cast<uint32_t>(when - mLocalHour.when);
    parts = mLocalHour.start;
    parts.tm_min = static_cast<int>(second / 60);
    parts.tm_sec = static_cast<int>(second % 60);
    return true;
  }
  if (IsInReach(when)) {
    const Hour& hour = HourOf(when);
    if (hour.steady) {
      SumToLocal(when, hour, parts);
      RememberLocalHour(when, hour, parts);
      return true;
    }
  }
  return CallLocaltime(when, parts);
}

bool CompleteInLastHour(tm& parts, time_t& when) {
  if (mHeldOffset != mLocalHour.offset || !IsInLocalHour(parts)) {
    return false;
  }
  const int minute = parts.tm_min;
  const int second = parts.tm_sec;
  const int64_t sum = mLocalHour.when + minute * kMinute + second;
  if (!IsRemembered(sum)) {
    return false;
  }
  when = sum;
  parts = mLocalHour.start;
  parts.tm_min = minute;
  parts.tm_sec = second;
  return true;
}

bool CompleteInstant(tm& parts, time_t& when) {
  when = UniversalToTime(parts) - parts.tm_gmtoff;
  return TimeToLocal(when, parts);
}

void ResetLocalTime() {
  errno = 0;
  tzset();
  // The library would go on in universal time.
  if (errno == ENOMEM) {
    EndWithoutMemory();
  }
  for (Hour& hour : mHours) {
    hour.number = 0;
  }
  mHeldOffset = kNoOffset;
  mLocalHour.length = 0;
}

// ---- Repeated hours ----

static int64_t OffsetAt(time_t when) {
  tm local{};
  TimeToLocal(when, local);
  return local.tm_gmtoff;
}

bool IsTimeRepeated(time_t when) {
  using Time = std::numeric_limits<time_t>;
  static constexpr time_t kFarFromChange = 86400;
  if (when < Time::min() + 2 * kFarFromChange || when > Time::max() - 2 * kFarFromChange) {
    return false;
  }
  const int64_t own = OffsetAt(when);
  const auto has_twin = [&](time_t other) {
    const int64_t offset = OffsetAt(other);
    const time_t twin = when + own - offset;
    return twin != when && OffsetAt(twin) == offset;
  };
  return has_twin(when - kFarFromChange) || has_twin(when + kFarFromChange);
}
